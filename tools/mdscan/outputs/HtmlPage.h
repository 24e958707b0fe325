// How does a run become one page to look at?  Everything is in the file: no network, no other file but the recordings and
// clips that it links to.
//
// The page is written while results come in; what is kept in memory does not grow with them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "outputs/CameraGrounds.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "video/files/AtomicText.h"

namespace Scan {

class HtmlPage {
public:
    // inputs: files that must not be replaced. scan: the first line of the results. Throws Failure.
    HtmlPage(const std::string& path, const std::vector<std::string>& inputs, const std::string& scan);

    // Of one input at a time, each ended by Finish. A picture comes before the record of its event; records of frames are
    // ignored. Throw Failure.
    void Take(const std::string& input, const Record& record);
    void Take(const EventPicture& picture);
    void Finish(const std::string& input, const JobResult& result);

    // Completes the page and gives it its name. Throws Failure.
    void Keep(const CameraGrounds& cameras);

private:
    void Open();
    void Write(const nlohmann::ordered_json& shown);

    Video::AtomicText _text;
    bool _open = false;  // within the block of an input
    bool _first = true;  // nothing was written into it
    struct Look {
        std::string picture;  // base64; empty: there is no room
        std::vector<Video::TrackPoint> track;
    };

    std::map<int, Look> _looks;     // by number of the event; of events still to come
    std::size_t _pictureBytes = 0;  // in the page so far
    std::int64_t _withoutRoom = 0;  // pictures that the page does not hold
};

}  // namespace Scan
