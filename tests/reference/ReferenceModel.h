// What must every frame deliver?  A second, slow and obvious answer to everything that the library computes, written
// without a look at it: no pools, no rings, no running sums, one block after the other.
// Caller: the differential test, which runs the model beside the library. The operations mirror the C interface and take
// its records; preconditions are the same and are not checked here.
#pragma once

#include "ReferenceRules.h"
#include "RuleCounters.h"
#include "coreMD.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace Reference {

struct Cell {
    int x = 0, y = 0;
};

struct MotionObject {
    std::vector<Cell> cells;  // in the order in which they were found
    int left = 0, right = 0, top = 0, bottom = 0;
    std::size_t zone = 0;  // position of the zone that found it; of the absorbing object after a merge
};

// What h19 and h18 deliver.
struct ZoneResult {
    int status = COREMD_NOT_READY;  // the rest is meaningful when COREMD_DELIVERED
    const std::vector<MotionObject>* objects = nullptr;
    const std::vector<std::uint16_t>* labels = nullptr;  // [block] 1-based position of the block's object, 0: none
    const std::vector<std::uint8_t>* results = nullptr;  // [block] 0; with shadow detection 1: motion, 2: shadow
};

class Model {
public:
    // `startPhase`: the phase of frame skipping that the detector draws when it is made.
    explicit Model(int startPhase, const Rules& rules = {}) : _rules(rules), _skipPhase(startPhase) {}

    static int StartPhase(int drawn);  // from the value that rand() gave

    void AddZone(const MDZoneInfo& info);                     // h12
    void RemoveAllZones() { _zones.clear(); }                 // h11
    void Detect(const DetectionInfo& info);                   // h13
    int Summary(MDResultInfo& out);                           // h17
    ZoneResult Result();                                      // h19, and h18 for every object
    int Background(std::uint8_t* image, std::int32_t* mask);  // h33
    void SetLimit(int value);                                 // h35
    void SetLongTimes(int value);                             // h36

    std::size_t BlockCount() const { return _blocks.size(); }
    const RuleCounters& Counters() const { return _counters; }

private:
    struct Picture {  // one frame, [block] each
        std::vector<std::uint8_t> luma, cb, cr;
    };
    struct Window {  // five frames of one block
        float sum = 0.0f, squares = 0.0f;
    };
    struct Statistics {  // of one block
        Window first, second, center;
        int minimum = 255, maximum = 0;
    };
    struct Block {
        float noise = 0.0f;
        bool isStable = false;
        int backgroundY = 0, backgroundCb = 0, backgroundCr = 0;
        bool isBackground = false;
        Ticks lastChange = 0, backgroundTime = 0, sampleTime = 0;
        float sample = 0.0f;
        bool isObject = false;  // foreground of this frame
        bool isMotion = false;  // the second foreground mask
    };
    struct Zone {
        std::vector<std::uint8_t> mask;  // as the caller gave it
        int maskWidth = 0, maskHeight = 0;
        float minObjectWidth = 0.0f, minObjectHeight = 0.0f;
        std::vector<bool> fitted;  // [block]; empty until the buffers are made anew
        int fittedWidth = 0, fittedHeight = 0;
    };
    struct FrameMachine {  // when I-frames of a partial H.264 stream are analysed
        bool analysesIFrames = false;
        bool isInitialised = false;
        Ticks lastPFrame = 0, lastMotion = 0;
        int motionCount = 0;
    };

    // buffers, history and frame skipping: ReferenceModel.cpp
    bool MustStartAfresh(const DetectionInfo& info);
    void StartAfresh(const DetectionInfo& info);
    void TakePicture(const DetectionInfo& info);
    void UpdateStatistics();
    Window SumUp(std::size_t block, std::size_t firstAge, std::size_t lastAge) const;
    void FoldExtremes(std::size_t block, std::size_t lastAge);
    bool SkipsThisFrame();
    Ticks Since(Ticks then);
    bool IsFilled() const { return _framesSeen >= historyLength; }

    // background: ReferenceBackground.cpp
    void UpdateBackground();
    bool IsStable(const Statistics& statistics);
    float Dispersion(const Window& window) const;
    float NoiseOf(const Statistics& statistics);
    void TestChange(std::size_t block);
    void Learn(std::size_t block);
    void LearnSlowly(Block& block, float mean, std::size_t index);
    void TryCandidate(Block& block, float mean, std::size_t index);
    bool RenewSample(Block& block, float mean);
    void TakeSample(Block& block, float mean);
    void SetBackground(Block& block, float mean, std::size_t index);
    bool IsMeanNear(const Block& block, float mean);
    void LearnPartial(std::size_t block);
    bool HasTimedOut(const Block& block);

    // foreground: ReferenceForeground.cpp
    void FindForeground(const DetectionInfo& info);
    void FindStandard();
    void FindMpeg4(const DetectionInfo& info);
    bool LumaMoves(int luma, int reference, float noise);
    bool ChromaMoves(int chroma, int reference);
    void FindPartial();
    void FindInIFrame();
    void FindInPFrame();
    void ClearMasks();
    bool IsInRange(int reference);

    // shadow: ReferenceShadow.cpp
    void RemoveShadows();
    std::vector<bool> Surroundings() const;
    struct Features {
        float backgroundX = 0.0f, backgroundY = 0.0f, currentX = 0.0f, currentY = 0.0f, cb = 0.0f, cr = 0.0f;
    };
    Features FeaturesOf(int x, int y);
    float ChromaFeature(int chroma, int background);
    float ShadowScore(int x, int y, const std::vector<Features>& features);

    // zones and objects: ReferenceZones.cpp
    void Fit(Zone& zone);
    void ProcessZone(std::size_t zone);
    std::vector<Cell> Grow(Cell seed, std::uint16_t label);
    bool FindBox(const std::vector<Cell>& cells, MotionObject& object);
    void RemoveSmallObjects(const Zone& zone);
    bool IsSmall(const MotionObject& object, const Zone& zone);
    void Relabel(const std::vector<MotionObject>& objects, std::size_t firstPosition);
    void Merge();
    bool Touch(const MotionObject& a, const MotionObject& b) const;

    std::size_t IndexOf(int x, int y) const { return static_cast<std::size_t>(y * _width + x); }
    void Count(Rule rule) { _counters.Count(rule); }

    static constexpr std::size_t historyLength = 11;

    Rules _rules;
    RuleCounters _counters;

    // live on when the buffers are made anew
    int _skipPhase;
    int _skipCounter = 0;
    Ticks _lastPassed = 0;  // time of the last frame that frame skipping let through
    FrameMachine _frameMachine;
    bool _lastWasPartial = false;
    bool _limitToMotion = true;
    bool _longTimes = false;
    Ticks _now = 0;
    std::vector<Zone> _zones;

    // taken from every frame
    bool _isIFrame = false, _passThrough = false, _isPartial = false, _isPartialIFrame = false;

    // taken when the buffers are made anew
    int _width = 0, _height = 0;
    bool _detectShadow = false, _isMpeg4 = false;
    double _fps = 5.0;

    // made anew
    std::size_t _framesSeen = 0;
    std::deque<Picture> _history;  // newest first, at most 11
    Picture _pFrame;               // the last P-frame, outside the history
    std::vector<Statistics> _statistics;
    std::vector<Block> _blocks;
    std::vector<std::uint16_t> _labels;
    std::vector<std::uint8_t> _results;
    std::vector<MotionObject> _zoneObjects;  // of the zone processed last
    std::vector<MotionObject> _objects;      // of all zones, merged
};

}  // namespace Reference
