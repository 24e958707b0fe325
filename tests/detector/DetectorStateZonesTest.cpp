// Does a detector go on with other zones as one that had them all along, and its blocks as if nothing had happened?
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "OutputDigest.h"
#include "ScriptedStream.h"
#include "detector/MotionDetector.h"

using Kit::GroundKind;
using Kit::InputKind;
using Kit::SeededRandom;

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Zone {
    Bytes mask;
    int columns;
    float minWidth = 0.0f, minHeight = 0.0f;

    MDZoneInfo Record() {
        return {mask.data(), columns, static_cast<int>(mask.size()) / columns, 0.3f, minWidth, minHeight};
    }
};
using Zones = std::vector<Zone>;

std::vector<MDZoneInfo> RecordsOf(Zones& zones) {
    std::vector<MDZoneInfo> records;
    for (Zone& zone : zones) records.push_back(zone.Record());
    return records;
}

struct Host {
    Host() { h15(&handle); }
    explicit Host(Zones zones) : Host() { Add(std::move(zones)); }
    Host(Host& predecessor, Zones zones) {
        const std::vector<MDZoneInfo> records = RecordsOf(zones);
        const int status =
            coreMD_ReplaceZones(&predecessor.handle, records.data(), static_cast<std::int32_t>(records.size()), &handle);
        EXPECT_EQ(status, 0);
    }
    ~Host() { h14(&handle); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Add(Zones zones) {
        for (MDZoneInfo& record : RecordsOf(zones)) h12(&handle, &record);
    }
    MD::MotionDetector& Detector() { return *GetDetector(&handle); }

    Bytes State() {
        Bytes state(static_cast<std::size_t>(coreMD_StateSize(&handle)));
        EXPECT_EQ(coreMD_SaveState(&handle, state.data(), static_cast<std::int64_t>(state.size())), COREMD_STATE_DONE);
        return state;
    }
    std::uint64_t Digest() {
        Kit::OutputDigest digest;
        digest.AddFrame(&handle, Detector().blockCount);
        return digest.Value();
    }
    // What does not depend on zones: background, learning, statistics, foreground, motion, shadows.
    std::uint64_t BlockDigest() {
        Kit::OutputDigest digest;
        const MD::MotionDetector& d = Detector();
        const MD::FrameStatistics& s = d._frameStatistics;
        const auto blocks = static_cast<std::size_t>(d.blockCount);
        for (const unsigned char* plane : {d._backgroundY, d._backgroundCb, d._backgroundCr, d._isBackground, d._isStable,
                                           d._isObject, d._isMotionPixel, s._min, s._max})
            digest.AddArray(plane, blocks);
        for (const float* plane : {d._noiseLevel, d._sampleValue, s._firstPartSum, s._secondPartSum, s._centerPartSum,
                                   s._firstPartSquareSum, s._secondPartSquareSum, s._centerPartSquareSum})
            for (std::size_t i = 0; i < blocks; ++i) digest.Add(std::bit_cast<std::int32_t>(plane[i]));
        for (const std::int64_t* plane : {d._lastChangeTime, d._backgroundTime, d._sampleTime})
            digest.AddArray(plane, blocks);
        digest.AddArray(s._frames, 33 * blocks);
        for (std::size_t i = 0; i < blocks; ++i) digest.Add(d._zoneResultMap[i] == 2);
        return digest.Value();
    }
    long Objects() { return Detector()._mergedPool._busyList._objectsCount; }

    DetectorHandle handle = nullptr;
};

Zones DrawZones(SeededRandom& random) {
    Zones zones;
    for (int count = random.Between(1, 3); count > 0; --count) {
        const int columns = random.Between(1, 20), rows = random.Between(1, 20);
        Bytes mask(static_cast<std::size_t>(columns * rows));
        for (std::uint8_t& cell : mask) cell = random.OneIn(4) ? std::uint8_t{0} : std::uint8_t{1};
        mask[0] = 0;  // never the whole frame: an object may not fill it and be too small
        zones.push_back({mask, columns, static_cast<float>(random.Between(0, 3)) * 0.05f,
                         static_cast<float>(random.Between(0, 3)) * 0.05f});
    }
    return zones;
}

Kit::StreamScript DrawScript(InputKind kind, GroundKind ground, SeededRandom& random) {
    Kit::StreamScript script;
    script.kind = kind;
    script.columns = random.Between(6, 30);
    script.rows = random.Between(6, 22);
    script.seed = random.Next();
    script.ground = ground;
    script.things = random.Between(2, 5);
    script.shadows = kind == InputKind::StandardWithShadows ? 3 : 0;
    script.noise = random.Between(0, 3);
    script.hasDrift = random.OneIn(2);
    script.jitterPercent = random.Between(0, 50);
    script.fps = random.OneIn(2) ? 25.0 : 4.0;
    return script;
}

// A detector whose zones are replaced now and then, in a chain, beside one that never changed and, for the zones of the
// moment, one that had them all along.
class ReplacedZones {
public:
    ReplacedZones(InputKind kind, GroundKind ground, std::uint64_t seed)
        : _kind(kind),
          _random(seed),
          _stream(DrawScript(kind, ground, _random)),
          _first(DrawZones(_random)),
          _untouched(_first),
          _predecessor(_first),
          _skipPhase(_random.Between(0, 5)) {
        for (int i = 0; i < 3; ++i) _sets.push_back(DrawZones(_random));
        for (const Zones& zones : _sets) _allAlong.push_back(std::make_unique<Host>(zones));
        ForAll([this](Host& host) { host.Detector()._skipPhase = _skipPhase; });
    }

    void Run() {
        for (int frame = 0; frame < 130; ++frame) {
            SCOPED_TRACE("frame " + std::to_string(frame));
            if (frame == 0 || frame == 5 || frame == 11 || _random.OneIn(12)) Replace();
            if (frame == 60) _stream.Ground() = Kit::Lattice(Columns(), Rows(), 2, 200, 90);  // many small objects
            if (_random.OneIn(60)) ForAll([value = _random.Between(0, 1)](Host& host) { h35(&host.handle, value); });
            if (_random.OneIn(90)) ForAll([value = _random.Between(0, 1)](Host& host) { h36(&host.handle, value); });
            DetectionInfo info = _stream.Next();
            if (_kind == InputKind::PartlyH264 && frame / 40 % 3 == 2) info.isH264Partly = 0;  // in and out of the mode
            _columns = info.width, _rows = info.height;
            ForAll([&](Host& host) { h13(&host.handle, &info); });
            Count();
            Compare();
            if (frame % 10 == 9) {
                EXPECT_EQ(_replaced->State(), AllAlong().State());
            }
            if (testing::Test::HasFailure()) return;
        }
    }

    // Of all frames: else it proves little.
    long objects = 0, known = 0, shadows = 0, differences = 0;

private:
    int Columns() const { return _columns; }
    int Rows() const { return _rows; }

    template <class Action>
    void ForAll(Action action) {
        action(_untouched);
        action(_predecessor);
        for (const auto& host : _allAlong) action(*host);
        if (_replaced) action(*_replaced);
    }

    void Replace() {
        _set = _random.Below(3);
        Host& before = _replaced && _random.OneIn(2) ? *_replaced : _predecessor;
        const Bytes state = before.State();
        auto successor = std::make_unique<Host>(before, _sets[static_cast<std::size_t>(_set)]);
        ASSERT_EQ(before.State(), state);
        _replaced = std::move(successor);  // which may end the one before
        ASSERT_EQ(_replaced->State(), AllAlong().State());
        if (AllAlong().Detector()._isObject) Compare();  // the last result
    }

    void Compare() {
        EXPECT_EQ(_predecessor.Digest(), _untouched.Digest());
        EXPECT_EQ(_replaced->Digest(), AllAlong().Digest());
        EXPECT_EQ(_replaced->BlockDigest(), _untouched.BlockDigest());
    }

    void Count() {
        const MD::MotionDetector& d = _untouched.Detector();
        objects += _replaced->Objects();
        for (int block = 0; block < d.blockCount; ++block) {
            known += d._isBackground[block] != 0;
            shadows += d._zoneResultMap[block] == 2;
        }
        differences += _replaced->Objects() != _untouched.Objects();
    }

    Host& AllAlong() { return *_allAlong[static_cast<std::size_t>(_set)]; }

    InputKind _kind;
    SeededRandom _random;
    Kit::ScriptedStream _stream;
    Zones _first;
    Host _untouched, _predecessor;
    int _skipPhase;
    std::vector<Zones> _sets;
    std::vector<std::unique_ptr<Host>> _allAlong;  // one per set
    std::unique_ptr<Host> _replaced;
    int _set = 0;  // its zones
    int _columns = 0, _rows = 0;
};

void ExpectSameBlocks(InputKind kind) {
    for (const GroundKind ground : {GroundKind::Lattice, GroundKind::Texture}) {
        long objects = 0, known = 0, shadows = 0, differences = 0;
        for (std::uint64_t seed = 1; seed <= 3; ++seed) {
            SCOPED_TRACE("ground " + std::to_string(static_cast<int>(ground)) + ", seed " + std::to_string(seed));
            ReplacedZones run(kind, ground, seed);
            run.Run();
            if (testing::Test::HasFailure()) return;
            objects += run.objects, known += run.known, shadows += run.shadows, differences += run.differences;
        }
        EXPECT_GT(objects, 100);
        EXPECT_GT(known, 1000);
        EXPECT_GT(differences, 20);
        EXPECT_EQ(shadows > 0, kind == InputKind::StandardWithShadows);
    }
}

// A thing of 2 by 2 blocks moves in from the left; what is to the right of column 4 is another zone.
class SmallScene : public testing::Test {
protected:
    static constexpr int columns = 8, rows = 4, blocks = columns * rows;

    void Feed(Host& host, int frames = 1) {
        for (; frames > 0; --frames) {
            DetectionInfo info{};
            info.width = columns;
            info.height = rows;
            info.bgr24stride = 3 * columns;
            info.timestamp = _time += Kit::oneSecond / 4;
            info.bgr24ForEachBlock = info.ycbcrForEachBlock = _planes.data();
            info.fps = 4.0;
            h13(&host.handle, &info);
        }
    }
    void Put(int column) {
        for (const int y : {1, 2})
            for (const int x : {column, column + 1}) _planes[static_cast<std::size_t>(y * columns + x)] = 220;
    }

    const Zones _left{{{1, 0}, 2}}, _right{{{0, 1}, 2}};
    Host _host{_left};

private:
    Bytes _planes = Bytes(3 * blocks, 100);
    std::int64_t _time = 0;
};
using ReplaceZonesTest = SmallScene;
using ReplaceZonesDeathTest = SmallScene;

}  // namespace

TEST(ReplaceZonesStreamsTest, Standard) { ExpectSameBlocks(InputKind::Standard); }
TEST(ReplaceZonesStreamsTest, StandardWithShadows) { ExpectSameBlocks(InputKind::StandardWithShadows); }
TEST(ReplaceZonesStreamsTest, MPEG4) { ExpectSameBlocks(InputKind::MPEG4); }
TEST(ReplaceZonesStreamsTest, PartlyDecoded) { ExpectSameBlocks(InputKind::PartlyH264); }

// The result of the last frame is that of the new zones, and its arrays are nobody else's.
TEST_F(ReplaceZonesTest, TheLastResultIsTheNewZones) {
    Feed(_host, 40);
    Put(5);
    Feed(_host);
    ASSERT_EQ(_host.Objects(), 0);
    MDResultInfo summary{};
    MDZoneDetectionInfo before{}, after{};
    MDObjectInfo object{};
    h17(&_host.handle, &summary);
    ASSERT_EQ(h19(&_host.handle, &before), COREMD_DELIVERED);

    Host successor(_host, _right);
    EXPECT_EQ(h18(&successor.handle, &object), COREMD_EXHAUSTED);  // before a zone result was asked for
    EXPECT_EQ(h17(&successor.handle, &summary), COREMD_DELIVERED);
    EXPECT_EQ(summary.zoneResultsCount, 1);
    ASSERT_EQ(h19(&successor.handle, &after), COREMD_DELIVERED);
    EXPECT_EQ(after.objectsCount, 1);
    ASSERT_EQ(h18(&successor.handle, &object), COREMD_DELIVERED);
    EXPECT_EQ(object.left, 5);
    EXPECT_EQ(object.right, 6);
    EXPECT_NE(after.objectsMap, before.objectsMap);
    EXPECT_EQ(after.objectsMap[columns + 5], 1);
    EXPECT_EQ(before.objectsMap[columns + 5], 0);
    h14(&_host.handle);
    EXPECT_EQ(after.objectsMap[columns + 5], 1);
}

// After h11 frames go on without objects; h12 alone would end the process, and what it added is replaced as well.
TEST_F(ReplaceZonesTest, ZonesComeBackAfterTheyWereRemoved) {
    Feed(_host, 40);
    h11(&_host.handle);
    Put(5);
    Feed(_host);
    EXPECT_EQ(_host.Objects(), 0);
    _host.Add(_left);
    Host successor(_host, _right);
    EXPECT_EQ(successor.Objects(), 1);
    Put(4);
    Feed(successor);
    EXPECT_EQ(successor.Objects(), 1);
    EXPECT_EQ(successor.Detector()._zones._count, 1);
}

TEST_F(ReplaceZonesTest, ZonesAreReplacedBeforeTheFirstFrame) {
    h35(&_host.handle, 1);
    Host successor(_host, _right);
    EXPECT_EQ(successor.Detector()._isObject, nullptr);
    EXPECT_EQ(successor.Detector()._limitObjectsToMask, 0);
    Feed(successor, 40);
    Put(5);
    Feed(successor);
    EXPECT_EQ(successor.Objects(), 1);
    Host empty;  // without any zone, too
    Host fromEmpty(empty, _right);
    Feed(fromEmpty, 12);
    EXPECT_EQ(fromEmpty.Detector()._zones._first->pixelMapWidth, columns);
}

// Like any other detector: another grid, or a time before the last, makes it start afresh with its own zones.
TEST_F(ReplaceZonesTest, TheSuccessorStartsAfreshAsEver) {
    Feed(_host, 40);
    Host successor(_host, _right);
    successor.Detector()._currentTime += 100 * Kit::oneSecond;
    Feed(successor);
    EXPECT_FALSE(successor.Detector()._frameStatistics._isFilled);
    EXPECT_EQ(successor.Detector()._zones._first->pixelMap[0], 0);
}

TEST_F(ReplaceZonesTest, NoRandomNumberIsDrawn) {
    Feed(_host, 12);
    std::srand(5);
    const int expected = std::rand();
    std::srand(5);
    Host successor(_host, _right);
    EXPECT_EQ(std::rand(), expected);
}

TEST_F(ReplaceZonesDeathTest, BrokenPreconditionsEndTheProcess) {
    DetectorHandle none = nullptr, other = nullptr;
    MDZoneInfo zone{nullptr, 1, 1, 0.3f, 0.0f, 0.0f};
    EXPECT_DEATH(coreMD_ReplaceZones(nullptr, &zone, 1, &other), "Assertion `ptr' failed");
    EXPECT_DEATH(coreMD_ReplaceZones(&none, &zone, 1, &other), "Assertion `\\*ptr' failed");
    EXPECT_DEATH(coreMD_ReplaceZones(&_host.handle, nullptr, 1, &other), "Assertion `zones' failed");
    EXPECT_DEATH(coreMD_ReplaceZones(&_host.handle, &zone, 0, &other), "Assertion `count > 0' failed");
    EXPECT_DEATH(coreMD_ReplaceZones(&_host.handle, &zone, -1, &other), "Assertion `count > 0' failed");
    EXPECT_DEATH(coreMD_ReplaceZones(&_host.handle, &zone, 1, nullptr), "Assertion `successor' failed");
    EXPECT_DEATH(coreMD_ReplaceZones(&_host.handle, &zone, 1, &_host.handle), "Assertion `!\\*successor' failed");
    EXPECT_DEATH(coreMD_ReplaceZones(&_host.handle, &zone, 1, &other), "Assertion `source' failed");
}
