// Does a detector that was loaded go on as if it had never stopped, and is everything that is no state refused?
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "OutputDigest.h"
#include "ScriptedStream.h"
#include "detector/MotionDetector.h"

using Kit::GroundKind;
using Kit::InputKind;
using Kit::SeededRandom;

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Host {
    Host() { h15(&handle); }
    ~Host() { h14(&handle); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    MD::MotionDetector& Detector() { return *GetDetector(&handle); }

    void AddZone(std::vector<std::uint8_t> mask, int width, float minWidth = 0.0f, float minHeight = 0.0f) {
        MDZoneInfo zone{mask.data(), width, static_cast<int>(mask.size()) / width, 0.3f, minWidth, minHeight};
        h12(&handle, &zone);
    }

    Bytes State() {
        Bytes state(static_cast<std::size_t>(coreMD_StateSize(&handle)));
        EXPECT_EQ(coreMD_SaveState(&handle, state.data(), static_cast<std::int64_t>(state.size())), COREMD_STATE_DONE);
        return state;
    }
    int Load(const Bytes& state) {
        return coreMD_LoadState(&handle, state.data(), static_cast<std::int64_t>(state.size()), nullptr, nullptr);
    }

    // Everything that can be read of the last frame.
    std::uint64_t Digest() {
        Kit::OutputDigest digest;
        const MD::MotionDetector& detector = Detector();
        digest.AddFrame(&handle, detector.blockCount);
        return digest.Value();
    }

    DetectorHandle handle = nullptr;
};

void AddRandomZones(Host& host, SeededRandom& random) {
    for (int zones = random.Between(1, 4); zones > 0; --zones) {
        const int columns = random.Between(1, 20), rows = random.Between(1, 20);
        Bytes mask(static_cast<std::size_t>(columns * rows));
        for (std::uint8_t& cell : mask) cell = random.OneIn(4) ? std::uint8_t{0} : std::uint8_t{1};
        mask[0] = 0;  // never the whole frame: an object may not fill it and be too small
        host.AddZone(mask, columns, static_cast<float>(random.Between(0, 3)) * 0.05f,
                     static_cast<float>(random.Between(0, 3)) * 0.05f);
    }
}

Kit::StreamScript DrawScript(InputKind kind, SeededRandom& random) {
    constexpr GroundKind grounds[] = {GroundKind::Texture, GroundKind::Lattice, GroundKind::Checkerboard, GroundKind::Flat};
    constexpr std::int64_t intervals[] = {Kit::oneSecond / 5, Kit::oneSecond / 3, Kit::oneSecond / 2};
    Kit::StreamScript script;
    script.kind = kind;
    script.columns = random.Between(1, 30);
    script.rows = random.Between(1, 22);
    script.seed = random.Next();
    script.ground = random.Pick(grounds);
    script.things = random.Between(1, 5);
    script.shadows = kind == InputKind::StandardWithShadows ? 3 : 0;
    script.noise = random.Between(0, 3);
    script.hasDrift = random.OneIn(2);
    script.interval = random.Pick(intervals);
    script.jitterPercent = random.Between(0, 50);
    script.fps = random.OneIn(2) ? 25.0 : 4.0;
    return script;
}

// A detector with a life of its own: nothing of it may be left after a load.
void Occupy(Host& host, SeededRandom& random) {
    AddRandomZones(host, random);
    h35(&host.handle, random.Between(0, 1));
    h36(&host.handle, random.Between(0, 1));
    Kit::ScriptedStream stream(DrawScript(InputKind::StandardWithShadows, random), random.Below(1000));
    for (int frames = random.Between(0, 70); frames > 0; --frames) {
        DetectionInfo info = stream.Next();
        h13(&host.handle, &info);
    }
}

// What every frame is said to make anew before it reads it.
void SpoilWorkPlanes(MD::MotionDetector& d, SeededRandom& random) {
    const std::size_t blocks = static_cast<std::size_t>(d.blockCount);
    const auto spoil = [&](auto* plane, std::size_t count) {
        using T = std::remove_pointer_t<decltype(plane)>;
        for (std::size_t i = 0; i < count; ++i) plane[i] = static_cast<T>(random.Byte());
    };
    for (short* plane : {d._movingPixelX, d._movingPixelY, d._objectPixelX, d._objectPixelY, d._finalPixelX, d._finalPixelY})
        spoil(plane, blocks);
    for (unsigned char* plane : {d._notBackground, d._shadowSearchMask, d._uniformMask, d._neighbourhoodMask})
        spoil(plane, blocks);
    for (float* plane :
         {d._backgroundLogGradientX, d._backgroundLogGradientY, d._currentLogGradientX, d._currentLogGradientY,
          d._shadowGradientSum, d._shadowSpare0, d._shadowSpare1, d._shadowSpare2, d._shadowSpare3, d._shadowChromaSum,
          d._shadowCbDifference, d._shadowCrDifference, d._frameStatistics._diff, d._frameStatistics._diffSquare})
        spoil(plane, blocks);
    spoil(d._frameStatistics._currentFrame, 3 * blocks);
}

// A stream cut at several places; from every cut on, a loaded detector sees what the uncut one sees.
class CutStream {
public:
    explicit CutStream(std::uint64_t seed) : _random(seed) {
        _uncut.Detector()._skipPhase = _random.Between(0, 5);
        AddRandomZones(_uncut, _random);
    }

    void Cut() {
        _loaded.push_back(std::make_unique<Host>());
        Host& host = *_loaded.back();
        if (_random.OneIn(2)) Occupy(host, _random);
        const Bytes state = _uncut.State();
        ASSERT_EQ(host.Load(state), COREMD_STATE_DONE) << "frame " << frame;
        ASSERT_EQ(host.State(), state) << "frame " << frame;
        if (!_uncut.Detector()._isObject) return;                        // no frame yet
        ASSERT_EQ(host.Digest(), _uncut.Digest()) << "frame " << frame;  // the last result
        if (_random.OneIn(2)) SpoilWorkPlanes(host.Detector(), _random);
    }

    // Frames of this kind with a cut now and then, and before the first.
    void Run(InputKind kind, int frames) {
        Kit::ScriptedStream stream(DrawScript(kind, _random), _time);
        for (int i = 0; i < frames; ++i, ++frame) {
            if (i == 0 || i == 1 || i == 10 || i == 11 || i == 12 || _random.OneIn(25)) Cut();
            if (_loaded.size() > 6) _loaded.erase(_loaded.begin() + _random.Below(6));
            if (_random.OneIn(60)) ForAll([value = _random.Between(0, 2)](Host& host) { h35(&host.handle, value); });
            if (_random.OneIn(90)) ForAll([value = _random.Between(0, 1)](Host& host) { h36(&host.handle, value); });
            DetectionInfo info = stream.Next();
            if (kind == InputKind::PartlyH264 && i / 40 % 3 == 2) info.isH264Partly = 0;  // in and out of the mode
            ForAll([&](Host& host) { h13(&host.handle, &info); });
            const std::uint64_t expected = _uncut.Digest();
            for (const auto& host : _loaded) ASSERT_EQ(host->Digest(), expected) << "frame " << frame;
            objects += _uncut.Detector()._mergedPool._busyList._objectsCount;
            for (int block = 0; block < stream.BlockCount(); ++block) known += _uncut.Detector()._isBackground[block] != 0;
        }
        for (const auto& host : _loaded) ASSERT_EQ(host->State(), _uncut.State()) << "frame " << frame;
        _time = _random.OneIn(2) ? stream.NextTime() : -1000000000;
    }

    int frame = 0;
    long objects = 0, known = 0;  // of all frames: else it proves little

private:
    template <class Action>
    void ForAll(Action action) {
        action(_uncut);
        for (const auto& host : _loaded) action(*host);
    }

    SeededRandom _random;
    Host _uncut;
    std::vector<std::unique_ptr<Host>> _loaded;
    std::int64_t _time = 0;
};

void ExpectSameFuture(InputKind kind, std::uint64_t seed) {
    CutStream stream(seed);
    for (int stretch = 0; stretch < 4 && !testing::Test::HasFatalFailure(); ++stretch) stream.Run(kind, 130);
    EXPECT_GT(stream.objects, 0);
    EXPECT_GT(stream.known, 0);
}

// A detector of a few blocks that has seen a thing, so that its state holds every part.
struct SmallHost : Host {
    SmallHost() {
        Detector()._skipPhase = 0;
        AddZone({1, 1, 0, 1}, 2);
        Bytes planes(3 * 12, 100);
        for (int i = 0; i < 40; ++i) Show(planes);
        planes[5] = planes[6] = 220;
        Show(planes);
        EXPECT_EQ(Detector()._mergedPool._busyList._objectsCount, 1);
    }

    void Show(Bytes& planes) {
        DetectionInfo info{};
        info.width = 4;
        info.height = 3;
        info.bgr24stride = 12;
        info.timestamp = _time += Kit::oneSecond / 4;
        info.bgr24ForEachBlock = info.ycbcrForEachBlock = planes.data();
        info.fps = 4.0;
        h13(&handle, &info);
    }

private:
    std::int64_t _time = 0;
};

void SealState(Bytes& state) {
    std::uint64_t sum = 14695981039346656037u;  // FNV-1a as it is written down
    for (std::size_t i = 0; i < state.size(); ++i) {
        if (i >= 32 && i < 40) continue;
        sum ^= state[i];
        sum *= 1099511628211u;
    }
    for (std::size_t i = 0; i < 8; ++i) state[32 + i] = static_cast<std::uint8_t>(sum >> (8 * i));
}

// With `count` bytes at `place` replaced; checksum anew.
Bytes With(Bytes state, std::size_t place, std::uint64_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) state[place + i] = static_cast<std::uint8_t>(value >> (8 * i));
    SealState(state);
    return state;
}

// Places of a state, in bytes; planes lie behind the only zone, whose mask has 4 cells and whose map 12.
constexpr std::size_t skipPhase = 48, skipFrameCounter = 52, isIFrame = 65, isFilled = 89, position = 92, lastPFrame = 97,
                      motionCount = 129, zoneCount = 133, zone = 137, planes = zone + 28 + 4 + 12;
constexpr std::size_t noise = planes + 12, samples = noise + 48 + 36, frames = samples + 48 + 48 + 3 * 96 + 12 + 24,
                      sums = frames + 33 * 12 + 24, objects = sums + 6 * 48;

class DetectorStateTest : public testing::Test {
protected:
    // Refused with this status, whatever the detector that is asked, which stays as it was.
    void ExpectRefused(const Bytes& state, int status, const std::string& what) {
        const Bytes before = _asked.State();
        EXPECT_EQ(_asked.Load(state), status) << what;
        EXPECT_EQ(_asked.State(), before) << what;
    }

    SmallHost _saved, _asked;
    const Bytes _state = _saved.State();
};

}  // namespace

TEST_F(DetectorStateTest, StandardStreamsGoOn) {
    for (const std::uint64_t seed : {1, 2, 3}) ExpectSameFuture(InputKind::Standard, seed);
}
TEST_F(DetectorStateTest, StreamsWithShadowsGoOn) {
    for (const std::uint64_t seed : {4, 5, 6}) ExpectSameFuture(InputKind::StandardWithShadows, seed);
}
TEST_F(DetectorStateTest, MPEG4StreamsGoOn) {
    for (const std::uint64_t seed : {7, 8, 9}) ExpectSameFuture(InputKind::MPEG4, seed);
}
TEST_F(DetectorStateTest, PartlyDecodedStreamsGoOn) {
    for (const std::uint64_t seed : {10, 11, 12}) ExpectSameFuture(InputKind::PartlyH264, seed);
}

// Without zones frames go on without objects, and the label map keeps its last contents.
TEST_F(DetectorStateTest, ADetectorWithoutZonesGoesOn) {
    Host other;
    h11(&_saved.handle);
    ASSERT_EQ(other.Load(_saved.State()), COREMD_STATE_DONE);
    EXPECT_EQ(other.Detector()._zones._count, 0);
    EXPECT_EQ(other.Digest(), _saved.Digest());
    EXPECT_EQ(other.Detector()._objectsMap[5], 1);
}

// Zones that were added too late are not fitted there either; a mask of no cells is a mask, too.
TEST_F(DetectorStateTest, ZonesThatAreNotFittedStaySo) {
    Host host, other;
    host.AddZone({1, 0, 1}, 3, 0.25f, -1.0f);
    std::uint8_t cell = 1;
    MDZoneInfo empty{&cell, 0, 7, 0.1f, 0.2f, 0.3f};
    h12(&host.handle, &empty);
    ASSERT_EQ(other.Load(host.State()), COREMD_STATE_DONE);
    const MD::MDZone& first = *other.Detector()._zones._first;
    EXPECT_EQ(first.mapWidth, 3);
    EXPECT_EQ(first.mapHeight, 1);
    EXPECT_EQ(Bytes(first.map, first.map + 3), (Bytes{1, 0, 1}));
    EXPECT_EQ(first.pixelMap, nullptr);
    EXPECT_EQ(first.minObjectWidth, 0.25f);
    EXPECT_EQ(first.minObjectHeight, -1.0f);
    EXPECT_EQ(first.zoneValue, 0.3f);
    EXPECT_EQ(first.next->mapWidth, 0);
    EXPECT_EQ(first.next->mapHeight, 7);
    EXPECT_EQ(other.Detector()._zones._count, 2);
}

// The draw of rand() is the only thing that two detectors share.
TEST_F(DetectorStateTest, LoadingDrawsNoRandomNumber) {
    std::srand(5);
    const int expected = std::rand();
    std::srand(5);
    ASSERT_EQ(_asked.Load(_state), COREMD_STATE_DONE);
    EXPECT_EQ(std::rand(), expected);
}

TEST_F(DetectorStateTest, SizesAreTold) {
    std::int32_t width = 7, height = 8;
    const auto size = static_cast<std::int64_t>(_state.size());
    Host other;
    EXPECT_EQ(coreMD_LoadState(&other.handle, _state.data(), size, &width, &height), COREMD_STATE_DONE);
    EXPECT_EQ(width, 4);
    EXPECT_EQ(height, 3);
    EXPECT_EQ(coreMD_LoadState(&other.handle, _state.data(), size - 1, &width, &height), COREMD_STATE_DAMAGED);
    EXPECT_EQ(width, 4);
    EXPECT_EQ(coreMD_LoadState(&other.handle, nullptr, size, &width, &height), COREMD_STATE_FOREIGN);
    EXPECT_EQ(coreMD_LoadState(&other.handle, _state.data(), -1, &width, &height), COREMD_STATE_FOREIGN);

    Host fresh;
    const Bytes nothing = fresh.State();
    EXPECT_EQ(coreMD_LoadState(&other.handle, nothing.data(), static_cast<std::int64_t>(nothing.size()), &width, &height),
              COREMD_STATE_DONE);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
    EXPECT_EQ(other.Detector()._isObject, nullptr);
}

TEST_F(DetectorStateTest, ABufferThatIsTooSmallStaysUntouched) {
    Bytes buffer(_state.size() - 1, 9);
    const auto size = static_cast<std::int64_t>(buffer.size());
    EXPECT_EQ(coreMD_SaveState(&_saved.handle, buffer.data(), size), COREMD_STATE_NO_ROOM);
    EXPECT_EQ(coreMD_SaveState(&_saved.handle, nullptr, 0), COREMD_STATE_NO_ROOM);
    EXPECT_EQ(buffer, Bytes(buffer.size(), 9));
    buffer.assign(_state.size() + 5, 9);
    EXPECT_EQ(coreMD_SaveState(&_saved.handle, buffer.data(), size + 6), COREMD_STATE_DONE);
    EXPECT_EQ(Bytes(buffer.begin(), buffer.end() - 5), _state);
    EXPECT_EQ(Bytes(buffer.end() - 5, buffer.end()), Bytes(5, 9));
}

TEST_F(DetectorStateTest, EveryBitThatChangesIsNoticed) {
    for (std::size_t bit = 0; bit < 8 * _state.size(); ++bit) {
        Bytes damaged = _state;
        damaged[bit / 8] = static_cast<std::uint8_t>(damaged[bit / 8] ^ 1u << bit % 8);
        const int status = bit < 64 ? COREMD_STATE_FOREIGN : bit < 96 ? COREMD_STATE_OTHER_VERSION : COREMD_STATE_DAMAGED;
        ExpectRefused(damaged, status, "bit " + std::to_string(bit));
    }
}

TEST_F(DetectorStateTest, EveryLengthButItsOwnIsRefused) {
    for (std::size_t length = 0; length < _state.size(); ++length)
        ExpectRefused({_state.begin(), _state.begin() + static_cast<std::ptrdiff_t>(length)},
                      length == 0 ? COREMD_STATE_FOREIGN : COREMD_STATE_DAMAGED, std::to_string(length) + " bytes");
    Bytes longer = _state;
    longer.push_back(0);
    ExpectRefused(longer, COREMD_STATE_DAMAGED, "one byte more");
}

// Whole and sealed, but cut off before: the parts do not end where the bytes do.
TEST_F(DetectorStateTest, PartsThatEndElsewhereAreRefused) {
    for (std::size_t length = 40; length < _state.size() + 3; ++length) {
        if (length == _state.size()) continue;
        Bytes state = _state;
        state.resize(length);
        ExpectRefused(With(state, 24, length, 8), COREMD_STATE_IMPOSSIBLE, std::to_string(length) + " bytes");
    }
}

TEST_F(DetectorStateTest, OtherVersionsAreRefused) {
    ExpectRefused(With(_state, 8, 2, 4), COREMD_STATE_OTHER_VERSION, "format");
    ExpectRefused(With(_state, 12, COREMD_VERSION + 1, 4), COREMD_STATE_OTHER_VERSION, "newer library");
    ExpectRefused(With(_state, 12, COREMD_VERSION - 1, 4), COREMD_STATE_OTHER_VERSION, "older library");
}

// The layout, as the places above know it: else the next test would test something else.
TEST_F(DetectorStateTest, ValuesAreWhereTheyAreSaid) {
    EXPECT_EQ(_state[skipFrameCounter], 31);  // of 41 frames, ten before there is a history
    EXPECT_EQ(_state[isFilled], 1);
    EXPECT_EQ(_state[position], 41 % 11);
    EXPECT_EQ(_state[zoneCount], 1);
    EXPECT_EQ(_state[zone], 2);
    EXPECT_EQ(_state[zone + 8], 4);
    EXPECT_EQ(_state[planes - 12], 1);
    EXPECT_EQ(_state[objects], 1);
    EXPECT_EQ(_state[objects + 4], 2);
    EXPECT_EQ(_state[objects + 8], 1);  // columns 1 and 2 of row 1
    EXPECT_EQ(_state[objects + 10], 2);
    EXPECT_EQ(_state[objects + 12], 1);
    EXPECT_EQ(_state.size(), objects + 16);
}

TEST_F(DetectorStateTest, ValuesThatNoDetectorHoldsAreRefused) {
    struct Case {
        const char* what;
        std::size_t place;
        std::uint64_t value;
        std::size_t bytes;
    };
    constexpr std::uint64_t minusOne = 0xFFFFFFFF;
    constexpr Case cases[] = {
        {"columns", 16, 5, 4},
        {"no columns", 16, 0, 4},
        {"too many columns", 16, 10000, 4},
        {"columns below 0", 16, minusOne, 4},
        {"rows", 20, 2, 4},
        {"no rows", 20, 0, 4},
        {"too many rows", 20, 10000, 4},
        {"rows below 0", 20, minusOne, 4},
        {"no grid", 16, 0, 8},
        {"the largest grid", 16, 9999 | std::uint64_t{9999} << 32, 8},
        {"phase", skipPhase, 6, 4},
        {"phase below 0", skipPhase, minusOne, 4},
        {"frames of the phase", skipFrameCounter, 66, 4},
        {"boolean", isIFrame, 2, 1},
        {"boolean of the statistics", isFilled, 255, 1},
        {"place in the ring", position, 11, 4},
        {"number of a P-frame", lastPFrame, std::uint64_t{1} << 62, 8},
        {"P-frames with motion", motionCount, minusOne, 4},
        {"zones", zoneCount, 2, 4},
        {"zones without end", zoneCount, minusOne, 4},
        {"cells below 0", zone, minusOne, 4},
        {"cells without end", zone, 0x7FFFFFFF7FFFFFFF, 8},
        {"fit", zone + 8, 5, 4},
        {"fit of rows", zone + 12, 2, 4},
        {"half a fit", zone + 8, 0, 4},
        {"fit beyond a grid", zone + 12, 10000, 4},
        {"noise that is no number", noise, 0x7FC00000, 4},
        {"noise without end", noise + 44, 0x7F800000, 4},
        {"sample below 0", samples, 0xBF800000, 4},
        {"sum", sums, 0x449F8000, 4},               // 1276
        {"squares", sums + 5 * 48, 0x489EC0C0, 4},  // 325126
        {"objects", objects, 2, 4},
        {"objects without end", objects, minusOne, 4},
        {"an object of nothing", objects + 4, 0, 4},
        {"blocks without end", objects + 4, minusOne, 4},
        {"column", objects + 8, 4, 2},
        {"column below 0", objects + 10, 0xFFFF, 2},
        {"row", objects + 14, 3, 2},
    };
    EXPECT_EQ(_asked.Load(With(_state, 40, 0, 0)), COREMD_STATE_DONE);
    for (const Case& c : cases) ExpectRefused(With(_state, c.place, c.value, c.bytes), COREMD_STATE_IMPOSSIBLE, c.what);

    Host fresh;
    ExpectRefused(With(fresh.State(), isFilled, 1, 1), COREMD_STATE_IMPOSSIBLE, "history without buffers");
    Bytes withObject = fresh.State();
    withObject.resize(withObject.size() + 8);
    withObject = With(withObject, 24, withObject.size(), 8);
    withObject = With(withObject, withObject.size() - 12, 1, 4);
    ExpectRefused(With(withObject, withObject.size() - 8, 1, 4), COREMD_STATE_IMPOSSIBLE, "an object without a grid");
}

TEST(DetectorStateDeathTest, BrokenPreconditionsEndTheProcess) {
    Host host;
    DetectorHandle none = nullptr;
    EXPECT_DEATH(coreMD_StateSize(&none), "Assertion `\\*ptr' failed");
    EXPECT_DEATH(coreMD_SaveState(&none, nullptr, 0), "Assertion `\\*ptr' failed");
    EXPECT_DEATH(coreMD_LoadState(nullptr, nullptr, 0, nullptr, nullptr), "Assertion `ptr' failed");
    EXPECT_DEATH(coreMD_SaveState(&host.handle, nullptr, 1 << 20), "Assertion `state' failed");
}
