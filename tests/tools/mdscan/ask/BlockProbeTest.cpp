// Is what is said of a block what the scan did with it?  Every few blocks of every analysed frame are asked, and compared
// with the detector's maps and with the objects that the scan found.
#include "ask/BlockProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <coreMD/detector/MotionDetector.h>

#include "ScanFixture.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "run/Job.h"
#include "settings/JobSettings.h"
#include "video/base/BlockMark.h"
#include "video/base/Box.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/base/Tally.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"
#include "video/zones/Zone.h"
#include "video/zones/ZoneMask.h"

namespace Scan {
namespace {

constexpr int verdicts = static_cast<int>(Verdict::Motion) + 1;

class Examiner : public JobListener {
public:
    explicit Examiner(int step) : _step(step) {}

    void OnRecord(const Record&) override {}
    void OnScanPicture(const ScanPicture&) override {}
    void OnPicture(double, const Video::Tally&) override {}

    void OnFrame(Video::Watcher& watcher, const Video::Findings& findings, const Video::PictureNumber&) override {
        const Video::PictureGrid& grid = watcher.Grid();
        const MD::MotionDetector& detector = watcher.Detector().Classes();
        const bool ready = watcher.Detector().Summary().isReady;
        const int blocks = grid.columns * grid.rows;
        for (int index = static_cast<int>(_asked) % _step; index < blocks; index += _step) {
            const std::size_t i = static_cast<std::size_t>(index);
            const Place place{index % grid.columns, index / grid.columns};
            const std::optional<BlockFacts> facts = Probe(watcher, place);
            ASSERT_TRUE(facts);
            const Verdict verdict = facts->verdict;
            ++_counts[static_cast<std::size_t>(verdict)];
            ++_asked;
            ASSERT_EQ(verdict == Verdict::NotReady, !ready);
            if (!ready) {
                continue;
            }
            const bool dropped = facts->shadowScore && *facts->shadowScore < facts->shadowLimit;
            ASSERT_EQ(facts->foreground && !dropped, detector._isObject[i] != 0) << Describe(findings, place);
            ASSERT_EQ(verdict == Verdict::Motion, Label(watcher, i) != 0) << Describe(findings, place);
            const bool kept = std::any_of(facts->candidates.begin(), facts->candidates.end(),
                                          [](const Candidate& candidate) { return candidate.verdict == Verdict::Motion; });
            ASSERT_EQ(verdict == Verdict::Motion, kept) << Describe(findings, place);
            ASSERT_EQ(verdict == Verdict::Motion, facts->object.has_value());
            if (facts->object) {
                ASSERT_TRUE(IsAmong(findings, *facts->object)) << Describe(findings, place);
            }
            if (detector._detectShadow) {
                ASSERT_EQ(dropped, detector._zoneResultMap[i] == coremd::StateShadow) << Describe(findings, place);
            }
            ASSERT_EQ(facts->history.front(), facts->current.y);
            if (facts->changed && facts->taught) {
                ASSERT_TRUE(Changes(*facts)) << Describe(findings, place);
            }
        }
    }

    long Count(Verdict verdict) const { return _counts[static_cast<std::size_t>(verdict)]; }

private:
    static int Label(Video::Watcher& watcher, std::size_t index) {
        for (const coremd::ZoneResult& result : watcher.Detector().ZoneResults()) {
            return result.Labels()[index];
        }
        return 0;
    }

    static bool IsAmong(const Video::Findings& findings, const Video::MovingObject& object) {
        return std::any_of(findings.objects.begin(), findings.objects.end(), [&](const Video::MovingObject& other) {
            return other.blocks == object.blocks && other.box.x == object.box.x && other.box.y == object.box.y &&
                   other.box.width == object.box.width && other.box.height == object.box.height;
        });
    }

    static bool Changes(const BlockFacts& facts) {
        return std::any_of(std::begin(ages), std::end(ages), [&](std::size_t age) {
            return std::abs(facts.history[age] - facts.history[0]) > facts.changeLimit;
        });
    }

    static std::string Describe(const Video::Findings& findings, Place place) {
        return "block " + std::to_string(place.column) + "," + std::to_string(place.row) + " at " +
               std::to_string(Video::ToSeconds(findings.time)) + " s";
    }

    static constexpr std::array<std::size_t, 3> ages = {1, 2, 4};
    const int _step;
    std::size_t _asked = 0;
    std::array<long, verdicts> _counts = {};
};

class BlockProbe : public ScanFixture {
protected:
    static Video::Zone Rectangle(const std::string& name, const Video::RelativeZone& rectangle, bool exclude,
                                 std::optional<double> minSize = {}) {
        Video::Zone zone = Video::RectangleZone(name, rectangle);
        zone.exclude = exclude;
        zone.minSize = minSize;
        return zone;
    }

    // Two zones that overlap, with different smallest objects, and one that is not to be watched.
    static std::vector<Video::Zone> Zones() {
        return {Rectangle("left", {0, 0, 0.6, 1}, false, 0.3), Rectangle("middle", {0.4, 0.2, 0.3, 0.6}, false, 0.05),
                Rectangle("hole", {0.5, 0, 0.2, 0.5}, true)};
    }
};

TEST_F(BlockProbe, AgreesWithTheScanOfASquare) {
    for (const bool zones : {false, true}) {
        JobSettings settings;
        settings.scan.condition = false;
        settings.scan.zones = zones ? Zones() : std::vector<Video::Zone>();
        Examiner examiner(97);
        const JobResult result = RunJob(settings, RawClip({.width = 160, .height = 120, .seconds = 16}), "", examiner);
        ASSERT_EQ(result.health, Health::Whole) << result.trouble;
        EXPECT_GT(examiner.Count(Verdict::NotReady), 100);
        EXPECT_GT(examiner.Count(Verdict::Still), 1000);
        EXPECT_GT(examiner.Count(Verdict::Motion), 10);
        EXPECT_EQ(examiner.Count(Verdict::Excluded) > 100, zones);
        EXPECT_EQ(examiner.Count(Verdict::Outside) > 100, zones);
        EXPECT_EQ(examiner.Count(Verdict::Small) > 0, zones);
    }
}

// Frames that teach nothing, and those of a picture that changes its size.
TEST_F(BlockProbe, AgreesAtEveryRate) {
    JobSettings settings;
    settings.scan.condition = false;
    settings.scan.rate = 0;
    const Video::SquareScene small{.width = 160, .height = 120, .seconds = 14},
        large{.width = 320, .height = 240, .seconds = 3};
    Video::WriteEncoded({small, large}, {.codec = "mjpeg", .container = "avi", .format = AV_PIX_FMT_YUVJ420P},
                        In("grows.avi"));
    Examiner examiner(997);
    const JobResult result = RunJob(settings, In("grows.avi"), "", examiner);
    ASSERT_EQ(result.health, Health::Whole) << result.trouble;
    EXPECT_GT(examiner.Count(Verdict::Motion), 5);
}

// A street with people, vans and their shadows.
TEST_F(BlockProbe, AgreesOnAStreet) {
    for (const bool shadows : {false, true}) {
        JobSettings settings;
        settings.scan.condition = false;
        settings.scan.shadows = shadows;
        settings.scan.minSize = 0.06;
        Examiner examiner(61);
        const JobResult result = RunJob(settings, SAMPLE_CLIP, "", examiner);
        ASSERT_EQ(result.health, Health::Whole) << result.trouble;
        EXPECT_EQ(examiner.Count(Verdict::Shadow) > 20, shadows);
        EXPECT_GT(examiner.Count(Verdict::Small), 5);
        EXPECT_GT(examiner.Count(Verdict::Motion), 100);
    }
}

// Compares what is said of a conditioned scan with what that tells.
class ConditionedExaminer : public JobListener {
public:
    void OnRecord(const Record&) override {}
    void OnScanPicture(const ScanPicture&) override {}
    void OnPicture(double, const Video::Tally&) override {}

    void OnFrame(Video::Watcher& watcher, const Video::Findings& findings, const Video::PictureNumber&) override {
        const Video::PictureGrid& grid = watcher.Grid();
        const std::vector<Video::BlockMark> marks = watcher.Marks();
        int blocks = 0;
        for (std::size_t i = 0; i < marks.size(); ++i) {
            blocks += marks[i] == Video::BlockMark::Object ? 1 : 0;
        }
        ASSERT_EQ(blocks, Video::MovingBlocks(findings));
        for (std::size_t i = _asked % step; i < marks.size(); i += step, ++_asked) {
            const Place place{static_cast<int>(i) % grid.columns, static_cast<int>(i) / grid.columns};
            const std::optional<BlockFacts> facts = Probe(watcher, place);
            ASSERT_TRUE(facts && facts->found);
            ASSERT_EQ(facts->verdict == Verdict::Motion, marks[i] == Video::BlockMark::Object);
            ASSERT_EQ(facts->object.has_value(), facts->verdict == Verdict::Motion);
            if (facts->verdict == Verdict::Motion) {
                told += 1;
                added += facts->found != Verdict::Motion ? 1 : 0;
            } else {
                ASSERT_EQ(facts->verdict == Verdict::Dropped, facts->found == Verdict::Motion);
                shadows += facts->verdict == Verdict::Shadow ? 1 : 0;
            }
        }
    }

    long told = 0, added = 0, shadows = 0;

private:
    static constexpr std::size_t step = 23;
    std::size_t _asked = 0;
};

TEST_F(BlockProbe, AgreesWithAConditionedScanOfAStreet) {
    ConditionedExaminer examiner;
    const JobResult result = RunJob(JobSettings(), SAMPLE_CLIP, "", examiner);
    ASSERT_EQ(result.health, Health::Whole) << result.trouble;
    EXPECT_GT(examiner.told, 100);
    EXPECT_GT(examiner.added, 5);
    EXPECT_GT(examiner.shadows, 20);
}

// A wall in 64 by 48 blocks of a pixel, five pictures a second, on which a test draws.
class PlantedScene {
public:
    explicit PlantedScene(const Video::WatchRules& rules)
        : _watcher({.width = width, .height = height, .format = Host::PixelFormat::Grey}, Video::GridOf(width, height, 1),
                   rules) {}

    // paint(x, y, luma of the wall) for so many pictures.
    template <class Paint>
    void Show(int pictures, Paint paint) {
        std::vector<std::uint8_t> picture;
        for (int i = 0; i < pictures; ++i, ++_shown) {
            picture.clear();
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    picture.push_back(static_cast<std::uint8_t>(paint(x, y, 100 + (x * 7 + y * 13) % 40)));
                }
            }
            _watcher.Watch({.plane = {picture.data()}, .stride = {width}}, _shown * Video::oneSecond / 5);
        }
    }
    void ShowWall(int pictures) {
        Show(pictures, [](int, int, int wall) { return wall; });
    }

    BlockFacts At(int column, int row) { return Probe(_watcher, {column, row}).value(); }
    Video::Watcher& TheWatcher() { return _watcher; }

private:
    static constexpr int width = 64, height = 48;
    Video::Watcher _watcher;
    int _shown = 0;
};

bool IsWithin(int x, int y, const Video::Box& box) {
    return x >= box.x && x < box.x + box.width && y >= box.y && y < box.y + box.height;
}

TEST_F(BlockProbe, TellsEveryStepOfAThingThatComesToRest) {
    PlantedScene scene({.framesPerSecond = 10, .shadows = false, .minSize = 0.1, .zones = {}});
    scene.ShowWall(10);
    EXPECT_EQ(scene.At(12, 12).verdict, Verdict::NotReady);
    scene.ShowWall(5);
    BlockFacts facts = scene.At(12, 12);
    EXPECT_EQ(facts.verdict, Verdict::Still);
    EXPECT_FALSE(facts.known) << "three seconds teach nothing";
    EXPECT_TRUE(facts.stable);
    EXPECT_EQ(facts.noise, 12);
    scene.ShowWall(30);
    facts = scene.At(12, 12);
    EXPECT_EQ(facts.verdict, Verdict::Still);
    EXPECT_TRUE(facts.known);
    EXPECT_EQ(facts.backgroundAge, 0) << "confirmed with every picture";
    EXPECT_EQ(facts.reference.y, facts.current.y);

    // A thing of which one end goes on flickering; and something small.
    const Video::Box thing{10, 10, 20, 10}, flicker{25, 10, 5, 10}, small{50, 30, 3, 3};
    const auto paint = [&](bool bright) {
        return [=](int x, int y, int wall) {
            return IsWithin(x, y, flicker)                          ? (bright ? 230 : 200)
                   : IsWithin(x, y, thing) || IsWithin(x, y, small) ? 220
                                                                    : wall;
        };
    };
    scene.Show(1, paint(true));
    facts = scene.At(12, 12);
    EXPECT_EQ(facts.verdict, Verdict::Motion);
    EXPECT_TRUE(facts.changed);
    ASSERT_TRUE(facts.object);
    EXPECT_EQ(facts.object->blocks, 200);
    EXPECT_EQ(facts.object->box.width, 20);
    facts = scene.At(51, 31);
    EXPECT_EQ(facts.verdict, Verdict::Small);
    ASSERT_EQ(facts.candidates.size(), 1u);
    EXPECT_EQ(facts.candidates[0].box.Width(), 3);
    EXPECT_EQ(facts.candidates[0].leastColumns, 6);
    EXPECT_EQ(facts.candidates[0].leastRows, 4);
    for (int i = 0; i < 3; ++i) {
        scene.Show(1, paint(false));
        scene.Show(1, paint(true));
    }
    facts = scene.At(12, 12);
    EXPECT_EQ(facts.verdict, Verdict::Trimmed);
    EXPECT_FALSE(facts.changed);
    EXPECT_EQ(facts.sinceChange, 3 * Video::oneSecond / 5) << "the picture that was four behind it was the last to differ";
    ASSERT_EQ(facts.candidates.size(), 1u);
    EXPECT_EQ(facts.candidates[0].blocks, 200);
    EXPECT_EQ(facts.candidates[0].moved, 50);
    EXPECT_EQ(facts.candidates[0].box.Width(), 5);
    EXPECT_EQ(scene.At(27, 12).verdict, Verdict::Small) << "the flicker is less than six columns wide";
    scene.Show(6, paint(true));
    facts = scene.At(12, 12);
    EXPECT_EQ(facts.verdict, Verdict::Unmoved);
    EXPECT_EQ(facts.candidates[0].moved, 0);
    EXPECT_TRUE(facts.foreground);
}

TEST_F(BlockProbe, TellsAShadowFromAThing) {
    PlantedScene scene({.framesPerSecond = 10, .shadows = true, .minSize = 0, .zones = {}});
    scene.ShowWall(50);
    const Video::Box shade{10, 10, 20, 15}, thing{40, 10, 15, 15};
    scene.Show(1, [&](int x, int y, int wall) {
        return IsWithin(x, y, shade) ? wall * 6 / 10 : IsWithin(x, y, thing) ? 20 + (x * y) % 90 : wall;
    });
    const BlockFacts dark = scene.At(20, 18), solid = scene.At(47, 18);
    EXPECT_EQ(dark.verdict, Verdict::Shadow);
    ASSERT_TRUE(dark.shadowScore);
    EXPECT_LT(*dark.shadowScore, dark.shadowLimit);
    EXPECT_TRUE(dark.foreground);
    EXPECT_EQ(solid.verdict, Verdict::Motion);
    ASSERT_TRUE(solid.shadowScore);
    EXPECT_GE(*solid.shadowScore, solid.shadowLimit);
    EXPECT_EQ(solid.shadowLimit, 100);
}

// Leaves: the detector never comes to know them, what conditions it does.
TEST_F(BlockProbe, TellsWhatConditioningDropped) {
    Video::WatchRules rules{.framesPerSecond = 5, .shadows = false, .minSize = 0, .zones = {}};
    rules.conditioning.on = true;
    PlantedScene scene(rules);
    scene.ShowWall(20);
    std::mt19937 random(3);
    scene.Show(200, [&](int x, int y, int wall) {
        return IsWithin(x, y, {20, 10, 12, 12}) ? static_cast<int>(80 + random() % 90) : wall;
    });
    int dropped = 0;
    for (int column = 20; column < 32; ++column) {
        const BlockFacts facts = scene.At(column, 15);
        EXPECT_NE(facts.verdict, Verdict::Motion) << column;
        EXPECT_EQ(facts.verdict == Verdict::Dropped, facts.found == Verdict::Motion) << column;
        EXPECT_FALSE(facts.suppressed);
        dropped += facts.verdict == Verdict::Dropped ? 1 : 0;
    }
    EXPECT_GT(dropped, 2);
    EXPECT_EQ(scene.At(5, 5).verdict, Verdict::Still);
}

TEST_F(BlockProbe, KnowsNothingOutsideTheGrid) {
    PlantedScene scene({.framesPerSecond = 5, .shadows = false, .minSize = 0, .zones = {}});
    scene.ShowWall(1);
    Video::Watcher& watcher = scene.TheWatcher();
    EXPECT_TRUE(Probe(watcher, {63, 47}));
    for (const Place place : {Place{64, 0}, Place{0, 48}, Place{-1, 0}, Place{0, -1}}) {
        EXPECT_FALSE(Probe(watcher, place));
    }
}

}  // namespace
}  // namespace Scan
