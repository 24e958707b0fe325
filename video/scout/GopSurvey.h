// How long is every GOP, and how much is stored of it?  Reads packets ahead of a scan and decodes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/time/GopStarts.h"
#include "video/time/TickTime.h"

namespace Video {

// A GOP as it is stored.
struct StoredGop {
    Ticks begin = 0;                   // of the file
    std::optional<Ticks> length = {};  // until the next one begins; absent: it is the last, or time begins anew behind it
    int pictures = 0;
    std::int64_t keyBytes = 0;    // of the first picture
    std::int64_t otherBytes = 0;  // of all others
    std::int64_t burst = 0;       // bytes of the most expensive half of a second of those
};

class GopSurvey {
public:
    // A file.
    explicit GopSurvey(std::unique_ptr<PacketSource> source);

    // The next GOP, cut where PictureSelection cuts. Absent: there is none.
    std::optional<StoredGop> Next();

    // Of the whole file, as far as it promises a length; 0: it does not.
    std::int64_t PromisedPictures() const;

private:
    bool Read();
    void Add(std::int64_t bytes);

    const std::unique_ptr<PacketSource> _source;
    const AVRational _timeBase;
    const std::size_t _window;  // pictures in half of a second
    const PacketPointer _packet = NewPacket();
    GopStarts _starts;
    std::optional<StoredGop> _running;
    std::deque<std::int64_t> _newest;  // bytes of the running GOP's last pictures, without its first
    std::int64_t _newestBytes = 0;
    int _failuresInARow = 0;
};

}  // namespace Video
