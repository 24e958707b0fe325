// Does the C++ face say what the C functions say?  coreMD.hpp against the shared library: the same bytes for the same
// stream, what moves and what stays valid, where iterations begin and end, what stops the process.
#include "coreMD.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <ranges>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "OutputDigest.h"
#include "ScriptedStream.h"

namespace {

using coremd::Block;
using coremd::Box;
using coremd::Detector;
using namespace std::chrono_literals;

static_assert(std::forward_iterator<coremd::Object::BlockRange::Iterator>);
static_assert(std::ranges::input_range<coremd::ObjectRange> && !std::ranges::forward_range<coremd::ObjectRange>);
static_assert(std::ranges::input_range<coremd::ZoneResultRange> && !std::ranges::forward_range<coremd::ZoneResultRange>);

static_assert(!std::is_copy_constructible_v<Detector> && !std::is_copy_assignable_v<Detector>);
static_assert(std::is_nothrow_move_constructible_v<Detector> && std::is_nothrow_move_assignable_v<Detector>);
static_assert(sizeof(Detector) == sizeof(DetectorHandle) + 2 * sizeof(int));
static_assert(std::is_trivially_copyable_v<coremd::Object> && sizeof(coremd::Object) == sizeof(MDObjectInfo));

static_assert(coremd::Ticks(1s).count() == 10'000'000 && coremd::Ticks(40ms).count() == 400'000);
static_assert(coremd::Version{1, 2, 3} < coremd::Version{1, 10, 0} && coremd::Version{1, 9, 9} < coremd::Version{2, 0, 0});
static_assert(Box{3, 4, 5, 9}.Width() == 3 && Box{3, 4, 5, 9}.Height() == 6);

constexpr int columns = 24, rows = 18, blocks = columns * rows;
constexpr int framesUntilBackground = 45;  // nine seconds

// A grey scene, 0.2 s from frame to frame.
class Scene {
public:
    Scene() : _planes(3 * blocks, 128) { Fill({0, 0, columns - 1, rows - 1}, 100); }

    void Fill(Box box, int luma) {
        for (int y = box.top; y <= box.bottom; ++y)
            std::fill_n(_planes.begin() + y * columns + box.left, box.Width(), static_cast<std::uint8_t>(luma));
    }

    coremd::Frame Next() {
        _time += 200ms;
        return {.columns = columns, .rows = rows, .ycbcr = _planes, .time = _time};
    }

private:
    std::vector<std::uint8_t> _planes;
    coremd::Ticks _time{};
};

// A detector that knows the scene and sees two boxes appear.
constexpr Box small = {3, 2, 4, 3}, large = {10, 8, 14, 11};

struct TwoObjects {
    Scene scene;
    Detector detector;

    TwoObjects() {
        detector.AddWholePicture();
        for (int i = 0; i < framesUntilBackground; ++i) detector.Detect(scene.Next());
        scene.Fill(small, 200);
        scene.Fill(large, 200);
        detector.Detect(scene.Next());
    }
};

std::vector<coremd::Object> Collect(coremd::ObjectRange range) {
    std::vector<coremd::Object> objects;
    for (const coremd::Object& object : range) objects.push_back(object);
    return objects;
}

void ExpectTwoObjects(Detector& detector) {
    const std::vector<coremd::Object> objects = Collect(detector.Objects());
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0].Bounds(), small);
    EXPECT_EQ(objects[1].Bounds(), large);
}

// ---- The same stream, once through the C functions, once through the face ------------------------------------------------

Kit::StreamScript ScriptOf(Kit::InputKind kind) {
    Kit::StreamScript script;
    script.kind = kind;
    script.seed = 4711;
    script.shadows = kind == Kit::InputKind::StandardWithShadows ? 2 : 0;
    return script;
}

struct Turn {
    std::optional<bool> limitToMotion, learnSlowly;
    bool replaceZones;
};

// What the host does besides feeding frames: the same for both.
Turn TurnOf(int frame) {
    Turn turn{{}, {}, frame == 200};
    if (frame % 50 == 20) turn.limitToMotion = frame % 100 == 20;
    if (frame % 70 == 30) turn.learnSlowly = frame % 140 == 30;
    return turn;
}

constexpr int frameCount = 300;
std::uint8_t halfMask[] = {1, 1, 0, 1, 1, 0}, otherMask[] = {0, 1};

std::uint64_t DigestOfC(Kit::InputKind kind) {
    std::srand(1);
    DetectorHandle handle = nullptr;
    h15(&handle);
    MDZoneInfo first{halfMask, 3, 2, 0.3f, 0.0f, 0.0f}, second{otherMask, 2, 1, 0.3f, 0.1f, 0.2f};
    h12(&handle, &first);
    h12(&handle, &second);
    Kit::OutputDigest digest;
    Kit::ScriptedStream stream(ScriptOf(kind));
    for (int frame = 0; frame < frameCount; ++frame) {
        const Turn turn = TurnOf(frame);
        if (turn.limitToMotion) h35(&handle, *turn.limitToMotion ? 0 : 1);
        if (turn.learnSlowly) h36(&handle, *turn.learnSlowly);
        DetectionInfo info = stream.Next();
        if (turn.replaceZones) {
            h11(&handle);
            h12(&handle, &second);
            info.timestamp = -1;  // afresh
        }
        h13(&handle, &info);
        digest.AddFrame(&handle, stream.BlockCount());
    }
    h14(&handle);
    return digest.Value();
}

// The digest's order, read through the face.
void AddFrame(Kit::OutputDigest& digest, Detector& detector, std::size_t blockCount) {
    const coremd::FrameSummary summary = detector.Summary();
    digest.Add(summary.isReady ? COREMD_DELIVERED : COREMD_NOT_READY);
    digest.Add(summary.zoneResults);
    digest.Add(summary.isIFrame);
    digest.Add(summary.passThrough);
    digest.Add(summary.isReady ? COREMD_DELIVERED : COREMD_NOT_READY);
    for (const coremd::ZoneResult& zone : detector.ZoneResults()) {
        digest.Add(zone.ObjectCount());
        digest.AddArray(zone.Labels().data(), zone.Labels().size());
        digest.AddArray(zone.States().data(), zone.States().size());
        for (const coremd::Object& object : zone.Objects()) {
            digest.AddArray(object.Columns().data(), object.Columns().size());
            digest.AddArray(object.Rows().data(), object.Rows().size());
            digest.Add(object.Record().index);
            digest.Add(object.Record().secondIndex);
            digest.Add(object.Bounds().left);
            digest.Add(object.Bounds().right);
            digest.Add(object.Bounds().top);
            digest.Add(object.Bounds().bottom);
        }
        digest.Add(COREMD_EXHAUSTED);
    }
    const coremd::BackgroundPicture background = detector.Background();
    digest.Add(0);
    digest.AddArray(background.bgr.data(), 3 * blockCount);
    digest.AddArray(background.known.data(), blockCount);
}

// Refused calls between good ones leave no trace.
void TryWhatIsWrong(Detector& detector, coremd::Frame frame) {
    frame.rows = 0;
    EXPECT_STREQ(detector.TryDetect(frame).error(), "info->height > 0 && info->height < 10000");
    EXPECT_STREQ(detector.TryAddZone({.mask = {}, .columns = 1, .rows = -1}).error(), "maskWidth * maskHeight >= 0");
}

std::uint64_t DigestOfFace(Kit::InputKind kind, int changedFrame = -1, bool isTrying = false) {
    std::srand(1);
    Detector detector;
    const coremd::Zone second{.mask = otherMask, .columns = 2, .rows = 1, .minObjectWidth = 0.1f, .minObjectHeight = 0.2f};
    detector.AddZone({.mask = halfMask, .columns = 3, .rows = 2});
    detector.AddZone(second);
    Kit::OutputDigest digest;
    Kit::ScriptedStream stream(ScriptOf(kind));
    for (int frame = 0; frame < frameCount; ++frame) {
        const Turn turn = TurnOf(frame);
        if (turn.limitToMotion) detector.LimitToMotion(*turn.limitToMotion);
        if (turn.learnSlowly) detector.LearnSlowly(*turn.learnSlowly);
        DetectionInfo info = stream.Next();
        const auto blockCount = static_cast<std::size_t>(stream.BlockCount());
        if (frame == changedFrame) info.ycbcrForEachBlock[blockCount / 2] ^= 128;
        std::span<const std::uint8_t> reference;
        if (info.mpeg4ReferenceLuma) reference = {info.mpeg4ReferenceLuma, blockCount};
        if (turn.replaceZones) {
            detector.RemoveZones();
            detector.AddZone(second);
            info.timestamp = -1;
        }
        const coremd::Frame shown{.columns = info.width,
                                  .rows = info.height,
                                  .ycbcr = {info.ycbcrForEachBlock, 3 * blockCount},
                                  .time = coremd::Ticks(info.timestamp),
                                  .fps = info.fps,
                                  .detectShadow = info.detectShadow != 0,
                                  .isIFrame = info.isIFrame != 0,
                                  .passThrough = info.passThroughFlag != 0,
                                  .isMPEG4 = info.isMPEG4 != 0,
                                  .mpeg4ReferenceLuma = reference,
                                  .isPartlyH264 = info.isH264Partly != 0,
                                  .isPartlyH264IFrame = info.isH264PartlyIFrame != 0};
        if (isTrying) {
            TryWhatIsWrong(detector, shown);
            EXPECT_TRUE(detector.TryDetect(shown)) << frame;
        } else {
            detector.Detect(shown);
        }
        AddFrame(digest, detector, blockCount);
    }
    return digest.Value();
}

}  // namespace

TEST(CoreMDHppTest, SameOutputsAsTheCFunctions) {
    using enum Kit::InputKind;
    for (const Kit::InputKind kind : {Standard, StandardWithShadows, MPEG4, PartlyH264})
        EXPECT_EQ(DigestOfFace(kind), DigestOfC(kind)) << static_cast<int>(kind);
}

TEST(CoreMDHppTest, TriedFramesGiveTheSameOutputs) {
    using enum Kit::InputKind;
    for (const Kit::InputKind kind : {StandardWithShadows, MPEG4, PartlyH264})
        EXPECT_EQ(DigestOfFace(kind, -1, true), DigestOfC(kind)) << static_cast<int>(kind);
}

TEST(CoreMDHppTest, AChangedBlockChangesTheOutputs) {
    EXPECT_NE(DigestOfFace(Kit::InputKind::Standard, 150), DigestOfC(Kit::InputKind::Standard));
}

TEST(CoreMDHppTest, VersionsAreThoseOfHeaderAndLibrary) {
    EXPECT_EQ(coremd::LibraryVersion(), coremd::headerVersion);
    EXPECT_EQ(coremd::headerVersion.major, COREMD_VERSION_MAJOR);
}

TEST(CoreMDHppTest, NothingIsReadyBeforeElevenFrames) {
    Scene scene;
    Detector detector;
    detector.AddWholePicture();
    for (int frame = 0; frame <= 11; ++frame) {  // before the first frame too
        EXPECT_EQ(detector.Summary().isReady, frame == 11);
        EXPECT_EQ(detector.ZoneResults().begin() == detector.ZoneResults().end(), frame < 11);
        EXPECT_TRUE(Collect(detector.Objects()).empty());
        detector.Detect(scene.Next());
    }
}

TEST(CoreMDHppTest, ObjectsKnowTheirBlocks) {
    TwoObjects two;
    for (const coremd::Object& object : Collect(two.detector.Objects())) {
        const Box box = object.Bounds();
        ASSERT_EQ(object.BlockCount(), box.Width() * box.Height());
        ASSERT_EQ(object.Blocks().size(), object.Columns().size());
        std::vector<int> seen(blocks);
        std::size_t i = 0;
        for (const auto [column, row] : object.Blocks()) {
            EXPECT_TRUE(column >= box.left && column <= box.right && row >= box.top && row <= box.bottom);
            EXPECT_EQ(seen[static_cast<std::size_t>(row * columns + column)]++, 0);
            EXPECT_EQ((Block{object.Columns()[i], object.Rows()[i]}), (Block{column, row}));
            ++i;
        }
        EXPECT_EQ(i, object.Columns().size());
    }
}

TEST(CoreMDHppTest, EveryReadingStartsFromTheFirstObject) {
    TwoObjects two;
    ExpectTwoObjects(two.detector);
    for (const coremd::Object& object : two.detector.Objects()) {
        EXPECT_EQ(object.Bounds(), small);
        break;  // and leave the second one unread
    }
    ExpectTwoObjects(two.detector);
}

TEST(CoreMDHppTest, ARangeOfObjectsIsReadOnce) {
    TwoObjects two;
    const coremd::ObjectRange range = two.detector.Objects();
    EXPECT_EQ(Collect(range).size(), 2u);
    EXPECT_EQ(Collect(range).size(), 0u);
}

TEST(CoreMDHppTest, ZonesComeBackAsOneResult) {
    TwoObjects two;
    int results = 0;
    for (const coremd::ZoneResult& zone : two.detector.ZoneResults()) {
        ++results;
        EXPECT_EQ(zone.ObjectCount(), 2);
        ASSERT_EQ(zone.Labels().size(), static_cast<std::size_t>(blocks));
        ASSERT_EQ(zone.States().size(), static_cast<std::size_t>(blocks));
        std::uint16_t label = 0;
        for (const coremd::Object& object : zone.Objects()) {
            ++label;
            for (const auto [column, row] : object.Blocks())
                EXPECT_EQ(zone.Labels()[static_cast<std::size_t>(row * columns + column)], label);
        }
        EXPECT_EQ(label, 2);
        EXPECT_EQ(zone.Labels()[0], 0);
    }
    EXPECT_EQ(results, 1);
}

TEST(CoreMDHppTest, ResultsStayValidWhileTheDetectorMoves) {
    TwoObjects two;
    coremd::ObjectRange range = two.detector.Objects();
    coremd::ObjectRange::Iterator next = range.begin();
    const std::vector<coremd::Object> kept = Collect(two.detector.Objects());
    next = two.detector.Objects().begin();
    const Detector elsewhere = std::move(two.detector);
    EXPECT_EQ((++next)->Bounds(), large);
    EXPECT_TRUE(++next == range.end());
    EXPECT_EQ(kept[1].BlockCount(), large.Width() * large.Height());
    EXPECT_EQ(*kept[1].Blocks().begin(), (Block{large.left, large.top}));
}

TEST(CoreMDHppTest, MovingTakesTheDetectorAlong) {
    TwoObjects two;
    Detector first = std::move(two.detector);
    EXPECT_TRUE(first);
    EXPECT_FALSE(two.detector);
    EXPECT_EQ(first.Columns(), columns);
    EXPECT_EQ(two.detector.Columns(), 0);
    ExpectTwoObjects(first);

    Detector second;
    const DetectorHandle handle = *first.Handle();
    second = std::move(first);
    EXPECT_EQ(*second.Handle(), handle);
    EXPECT_FALSE(first);
    ExpectTwoObjects(second);

    Detector& itself = second;
    second = std::move(itself);
    ExpectTwoObjects(second);

    two.detector = Detector();  // a moved-from one takes another
    EXPECT_TRUE(two.detector);
    EXPECT_FALSE(two.detector.Summary().isReady);
}

TEST(CoreMDHppTest, BackgroundIsAPicture) {
    Detector unused;
    EXPECT_EQ(unused.Background().columns, 0);
    EXPECT_TRUE(unused.Background().bgr.empty());
    EXPECT_FALSE(unused.DrawBackground({}));

    TwoObjects two;
    const coremd::BackgroundPicture background = two.detector.Background();
    EXPECT_EQ(background.columns, columns);
    EXPECT_EQ(background.rows, rows);
    ASSERT_EQ(background.bgr.size(), static_cast<std::size_t>(3 * blocks));
    EXPECT_TRUE(background.IsKnown(columns - 1, rows - 1));
    for (const int channel : {0, 1, 2}) EXPECT_EQ(background.bgr[static_cast<std::size_t>(channel)], 100);

    std::vector<std::uint8_t> bgr(3 * blocks);
    std::vector<std::int32_t> known(blocks);
    EXPECT_TRUE(two.detector.DrawBackground(bgr));
    EXPECT_EQ(bgr, background.bgr);
    EXPECT_TRUE(two.detector.DrawBackground(bgr, known));
    EXPECT_EQ(known, background.known);
}

TEST(CoreMDHppTest, ALoadedDetectorGoesOn) {
    TwoObjects there;
    const std::vector<std::uint8_t> state = there.detector.SaveState();
    Detector detector;
    EXPECT_EQ(detector.LoadState({}), coremd::StateStatus::Foreign);
    EXPECT_EQ(detector.LoadState({state.data(), state.size() - 1}), coremd::StateStatus::Damaged);
    EXPECT_EQ(detector.Columns(), 0);
    ASSERT_EQ(detector.LoadState(state), coremd::StateStatus::Done);
    EXPECT_EQ(detector.Columns(), there.detector.Columns());
    EXPECT_EQ(detector.Rows(), there.detector.Rows());
    ExpectTwoObjects(detector);
    EXPECT_EQ(detector.Background().bgr, there.detector.Background().bgr);
    detector.Detect(there.scene.Next());
    ExpectTwoObjects(detector);
    EXPECT_NE(detector.SaveState(), state);
}

// The left half, then the right one: each object is in one of them.
TEST(CoreMDHppTest, ReplacedZonesGoOn) {
    TwoObjects two;
    const std::vector<std::uint8_t> left{1, 0}, right{0, 1};
    const coremd::Zone zones[] = {{.mask = left, .columns = 2, .rows = 1}};
    Detector successor = two.detector.ReplaceZones(zones);
    EXPECT_EQ(successor.Columns(), columns);
    EXPECT_EQ(successor.Rows(), rows);
    std::vector<coremd::Object> objects = Collect(successor.Objects());
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0].Bounds(), small);
    EXPECT_EQ(objects[1].Bounds(), (Box{large.left, large.top, columns / 2 - 1, large.bottom}));
    EXPECT_EQ(successor.Background().bgr, two.detector.Background().bgr);
    ExpectTwoObjects(two.detector);

    const coremd::Zone others[] = {{.mask = right, .columns = 2, .rows = 1}};
    successor = successor.ReplaceZones(others);
    successor.Detect(two.scene.Next());
    objects = Collect(successor.Objects());
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0].Bounds(), (Box{columns / 2, large.top, large.right, large.bottom}));
}

TEST(CoreMDHppTest, ClassesAreThoseOfTheHandle) {
    Detector detector;
    EXPECT_EQ(&detector.Classes(), GetDetector(detector.Handle()));
}

TEST(CoreMDHppTest, TheRestForwards) {
    const char source[] = "source";
    char destination[] = "target";
    EXPECT_EQ(coremd::CopyBytes(source, destination, 4), destination);
    EXPECT_STREQ(destination, "souret");
    EXPECT_EQ(coremd::Zero(), 0);
    coremd::DoNothing();
}

TEST(CoreMDHppDeathTest, ZonesThatCannotBeEndTheProcess) {
    Detector detector;
    const coremd::Zone noMask[] = {{.columns = 1, .rows = 1}};
    EXPECT_DEATH_IF_SUPPORTED(static_cast<void>(detector.ReplaceZones({})), "Assertion `count > 0' failed");
    EXPECT_DEATH_IF_SUPPORTED(static_cast<void>(detector.ReplaceZones(noMask)),
                              "ReplaceZones: mask holds fewer than columns \\* rows bytes");
}

TEST(CoreMDHppDeathTest, MovedFromDetectorsEndTheProcess) {
    Detector detector;
    const Detector other = std::move(detector);
    EXPECT_DEATH_IF_SUPPORTED(detector.AddWholePicture(), "Assertion `\\*ptr' failed");
    EXPECT_DEATH_IF_SUPPORTED(detector.Detect(Scene().Next()), "Assertion `\\*ptr' failed");
    EXPECT_DEATH_IF_SUPPORTED(detector.Objects(), "Assertion `\\*ptr' failed");
    EXPECT_DEATH_IF_SUPPORTED(detector.Background(), "Assertion `\\*ptr' failed");
    EXPECT_DEATH_IF_SUPPORTED(detector.Classes(), "Assertion `\\*ptr' failed");
}

TEST(CoreMDHppDeathTest, SpansThatAreTooShortEndTheProcess) {
    TwoObjects two;
    const coremd::Frame good = two.scene.Next();
    coremd::Frame bad = good;
    bad.ycbcr = good.ycbcr.first(3 * blocks - 1);
    EXPECT_DEATH_IF_SUPPORTED(two.detector.Detect(bad),
                              "coreMD.hpp: coremd::Detector::Detect: ycbcr holds fewer than 3 \\* columns");
    bad = good;
    bad.mpeg4ReferenceLuma = good.ycbcr.first(blocks - 1);
    EXPECT_DEATH_IF_SUPPORTED(two.detector.Detect(bad), "Detect: mpeg4ReferenceLuma holds fewer than columns");
    std::uint8_t mask[5] = {}, bgr[3 * blocks] = {};
    std::int32_t known[blocks - 1] = {};
    EXPECT_DEATH_IF_SUPPORTED(two.detector.AddZone({.mask = mask, .columns = 3, .rows = 2}),
                              "AddZone: mask holds fewer than columns");
    const std::span<std::uint8_t> shortBgr = std::span(bgr).first(3 * blocks - 1);
    EXPECT_DEATH_IF_SUPPORTED(two.detector.DrawBackground(shortBgr), "DrawBackground: bgr holds fewer than 3 \\* columns");
    EXPECT_DEATH_IF_SUPPORTED(two.detector.DrawBackground(bgr, known), "DrawBackground: known holds fewer than columns");
    two.detector.Detect(good);
}

TEST(CoreMDHppDeathTest, TheLibrarysPreconditionsStand) {
    Detector detector;
    EXPECT_DEATH_IF_SUPPORTED(detector.Detect(Scene().Next()), "Assertion `first' failed");
    EXPECT_DEATH_IF_SUPPORTED(detector.Detect({}), "Assertion `info->width > 0 && info->width < 10000' failed");
    EXPECT_DEATH_IF_SUPPORTED(detector.AddZone({}), "Assertion `source' failed");
}
