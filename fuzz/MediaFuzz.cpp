// Does the scanner survive any file?  The input is a video, mostly a damaged one; it goes through the scanner's parts in the
// order in which the program uses them.  FFmpeg itself is not under test: it is not instrumented, and may refuse anything.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

extern "C" {
#include <libavutil/mem.h>
}

#include "Claim.h"
#include "FuzzTarget.h"
#include "results/JsonLines.h"
#include "results/Records.h"
#include "results/TallyText.h"
#include "video/base/Failure.h"
#include "video/files/PngFile.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/media/PlainPicture.h"
#include "video/time/Cadence.h"
#include "video/watch/ConditionLog.h"
#include "video/watch/Conditioning.h"
#include "video/watch/Events.h"
#include "video/watch/KeptBackground.h"
#include "video/watch/Opening.h"
#include "video/watch/Watcher.h"

namespace {

constexpr std::size_t longestInput = 256 * 1024;    // bytes
constexpr std::size_t mostMemory = 16 << 20;        // bytes in one piece for FFmpeg: headers promise giant pictures
constexpr int mostPictures = 60;                    // of one input
constexpr std::int64_t largestPicture = 320 * 240;  // pixels; larger ones are decoded and left

// A file that exists in memory only.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : _descriptor(memfd_create("video", MFD_CLOEXEC)) {
        FUZZ_CLAIM(_descriptor >= 0);
        for (std::size_t written = 0; written < size;) {
            const ssize_t count = write(_descriptor, data + written, size - written);
            FUZZ_CLAIM(count > 0);
            written += static_cast<std::size_t>(count);
        }
    }
    ~MemoryFile() { close(_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(_descriptor); }

private:
    int _descriptor;
};

// Text for one line: no line break, no control character.
void ClaimOneLine(const std::string& text) {
    for (const char c : text) FUZZ_CLAIM(static_cast<unsigned char>(c) >= ' ');
}

// A record travels as a line and comes back as it was. One that cannot be read must not pass for a file that FFmpeg refuses.
void ClaimComesBack(const Scan::Record& record) noexcept {
    const std::string line = Scan::LineOf(record);
    ClaimOneLine(line);
    FUZZ_CLAIM(Scan::LineOf(Scan::RecordOfLine(line)) == line);
}

// All of it, in a way that the input chooses: by its bytes, so that each seed has one of its own.
Video::ConditioningRules ConditioningOf(const std::uint8_t* data, std::size_t size) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < size; ++i) sum += data[i];
    return {.on = true,
            .stabilise = static_cast<Video::Stabilise>(sum % 3),
            .sensitivity = static_cast<Video::Sensitivity>(sum / 3 % 3)};
}

class FuzzedScan {
public:
    FuzzedScan(const std::string& path, const Video::ConditioningRules& conditioning)
        : _conditioning(conditioning),
          _decoder(Video::OpenSource(path)),
          _cadence(0, _decoder.NominalInterval()),
          _events({.mergeGap = Video::oneSecond, .minDuration = 0, .longestGap = 10 * _cadence.Period()}) {
        FUZZ_CLAIM(_decoder.NominalInterval() >= 1);
    }

    void Run() {
        std::int64_t pictures = 0;
        Video::Ticks last = 0;
        bool isOver = false;
        while (pictures < mostPictures && !(isOver = !_decoder.Next())) {
            FUZZ_CLAIM(_decoder.Pictures() == ++pictures);
            FUZZ_CLAIM(pictures == 1 || _decoder.Time() > last);
            FUZZ_CLAIM(_decoder.Progress() >= 0 && _decoder.Progress() <= 1);
            last = _decoder.Time();
            const AVFrame& frame = _decoder.Frame();
            if (_cadence.Takes(last) && std::int64_t{frame.width} * frame.height <= largestPicture) Analyse(frame, last);
        }
        Report(_events.Close());
        if (isOver) FUZZ_CLAIM(!_decoder.Next());  // and stays over
        if (_decoder.Found().count > 0) ClaimOneLine(Scan::DamageText(_decoder.Found()));
        if (_watcher) Draw();
    }

private:
    void Analyse(const AVFrame& frame, Video::Ticks time) {
        _picture.Take(frame);
        const Host::PictureFormat& format = _picture.Format();
        if (!_watcher || !Matches(format)) {
            Report(_events.Close());
            _conditions.Close();
            _layout = format.format;
            const Video::WatchRules rules{
                .framesPerSecond = 1 / Video::ToSeconds(_decoder.NominalInterval()),
                .shadows = format.width % 2 != 0,
                .minSize = 0.03,
                .zones = {{.name = "middle", .polygon = {{0.1, 0.1}, {0.9, 0.1}, {0.9, 0.9}, {0.1, 0.9}}},
                          {.name = "corner", .exclude = true, .polygon = {{0.0, 0.0}, {0.3, 0.0}, {0.0, 0.3}}}},
                .conditioning = _conditioning};
            _watcher.emplace(format, Video::GridOf(format.width, format.height, 0, _conditioning), rules);
        }
        const Video::BlockPicture blocks = _watcher->Reduce(_picture.View());
        Remember(blocks, time);
        const Video::Findings findings = _watcher->Judge(blocks, time);
        Follow(time);
        for (const Video::MovingObject& object : findings.objects) ClaimInPicture(object.box);
        ClaimComesBack(Scan::RecordOf("", {_decoder.Numbers().At(time), _decoder.Numbers().IsExact(time)}, findings));
        Report(_events.Add(findings));
    }

    // Every fifth picture is what the scene looked like before: only then is it told from the first picture on.
    void Remember(const Video::BlockPicture& blocks, Video::Ticks time) {
        if (!_conditioning.on) return;
        _kept.Add(blocks, _watcher->Grid(), time);
        if (_shown++ % 5 != 0) return;
        Video::Opening opening(_watcher->Grid());
        FUZZ_CLAIM(opening.Takes(time));
        opening.Add(blocks, time);
        _watcher->Prime(opening.Planes());
    }

    void Follow(Video::Ticks time) {
        if (!_conditioning.on) return;
        _conditions.AddDarkness(_watcher->IsDark(), time);
        if (const auto from = _conditions.Add(*_watcher->Disturbances(), time)) _events.Discard(*from);
        for (const Video::Condition& condition : _conditions.Take()) {
            FUZZ_CLAIM(condition.start <= condition.end);
            ClaimComesBack(Scan::RecordOf("clip", condition, std::nullopt));
        }
    }

    bool Matches(const Host::PictureFormat& format) const {
        const Video::PictureGrid& grid = _watcher->Grid();
        return grid.pictureWidth == format.width && grid.pictureHeight == format.height && _layout == format.format;
    }

    void ClaimInPicture(const Video::Box& box) const {
        const Video::PictureGrid& grid = _watcher->Grid();
        FUZZ_CLAIM(box.x >= 0 && box.y >= 0 && box.width > 0 && box.height > 0);
        FUZZ_CLAIM(box.x + box.width <= grid.pictureWidth && box.y + box.height <= grid.pictureHeight);
    }

    void Report(const std::optional<Video::Event>& event) {
        if (!event) return;
        FUZZ_CLAIM(event->start <= event->peak && event->peak <= event->end && event->frames > 0);
        ClaimComesBack(Scan::RecordOf("clip", ++_told, *event, {.zones = {"middle"}, .track = true}));
    }

    void Draw() {
        const Video::PictureGrid& grid = _watcher->Grid();
        const Video::BgrPicture background =
            Video::Enlarged(_watcher->Background(), grid.blockSize, grid.pictureWidth, grid.pictureHeight);
        const std::int64_t pixels = std::int64_t{grid.pictureWidth} * grid.pictureHeight;
        FUZZ_CLAIM(background.pixels.size() == static_cast<std::size_t>(3 * pixels));
    }

    const Video::ConditioningRules _conditioning;
    Video::Decoder _decoder;
    Video::Cadence _cadence;
    Video::EventLog _events;
    Video::PlainPicture _picture;
    std::optional<Video::Watcher> _watcher;
    Host::PixelFormat _layout = {};
    Video::ConditionLog _conditions;
    Video::KeptBackground _kept;
    int _shown = 0;
    int _told = 0;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > longestInput) return 0;
    static const bool isPrepared = [] {
        Video::CollectComplaints();
        av_max_alloc(mostMemory);
        return true;
    }();
    FUZZ_CLAIM(isPrepared);
    const MemoryFile file(data, size);
    try {
        for (const Video::ConditioningRules& conditioning : {Video::ConditioningRules{}, ConditioningOf(data, size)}) {
            FuzzedScan(file.Path(), conditioning).Run();
        }
    } catch (const std::exception& failure) {  // as main says it: Failure, or no memory
        FUZZ_CLAIM(failure.what()[0] != '\0');
    }
    return 0;
}
