// What did every block look like lately?  Sums step from frame to frame: all values are integers below 2^24, which a
// float holds exactly, so that stepping and summing anew give the same bits.
#include "statistics/FrameStatistics.h"

#include <limits>
#include <new>

#include "statistics/kernels/WindowSums.h"
#include "utils/Assert.h"
#include "utils/Buffers.h"
#include "utils/Utils.h"

namespace MD {

FrameStatistics::FrameStatistics()
    : _isFilled(false),
      _lastIsH264(false),
      _needReCalculate(false),
      _blockCount(0),
      _secondPlaneOffset(0),
      _thirdPlaneOffset(0),
      _frameSize(0),
      _position(0) {
    InitBuffers();
}

FrameStatistics::~FrameStatistics() {
    ReleaseBuffers();
    delete[] _buffers;
}

void FrameStatistics::InitBuffers() {
    using Utils::BufferSlot;
    _buffers = new BufferSlot[AllBuffersCount]{BufferSlot::For(&_firstPartSum),
                                               BufferSlot::For(&_secondPartSum),
                                               BufferSlot::For(&_centerPartSum),
                                               BufferSlot::For(&_firstPartSquareSum),
                                               BufferSlot::For(&_secondPartSquareSum),
                                               BufferSlot::For(&_centerPartSquareSum),
                                               BufferSlot::For(&_currentFrame),
                                               BufferSlot::For(&_diff),
                                               BufferSlot::For(&_diffSquare),
                                               BufferSlot::For(&_frames),
                                               BufferSlot::For(&_min),
                                               BufferSlot::For(&_max)};
    _firstPartSum = _secondPartSum = _centerPartSum = nullptr;
    _firstPartSquareSum = _secondPartSquareSum = _centerPartSquareSum = nullptr;
    _diff = _diffSquare = nullptr;
    _currentFrame = _frames = _min = _max = nullptr;
}

void FrameStatistics::AllocateBuffers(int blockCount) {
    if (blockCount > std::numeric_limits<int>::max() / 3) throw std::bad_array_new_length();  // a frame has three planes
    _blockCount = blockCount;
    _secondPlaneOffset = blockCount;
    _thirdPlaneOffset = 2 * blockCount;
    _frameSize = 3 * blockCount;
    _position = 0;
    _isFilled = false;

    const std::int64_t frameSize = _frameSize;
    Utils::AllocBuff(&_frames, frameSize * ringLength);
    Utils::AllocBuff(&_diff, blockCount);
    Utils::AllocBuff(&_diffSquare, blockCount);
    Utils::AllocBuffWithValue<unsigned char>(&_min, blockCount, 255);
    Utils::AllocBuff(&_max, blockCount);
    Utils::AllocBuff(&_firstPartSum, blockCount);
    Utils::AllocBuff(&_secondPartSum, blockCount);
    Utils::AllocBuff(&_centerPartSum, blockCount);
    Utils::AllocBuff(&_firstPartSquareSum, blockCount);
    Utils::AllocBuff(&_secondPartSquareSum, blockCount);
    Utils::AllocBuff(&_centerPartSquareSum, blockCount);
    Utils::AllocBuff(&_currentFrame, frameSize);
}

void FrameStatistics::ReleaseBuffers() {
    _blockCount = _secondPlaneOffset = _thirdPlaneOffset = _frameSize = 0;  // nothing to read from now on
    for (int i = 0; i < AllBuffersCount; ++i) _buffers[i].release(_buffers[i].member);
}

void FrameStatistics::EndAtNegativePlace() {
    EndProcess({"n>=0", "MotionDetector.h", 90, "int MD::FrameStatistics::QueuePos(int)"});
}

bool FrameStatistics::IsNextTheLastOfTheRing() const { return !_isFilled && QueuePos(1) == 0; }

void FrameStatistics::ShiftToNewFrame() {
    const bool fills = IsNextTheLastOfTheRing();
    _position = QueuePos(1);
    if (fills) {
        _isFilled = true;
        _needReCalculate = true;
    }
}

void FrameStatistics::Update(bool isH264Partly) {
    if (BeginUpdate(isH264Partly)) UpdateStandart();
}

bool FrameStatistics::BeginUpdate(bool isH264Partly) {
    if (!_isFilled) return false;
    if (isH264Partly != _lastIsH264 || _needReCalculate) {
        _lastIsH264 = isH264Partly;
        ReCalculate(isH264Partly);
        _needReCalculate = false;
        return false;
    }
    if (isH264Partly) UpdateH264();
    return !isH264Partly;
}

void FrameStatistics::CalculateFrameDiff(unsigned char* a, unsigned char* b, float* diff, float* diffSquare) {
    assert(_blockCount == 0 || (a && b && diff && diffSquare));
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t i = 0; i < _blockCount; ++i) {
        const float entering = a[i], leaving = b[i];
        diff[i] = entering - leaving;
        diffSquare[i] = entering * entering - leaving * leaving;
    }
}

void FrameStatistics::StepWindow(float* sum, float* squareSum, int start, int end, BlockRange range) {
    Kernels::StepWindow({.entering = FrameOfAge(start), .leaving = FrameOfAge(end + 1), .sum = sum, .squareSum = squareSum},
                        range);
}

void FrameStatistics::UpdateH264() {
    StepWindow(_firstPartSum, _firstPartSquareSum, firstPartStartIndex, firstPartEndIndex, AllBlocks());
}

void FrameStatistics::UpdateStandart() { StepStandard(AllBlocks()); }

void FrameStatistics::StepStandard(BlockRange range) {
    StepWindow(_firstPartSum, _firstPartSquareSum, firstPartStartIndex, firstPartEndIndex, range);
    StepWindow(_secondPartSum, _secondPartSquareSum, secondPartStartIndex, secondPartEndIndex, range);
    StepWindow(_centerPartSum, _centerPartSquareSum, centerPartStartIndex, centerPartEndIndex, range);
    Kernels::ExtremesBlocks extremes{.luma = {}, .min = _min, .max = _max};
    for (int age = firstPartStartIndex; age <= secondPartEndIndex; ++age) extremes.luma[age] = FrameOfAge(age);
    Kernels::FindExtremes(extremes, range);
}

void FrameStatistics::ReCalculateInterval(float* sum, float* squareSum, unsigned char* min, unsigned char* max,
                                          int startIndex, int endIndex) {
    Utils::ImageClear(sum, _blockCount);
    Utils::ImageClear(squareSum, _blockCount);
    for (int age = startIndex; age <= endIndex; ++age) {
        unsigned char* luma = FrameOfAge(age);
        Utils::ImageAdd(luma, sum, _blockCount);
        Utils::ImageAddSquare(luma, squareSum, _blockCount);
        Utils::ImageMax(luma, max, _blockCount);
        Utils::ImageMin(luma, min, _blockCount);
    }
}

// Deliberate: the extremes are not reset, in this mode they only widen (FrameStatisticsTest, ExtremesOnlyWidenInH264Mode).
void FrameStatistics::ReCalculateH264() {
    ReCalculateInterval(_firstPartSum, _firstPartSquareSum, _min, _max, firstPartStartIndex, firstPartEndIndex);
}

void FrameStatistics::ReCalculateStandart() {
    Utils::ImageClear(_min, _blockCount, 255);
    Utils::ImageClear(_max, _blockCount);
    ReCalculateInterval(_firstPartSum, _firstPartSquareSum, _min, _max, firstPartStartIndex, firstPartEndIndex);
    ReCalculateInterval(_secondPartSum, _secondPartSquareSum, _min, _max, secondPartStartIndex, secondPartEndIndex);
    ReCalculateInterval(_centerPartSum, _centerPartSquareSum, _min, _max, centerPartStartIndex, centerPartEndIndex);
}

void FrameStatistics::ReCalculate(bool isH264Partly) {
    if (isH264Partly) ReCalculateH264();
    else ReCalculateStandart();
}

}  // namespace MD
