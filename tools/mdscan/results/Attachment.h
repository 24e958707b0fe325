// What do pictures and pages need beside the lines?  A small picture of an event, and what was learned of an input's ground;
// Job makes them where they are asked for, they travel as text between processes and runs.
#pragma once

#include <optional>
#include <string>

#include "video/base/BgrPicture.h"
#include "video/watch/HeatMap.h"

namespace Scan {

struct EventPicture {
    int event;         // number within the input
    std::string jpeg;  // as base64
};

struct GroundPicture {
    Video::HeatMap heat;
    Video::BgrPicture background = {};  // one pixel per block; empty: of an earlier grid only
};

// One of the two.
struct Attachment {
    std::optional<EventPicture> event = {};
    std::optional<GroundPicture> ground = {};
};

// One line of text without its end.
std::string AttachedText(const Attachment& attachment);

// Throws std::exception when the text is not what AttachedText made.
Attachment AttachmentOf(const std::string& text);

std::string Base64(const std::string& bytes);

}  // namespace Scan
