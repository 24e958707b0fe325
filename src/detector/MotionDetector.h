// What is behind a handle?  The detector: its constants, its operations by topic, its members in fixed order.
// Driven through the C interface; hosts that want more reach it with GetDetector. No ABI promise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "coreMD.h"
#include "detector/BackgroundStorage.h"
#include "statistics/FrameStatistics.h"
#include "statistics/H264PartlyStatistic.h"
#include "utils/Blocks.h"
#include "utils/BufferSlot.h"
#include "utils/Visibility.h"
#include "zones/MDZone.h"
#include "zones/MotionObject.h"

namespace MD {

class CallCheck;
class DetectorState;
class ObjectMerger;
struct Broken;
namespace Kernels {
struct BlockGroup;
struct ObjectBlocks;
}  // namespace Kernels

// Legend: [block] = blockCount elements, row after row; ticks = 100 ns; {0,255} = mask byte; age 0 = newest frame.
class COREMD_API MotionDetector {
public:
    // ---- Constants ------------------------------------------------------------------------------------------------
    static constexpr int AllBuffersCount = 38;   // entries of the buffer table
    static constexpr double defaultFPS = 5.0;    // until the first frame tells
    static constexpr int analyzeStageCount = 6;  // frame-skip phases 0..5

    static constexpr std::int64_t OneSecondInTimeSpan = 10000000;                                    // ticks, as all below
    static constexpr std::int64_t updateBgrInterval = 2 * OneSecondInTimeSpan;                       // slow refresh
    static constexpr std::int64_t resetBackgroundTime = 60 * OneSecondInTimeSpan;                    // unrefreshed: forget
    static constexpr std::int64_t noChangesToFastSegmentTimeSpan = OneSecondInTimeSpan;              // age of a sample
    static constexpr std::int64_t noChangesToPutBackgroundTimeInTimeSpan = 5 * OneSecondInTimeSpan;  // quiet: background

    // Partly decoded H.264, grey levels. A reference outside the brightness range (inclusive) is known less well.
    static constexpr float _h264MinBlockBrightness = 40.0f;
    static constexpr float _h264MaxBlockBrightness = 190.0f;
    static constexpr float _h264InterframeThreshold = 15.0f;
    static constexpr float _h264InterframeOutOfRangeCoeff = 2.1f;
    static constexpr float _h264InterframeOutOfRangeThreshold = _h264InterframeThreshold * _h264InterframeOutOfRangeCoeff;
    static constexpr float _h264DifferenceFromBackgroundThreshold = 12.0f;
    static constexpr float _h264DifferenceFromBackgroundOutOfRangeCoeff = 3.0f;
    static constexpr float _h264DifferenceFromBackgroundOutOfRangeThreshold =
        _h264DifferenceFromBackgroundThreshold * _h264DifferenceFromBackgroundOutOfRangeCoeff;
    static constexpr float _h264SetBackgroundDispersionThreshold = 64.0f;  // five times the variance of five frames
    static constexpr float _h264SetBackgroundThreshold = 4.0f;             // kept for hosts, not read
    static_assert(_h264InterframeOutOfRangeThreshold == 0x1.F7FFFEp4f);    // 31.499998, not 31.5

    static constexpr float noiseLevelPerDispersion = 4.5f;          // kept for hosts, not read
    static constexpr float dispersionThreshold = 0.8f;              // between windows, of a stable block
    static constexpr float sumThreshold = 5.0f;                     // between window sums: one grey level
    static constexpr float averageThreshold = 1.0f;                 // grey levels between background and mean
    static constexpr float defaultNoiseLevel = 21.0f;               // grey levels
    static constexpr float addToNoiseLevel = 12.0f;                 // grey levels
    static constexpr float defaultBrightnessRangeWhenNoise = 9.0f;  // kept for hosts, not read
    static constexpr unsigned char cbAndCrThreshold = 10;           // chroma levels
    static constexpr float ShadowThreashold = 100.0f;               // score below: shadow

    // ---- Construction, settings, buffers (MotionDetector-Buffers.cpp) ----------------------------------------------
    MotionDetector();  // draws the frame-skip phase with one rand()
    ~MotionDetector();
    MotionDetector(const MotionDetector&) = delete;
    MotionDetector& operator=(const MotionDetector&) = delete;

    void InitBuffers();
    // Makes every buffer for the record's grid and fits every zone to it; fatal "first" without a zone.
    // If memory runs out, the detector is left as after ReleaseBuffers and the exception goes on.
    void AllocateBuffers(DetectionInfo* info);
    void ReleaseBuffers();
    // Starts afresh when the grid changed or time ran backwards; takes the settings that live as long as the buffers.
    void CheckMemBuffers(DetectionInfo* info);
    void CopyImagesToInternalBuffers(DetectionInfo* info);
    void ZeroDetectionArrays();
    bool SkipFrame();  // true: no background update for this frame

    void AddMDZone(MDZoneInfo* info);  // fitted to the grid by the next AllocateBuffers
    void RemoveAllZones();

    // ---- One frame (MotionDetector-Detect.cpp) ---------------------------------------------------------------------
    void Detect(DetectionInfo* info, bool updateBackground);
    void SolveForeground();

    // ---- Results (MotionDetector-Results.cpp); 0 delivered, 1 exhausted, 2 history not filled -----------------------
    int GetResultInfo(MDResultInfo* out);
    int GetNextMDZoneResult(MDZoneDetectionInfo* out);
    int GetNextMotionObject(MDObjectInfo* out);
    int GetBackground(unsigned char* image, int* mask);
    void MergeMDZonesResult();

    // ---- Background (MotionDetector-Background.cpp) ----------------------------------------------------------------
    // mask: null, or rows of detectionMaskWidthStep bytes; non-zero protects the block from learning.
    bool UpdateBackground(unsigned char* mask, int detectionMaskWidthStep);
    bool UpdateBackgroundOptimyzedForH264Partly();
    void FindDifferenceFromPreviousFrames();
    void FlushNotConfirmedBackground();

    // ---- Snapshots (MotionDetector-BackgroundStorage.cpp) ----------------------------------------------------------
    // Masks: rows of maskWidthStep bytes, at least blockCountX; non-zero: the block is meant.
    BackgroundStorage* AllocateBackgroundStorage();  // unfilled; the caller frees it with FreeBackgroundStorage
    void FillBackgroundStorage(BackgroundStorage* storage, unsigned char* mask, int maskWidthStep);
    void RestoreBackground(BackgroundStorage* storage);
    void FreeBackgroundStorage(BackgroundStorage** storage);  // *storage may be null and is null afterwards
    void FlushBackground(unsigned char* mask, int maskWidthStep);

    // ---- Restlessness of a rectangle (MotionDetector-DiffState.cpp) ------------------------------------------------
    // Mean over the blocks x0 <= x < x1, y0 <= y < y1 whose mask byte is set of the luma's total variation over the ring;
    // 255 where nothing is selected or the region is too busy. Mask rows are blockCountX bytes; maskWidthStep is not 0.
    double GetDiffState(unsigned char* mask, int maskWidthStep, int x0, int x1, int y0, int y1);

    // ---- Foreground (MotionDetector-Foreground.cpp) ----------------------------------------------------------------
    void FindForeground(DetectionInfo* info);
    void FindForegroundStandart();
    void FindForegroundOptimyzedForMPEG4(DetectionInfo* info);
    void FindForegroundOptimyzedForH264Partly();
    void FindForegroundIFrames(unsigned char* current, unsigned char* previous);   // [block] luma each
    void FindForegroundPFrames(unsigned char* current, unsigned char* reference);  // [block] luma each

    // ---- Shadows (MotionDetector-Shadow.cpp) -----------------------------------------------------------------------
    void DetectShadow(DetectionInfo* info);

    // ---- Zones and objects (MotionDetector-Zones.cpp) --------------------------------------------------------------
    void ProcessOneZone();  // the zone at _nextProcessZone, which does not move
    int FindMovingInPixels(MDZone* zone);
    void BuildCurrentMovingObject(int& processed, int& count, int label);
    void RemoveSmallObjects(MDZone* zone);
    void ResolveMotionObjectsMapIndex(MotionObjectPool& pool, int fromIndex);
    void ResolveMotionObjects(int count);

    // ---- Text dumps (MotionDetector-Dumps.cpp); a file that cannot be opened is skipped -----------------------------
    void SaveBlocksArray(unsigned char* blocks, int unused, char* path);   // 0 and 1, no separator
    void SaveBlocksArrayV(unsigned char* blocks, int unused, char* path);  // three digits and a blank
    void SaveBlocksArray(float* blocks, int unused, char* path);           // one decimal and a blank

    // ---- Members ---------------------------------------------------------------------------------------------------
    short* _movingPixelX;           // [block] columns of a zone's moving blocks, raster order
    short* _movingPixelY;           // [block] their rows
    short* _objectPixelX;           // [block] columns of the object being built; queue of the fill
    short* _objectPixelY;           // [block] their rows
    float* _noiseLevel;             // [block] grey levels; 21 at allocation, then learned
    unsigned char* _isStable;       // [block] {0,255}; quiet and consistent in this frame
    int blockCountX;                // blocks per row
    int blockCountY;                // block rows
    int blockCount;                 // their product
    int _bgr24Size;                 // _bgr24Stride * blockCountY, modulo 2^32
    unsigned char* _bgr24Copy;      // _bgr24Size bytes (none where that is negative); not read
    unsigned char* _backgroundY;    // [block]
    unsigned char* _backgroundCb;   // [block]
    unsigned char* _backgroundCr;   // [block]
    unsigned char* _isBackground;   // [block] {0,255}; 255: confirmed background
    unsigned char* _notBackground;  // [block] inverse of it, filled by GetBackground only
    std::int64_t* _lastChangeTime;  // [block] ticks; last difference from recent frames
    std::int64_t* _backgroundTime;  // [block] ticks; background last set or refreshed
    std::int64_t* _sampleTime;      // [block] ticks; of the candidate sample
    float* _sampleValue;            // [block] grey levels; candidate background
    FrameStatistics _frameStatistics;
    unsigned char* _isObject;       // [block] {0,255}; foreground of this frame
    unsigned char* _isMotionPixel;  // [block] {0,255}; differs from recent frames, or foreground
    std::int64_t _currentTime;      // ticks; of the frame being processed
    int _skipPhase;                 // 0..5
    int _skipFrameCounter;          // 0..65, frames in the phase
    std::int64_t _lastFrameTime;    // ticks; last frame that SkipFrame let through
    bool _extraFlag1;
    bool _isIFrame;
    double _fps;  // frames per second
    bool _passThroughFlag;
    bool _detectShadow;
    bool _extraFlag2;
    bool _mpeg4IFrameOverride;  // MPEG-4 mode: its own variant even on I-frames; nothing sets it
    bool _isMPEG4;
    bool _h264PartlyIsOptimized;
    bool _h264PartlyIsIFrame;
    H264PartlyStatistic _h264PartlyStatistic;
    unsigned char* _zoneResultMap;      // [block] 0 no motion, 1 motion, 2 shadow
    int _bgr24Stride;                   // bytes per row
    float* _backgroundLogGradientX;     // [block] of log(luma + 1), as the next three
    float* _backgroundLogGradientY;     // [block]
    float* _currentLogGradientX;        // [block]
    float* _currentLogGradientY;        // [block]
    float* _shadowGradientSum;          // [block] texture change in the block's window
    float* _shadowSpare0;               // [block] not used
    float* _shadowSpare1;               // [block] not used
    float* _shadowSpare2;               // [block] not used
    float* _shadowSpare3;               // [block] not used
    float* _shadowChromaSum;            // [block] colour change in the block's window
    float* _shadowCbDifference;         // [block] chroma levels, times 0.01
    float* _shadowCrDifference;         // [block] chroma levels, times 0.01
    unsigned char* _shadowSearchMask;   // [block] {0,1}; foreground and its neighbours
    unsigned char* _foregroundMask;     // [block] {0,255}; written by SolveForeground
    unsigned short* _objectsMap;        // [block] 0 none, 65535 moving and not yet assigned, else the label
    unsigned char* _uniformMask;        // [block] {0,1}; work mask of the similarity refinement
    unsigned char* _neighbourhoodMask;  // [block] {0,1}; its 3 x 3 square, the first 9 entries
    short* _finalPixelX;                // [block] columns of an object's surviving blocks
    short* _finalPixelY;                // [block] their rows
    Utils::BufferSlot* _buffers;        // AllBuffersCount entries
    MDZone* _nextProcessZone;           // cursor over the zones
    MotionObject* _nextMotionObject;    // cursor over the objects
    MotionObjectPool _zonePool;         // objects of the zone being processed
    MotionObjectPool _mergedPool;       // objects of all zones
    MDZoneList _zones;
    int _h264FrameCounter;  // stays 0: only times limit the I-frame machine
    bool _processZones;     // Detect processes and merges the zones
    bool _solveForeground;  // Detect fills _foregroundMask
    // Bytes as h35 and h36 leave them: non-zero is on, and a bool could not hold every one of them.
    unsigned char _limitObjectsToMask;   // an object's box spans its _isMotionPixel blocks only
    unsigned char _longBackgroundTimes;  // slower confirmation and refresh

private:
    friend int32_t(::h15)(DetectorHandle*);
    friend MotionDetector*(::GetDetector)(void**);
    friend class CallCheck;
    friend class DetectorState;

    MD_INTERNAL explicit MotionDetector(int skipPhase);  // draws nothing

    // The first condition of a call that does not hold. Calls ensure them on their way, CallCheck asks before a call.
    MD_INTERNAL static Broken BrokenRecord(const DetectionInfo* info);
    MD_INTERNAL Broken BrokenStart() const;
    MD_INTERNAL Broken BrokenFit(const MDZone* currentZone) const;
    MD_INTERNAL Broken BrokenReadout() const;
    MD_INTERNAL bool MayDropWholeGrid(const MDZone& zone) const;
    MD_INTERNAL void EnsureOfFrame(const Broken& broken) const;  // of a trial, the end is an exception: TrialEnd

    MD_INTERNAL bool StartsAfresh(const DetectionInfo& info) const;
    static bool EntersRing(bool isH264Partly, bool isH264PartlyIFrame) { return !isH264Partly || isH264PartlyIFrame; }
    MD_INTERNAL BlockRange AllBlocks() const { return {0, static_cast<std::size_t>(blockCount)}; }
    MD_INTERNAL Grid BlockGrid() const { return {blockCountX, blockCountY}; }

    MD_INTERNAL void MakeBuffers(DetectionInfo* info);
    MD_INTERNAL void MakeArrays(DetectionInfo* info);
    MD_INTERNAL bool TakeFrame(DetectionInfo* info);  // copies it; true: it entered the ring
    MD_INTERNAL void ExamineBlocks(DetectionInfo* info, bool updateBackground);
    MD_INTERNAL void MarkForeground(DetectionInfo* info, BlockRange range);
    MD_INTERNAL void MarkForegroundStandard(BlockRange range);
    MD_INTERNAL void MarkForegroundMPEG4(DetectionInfo* info, BlockRange range);
    MD_INTERNAL void EnterNextSkipPhase();
    MD_INTERNAL void UpdateBlocks(BlockRange range, bool mayLearn);
    MD_INTERNAL void UpdateStretch(BlockRange range, bool mayLearn);
    MD_INTERNAL void ClearShadowPlanes();
    MD_INTERNAL void FindObjects();
    MD_INTERNAL void FindObjectsAgain();  // of the last frame, whatever the zones were then
    MD_INTERNAL void ProcessZones();
    MD_INTERNAL void ProcessZone();
    MD_INTERNAL void MergeZones();
    MD_INTERNAL void StartLabels();
    MD_INTERNAL int CollectMovingBlocks(MDZone* zone);
    MD_INTERNAL bool KeepObject(int count, int label);
    MD_INTERNAL void ClearUniformMask();
    MD_INTERNAL int RefineObject(Kernels::ObjectBlocks object, CellBox box, int label);

    std::unique_ptr<Kernels::BlockGroup[]> _foregroundGroups;  // groups of blocks with foreground, in raster order
    std::ptrdiff_t _foregroundGroupCount;
    bool _isUniformMaskClear;  // by this pass over the zones
    std::unique_ptr<ObjectMerger> _merger;
    bool _isOutOfReach;   // of hosts: they know the handle only, and write to none of the members
    int _shadowRowFirst;  // rows first to last - 1 of the shadow planes may hold more than zeros
    int _shadowRowLast;
    bool _isTrial;  // a copy that is shown a frame to see what becomes of it
};

}  // namespace MD
