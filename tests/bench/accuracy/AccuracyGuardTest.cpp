// Does the scanner keep finding what it found?  Lower bounds on its figures, by its defaults.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "FiguresText.h"
#include "FolderFixture.h"
#include "FolderRun.h"
#include "LabelledFolder.h"
#include "Scene.h"
#include "ScannerSubject.h"
#include "video/base/BgrPicture.h"
#include "video/files/PngFile.h"

namespace Accuracy {
namespace {

namespace fs = std::filesystem;

// Of the rendered street, a little below what is reached.
constexpr double leastF = 0.69, leastRecall = 0.94, mostMissed = 0.01;
// By the plain detector.
constexpr double leastPlainF = 0.68, leastPlainRecall = 0.95, mostPlainMissed = 0.05;

std::uint8_t Clamped(double value) { return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0)); }

// BT.601, limited range.
Video::BgrPicture ColoursOf(const MdScene::Frame& frame) {
    Video::BgrPicture picture{frame.width, frame.height, {}};
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const auto chroma = static_cast<std::size_t>(y / 2 * ((frame.width + 1) / 2) + x / 2);
            const double luma = 1.164 * (frame.y[static_cast<std::size_t>(y * frame.width + x)] - 16);
            const double cb = frame.cb[chroma] - 128, cr = frame.cr[chroma] - 128;
            picture.pixels.push_back(Clamped(luma + 2.018 * cb));
            picture.pixels.push_back(Clamped(luma - 0.392 * cb - 0.813 * cr));
            picture.pixels.push_back(Clamped(luma + 1.596 * cr));
        }
    }
    return picture;
}

Video::BgrPicture LabelsOf(const MdScene::Frame& frame) {
    Video::BgrPicture picture{frame.width, frame.height, {}};
    for (const std::uint8_t value : frame.mask) {
        const std::uint8_t label = value == MdScene::maskShadow ? 50 : value;
        picture.pixels.insert(picture.pixels.end(), 3, label);
    }
    return picture;
}

class AccuracyGuard : public Kit::FolderFixture {
protected:
    // The first ones of a street to come, and four seconds before, as a labelled folder.
    LabelledFolder Street() const {
        fs::create_directories(In("street/input"));
        fs::create_directories(In("street/groundtruth"));
        const MdScene::Scene scene(
            {.width = 320, .height = 180, .fps = 25, .frames = 2000, .seed = 3, .quietSeconds = 4, .noise = 1.5, .wind = 0});
        const int begin = static_cast<int>(25 * (scene.Actors().at(0).Start() - 4));
        MdScene::Frame frame;
        for (int number = begin; number < begin + 260; ++number) {
            scene.Render(number, frame);
            Write("street/input/in" + std::to_string(number) + ".png", Video::PngBytes(ColoursOf(frame)));
            Write("street/groundtruth/gt" + std::to_string(number) + ".png", Video::PngBytes(LabelsOf(frame)));
        }
        return OpenLabelledFolder(In("street"));
    }
};

TEST_F(AccuracyGuard, AStreetIsFoundByTheDefaultsAndSettingsMatter) {
    ScannerRules every, coarse, large, plain, shadows;
    every.rate = 0;
    coarse.blockSize = 16;
    large.minSize = 0.9;
    plain.conditioning.on = false;  // a conditioned detector always drops shadows
    shadows = plain;
    shadows.shadows = true;
    const std::vector<Outcome> outcomes = Judge(Street(), {{"defaults", {0.25, 0.5}, Scanner({})},
                                                           {"every", {0.25}, Scanner(every)},
                                                           {"coarse", {0.25}, Scanner(coarse)},
                                                           {"large", {0.25}, Scanner(large)},
                                                           {"shadows", {0.25}, Scanner(shadows)},
                                                           {"plain", {0.25}, Scanner(plain)}});
    const Figures figures = outcomes[0].scores[0].Of();
    EXPECT_GE(outcomes[0].scores[0].Moving(), 20);
    EXPECT_GE(figures.f, leastF) << JsonOf(figures);
    EXPECT_GE(figures.recall, leastRecall) << JsonOf(figures);
    EXPECT_LE(figures.missed, mostMissed) << JsonOf(figures);
    const Figures plainly = outcomes[5].scores[0].Of();
    EXPECT_GE(plainly.f, leastPlainF) << JsonOf(plainly);
    EXPECT_GE(plainly.recall, leastPlainRecall) << JsonOf(plainly);
    EXPECT_LE(plainly.missed, mostPlainMissed) << JsonOf(plainly);
    EXPECT_LE(outcomes[0].scores[1].Of().recall, figures.recall) << "to cover half is more than to cover a quarter";
    EXPECT_EQ(outcomes[0].analysed, 65);
    EXPECT_EQ(outcomes[1].analysed, 260);
    EXPECT_TRUE(outcomes[2].found != outcomes[0].found);
    EXPECT_EQ(outcomes[3].scores[0].Of().f, 0) << "nobody is as large as the picture";
    EXPECT_TRUE(outcomes[4].found != outcomes[5].found);
    EXPECT_TRUE(outcomes[5].found != outcomes[0].found);
}

// Of public sequences; where there are none, the rendered street stands alone.
TEST_F(AccuracyGuard, PublicSequencesAreFoundAsWellAsEver) {
    const std::map<std::string, double> bounds = {{"cdnet_highway", 0.88}, {"cdnet_office", 0.88}, {"sbi_CAVIAR2", 0.81}};
    if (!fs::is_directory(fs::path(COREMD_FOOTAGE) / "labelled")) {
        GTEST_SKIP() << "no labelled sequences: COREMD_FOOTAGE, '" << COREMD_FOOTAGE << "', has no folder labelled";
    }
    Results results;
    for (const auto& [name, bound] : bounds) {
        const std::string folder = (fs::path(COREMD_FOOTAGE) / "labelled" / name).string();
        const Outcome outcome = Judge(OpenLabelledFolder(folder), {{"mdscan", {0.5}, Scanner({})}}).front();
        const Figures figures = outcome.scores.front().Of();
        EXPECT_GE(figures.f, bound) << name << ": " << JsonOf(figures);
        results.sequences[name] = outcome.scores.front();
    }
    const nlohmann::json json = nlohmann::json::parse(JsonOf(results));
    EXPECT_EQ(json["sequences"].size(), bounds.size());
    EXPECT_GE(json["mean"]["f"], 0.865) << json.dump();
    EXPECT_LE(json["mean"]["missed"], 0.012) << json.dump();
}

}  // namespace
}  // namespace Accuracy
