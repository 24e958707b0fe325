// What does a file hold, and does it hold all that it promises?  A pipe and a finished download are files, too: they end.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/media/PipeReader.h"
#include "video/time/PictureDating.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

class FileSource : public PacketSource {
public:
    // "-": the standard input. onWait: as PipeReader takes it. Throws Failure.
    explicit FileSource(const std::string& path, const std::function<void()>& onWait = {});

    // A download that was opened with this patience. silence: ticks without data, after which it counts as broken.
    FileSource(const std::string& url, InputPointer input, std::unique_ptr<Patience> patience, Ticks silence);

    bool IsLive() const override { return false; }
    std::shared_ptr<const StreamFacts> Facts() const override { return _facts; }
    std::unique_ptr<PictureDating> NewDating() const override;
    bool SkipTo(Ticks time) override;
    Reading Read(AVPacket& packet) override;
    const std::optional<StartTime>& Started() const override { return _started; }
    Ticks SeekableLength() const override;
    bool Seek(Ticks time) override;
    double Progress(Ticks time) const override;
    std::string EndError() const override;
    std::string Shortfall(Ticks end, const std::string& complaint) const override;

private:
    InputPointer Open(const std::string& path, const std::function<void()>& onWait);
    void Examine(const std::string& path, InputPointer input);
    bool EndsWithinPicture() const;
    bool IsSeekable() const;
    bool GoTo(Ticks time);
    bool LandsBefore(Ticks time);

    const std::string _path;  // of a file; else empty
    std::unique_ptr<Patience> _patience;
    const Ticks _silence = 0;  // ticks; 0: a file may take as long as it likes
    std::unique_ptr<PipeReader> _pipe;
    InputPointer _input;
    const AVStream* _stream = nullptr;  // owned by _input
    std::shared_ptr<const StreamFacts> _facts;
    Ticks _promised = 0;           // ticks; length of the video as the header says, 0: it does not
    Ticks _promisedByFile = 0;     // ticks; likewise, of the longest stream in the file
    std::optional<Ticks> _origin;  // ticks; the file's time that counts as 0, as its header says
    std::optional<StartTime> _started;
    std::int64_t _packetEnd = 0;  // bytes; where the last packet of the video ends in the file
};

}  // namespace Video
