// The element "coremd": pictures pass through it, and what moves in them is told.
#pragma once

#include <gst/base/gstbasetransform.h>
#include <gst/gst.h>

G_BEGIN_DECLS

#define GST_TYPE_COREMD (gst_coremd_get_type())
G_DECLARE_FINAL_TYPE(GstCoremd, gst_coremd, GST, COREMD, GstBaseTransform)

G_END_DECLS

namespace Gst {
class ElementState;
}

struct _GstCoremd {
    GstBaseTransform parent;
    Gst::ElementState* state;
};
