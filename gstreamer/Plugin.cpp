// What does the plugin register?
#include <gst/gst.h>

#include "coreMD.h"
#include "gstreamer/CoremdElement.h"
#include "gstreamer/FrameJson.h"

#define PACKAGE                                  "coreMD"
#define COREMD_TEXT_OF(number)                   #number
#define COREMD_VERSION_TEXT(major, minor, patch) COREMD_TEXT_OF(major) "." COREMD_TEXT_OF(minor) "." COREMD_TEXT_OF(patch)

static gboolean Register(GstPlugin* plugin) {
    Gst::RegisterJsonMeta();
    return gst_element_register(plugin, "coremd", GST_RANK_NONE, GST_TYPE_COREMD);
}

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, coremd, "Motion detection for surveillance video", Register,
                  COREMD_VERSION_TEXT(COREMD_VERSION_MAJOR, COREMD_VERSION_MINOR, COREMD_VERSION_PATCH), "Apache 2.0",
                  "coreMD", "https://salsa.debian.org/debian/coremd")
