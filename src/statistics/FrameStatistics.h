// What did every block look like lately?  The ring of the last 11 frames, with window sums and extremes of the luma.
// Fed by the detector once a frame; read by background, foreground, shadow, segmentation and difference state.
#pragma once

#include <cstddef>

#include "coreMD.h"
#include "utils/Blocks.h"
#include "utils/BufferSlot.h"
#include "utils/Visibility.h"

namespace MD {

// Age k is the frame k frames before the newest one. [block] = _blockCount elements.
class COREMD_API FrameStatistics {
public:
    static constexpr int AllBuffersCount = 12;     // entries of the buffer table
    static constexpr int firstPartStartIndex = 0;  // windows: ages, both ends inclusive, five frames each
    static constexpr int firstPartEndIndex = 4;
    static constexpr int secondPartStartIndex = 5;
    static constexpr int secondPartEndIndex = 9;
    static constexpr int centerPartStartIndex = 2;
    static constexpr int centerPartEndIndex = 6;

    FrameStatistics();
    ~FrameStatistics();
    FrameStatistics(const FrameStatistics&) = delete;
    FrameStatistics& operator=(const FrameStatistics&) = delete;

    void InitBuffers();
    void AllocateBuffers(int blockCount);  // fatal "!*res" while buffers are held
    void ReleaseBuffers();

    // Makes room for the next frame; the caller then fills slot _position and calls Update.
    // The statistics start with the 11th frame after AllocateBuffers.
    void ShiftToNewFrame();
    void Update(bool isH264Partly);  // true: only the first window is kept current, the extremes only widen

    // [block] each: diff = a - b, diffSquare = a * a - b * b.
    void CalculateFrameDiff(unsigned char* a, unsigned char* b, float* diff, float* diffSquare);
    void UpdateH264();
    void UpdateStandart();
    // Sums anew over the ages startIndex to endIndex; folds their extremes into what min and max hold already.
    void ReCalculateInterval(float* sum, float* squareSum, unsigned char* min, unsigned char* max, int startIndex,
                             int endIndex);
    void ReCalculateH264();
    void ReCalculateStandart();
    void ReCalculate(bool isH264Partly);

    // Slot of the ring n places after the newest frame's; n >= 0. The frame of age k is in slot QueuePos(11 - k).
    MD_INTERNAL int QueuePos(int n) const {
        if (n < 0) EndAtNegativePlace();
        return static_cast<int>((static_cast<unsigned>(_position) + static_cast<unsigned>(n)) % ringLength);
    }
    // The three planes of the frame of that age, 0 to 10: Y at 0, Cb at _secondPlaneOffset, Cr at _thirdPlaneOffset.
    MD_INTERNAL unsigned char* FrameOfAge(int age) {
        return _frames + static_cast<std::ptrdiff_t>(QueuePos(static_cast<int>(ringLength) - age)) * _frameSize;
    }

    unsigned char* _frames;  // 11 slots of _frameSize bytes
    bool _isFilled;          // the ring was filled once; no statistic before
    bool _lastIsH264;        // mode of the last pass
    bool _needReCalculate;   // the next pass sums anew
    int _blockCount;
    int _secondPlaneOffset;  // bytes; start of Cb in a slot
    int _thirdPlaneOffset;   // bytes; start of Cr in a slot
    int _frameSize;          // bytes of a slot
    int _position;           // slot of the newest frame, 0..10
    unsigned char* _min;     // [block] smallest luma of the ages 0 to 9
    unsigned char* _max;     // [block] largest luma of the ages 0 to 9
    float* _firstPartSum;    // [block] luma sums and sums of squares over the windows
    float* _secondPartSum;
    float* _centerPartSum;
    float* _firstPartSquareSum;
    float* _secondPartSquareSum;
    float* _centerPartSquareSum;
    float* _diff;                  // [block] scratch for hosts' CalculateFrameDiff; Update steps its sums without it
    float* _diffSquare;            // [block] likewise
    unsigned char* _currentFrame;  // _frameSize bytes: a P-frame, kept outside the ring
    Utils::BufferSlot* _buffers;   // AllBuffersCount entries

private:
    friend class CallCheck;
    friend class MotionDetector;

    static constexpr unsigned ringLength = 11;

    [[noreturn]] static void EndAtNegativePlace();  // fatal "n>=0"; exported for hosts that call QueuePos

    // Update in two halves, for the detector, which has more to ask of every block while it is in cache: BeginUpdate does
    // all but the standard step and says whether that is due; StepStandard then takes every block once.
    MD_INTERNAL bool IsNextTheLastOfTheRing() const;  // which the next ShiftToNewFrame fills then
    MD_INTERNAL bool BeginUpdate(bool isH264Partly);
    MD_INTERNAL void StepStandard(BlockRange range);

    // The frame of age `start` enters a window, the frame of age `end` + 1 leaves it.
    MD_INTERNAL void StepWindow(float* sum, float* squareSum, int start, int end, BlockRange range);
    MD_INTERNAL BlockRange AllBlocks() const { return {0, static_cast<std::size_t>(_blockCount)}; }
};

}  // namespace MD
