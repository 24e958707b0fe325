// Does a state made before still say what was asked for?
#include "run/SettingsFingerprint.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "settings/JobSettings.h"
#include "settings/OutputSettings.h"
#include "settings/ScanSettings.h"

namespace Scan {
namespace {

// Stored in states: with another text, every state is refused.
TEST(SettingsFingerprint, KeepTheirText) {
    EXPECT_EQ(SettingsFingerprint({}, {}),
              "rate 6 fast 0 condition 1 stabilise auto sensitivity normal memory \"\" block 0 shadows 0 "
              "min-size 0.029999999999999999 merge-gap 2 min-duration 0.5 frames 0 rolls 0 0 min-blocks 1 track 0 "
              "thumbnails \"\" clips \"\" background \"\" overlay \"\" heatmap 0 report 0 name-time \"auto\"");
    ScanSettings scan;
    scan.startTime = 17;
    scan.nameTime = "%F %H";
    scan.zones = {{.name = "gate", .polygon = {{0, 0}, {0.5, 0}, {0.5, 1}}}};
    const OutputSettings outputs{.lines = "l",
                                 .csv = "t",
                                 .report = "p",
                                 .heatmap = "h",
                                 .thumbnails = "a",
                                 .clips = "b",
                                 .background = "c",
                                 .overlay = "d"};
    const std::string all = SettingsFingerprint(scan, FilesOf(outputs));
    EXPECT_EQ(all.substr(all.find(" thumbnails")), " thumbnails \"a\" clips \"b\" background \"c\" overlay \"d\" heatmap 1 "
                                                   "report 1 name-time \"%F %H\" start-time 17 zone \"gate\" 0 "
                                                   "-1 0,0 0.5,0 0.5,1 mask 0x0 14695981039346656037");
}

TEST(SettingsFingerprint, TellWhetherFlashesAreIgnored) {
    ScanSettings scan;
    scan.ignoreFlashes = true;
    EXPECT_NE(SettingsFingerprint(scan, {}), SettingsFingerprint({}, {}));
}

TEST(SettingsFingerprint, TellHowPicturesAreConditioned) {
    const std::string usual = SettingsFingerprint({}, {});
    const auto with = [](const auto& change) {
        ScanSettings scan;
        change(scan);
        return SettingsFingerprint(scan, {});
    };
    EXPECT_NE(with([](ScanSettings& scan) { scan.condition = false; }), usual);
    EXPECT_NE(with([](ScanSettings& scan) { scan.stabilise = Stabilise::Off; }), usual);
    EXPECT_NE(with([](ScanSettings& scan) { scan.sensitivity = Sensitivity::High; }), usual);
    EXPECT_NE(with([](ScanSettings& scan) { scan.skipLoopFilter = true; }), usual);
    const std::string kept = with([](ScanSettings& scan) { scan.memory = "m"; });
    EXPECT_NE(kept, usual);
    EXPECT_NE(with([](ScanSettings& scan) { scan.memory = "n"; }), kept);
}

TEST(SettingsFingerprint, TellTheRange) {
    ScanSettings part;
    part.range.from = Video::ParseClockEdge("T22:00");
    EXPECT_NE(SettingsFingerprint(part, {}), SettingsFingerprint({}, {}));
}

TEST(SettingsFingerprint, TellSizes) {
    const auto with = [](Sensitivity sensitivity, std::optional<double> smallest, double largest,
                         std::optional<double> own) {
        ScanSettings scan;
        scan.sensitivity = sensitivity;
        scan.minSize = smallest;
        scan.maxSize = largest;
        scan.zones = {{.name = "a", .maxSize = own}};
        return SettingsFingerprint(scan, {});
    };
    const std::string usual = with(Sensitivity::Low, {}, 1, {});
    EXPECT_NE(with(Sensitivity::Low, 0.03, 1, {}), usual) << "stated, it stands";
    EXPECT_NE(with(Sensitivity::Low, 0, 1, {}), usual);
    EXPECT_NE(with(Sensitivity::Low, {}, 0.5, {}), usual);
    EXPECT_NE(with(Sensitivity::Low, {}, 1, 0.5), usual);
    EXPECT_NE(with(Sensitivity::Low, {}, 1, 0.5), with(Sensitivity::Low, {}, 0.5, {}));
    EXPECT_EQ(with(Sensitivity::Normal, 0.03, 1, {}), with(Sensitivity::Normal, {}, 1, {}));
}

// Results go into them as they come; which file it is decides nothing about an input.
TEST(SettingsFingerprint, LeaveOutWhereARunWrites) {
    OutputSettings one, other;
    one.lines = one.csv = one.report = one.heatmap = "one";
    other.lines = other.csv = other.report = other.heatmap = "other";
    EXPECT_EQ(SettingsFingerprint({}, FilesOf(one)), SettingsFingerprint({}, FilesOf(other)));
    EXPECT_NE(SettingsFingerprint({}, FilesOf(one)), SettingsFingerprint({}, FilesOf(OutputSettings{})));
}

}  // namespace
}  // namespace Scan
