/* coreMD for C++20: the C interface of coreMD.h with readable names, a handle that frees itself, spans and ranges.
 *
 *     coremd::Detector detector;
 *     detector.AddWholePicture();
 *     for (...) {                                                      // every frame
 *         detector.Detect({.columns = 80, .rows = 45, .ycbcr = planes, .time = time, .fps = 10});
 *         for (const coremd::Object& object : detector.Objects()) Report(object.Bounds());
 *     }
 *
 * Header only: it compiles into the host, calls the C functions and adds nothing to them; the only thing promised between a
 * host and the library is the C interface. Functions here may be renamed in a new major version only.
 *
 * Words: a block is one cell of the grid; [block] is columns * rows elements, row after row.
 *
 * Lifetimes: what a frame or a zone shows to the detector is read during the call only. What a result shows (Labels, States,
 * Columns, Rows, Blocks) is the detector's own memory, valid until its next Detect or its end; moving the detector keeps it
 * valid. Objects and zone results are small records that may be copied and kept as long.
 *
 * Broken preconditions end the process with a message, in release builds too: those of the C functions with an assertion
 * (the text in quotation marks), those of this header with "coreMD.hpp: ...". TryAddZone and TryDetect refuse instead, and
 * say why. Memory that runs out is std::bad_alloc, out of Detector, AddZone, ReplaceZones, Detect, Background, SaveState and
 * LoadState.
 *
 * Threads: one thread at a time per detector; detectors share nothing, but for the failure handler and one rand() that each
 * draws when it is made.
 */
#ifndef COREMD_HPP
#define COREMD_HPP

#if !defined(__cplusplus) || __cplusplus < 202002L
#error "coreMD.hpp needs C++20 (-std=c++20); coreMD.h is for C11 and any C++"
#endif

#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <ratio>
#include <span>
#include <utility>
#include <vector>

#include "coreMD.h"

namespace coremd {

// ---- Version ------------------------------------------------------------------------------------------------------------

struct Version {
    int major, minor, patch;
    friend constexpr auto operator<=>(const Version&, const Version&) = default;
};

inline constexpr Version headerVersion{COREMD_VERSION_MAJOR, COREMD_VERSION_MINOR, COREMD_VERSION_PATCH};

// Of the library that runs. Compare before the first detector is made: below headerVersion it is an older library than the
// host was compiled for; unless equal to it, Detector::Classes must not be used.
inline Version LibraryVersion() {
    const int version = coreMD_Version();
    return {version / 10000, version / 100 % 100, version % 100};
}

// ---- What goes in -------------------------------------------------------------------------------------------------------

// 100 ns. Seconds, milliseconds and microseconds of <chrono> become ticks by themselves.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

// One frame, borrowed. The C record's BGR picture is left out: it is not read.
struct Frame {
    int columns = 0;                        // blocks per row, 1..9999 ("info->width > 0 && info->width < 10000")
    int rows = 0;                           // block rows, 1..9999
    std::span<const std::uint8_t> ycbcr{};  // 3 * [block]: Y of every block, then Cb, then Cr
    Ticks time{};                           // below the previous frame's: the detector starts afresh
    double fps = 25.0;                      // frames per second of the source; taken when starting afresh
    bool detectShadow = false;              // drop shadows; taken when starting afresh
    bool isIFrame = false;                  // a complete picture; matters in MPEG-4 mode, echoed in the summary
    bool passThrough = false;               // echoed in the summary
    bool isMPEG4 = false;                   // MPEG-4 mode; taken when starting afresh
    std::span<const std::uint8_t> mpeg4ReferenceLuma{};  // [block], or empty: MPEG-4 mode then marks nothing
    bool isPartlyH264 = false;                           // from a partial H.264 decode
    bool isPartlyH264IFrame = false;                     // and an I-frame of it
};

// Where motion is looked for, borrowed.
struct Zone {
    std::span<const std::uint8_t> mask{};  // columns * rows bytes, row after row, non-zero where the zone is active
    int columns = 0;                       // of the mask; any resolution, it is resampled onto the grid
    int rows = 0;
    float minObjectWidth = 0.0f;   // smallest object kept, as a fraction 0..1 of the grid's width; 0 keeps all
    float minObjectHeight = 0.0f;  // likewise of its height
    float value = 0.3f;            // carried with the zone, no effect
};

// ---- What comes out -----------------------------------------------------------------------------------------------------

struct FrameSummary {
    bool isReady;      // 11 frames of history are there; P-frames do not count
    int zoneResults;   // 0 while not ready, then 1: the zones' results are merged
    bool isIFrame;     // the input flag, or what the detector's frame cycle made of it
    bool passThrough;  // the input flag
};

// In blocks, ends included.
struct Box {
    int left, top, right, bottom;
    constexpr int Width() const { return right - left + 1; }
    constexpr int Height() const { return bottom - top + 1; }
    friend constexpr bool operator==(const Box&, const Box&) = default;
};

struct Block {
    int column, row;
    friend constexpr bool operator==(const Block&, const Block&) = default;
};

// What the state map holds, with shadow detection; without it, 0 everywhere.
enum BlockState : std::uint8_t { StateNone = 0, StateMotion = 1, StateShadow = 2 };

// One thing that moves.
class Object {
public:
    // The blocks of an object, in the order in which they were found. Forward range.
    class BlockRange {
    public:
        class Iterator {
        public:
            using value_type = Block;
            using difference_type = std::ptrdiff_t;
            using iterator_concept = std::forward_iterator_tag;
            using iterator_category = std::input_iterator_tag;

            Iterator() = default;
            Iterator(const std::int16_t* column, const std::int16_t* row) : _column(column), _row(row) {}
            Block operator*() const { return {*_column, *_row}; }
            Iterator& operator++() {
                ++_column, ++_row;
                return *this;
            }
            Iterator operator++(int) {
                Iterator before = *this;
                ++*this;
                return before;
            }
            friend bool operator==(const Iterator&, const Iterator&) = default;

        private:
            const std::int16_t* _column = nullptr;
            const std::int16_t* _row = nullptr;
        };

        explicit BlockRange(const MDObjectInfo& record) : _record(record) {}
        Iterator begin() const { return {_record.pixelsX, _record.pixelsY}; }
        Iterator end() const { return {_record.pixelsX + _record.pixelsCount, _record.pixelsY + _record.pixelsCount}; }
        std::size_t size() const { return static_cast<std::size_t>(_record.pixelsCount); }

    private:
        MDObjectInfo _record;
    };

    Object() = default;
    explicit Object(const MDObjectInfo& record) : _record(record) {}

    int BlockCount() const { return _record.pixelsCount; }
    Box Bounds() const { return {_record.left, _record.top, _record.right, _record.bottom}; }  // all 0 without blocks
    BlockRange Blocks() const { return BlockRange(_record); }
    std::span<const std::int16_t> Columns() const { return {_record.pixelsX, Blocks().size()}; }  // one of each block,
    std::span<const std::int16_t> Rows() const { return {_record.pixelsY, Blocks().size()}; }     // in parallel
    const MDObjectInfo& Record() const { return _record; }

private:
    MDObjectInfo _record{};
};

// Objects, read one by one from the detector: a range to go through once (std::input_iterator). An iteration under way must
// not go on after what moves the detector's cursor: its Summary, ZoneResults, Objects or Detect.
class ObjectRange {
public:
    class Iterator {
    public:
        using value_type = Object;
        using difference_type = std::ptrdiff_t;
        using iterator_concept = std::input_iterator_tag;

        explicit Iterator(DetectorHandle detector) : _detector(detector) {
            if (_detector) ++*this;
        }
        const Object& operator*() const { return _object; }
        const Object* operator->() const { return &_object; }
        Iterator& operator++() {
            MDObjectInfo record;
            if (h18(&_detector, &record) == COREMD_DELIVERED) _object = Object(record);
            else _detector = nullptr;
            return *this;
        }
        void operator++(int) { ++*this; }
        friend bool operator==(const Iterator& i, std::default_sentinel_t) { return !i._detector; }

    private:
        DetectorHandle _detector;  // null: at the end
        Object _object;
    };

    explicit ObjectRange(DetectorHandle detector) : _detector(detector) {}  // null: no objects
    Iterator begin() const { return Iterator(_detector); }
    std::default_sentinel_t end() const { return {}; }

private:
    DetectorHandle _detector;
};

// What was found in the zones.
class ZoneResult {
public:
    ZoneResult() = default;
    ZoneResult(DetectorHandle detector, const MDZoneDetectionInfo& record, std::size_t blockCount)
        : _detector(detector), _record(record), _blockCount(blockCount) {}

    int ObjectCount() const { return _record.objectsCount; }
    // Once, before the next zone result is asked for.
    ObjectRange Objects() const { return ObjectRange(_detector); }
    // [block] 0: no object; else the place of the block's object in Objects, from 1.
    std::span<const std::uint16_t> Labels() const { return {_record.objectsMap, _blockCount}; }
    // [block] BlockState.
    std::span<const std::uint8_t> States() const { return {_record.zoneMap, _blockCount}; }
    const MDZoneDetectionInfo& Record() const { return _record; }

private:
    DetectorHandle _detector = nullptr;
    MDZoneDetectionInfo _record{};
    std::size_t _blockCount = 0;
};

// Zone results, read one by one: a range to go through once.
class ZoneResultRange {
public:
    class Iterator {
    public:
        using value_type = ZoneResult;
        using difference_type = std::ptrdiff_t;
        using iterator_concept = std::input_iterator_tag;

        Iterator(DetectorHandle detector, int count, std::size_t blockCount)
            : _detector(detector), _left(count + 1), _blockCount(blockCount) {
            ++*this;
        }
        const ZoneResult& operator*() const { return _result; }
        const ZoneResult* operator->() const { return &_result; }
        Iterator& operator++() {
            MDZoneDetectionInfo record;
            if (--_left > 0 && h19(&_detector, &record) == COREMD_DELIVERED) _result = {_detector, record, _blockCount};
            else _left = 0;
            return *this;
        }
        void operator++(int) { ++*this; }
        friend bool operator==(const Iterator& i, std::default_sentinel_t) { return i._left == 0; }

    private:
        DetectorHandle _detector;
        int _left;  // results, the current one included
        std::size_t _blockCount;
        ZoneResult _result;
    };

    ZoneResultRange(DetectorHandle detector, int count, std::size_t blockCount)
        : _detector(detector), _count(count), _blockCount(blockCount) {}
    Iterator begin() const { return {_detector, _count, _blockCount}; }
    std::default_sentinel_t end() const { return {}; }

private:
    DetectorHandle _detector;
    int _count;
    std::size_t _blockCount;
};

// What became of a state that was to be loaded.
enum class StateStatus : std::int32_t {
    Done = COREMD_STATE_DONE,
    Foreign = COREMD_STATE_FOREIGN,             // these bytes are no state
    OtherVersion = COREMD_STATE_OTHER_VERSION,  // a state of another version of the library
    Damaged = COREMD_STATE_DAMAGED,             // cut off, too long, or not as it was written
    Impossible = COREMD_STATE_IMPOSSIBLE        // whole, but no detector holds such values
};

// The learned background as a picture of one pixel per block.
struct BackgroundPicture {
    int columns = 0;  // 0 before the first frame
    int rows = 0;
    std::vector<std::uint8_t> bgr;    // blue, green, red of every block; magenta where no background is known yet
    std::vector<std::int32_t> known;  // [block] 0, or 255 where a background is known

    // Of a block within the picture.
    bool IsKnown(int column, int row) const { return known[static_cast<std::size_t>(row * columns + column)] != 0; }
};

// What became of an attempt: it was made, or refused because of a condition that it would have broken. The shape of
// std::expected<void, const char*>, which C++20 lacks.
class [[nodiscard]] Attempt {
public:
    constexpr Attempt() = default;
    constexpr explicit Attempt(const char* broken) : _broken(broken) {}  // null: it was made

    constexpr bool has_value() const noexcept { return !_broken; }
    constexpr explicit operator bool() const noexcept { return has_value(); }
    // The text of the condition, of one that was refused: the one that Detect or AddZone would have ended with. Never freed.
    constexpr const char* error() const noexcept { return _broken; }

private:
    const char* _broken = nullptr;
};

// ---- The detector -------------------------------------------------------------------------------------------------------

class Detector {
public:
    // Draws one rand(): call std::srand with a fixed seed right before where two runs shall be equal.
    Detector() { h15(&_handle); }
    ~Detector() { h14(&_handle); }
    Detector(Detector&& other) noexcept
        : _handle(std::exchange(other._handle, nullptr)),
          _columns(std::exchange(other._columns, 0)),
          _rows(std::exchange(other._rows, 0)) {}
    Detector& operator=(Detector&& other) noexcept {
        Detector moved(std::move(other));
        std::swap(_handle, moved._handle);
        std::swap(_columns, moved._columns);
        std::swap(_rows, moved._rows);
        return *this;
    }

    // False once it was moved from. Such a detector may be destroyed or assigned to; all else ends the process ("*ptr").
    explicit operator bool() const { return _handle != nullptr; }

    // Adds a zone after those already there. Zones are fitted to the grid when the detector starts afresh: add them before
    // the first frame, at least one ("first"). With a zone added later, Detect ends the process as soon as the history is
    // filled ("currentZone->pixelMapWidth == blockCountX"), unless the detector starts afresh before: that is what
    // ReplaceZones is for. The mask must hold columns * rows bytes and not be null ("source").
    void AddZone(const Zone& zone) {
        Require("AddZone", MissingFrom(zone));
        MDZoneInfo record = RecordOf(zone);
        h12(&_handle, &record);
    }

    // Adds it where AddZone would not end the process, else says why not: nothing has changed then.
    Attempt TryAddZone(const Zone& zone) {
        if (const char* const missing = MissingFrom(zone)) return Attempt(missing);
        MDZoneInfo record = RecordOf(zone);
        if (const char* const broken = coreMD_CheckZone(&_handle, &record)) return Attempt(broken);
        h12(&_handle, &record);
        return Attempt();
    }

    // Adds a zone that covers everything. The sizes are fractions 0..1 of the grid's, 0 keeps all objects.
    void AddWholePicture(float minObjectWidth = 0.0f, float minObjectHeight = 0.0f) {
        static constexpr std::uint8_t everywhere[] = {1};
        AddZone({.mask = everywhere,
                 .columns = 1,
                 .rows = 1,
                 .minObjectWidth = minObjectWidth,
                 .minObjectHeight = minObjectHeight});
    }

    // Frames go on without objects; starting afresh without a zone ends the process ("first"). ReplaceZones brings zones
    // back.
    void RemoveZones() { h11(&_handle); }

    // Another detector, which goes on from all that this one knows with these zones, at least one ("count > 0"), as if it
    // had had them all along: blocks and objects of the frames to come are those, to the bit, and so is the last result.
    // This one stays as it is and can go on, too. While it runs: detector = detector.ReplaceZones(zones);
    [[nodiscard]] Detector ReplaceZones(std::span<const Zone> zones) {
        std::vector<MDZoneInfo> records;
        records.reserve(zones.size() + 1);  // never null
        for (const Zone& zone : zones) {
            Require("ReplaceZones", MissingFrom(zone));
            records.push_back(RecordOf(zone));
        }
        Detector successor(_columns, _rows);
        coreMD_ReplaceZones(&_handle, records.data(), static_cast<std::int32_t>(records.size()), &successor._handle);
        return successor;
    }

    // Limits objects to blocks that moved just now. On by default.
    void LimitToMotion(bool on) { h35(&_handle, on ? 0 : 1); }

    // Makes the background learn more slowly, and lets every block of an object count as one that moved just now, which
    // undoes the limit above. Off by default.
    void LearnSlowly(bool on) { h36(&_handle, on ? 1 : 0); }

    // Processes one frame. Ends the process where the frame's sizes are outside their ranges or its spans shorter than they
    // say; further preconditions, on zones and objects, are at h13.
    void Detect(const Frame& frame) {
        Require("Detect", MissingFrom(frame));
        Show(RecordOf(frame));
    }

    // Processes it where Detect would not end the process, else says why not: the detector is as it was then, and takes the
    // next frame. What that costs, on few grids and with few zones: coreMD_CheckFrame.
    Attempt TryDetect(const Frame& frame) {
        if (const char* const missing = MissingFrom(frame)) return Attempt(missing);
        const DetectionInfo record = RecordOf(frame);
        if (const char* const broken = coreMD_CheckFrame(&_handle, &record)) return Attempt(broken);
        Show(record);
        return Attempt();
    }

    // The grid of the last frame, 0 before the first.
    int Columns() const { return _columns; }
    int Rows() const { return _rows; }

    // Results of the last frame, as often as wanted: each of these starts from the first result again.
    FrameSummary Summary() {
        MDResultInfo record;
        const bool isReady = h17(&_handle, &record) == COREMD_DELIVERED;
        return {isReady, record.zoneResultsCount, record.isIFrame != 0, record.passThroughFlag != 0};
    }

    // None while the history is not filled.
    ZoneResultRange ZoneResults() { return {_handle, Summary().zoneResults, Product(_columns, _rows)}; }

    // The objects of all zones; none while the history is not filled.
    ObjectRange Objects() {
        MDZoneDetectionInfo record;
        const bool isReady = Summary().zoneResults > 0 && h19(&_handle, &record) == COREMD_DELIVERED;
        return ObjectRange(isReady ? _handle : nullptr);
    }

    // Draws the learned background into memory of the host's: 3 * [block] bytes and [block] flags as in BackgroundPicture;
    // flags may be left out. False, and nothing written, before the first frame.
    bool DrawBackground(std::span<std::uint8_t> bgr, std::span<std::int32_t> known = {}) {
        const std::size_t blocks = Product(_columns, _rows);
        Require("DrawBackground", bgr.size() < 3 * blocks ? "bgr holds fewer than 3 * columns * rows bytes" : nullptr);
        Require("DrawBackground",
                !known.empty() && known.size() < blocks ? "known holds fewer than columns * rows flags" : nullptr);
        return h33(&_handle, bgr.data(), known.empty() ? nullptr : known.data()) == 0;
    }

    // The same with memory of its own. Empty before the first frame.
    BackgroundPicture Background() {
        const std::size_t blocks = Product(_columns, _rows);
        BackgroundPicture picture{_columns, _rows, std::vector<std::uint8_t>(3 * blocks), std::vector<std::int32_t>(blocks)};
        return DrawBackground(picture.bgr, picture.known) ? picture : BackgroundPicture{};
    }

    // Everything that decides about the frames to come, and the result of the last one.
    std::vector<std::uint8_t> SaveState() {
        std::vector<std::uint8_t> state(static_cast<std::size_t>(coreMD_StateSize(&_handle)));
        coreMD_SaveState(&_handle, state.data(), static_cast<std::int64_t>(state.size()));
        return state;
    }

    // Makes this detector what the saved one was, zones, settings and grid included: frames give what they would have given
    // there, to the bit. The bytes may be anything; unless the status is Done, nothing has changed.
    StateStatus LoadState(std::span<const std::uint8_t> state) {
        const auto size = static_cast<std::int64_t>(state.size());
        return static_cast<StateStatus>(coreMD_LoadState(&_handle, state.data(), size, &_columns, &_rows));
    }

    // The classes behind the handle, with <coreMD/detector/MotionDetector.h>. No ABI promise: LibraryVersion() must equal
    // headerVersion. Frames still go through Detect, which keeps the grid for the results' sizes.
    MD::MotionDetector& Classes() { return *GetDetector(&_handle); }

    // For the C functions. The handle stays this object's: h15 and h14 are not for it, and h13 only on the grid of Detect.
    DetectorHandle* Handle() { return &_handle; }

private:
    Detector(int columns, int rows) : _columns(columns), _rows(rows) {}  // no handle yet

    static std::size_t Product(int columns, int rows) {
        return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    }

    // The C records have no const; the library does not write to what goes in.
    static std::uint8_t* Readable(std::span<const std::uint8_t> bytes) { return const_cast<std::uint8_t*>(bytes.data()); }

    // What a span lacks, null where all are as long as their record says.
    static const char* MissingFrom(const Zone& zone) {
        const std::int64_t cells =
            std::int64_t{zone.columns} * zone.rows;  // as h12 counts them: above 0 for two negative sizes
        if (cells > 0 && zone.mask.size() < static_cast<std::uint64_t>(cells))
            return "mask holds fewer than columns * rows bytes";
        return nullptr;
    }
    static const char* MissingFrom(const Frame& frame) {
        const bool hasBlocks = frame.columns > 0 && frame.rows > 0;
        const std::size_t blocks = hasBlocks ? Product(frame.columns, frame.rows) : 0;
        if (frame.ycbcr.size() < 3 * blocks) return "ycbcr holds fewer than 3 * columns * rows bytes";
        if (!frame.mpeg4ReferenceLuma.empty() && frame.mpeg4ReferenceLuma.size() < blocks)
            return "mpeg4ReferenceLuma holds fewer than columns * rows bytes";
        return nullptr;
    }

    static MDZoneInfo RecordOf(const Zone& zone) {
        return {.mask = Readable(zone.mask),
                .maskWidth = zone.columns,
                .maskHeight = zone.rows,
                .zoneValue = zone.value,
                .minObjectWidth = zone.minObjectWidth,
                .minObjectHeight = zone.minObjectHeight};
    }
    static DetectionInfo RecordOf(const Frame& frame) {
        DetectionInfo record{};
        record.width = frame.columns;
        record.height = frame.rows;
        record.bgr24stride = static_cast<std::int32_t>(3u * static_cast<unsigned>(frame.columns));  // of any column count
        record.timestamp = frame.time.count();
        record.bgr24ForEachBlock = Readable(frame.ycbcr);  // its pixels are not read; these are as many bytes
        record.ycbcrForEachBlock = Readable(frame.ycbcr);
        record.mpeg4ReferenceLuma = Readable(frame.mpeg4ReferenceLuma);
        record.isIFrame = frame.isIFrame;
        record.fps = frame.fps;
        record.passThroughFlag = frame.passThrough;
        record.detectShadow = frame.detectShadow;
        record.isMPEG4 = frame.isMPEG4;
        record.isH264Partly = frame.isPartlyH264;
        record.isH264PartlyIFrame = frame.isPartlyH264IFrame;
        return record;
    }

    void Show(DetectionInfo record) {
        _columns = record.width;
        _rows = record.height;
        h13(&_handle, &record);
    }

    static void Require(const char* operation, const char* failure) {
        if (!failure) return;
        std::fprintf(stderr, "coreMD.hpp: coremd::Detector::%s: %s\n", operation, failure);
        std::abort();
    }

    DetectorHandle _handle = nullptr;
    int _columns = 0;  // of the last frame
    int _rows = 0;
};

// ---- The rest of the C interface ----------------------------------------------------------------------------------------

// Copies bytes; nothing where length < 1. Source first, as in the C function. Returns the destination.
inline void* CopyBytes(const void* source, void* destination, int length) { return h20(source, destination, length); }

inline int Zero() { return h16(); }  // returns 0
inline void DoNothing() { h34(); }

}  // namespace coremd

#endif  // COREMD_HPP
