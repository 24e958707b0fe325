// How is one block asked for all that is known of it?
#include "ask/BlockProbe.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <coreMD/detector/MotionDetector.h>
#include <coreMD/detector/kernels/Background.h>
#include <coreMD/detector/kernels/Foreground.h>
#include <coreMD/detector/kernels/Shadow.h>

#include "conditioning/Disturbances.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/watch/Watcher.h"

namespace Scan {

namespace {

using Mask = std::vector<std::uint8_t>;
using MD::FrameStatistics;
using MD::MotionDetector;
namespace Rules = MD::Kernels;

constexpr int framesKept = 11;

std::uint8_t Distance(int a, int b) { return MD::ByteDistance(static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b)); }

class Prober {
public:
    Prober(Video::Watcher& watcher, Place place)
        : _watcher(watcher),
          _detector(watcher.Detector().Classes()),
          _grid(watcher.Grid()),
          _index(static_cast<std::size_t>(place.row) * static_cast<std::size_t>(_grid.columns) +
                 static_cast<std::size_t>(place.column)) {
        _facts.grid = _grid;
        _facts.place = place;
    }

    BlockFacts Ask() {
        AskZones();
        if (_detector._frameStatistics._frames != nullptr) {
            _facts.current = FrameOfAge(0);
        }
        _facts.judged = _watcher.WasShown() && _detector._frameStatistics._isFilled;
        if (_facts.judged) {
            AskReference();
            AskHistory();
            AskShadow();
            AskObjects();
        }
        _facts.verdict = Judge();
        AskConditioning();
        AskSize();
        return _facts;
    }

private:
    // The frame of age k lies in the slot k before the newest one's, in a ring.
    const std::uint8_t* SlotOfAge(int age) const {
        const FrameStatistics& ring = _detector._frameStatistics;
        return ring._frames +
               static_cast<std::ptrdiff_t>((ring._position + framesKept - age) % framesKept) * ring._frameSize;
    }

    Levels FrameOfAge(int age) const {
        const FrameStatistics& ring = _detector._frameStatistics;
        const std::uint8_t* const slot = SlotOfAge(age) + _index;
        return {slot[0], slot[ring._secondPlaneOffset], slot[ring._thirdPlaneOffset]};
    }

    void AskZones() {
        for (const Video::WatchedZone& zone : _watcher.Watched()) {
            if (zone.mask[_index] == 0) {
                continue;
            }
            _facts.watched = true;
            if (!zone.name.empty()) {
                _facts.zones.push_back(zone.name);
            }
        }
        _facts.excluded = _watcher.Excluded()[_index] != 0;
    }

    void AskReference() {
        _facts.known = _detector._isBackground[_index] != 0;
        _facts.reference = _facts.known ? Levels{_detector._backgroundY[_index], _detector._backgroundCb[_index],
                                                 _detector._backgroundCr[_index]}
                                        : FrameOfAge(1);
        const Levels& now = _facts.current;
        const Levels& reference = _facts.reference;
        _facts.noise = static_cast<double>(_detector._noiseLevel[_index]);
        _facts.chromaLimit = MotionDetector::cbAndCrThreshold;
        _facts.foreground = Rules::LumaDiffers(Distance(now.y, reference.y), _detector._noiseLevel[_index]) ||
                            Rules::ChromaDiffers(Distance(now.cb, reference.cb), Distance(now.cr, reference.cr),
                                                 MotionDetector::cbAndCrThreshold);
        _facts.backgroundAge = _detector._currentTime - _detector._backgroundTime[_index];
        _facts.sampleAge = _detector._currentTime - _detector._sampleTime[_index];
        _facts.sample = static_cast<double>(_detector._sampleValue[_index]);
    }

    void AskHistory() {
        const FrameStatistics& s = _detector._frameStatistics;
        const std::array<float, 3> sums = {s._firstPartSum[_index], s._centerPartSum[_index], s._secondPartSum[_index]};
        const std::array<float, 3> squareSums = {s._firstPartSquareSum[_index], s._centerPartSquareSum[_index],
                                                 s._secondPartSquareSum[_index]};
        for (std::size_t i = 0; i < sums.size(); ++i) {
            _facts.means[i] = static_cast<double>(sums[i]) / 5;
            _facts.dispersions[i] = static_cast<double>(Rules::Dispersion(sums[i], squareSums[i]));
        }
        for (int age = 0; age < framesKept; ++age) {
            _facts.history.push_back(FrameOfAge(age).y);
        }
        _facts.taught = _detector._lastFrameTime == _detector._currentTime;
        _facts.stable = _detector._isStable[_index] != 0;
        _facts.changed = _detector._isMotionPixel[_index] != 0;
        _facts.changeLimit = static_cast<double>(Rules::ChangeLimit(_detector._noiseLevel[_index]));
        _facts.sinceChange = _detector._currentTime - _detector._lastChangeTime[_index];
    }

    void AskShadow() {
        _facts.shadowsDropped = _detector._detectShadow;
        _facts.shadowLimit = static_cast<double>(MotionDetector::ShadowThreashold);
        if (_facts.shadowsDropped && _facts.foreground && _facts.known) {
            _facts.shadowScore = static_cast<double>(
                Rules::ShadowScore(_detector._shadowGradientSum[_index], _detector._shadowChromaSum[_index]));
        }
    }

    // What is told is what counts, whatever the detector has found.
    void AskConditioning() {
        const Host::Disturbances* const disturbances = _watcher.Disturbances();
        if (!disturbances) {
            return;
        }
        for (std::size_t i = 0; i < Host::disturbanceCount; ++i) {
            const auto kind = static_cast<Host::Disturbance>(i);
            if (disturbances->IsRunning(kind)) {
                _facts.disturbances.emplace_back(Host::NameOf(kind));
            }
        }
        _facts.suppressed = disturbances->Suppresses();
        _facts.found = _facts.verdict;
        _facts.object = _watcher.ToldAt(_index);
        _facts.verdict = _facts.object                     ? Verdict::Motion
                         : _facts.found == Verdict::Motion ? Verdict::Dropped
                                                           : *_facts.found;
    }

    // Decided last, of what would have been told.
    void AskSize() {
        _facts.large = _watcher.TooLargeAt(_index);
        if (_facts.large) {
            _facts.verdict = Verdict::Large;
            _facts.object.reset();
        }
    }

    // 8: what lies close together in a zone, how much of it counts, whether that is large enough.
    void AskObjects() {
        if (_detector._isObject[_index] != 0) {
            for (const Video::WatchedZone& zone : _watcher.Watched()) {
                if (zone.mask[_index] != 0) {
                    _facts.candidates.push_back(CandidateIn(zone));
                }
            }
        }
        for (const coremd::ZoneResult& result : _watcher.Detector().ZoneResults()) {
            std::size_t label = result.Labels()[_index];
            if (label == 0) {
                continue;
            }
            for (const coremd::Object& object : result.Objects()) {
                if (--label == 0) {
                    _facts.object = Video::MovingObject{Video::PixelBox(object.Bounds(), _grid), object.BlockCount()};
                    break;
                }
            }
        }
    }

    // Does an object have to change, and count no further than it does?
    bool IsLimited() const { return _detector._limitObjectsToMask != 0 && _detector._longBackgroundTimes == 0; }

    Candidate CandidateIn(const Video::WatchedZone& zone) const {
        const auto least = [&](int blocks) {
            return static_cast<int>(std::trunc(static_cast<float>(blocks) * zone.minSize));
        };
        Candidate candidate{.zone = zone.name,
                            .blocks = 0,
                            .moved = 0,
                            .box = {},
                            .leastColumns = least(_grid.columns),
                            .leastRows = least(_grid.rows),
                            .verdict = Verdict::Motion};
        const std::vector<Place> blocks = CloseTogether(zone.mask);
        candidate.blocks = static_cast<int>(blocks.size());
        candidate.moved =
            static_cast<int>(std::count_if(blocks.begin(), blocks.end(), [&](Place block) { return Moved(block); }));
        bool first = true;
        for (const Place& block : blocks) {
            if (!IsLimited() || candidate.moved == 0 || Moved(block)) {
                coremd::Box& box = candidate.box;
                box.left = first ? block.column : std::min(box.left, block.column);
                box.right = first ? block.column : std::max(box.right, block.column);
                box.top = first ? block.row : std::min(box.top, block.row);
                box.bottom = first ? block.row : std::max(box.bottom, block.row);
                first = false;
            }
        }
        const auto [left, top, right, bottom] = candidate.box;
        const Place& place = _facts.place;
        if (IsLimited() && candidate.moved == 0) {
            candidate.verdict = Verdict::Unmoved;
        } else if (place.column < left || place.column > right || place.row < top || place.row > bottom) {
            candidate.verdict = Verdict::Trimmed;
        } else if (candidate.box.Width() < candidate.leastColumns || candidate.box.Height() < candidate.leastRows) {
            candidate.verdict = Verdict::Small;
        }
        return candidate;
    }

    bool Moved(Place block) const { return _detector._isMotionPixel[IndexOf(block)] != 0; }

    std::size_t IndexOf(Place block) const {
        return static_cast<std::size_t>(block.row) * static_cast<std::size_t>(_grid.columns) +
               static_cast<std::size_t>(block.column);
    }

    // The block and all foreground of the zone that can be reached from it over a diamond: two columns to either side, one
    // row up or down and there one column to either side.
    std::vector<Place> CloseTogether(const Mask& zone) const {
        static constexpr std::array<Place, 10> diamond = {
            {{-2, 0}, {-1, 0}, {1, 0}, {2, 0}, {-1, -1}, {0, -1}, {1, -1}, {-1, 1}, {0, 1}, {1, 1}}};
        Mask seen(zone.size(), 0);
        std::vector<Place> found = {_facts.place};
        seen[_index] = 1;
        for (std::size_t i = 0; i < found.size(); ++i) {
            for (const Place& step : diamond) {
                const Place next{found[i].column + step.column, found[i].row + step.row};
                if (next.column < 0 || next.row < 0 || next.column >= _grid.columns || next.row >= _grid.rows) {
                    continue;
                }
                const std::size_t index = IndexOf(next);
                if (seen[index] == 0 && zone[index] != 0 && _detector._isObject[index] != 0) {
                    seen[index] = 1;
                    found.push_back(next);
                }
            }
        }
        return found;
    }

    Verdict Judge() const {
        if (!_facts.judged) {
            return _watcher.WasShown() ? Verdict::NotReady : Verdict::Unseen;
        }
        if (_facts.object) {
            return Verdict::Motion;
        }
        if (_facts.excluded) {
            return Verdict::Excluded;
        }
        if (!_facts.watched) {
            return Verdict::Outside;
        }
        if (_facts.candidates.empty()) {
            return _facts.foreground ? Verdict::Shadow : Verdict::Still;
        }
        const auto furthest = std::max_element(_facts.candidates.begin(), _facts.candidates.end(),
                                               [](const Candidate& a, const Candidate& b) { return a.verdict < b.verdict; });
        return furthest->verdict;
    }

    Video::Watcher& _watcher;
    const MotionDetector& _detector;
    const Video::PictureGrid& _grid;
    const std::size_t _index;  // [block]
    BlockFacts _facts;
};

}  // namespace

std::optional<BlockFacts> Probe(Video::Watcher& watcher, Place place) {
    const Video::PictureGrid& grid = watcher.Grid();
    if (place.column < 0 || place.row < 0 || place.column >= grid.columns || place.row >= grid.rows) {
        return std::nullopt;
    }
    return Prober(watcher, place).Ask();
}

}  // namespace Scan
