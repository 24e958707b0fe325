// How does a detector come to its settings and buffers?  Construction, (re)allocation, the copy of a frame, frame skipping.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <limits>
#include <new>
#include <variant>

#include "detector/MotionDetector.h"
#include "detector/kernels/Segmentation.h"
#include "utils/Assert.h"
#include "utils/Buffers.h"
#include "utils/Ticks.h"
#include "zones/ObjectMerger.h"

namespace MD {
namespace {

constexpr int largestSkipFrameCount = 65;  // the next frame, the 66th, enters the next phase

// Deliberate: the product wraps, so that the phase is 0 or 1, hardly ever 2 (BuffersTest, StartPhaseWraps).
int StartPhase(long rn) {
    MD_ASSERT_AT(rn >= 0 && rn <= RAND_MAX, "rn >= 0 && rn <= RAND_MAX", __FILE__, __LINE__,
                 "MD::MotionDetector::MotionDetector()");
    return static_cast<int>(static_cast<std::uint32_t>(rn) * static_cast<std::uint32_t>(MotionDetector::analyzeStageCount) /
                            2147483647u);
}

// Products of the host's integers wrap instead of overflowing.
int WrappingProduct(int a, int b) { return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b)); }

// Every buffer, in the order in which they are made: the one list. [block] each, but for the copy of the picture.
using BufferMember =
    std::variant<short * MotionDetector::*, unsigned short * MotionDetector::*, unsigned char * MotionDetector::*,
                 float * MotionDetector::*, std::int64_t * MotionDetector::*>;
constexpr BufferMember buffers[] = {
    &MotionDetector::_zoneResultMap,
    &MotionDetector::_noiseLevel,
    &MotionDetector::_backgroundY,
    &MotionDetector::_backgroundCb,
    &MotionDetector::_backgroundCr,
    &MotionDetector::_sampleValue,
    &MotionDetector::_isStable,
    &MotionDetector::_isBackground,
    &MotionDetector::_notBackground,
    &MotionDetector::_isObject,
    &MotionDetector::_isMotionPixel,
    &MotionDetector::_lastChangeTime,
    &MotionDetector::_backgroundTime,
    &MotionDetector::_sampleTime,
    &MotionDetector::_bgr24Copy,
    &MotionDetector::_backgroundLogGradientX,
    &MotionDetector::_backgroundLogGradientY,
    &MotionDetector::_currentLogGradientX,
    &MotionDetector::_currentLogGradientY,
    &MotionDetector::_shadowGradientSum,
    &MotionDetector::_shadowSpare0,
    &MotionDetector::_shadowSpare1,
    &MotionDetector::_shadowSpare2,
    &MotionDetector::_shadowSpare3,
    &MotionDetector::_shadowChromaSum,
    &MotionDetector::_shadowCbDifference,
    &MotionDetector::_shadowCrDifference,
    &MotionDetector::_shadowSearchMask,
    &MotionDetector::_foregroundMask,
    &MotionDetector::_objectsMap,
    &MotionDetector::_movingPixelX,
    &MotionDetector::_movingPixelY,
    &MotionDetector::_objectPixelX,
    &MotionDetector::_objectPixelY,
    &MotionDetector::_uniformMask,
    &MotionDetector::_neighbourhoodMask,
    &MotionDetector::_finalPixelX,
    &MotionDetector::_finalPixelY,
};
static_assert(std::size(buffers) == MotionDetector::AllBuffersCount);

}  // namespace

MotionDetector::MotionDetector() : MotionDetector(StartPhase(std::rand())) {}

MotionDetector::MotionDetector(int skipPhase)
    : blockCountX(0),
      blockCountY(0),
      blockCount(0),
      _bgr24Size(0),
      _currentTime(0),
      _skipPhase(skipPhase),
      _skipFrameCounter(0),
      _lastFrameTime(0),
      _extraFlag1(false),
      _isIFrame(false),
      _fps(defaultFPS),
      _passThroughFlag(false),
      _detectShadow(false),
      _extraFlag2(false),
      _mpeg4IFrameOverride(false),
      _isMPEG4(false),
      _h264PartlyIsOptimized(false),
      _h264PartlyIsIFrame(false),
      _bgr24Stride(0),
      _nextProcessZone(nullptr),
      _nextMotionObject(nullptr),
      _processZones(true),
      _solveForeground(false),
      _limitObjectsToMask(1),
      _longBackgroundTimes(0),
      _foregroundGroupCount(0),
      _isUniformMaskClear(false),
      _merger(std::make_unique<ObjectMerger>()),
      _isOutOfReach(false),
      _shadowRowFirst(0),
      _shadowRowLast(0),
      _isTrial(false) {
    InitBuffers();
    _h264FrameCounter = 0;
}

MotionDetector::~MotionDetector() {
    ReleaseBuffers();
    delete[] _buffers;
    _zones.Release();
    _zonePool.Release();
    _mergedPool.Release();
}

void MotionDetector::InitBuffers() {
    _buffers = new Utils::BufferSlot[AllBuffersCount];
    Utils::BufferSlot* slot = _buffers;
    const auto enter = [&](auto member) {
        this->*member = nullptr;
        *slot++ = Utils::BufferSlot::For(&(this->*member));
    };
    for (const BufferMember buffer : buffers) std::visit(enter, buffer);
    // The table stands in the order of the members.
    std::sort(_buffers, slot, [](const auto& a, const auto& b) { return std::less<>()(a.member, b.member); });
}

void MotionDetector::AllocateBuffers(DetectionInfo* info) {
    assert(info);
    try {
        MakeBuffers(info);
    } catch (...) {
        ReleaseBuffers();
        _frameStatistics._isFilled = false;  // nothing to read: results answer "not ready" until the next frame
        throw;
    }
}

Broken MotionDetector::BrokenStart() const {
    const MDZone* const first = _zones._first;
    MD_UNLESS(first, "void MD::MotionDetector::MakeBuffers(DetectionInfo*)");
    return {};
}

void MotionDetector::MakeBuffers(DetectionInfo* info) {
    MakeArrays(info);
    Ensure(BrokenStart());
    for (MDZone* zone = _zones._first; zone; zone = zone->next) zone->InitPixelMap(info->width, info->height);
}

// All but the zones' maps.
void MotionDetector::MakeArrays(DetectionInfo* info) {
    _nextMotionObject = nullptr;  // the pools are about to destroy what it points to
    _zonePool.Inic(info->width, info->height);
    _mergedPool.Inic(info->width, info->height);
    blockCountX = info->width;
    blockCountY = info->height;
    const std::int64_t product = static_cast<std::int64_t>(blockCountX) * blockCountY;
    const bool isGrid = blockCountX >= 0 && blockCountY >= 0 && product <= std::numeric_limits<int>::max();
    if (!isGrid) throw std::bad_array_new_length();  // beyond what Detect lets through
    blockCount = static_cast<int>(product);
    _bgr24Stride = info->bgr24stride;
    _bgr24Size = WrappingProduct(info->bgr24stride, blockCountY);

    for (const BufferMember buffer : buffers) {
        const bool isPicture = buffer == BufferMember(&MotionDetector::_bgr24Copy);
        // Nobody reads the picture: no stride shall end the process.
        const std::int64_t count = isPicture ? std::max(_bgr24Size, 0) : blockCount;
        std::visit([&](auto member) { Utils::AllocBuff(&(this->*member), count); }, buffer);
        if (isPicture) _frameStatistics.AllocateBuffers(blockCount);
    }
    std::fill_n(_noiseLevel, blockCount, float{defaultNoiseLevel});
    for (std::int64_t* times : {_lastChangeTime, _backgroundTime, _sampleTime})
        std::fill_n(times, blockCount, std::int64_t{info->timestamp});
    _foregroundGroups.reset(new Kernels::BlockGroup[static_cast<std::size_t>(Kernels::CountBlockGroups(BlockGrid()))]);
}

void MotionDetector::ReleaseBuffers() {
    _bgr24Stride = blockCountX = blockCountY = blockCount = _bgr24Size = 0;
    _nextProcessZone = nullptr;
    _nextMotionObject = nullptr;
    _shadowRowFirst = _shadowRowLast = 0;
    _foregroundGroups.reset();
    _foregroundGroupCount = 0;
    _frameStatistics.ReleaseBuffers();
    for (int i = 0; i < AllBuffersCount; ++i) _buffers[i].release(_buffers[i].member);
}

bool MotionDetector::StartsAfresh(const DetectionInfo& info) const {
    return info.width != blockCountX || info.height != blockCountY || _currentTime > info.timestamp;
}

void MotionDetector::CheckMemBuffers(DetectionInfo* info) {
    assert(info);
    if (!StartsAfresh(*info)) return;
    _detectShadow = info->detectShadow != 0;
    _extraFlag1 = info->extraFlag1 != 0;
    _extraFlag2 = info->extraFlag2 != 0;
    _isMPEG4 = info->isMPEG4 != 0;
    _fps = info->fps;
    ReleaseBuffers();
    AllocateBuffers(info);
}

void MotionDetector::CopyImagesToInternalBuffers(DetectionInfo* info) {
    if (TakeFrame(info)) _frameStatistics.Update(_h264PartlyIsOptimized);
}

bool MotionDetector::TakeFrame(DetectionInfo* info) {
    assert(info);
    assert(_frameStatistics._blockCount == blockCount);
    FrameStatistics& s = _frameStatistics;
    const bool isOutsideRing = !EntersRing(_h264PartlyIsOptimized, _h264PartlyIsIFrame);
    if (!isOutsideRing) s.ShiftToNewFrame();
    unsigned char* const frame = isOutsideRing ? s._currentFrame : s.FrameOfAge(0);
    const unsigned char* const planes = info->ycbcrForEachBlock;
    Utils::CopyBuff(planes, frame, blockCount);
    Utils::CopyBuff(planes + blockCount, frame + s._secondPlaneOffset, blockCount);
    Utils::CopyBuff(planes + 2 * static_cast<std::ptrdiff_t>(blockCount), frame + s._thirdPlaneOffset, blockCount);
    return !isOutsideRing;
}

void MotionDetector::ZeroDetectionArrays() {
    std::fill_n(_isMotionPixel, blockCount, std::uint8_t{0});
    std::fill_n(_isObject, blockCount, std::uint8_t{0});
}

bool MotionDetector::SkipFrame() {
    if (!_detectShadow && _skipPhase != 0) {
        const double frames = static_cast<double>(Utils::ElapsedTicks(_currentTime, _lastFrameTime)) / 10000000.0 * _fps;
        if (1.0 >= frames) return true;  // less than one nominal frame interval; a rate that is no number skips nothing
    }
    if (_skipFrameCounter < largestSkipFrameCount) {
        ++_skipFrameCounter;
    } else {
        _skipFrameCounter = 0;
        EnterNextSkipPhase();
    }
    _lastFrameTime = _currentTime;
    return false;
}

// The cycle of six phases. MPEG-4 streams start from nothing when it wraps, as on an I-frame.
void MotionDetector::EnterNextSkipPhase() {
    const bool wraps = _skipPhase + 1 >= analyzeStageCount;
    _skipPhase = wraps ? 0 : _skipPhase + 1;
    if (!_isMPEG4) return;
    _isIFrame = wraps;
    _mpeg4IFrameOverride = false;
    if (!wraps) return;
    std::fill_n(_isBackground, blockCount, std::uint8_t{0});
    std::fill_n(_isStable, blockCount, std::uint8_t{0});
}

void MotionDetector::AddMDZone(MDZoneInfo* info) { _zones.Add(info); }

void MotionDetector::RemoveAllZones() {
    _zones.Release();
    _nextProcessZone = nullptr;
}

}  // namespace MD
