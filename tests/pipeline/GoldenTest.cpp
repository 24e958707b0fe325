// Do eventful streams still give what they gave when the digests in golden/ were stored?  One file per stream, one digest of
// everything that a host can read for each hundred frames.
//
// A change that is meant to change results stores new digests: run GoldenTest once with COREMD_UPDATE_GOLDEN=1 in the
// environment, look at the difference in version control, and say in the commit why it is right.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "DetectorHost.h"
#include "OutputDigest.h"
#include "ScriptedStream.h"
#include "detector/MotionDetector.h"

using Kit::GroundKind;
using Kit::InputKind;
using Kit::oneSecond;

namespace {

constexpr int framesPerDigest = 100;

struct GoldenScene {
    const char* name;
    Kit::StreamScript script;
    int frames = 600;
    int zones = 1;
    bool isUnlimited = false, isSlow = false;
    int skipPhase = 0;
    int changedFrame = -1;  // one block of this frame is something else
};

void PrintTo(const GoldenScene& scene, std::ostream* out) { *out << scene.name; }

const GoldenScene scenes[] = {
    {.name = "standard", .script = {.seed = 101, .noise = 2}},
    {.name = "standard-skipping", .script = {.seed = 102, .things = 4, .jitterPercent = 40, .fps = 5.0}, .skipPhase = 1},
    {.name = "standard-slow", .script = {.seed = 103, .hasDrift = true, .jitterPercent = 20}, .zones = 3, .isSlow = true},
    {.name = "standard-unlimited",
     .script = {.seed = 104, .ground = GroundKind::Checkerboard, .things = 5},
     .zones = 2,
     .isUnlimited = true},
    {.name = "mpeg4", .script = {.kind = InputKind::MPEG4, .seed = 105, .things = 3}},
    {.name = "mpeg4-zones",
     .script = {.kind = InputKind::MPEG4, .columns = 40, .rows = 5, .seed = 106, .noise = 3},
     .zones = 3},
    {.name = "partly-h264", .script = {.kind = InputKind::PartlyH264, .seed = 107, .things = 3, .interval = oneSecond / 2}},
    {.name = "partly-h264-slow",
     .script = {.kind = InputKind::PartlyH264, .seed = 108, .hasDrift = true, .interval = oneSecond},
     .zones = 2,
     .isSlow = true},
    {.name = "shadows", .script = {.kind = InputKind::StandardWithShadows, .seed = 109, .shadows = 3}},
    {.name = "shadows-lattice",
     .script = {.kind = InputKind::StandardWithShadows,
                .seed = 110,
                .ground = GroundKind::Lattice,
                .things = 1,
                .shadows = 4,
                .noise = 3,
                .hasDrift = true},
     .zones = 2},
    {.name = "one-row", .script = {.kind = InputKind::StandardWithShadows, .columns = 61, .rows = 1, .seed = 111}},
    {.name = "one-column", .script = {.columns = 1, .rows = 37, .seed = 112, .ground = GroundKind::Flat}},
};

void AddZones(Kit::DetectorHost& host, int zones) {
    if (zones == 1) host.AddWholeFrame();
    std::uint8_t left[] = {1, 1, 0}, right[] = {0, 1, 1, 1, 1, 1, 0, 1, 1}, everywhere[] = {1};
    if (zones >= 2) host.AddZone(left, 3, 0.1f, 0.1f);
    if (zones >= 2) host.AddZone(right, 3, 0.05f, 0.0f);
    if (zones >= 3) host.AddZone(everywhere, 1, 0.15f, 0.2f);
}

std::vector<std::uint64_t> DigestsOf(const GoldenScene& scene) {
    Kit::DetectorHost host;
    GetDetector(host.Handle())->_skipPhase = scene.skipPhase;  // not the one that the C library's random numbers draw
    AddZones(host, scene.zones);
    if (scene.isUnlimited) h35(host.Handle(), 1);
    if (scene.isSlow) h36(host.Handle(), 1);
    Kit::ScriptedStream stream(scene.script);
    std::vector<std::uint64_t> digests;
    Kit::OutputDigest digest;
    for (int frame = 0; frame < scene.frames; ++frame) {
        DetectionInfo info = stream.Next();
        if (frame == scene.changedFrame) info.ycbcrForEachBlock[stream.BlockCount() / 2] ^= 64;
        h13(host.Handle(), &info);
        digest.AddFrame(host.Handle(), stream.BlockCount());
        if ((frame + 1) % framesPerDigest != 0) continue;
        digests.push_back(digest.Value());
        digest = Kit::OutputDigest();
    }
    return digests;
}

std::string PathOf(const GoldenScene& scene) { return std::string(COREMD_GOLDEN_DIRECTORY "/") + scene.name + ".txt"; }

std::string AsText(const GoldenScene& scene, const std::vector<std::uint64_t>& digests) {
    std::ostringstream text;
    text << "# " << scene.name << ": last frame of the hundred, digest\n";
    for (std::size_t i = 0; i < digests.size(); ++i)
        text << std::dec << (i + 1) * framesPerDigest - 1 << ' ' << std::hex << std::setw(16) << std::setfill('0')
             << digests[i] << '\n';
    return text.str();
}

std::string Stored(const GoldenScene& scene) {
    std::ifstream file(PathOf(scene));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class Golden : public testing::TestWithParam<GoldenScene> {};

}  // namespace

TEST_P(Golden, SceneGivesTheStoredDigests) {
    const GoldenScene& scene = GetParam();
    const std::string text = AsText(scene, DigestsOf(scene));
    if (const char* update = std::getenv("COREMD_UPDATE_GOLDEN"); update && *update == '1') {
        std::ofstream(PathOf(scene)) << text;
        GTEST_SKIP() << "stored " << PathOf(scene);
    }
    std::istringstream stored(Stored(scene)), now(text);
    std::string storedLine, line;
    while (std::getline(now, line)) {
        if (!std::getline(stored, storedLine)) storedLine = "nothing";
        EXPECT_EQ(line, storedLine) << "scene " << scene.name << ", the hundred frames that end with this number";
    }
    EXPECT_FALSE(std::getline(stored, storedLine)) << "more digests stored than frames shown: " << storedLine;
}

INSTANTIATE_TEST_SUITE_P(Scenes, Golden, testing::ValuesIn(scenes), [](const auto& instance) {
    std::string name;
    bool isWordStart = true;
    for (const char c : std::string(instance.param.name)) {
        if (c != '-') name += static_cast<char>(isWordStart && c >= 'a' ? c - 'a' + 'A' : c);
        isWordStart = c == '-';
    }
    return name;
});

// The digests would be worth nothing if they did not see what happens: one block of one frame, in a scene where nothing
// moves, must show in its hundred frames, and not before.
TEST(GoldenComparison, NoticesOneBlockOfOneFrame) {
    const GoldenScene quiet{
        .name = "quiet", .script = {.seed = 120, .things = 0, .noise = 0, .hasFlicker = false}, .frames = 300};
    GoldenScene changed = quiet;
    changed.changedFrame = 150;
    const std::vector<std::uint64_t> before = DigestsOf(quiet), after = DigestsOf(changed);
    EXPECT_EQ(before, DigestsOf(quiet));
    EXPECT_EQ(before[0], after[0]);
    EXPECT_NE(before[1], after[1]);
}

TEST(GoldenComparison, DigestSeesEveryBitAndTheOrder) {
    std::vector<std::int32_t> values(40);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<std::int32_t>(i % 7);
    const auto digestOf = [&] {
        Kit::OutputDigest digest;
        digest.AddArray(values.data(), values.size());
        return digest.Value();
    };
    std::set<std::uint64_t> digests{digestOf()};
    std::size_t variants = 1;
    for (std::int32_t& value : values)
        for (int bit = 0; bit < 31; ++bit) {
            value ^= 1 << bit;
            digests.insert(digestOf());
            value ^= 1 << bit;
            ++variants;
        }
    std::swap(values[3], values[4]);
    digests.insert(digestOf());
    std::swap(values[3], values[4]);
    values.pop_back();
    digests.insert(digestOf());
    EXPECT_EQ(digests.size(), variants + 2);
}

// A stream that exercises nothing would be no golden stream: objects must come, and backgrounds must be drawn.
TEST_P(Golden, SceneHasObjectsAndBackground) {
    const GoldenScene& scene = GetParam();
    Kit::DetectorHost host;
    GetDetector(host.Handle())->_skipPhase = scene.skipPhase;
    AddZones(host, scene.zones);
    Kit::ScriptedStream stream(scene.script);
    int framesWithObjects = 0, known = 0;
    for (int frame = 0; frame < scene.frames; ++frame) {
        framesWithObjects += !host.Detect(stream.Next()).objects.empty();
        if (frame % 50 == 49) known = std::max(known, host.Background().KnownBlocks());
    }
    EXPECT_GT(framesWithObjects, 30);
    EXPECT_GT(known, stream.BlockCount() / 2);
}
