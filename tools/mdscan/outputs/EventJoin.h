// Which clips does the video of all events consist of, and what are its chapters called?
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "results/Records.h"
#include "video/files/AtomicFile.h"
#include "video/pictures/JoinedVideo.h"

namespace Scan {

class EventJoin {
public:
    // Makes the place, so that an impossible one is known before the scan. Throws Failure.
    EventJoin(const std::string& path, const std::vector<std::string>& inputs);

    // Events with a clip get a chapter, in the order of their coming. The clips must be there until Keep.
    void Take(const std::string& input, const Record& record);

    // Joins the clips. Where there are none, no file is made. Throws Failure.
    void Keep();

private:
    std::optional<Video::AtomicFile> _file;  // always there
    std::vector<Video::JoinPart> _parts;
};

}  // namespace Scan
