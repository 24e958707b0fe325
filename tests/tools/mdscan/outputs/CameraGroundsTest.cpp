// Does what was learned of a camera add up, and what are its pictures called?
#include "outputs/CameraGrounds.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "results/ScanPictures.h"
#include "video/watch/HeatMap.h"

namespace Scan {
namespace {

TEST(CameraGrounds, PicturesAreNamedAfterTheFolder) {
    EXPECT_EQ(PictureNames({"a/gate", "a/yard"}), (std::vector<std::string>{"gate.png", "yard.png"}));
    EXPECT_EQ(PictureNames({"a/gate/", "-", "/"}), (std::vector<std::string>{"gate.png", "stdin.png", "root.png"}));
    const std::vector<std::string> names = PictureNames({"a/gate", "b/gate", "b/yard"});
    EXPECT_NE(names[0], names[1]) << "one name, two places";
    EXPECT_EQ(names[0].rfind("gate-", 0), 0u);
    EXPECT_EQ(names[2], "yard.png");
    for (const char* camera : {".", "..", "rtsp://a/b?c=d/e", "x\ny"}) {
        const std::string name = PictureNames({camera}).front();
        EXPECT_EQ(name.find_first_of("/\n"), std::string::npos) << name;
        EXPECT_GT(name.size(), 4u);
        EXPECT_NE(name.front(), '.');
    }
}

TEST(CameraGrounds, GroundsOfOneCameraAddUp) {
    CameraGrounds cameras;
    const Video::HeatMap heat{.grid = {4, 2, 2, 2, 1}, .counts = {1, 2}};
    cameras.Add("gate", {heat, {2, 1, {1, 1, 1, 2, 2, 2}}});
    cameras.Add("gate", {heat, {2, 1, {255, 0, 255, 3, 3, 3}}});
    cameras.Add("gate", {heat, {}});
    cameras.Add("yard", {heat, {}});
    ASSERT_EQ(cameras.All().size(), 2u);
    EXPECT_EQ(cameras.All().at("gate").heat.counts, (std::vector<std::uint32_t>{3, 6}));
    EXPECT_EQ(cameras.All().at("gate").background.pixels, (std::vector<std::uint8_t>{1, 1, 1, 3, 3, 3}));
}

}  // namespace
}  // namespace Scan
