// What do keyframes tell of a border?
#include "archive/Splitting.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/media/PlainPicture.h"
#include "video/time/Cadence.h"
#include "video/watch/Opening.h"
#include "video/watch/Watcher.h"

namespace Scan {

namespace {

using Video::oneSecond;
using Video::Ticks;

constexpr Ticks millisecond = oneSecond / 1000;
constexpr Ticks shortWarmUp = Video::Opening::length;
constexpr Ticks longWarmUp = 64 * oneSecond;  // of which a part of ten minutes does not notice much
constexpr Ticks longPart = 600 * oneSecond;
constexpr Ticks quietAfter = 4 * oneSecond;  // whoever is seen then has not been there before the border
constexpr Ticks widestSearch = 30 * oneSecond;
constexpr int changedLevels = 8;             // of a block's luma: noise is less
constexpr int blocksPerChangedBlock = 1000;  // more than one in so many: somebody far away has taken a step

// Of a picture's blocks, how many differ from before?
class Comparison {
public:
    Comparison(int blockSize, const Video::WatchRules& rules) : _blockSize(blockSize), _rules(rules) {}

    bool IsQuiet(const AVFrame& frame) {
        _picture.Take(frame);
        const Host::PictureFormat& format = _picture.Format();
        if (!_watcher || !_watcher->Suits(format)) {
            _watcher.emplace(format, Video::GridOf(format.width, format.height, _blockSize), _rules);
            _before.clear();
        }
        const Video::PictureGrid& grid = _watcher->Grid();
        const std::size_t blocks = static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
        const std::uint8_t* luma = _watcher->Reduce(_picture.View()).ycbcr;
        std::size_t changed = _before.empty() ? blocks : 0;
        for (std::size_t i = 0; i < _before.size(); ++i) {
            changed += std::abs(luma[i] - _before[i]) > changedLevels ? 1 : 0;
        }
        _before.assign(luma, luma + blocks);
        return changed * blocksPerChangedBlock <= blocks;
    }

private:
    const int _blockSize;
    const Video::WatchRules _rules;
    Video::PlainPicture _picture;
    std::optional<Video::Watcher> _watcher;  // reduces, and watches nothing
    std::vector<std::uint8_t> _before;       // [block] luma
};

// Those from one time to another. Decoding may begin with an earlier one, which the first of them is compared with.
std::vector<KeyframeChange> KeyframesBetween(const std::string& path, const ScanSettings& scan, Ticks from, Ticks to) {
    Video::Decoder decoder(Video::OpenSource(path), 1,
                           {.keyframesOnly = [] { return true; }, .unfiltered = scan.skipLoopFilter});
    decoder.SkipTo(from);
    Comparison comparison(
        scan.blockSize,
        {.framesPerSecond = 1 / Video::ToSeconds(decoder.NominalInterval()), .shadows = false, .minSize = {}, .zones = {}});
    std::vector<KeyframeChange> keyframes;
    while (!Video::Interrupted() && decoder.Next() && decoder.Time() <= to) {
        const bool isQuiet = comparison.IsQuiet(decoder.Frame());
        if (decoder.Time() >= from) {
            keyframes.push_back({decoder.Time(), isQuiet});
        }
    }
    return keyframes;
}

// When are pictures analysed, if all of the video is?
struct Rhythm {
    Ticks first, period, slack;

    // The last one that is no later, and a little earlier: times are rounded.
    Ticks UpTo(Ticks time) const {
        const Ticks at = first + (time - first) / period * period;
        return std::max<Ticks>(0, (at - slack) / millisecond * millisecond);
    }
};

// How does a video that can be split begin, and go on?
struct Layout {
    Ticks length = 0;
    bool isSeekable = false;
    Rhythm rhythm = {};
};

// Absent: it remains in one piece.
std::optional<Layout> LayoutOf(const std::string& path, const ScanSettings& scan, Ticks part) {
    Layout layout;
    const std::unique_ptr<Video::PacketSource> source = Video::OpenSource(path);
    layout.length = source->SeekableLength();
    if (layout.length * 2 <= part * 3) {
        return std::nullopt;
    }
    layout.isSeekable = source->SkipTo(layout.length / 2);
    Video::Decoder decoder(Video::OpenSource(path), 1);
    if (!decoder.Next()) {
        return std::nullopt;
    }
    const Ticks interval = decoder.NominalInterval();
    layout.rhythm = {decoder.Time(), Video::Cadence(scan.rate, interval).Period(), interval / 2};
    return layout;
}

std::vector<JobPart> PartsBy(const Layout& layout, const std::string& path, const ScanSettings& scan, Ticks part) {
    const Ticks length = layout.length, first = layout.rhythm.first;
    const Ticks count = (2 * length + part) / (2 * part);
    const Ticks search = std::min(std::max(part / 4, widestSearch), length / count / 3);
    const Ticks needed = Video::FromSeconds(std::ceil(scan.preRoll + scan.mergeGap)) + oneSecond;
    std::vector<JobPart> parts(1);
    for (Ticks i = 1; i < count && !Video::Interrupted(); ++i) {
        const Ticks border = length / count * i;
        const Cut cut =
            CutNear(border, KeyframesBetween(path, scan, border - search - shortWarmUp, border + search + quietAfter));
        const Ticks warmUp = std::max(cut.isQuiet || part < longPart ? shortWarmUp : longWarmUp, needed);
        parts.back().to = cut.at;
        parts.push_back({.learn = layout.rhythm.UpTo(std::max(first, cut.at - warmUp)), .from = cut.at});
    }
    return parts;
}

}  // namespace

Cut CutNear(Ticks border, const std::vector<KeyframeChange>& keyframes) {
    std::optional<Cut> best;
    for (std::size_t begin = 0, end = 0; begin < keyframes.size(); begin = end) {
        for (end = begin + 1; end < keyframes.size() && keyframes[end].isQuiet; ++end) {
        }
        const Ticks first = keyframes[begin].time + shortWarmUp, last = keyframes[end - 1].time - quietAfter;
        if (first > last) {
            continue;
        }
        const Cut cut{std::clamp(border, first, last), true};
        if (!best || std::abs(cut.at - border) < std::abs(best->at - border)) {
            best = cut;
        }
    }
    Cut cut = best.value_or(Cut{border, false});
    cut.at -= cut.at % millisecond;
    return cut;
}

std::vector<JobPart> PartsOf(const std::string& path, const ScanSettings& scan, Ticks part) {
    std::optional<Layout> layout;
    std::vector<JobPart> parts;
    try {
        layout = LayoutOf(path, scan, part);
        if (layout && layout->isSeekable) {
            parts = PartsBy(*layout, path, scan, part);
        }
    } catch (const Video::Failure&) {
        return {};
    }
    if (layout && !layout->isSeekable) {
        throw Video::Failure(Video::Concern::Usage,
                             "cannot plan " + path + " with --split: it cannot be begun in the middle; plan it without");
    }
    return parts;
}

}  // namespace Scan
