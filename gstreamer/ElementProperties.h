// Which properties has the element, and what do they set?
#pragma once

#include <glib-object.h>

namespace Gst {

void InstallProperties(GObjectClass* objects);

}  // namespace Gst
