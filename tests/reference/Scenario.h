// Which streams can a host send?  Everything that happens to one detector, drawn from a seed: zones, setters and frames of
// every kind, in an order that the interface allows. The same seed gives the same stream everywhere.
// Caller: the differential test, which applies each step to the library and to the model.
#pragma once

#include "SeededRandom.h"
#include "coreMD.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Reference {

struct ZoneSetting {
    std::vector<std::uint8_t> mask;
    int width = 1, height = 1;
    float value = 0.3f, minWidth = 0.0f, minHeight = 0.0f;

    MDZoneInfo Info();  // points into this setting
};

// How the host reads the results of a frame.
enum class Reading { Everything, Twice, WithoutSummary, FirstObject, Nothing };

// What precedes a frame, in this order, and the frame.
struct Step {
    bool removeZones = false;
    std::vector<ZoneSetting> addZones;
    std::optional<int> limit, longTimes;

    DetectionInfo frame{};  // its pointers are set by Info
    std::vector<std::uint8_t> planes;
    std::vector<std::uint8_t> reference;  // empty: null
    Reading reading = Reading::Everything;

    DetectionInfo Info();  // points into this step
};

class Scenario {
public:
    explicit Scenario(std::uint64_t seed);

    int Frames() const { return _frames; }  // a sensible length of this stream
    Step Next();

private:
    enum class Stream { Standard, Mpeg4, Partial, Mixed };
    enum class Grids { One, Row, Column, Tiny, Small, Medium, Large };
    enum class Motion { Still, Marks, Rectangles, Shadows, Storm, Drift, Waking };
    struct Rectangle {
        int x, y, width, height, stepX, stepY;
        int luma, cb, cr;  // added
        int percent;       // of the luma below, before adding
    };
    // A stretch of frames of one character.
    struct Episode {
        int framesLeft = 0;
        Motion motion = Motion::Still;
        std::int64_t ticks = 0;          // from frame to frame
        int jitter = 0;                  // 0: none, 1: a tick more or less, 2: up to twice as long, 3: sometimes far longer
        int noise = 0, noisyBlocks = 1;  // amplitude; one block in so many
        int period = 1, duty = 1, shift = 0;  // marks show on `duty` of `period` frames, moved by `shift` columns each frame
        std::vector<int> luma, cb, cr;        // marks, [block]
        std::vector<Rectangle> rectangles;
        int driftPeriod = 1;
        bool isPartial = false;
        int iFrameDistance = 1;  // partial H.264: every so many frames an I-frame, 0: never
        int iFrameShare = 2;     // other streams: one frame in so many is an I-frame
        int referenceKind = 0;

        // Waking: of every four frames of partial H.264 the first is a P-frame with motion, the second a P-frame without,
        // 40 s later, the third an I-frame with motion, the fourth one without. That is what turns I-frame analysis on.
        int Beat() const { return (4 - framesLeft % 4) % 4; }
    };

    // what the detector is told: Scenario.cpp
    void PrepareZones(Step& step);
    void PrepareSetters(Step& step);
    void PrepareTime();
    std::int64_t WakingTicks();
    void PrepareFlags(Step& step);
    void ChooseGrid();
    void StartAfresh();
    bool StartsAfresh() const { return _frame == 0 || _hasNewGrid || _time < _lastTime; }
    void AddZones(Step& step, int count);
    ZoneSetting DrawZone();
    std::vector<std::uint8_t> DrawMask(int width, int height);
    float DrawMinimum(int blocks, bool mayDropAll);
    int Flag(bool value);

    // what the camera sees: ScenarioPicture.cpp
    void BeginEpisode();
    void ChooseTempo();
    void PaintScene();
    void ChangeScene();
    void DrawMarks();
    bool ShowsMarks() const;
    void DrawRectangles(bool shadows);
    void Paint(Step& step);
    void PaintRectangles(std::vector<int>& luma, std::vector<int>& cb, std::vector<int>& cr) const;
    void AddNoise(std::vector<int>& plane, int amplitude);
    void PaintReference(Step& step);
    std::size_t BlockCount() const { return static_cast<std::size_t>(_width * _height); }

    Kit::SeededRandom _random;
    Stream _stream;
    Grids _grids;
    int _frames;
    bool _hasWildTimes;  // far jumps, near the ends of the range
    bool _hasRestarts;   // new grids and times running backwards
    bool _hasRemovals;   // zones removed and added again
    bool _mayDropAll;    // minimum sizes beyond the grid, with masks that never fill it
    int _width = 0, _height = 0;
    int _zones = 0;
    int _framesWithoutZones = 0;  // left
    bool _hasNewGrid = false;
    std::int64_t _time = 0, _lastTime = 0;  // of this frame and the one before
    int _frame = 0;
    int _sinceIFrame = 0;
    double _fps = 25.0;
    bool _shadow = false, _mpeg4 = false;
    Episode _episode;
    std::vector<int> _luma, _cb, _cr;  // the scene, [block]
};

}  // namespace Reference
