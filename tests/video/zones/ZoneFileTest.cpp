// Are zone files understood, and wrong ones refused with the place of the mistake?
#include "video/zones/ZoneFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <png.h>

#include "FolderFixture.h"
#include "MutatedText.h"
#include "video/base/Failure.h"
#include "video/zones/Polygon.h"
#include "video/zones/Zone.h"

namespace Video {
namespace {

class ZoneFileTest : public Kit::FolderFixture {
protected:
    std::string File(const std::string& text) const {
        Write("zones.json", text);
        return In("zones.json");
    }

    void WriteMask(const std::string& name, const std::vector<std::uint8_t>& pixels) const {
        png_image image = {};
        image.version = PNG_IMAGE_VERSION;
        image.width = 2;
        image.height = static_cast<png_uint_32>(pixels.size() / 2);
        image.format = PNG_FORMAT_GRAY;
        ASSERT_TRUE(png_image_write_to_file(&image, In(name).c_str(), 0, pixels.data(), 0, nullptr)) << image.message;
    }

    // What is said of the file, without its name.
    std::string Complaint(const std::string& text) const {
        try {
            ReadZoneFile(File(text));
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Code(), exitUsage);
            const std::string said = failure.what(), start = In("zones.json") + ": ";
            EXPECT_EQ(said.rfind(start, 0), 0u) << said;
            EXPECT_EQ(said.find('\n'), std::string::npos) << said;
            return said.substr(start.size());
        }
        return "";
    }
};

TEST_F(ZoneFileTest, EveryFieldArrives) {
    WriteMask("trees.png", {0, 255, 255, 0});
    const std::vector<Zone> zones = ReadZoneFile(File(R"({"zones": [
        {"name": "gate", "polygon": [[0.1, 0.2], [0.4, 0.2], [0.4, 1]], "min_size": 0.05, "max_size": 0.5},
        {"name": "trees", "mask": "trees.png", "exclude": true}]})"));
    ASSERT_EQ(zones.size(), 2u);
    EXPECT_EQ(zones[0].name, "gate");
    EXPECT_FALSE(zones[0].exclude);
    EXPECT_EQ(zones[0].minSize, 0.05);
    EXPECT_EQ(zones[0].maxSize, 0.5);
    ASSERT_EQ(zones[0].polygon.size(), 3u);
    EXPECT_EQ(zones[0].polygon[2].x, 0.4);
    EXPECT_EQ(zones[0].polygon[2].y, 1);
    EXPECT_TRUE(zones[1].exclude);
    EXPECT_FALSE(zones[1].minSize);
    EXPECT_TRUE(zones[1].polygon.empty());
    EXPECT_EQ(zones[1].mask.width, 2);
    EXPECT_EQ(zones[1].mask.pixels, (std::vector<std::uint8_t>{0, 255, 255, 0}));
}

std::string WithZone(const std::string& fields) {
    return R"({"zones":[{"name":"ok","polygon":[[0,0],[1,0],[0,1]]},{)" + fields + "}]}";
}

std::string WithPolygon(const std::string& corners) { return WithZone(R"("name":"a","polygon":[)" + corners + "]"); }

TEST_F(ZoneFileTest, AMistakeIsNamedWithItsPlace) {
    const std::vector<std::pair<std::string, std::string>> mistakes = {
        {"", "line 1, column 1: is not JSON here"},
        {"{\n  \"zones\": [\n    {]\n", "line 3, column 6: is not JSON here"},
        {"[]", "line 1: must be an object with \"zones\""},
        {"{}", "line 1: zones: must be a list of zones"},
        {R"({"zones":[]})", "line 1: zones: must be a list of zones"},
        {R"({"zones":[1]})", "line 1: zones[0]: must be an object"},
        {R"({"zone":[]})", "line 1: unknown key \"zone\", known are zones"},
        {R"({"zones":[{"name":"a","name":"b"}]})", "line 1: zones[0]: \"name\" is given twice in one object"},
        {WithZone(R"("polygon":[[0,0],[1,0],[0,1]])"), "line 1: zones[1].name: must be a text that is not empty"},
        {WithZone(R"("name":"","polygon":[[0,0],[1,0],[0,1]])"), "line 1: zones[1].name: must be a text that is not empty"},
        {WithZone(R"("name":"ok","polygon":[[0,0],[1,0],[0,1]])"), "line 1: zones[1].name: there is another zone \"ok\""},
        {WithZone(R"("name":"a")"), "line 1: zones[1]: must have either \"polygon\" or \"mask\""},
        {WithZone(R"("name":"a","mask":"m.png","polygon":[])"),
         "line 1: zones[1]: must have either \"polygon\" or \"mask\""},
        {WithZone(R"("name":"a","color":"red")"),
         "line 1: zones[1]: unknown key \"color\", known are exclude, mask, max_size, min_size, name, polygon"},
        {WithZone(R"("name":"a","exclude":1,"polygon":[[0,0],[1,0],[0,1]])"),
         "line 1: zones[1].exclude: must be true or false"},
        {WithZone(R"("name":"a","min_size":1.5,"polygon":[[0,0],[1,0],[0,1]])"),
         "line 1: zones[1].min_size: 1.5 lies outside 0 to 1"},
        {WithZone(R"("name":"a","mask":"no.png")"),
         "line 1: zones[1].mask: " + In("no.png") + ": cannot be used as a mask: "},
        {WithPolygon(""), "line 1: zones[1].polygon: must be a list of at least three corners [x, y]"},
        {WithPolygon("[0,0],[1,1]"), "line 1: zones[1].polygon: must be a list of at least three corners [x, y]"},
        {WithPolygon("[0,0],[1,1,0],[0,1]"), "line 1: zones[1].polygon[1]: must be a corner [x, y]"},
        {WithPolygon("[0,0],[1,1],[0,1.2]"), "line 1: zones[1].polygon[2][1]: 1.2 lies outside 0 to 1"},
        {WithPolygon("[0,0],[1,1],[-0.5,1]"), "line 1: zones[1].polygon[2][0]: -0.5 lies outside 0 to 1"},
        {WithPolygon("[0,0],[1,\"1\"],[0,1]"), "line 1: zones[1].polygon[1][1]: must be a number from 0 to 1"},
        {WithPolygon("[0,0],[1,1],[1,0],[0,1]"),
         "line 1: zones[1].polygon: the line from [0] to [1] crosses the one from [2] to [3]"},
        {WithPolygon("[0,0],[0.5,0.5],[1,1]"), "line 1: zones[1].polygon: encloses nothing"},
        {WithPolygon("[0,0],[1,1],[1,1],[0,1]"), "line 1: zones[1].polygon: corners [1] and [2] are the same"},
        {WithZone(R"("name":"a","min_size":0.2,"max_size":0.1,"polygon":[[0,0],[1,0],[0,1]])"),
         "line 1: zones[1].max_size: is smaller than min_size"},
        {WithZone(R"("name":"a","exclude":true,"max_size":0.1,"polygon":[[0,0],[1,0],[0,1]])"),
         "line 1: zones[1].max_size: has no meaning where \"exclude\" is true"},
        {WithZone(R"("name":"a","mask":"m\u0000.png")"), "line 1: zones[1].mask: must be the name of a PNG file"},
    };
    for (const auto& [text, complaint] : mistakes) {
        const std::string said = Complaint(text);
        EXPECT_EQ(said.rfind(complaint, 0), 0u) << text << "\n  " << said;
    }
}

// Whatever the JSON library says of such a number: the file, the line and the key are what helps.
TEST_F(ZoneFileTest, ANumberThatNobodyCanHoldIsNamedWithLineAndKey) {
    const std::string start = "{\n\"zones\": [\n{\"name\": \"a\",\n\"polygon\": [[0, 0],\n[1, ", end = "], [0, 1]]}]}";
    EXPECT_EQ(Complaint(start + "1e400" + end), "line 5: zones[0].polygon[1][1]: 1e400 is a number out of range");
    EXPECT_EQ(Complaint(start + "\n-1e400\n" + end), "line 6: zones[0].polygon[1][1]: -1e400 is a number out of range");
    EXPECT_EQ(Complaint(start + "99999999999999999999999" + end),
              "line 5: zones[0].polygon[1][1]: 1e+23 lies outside 0 to 1");
    EXPECT_EQ(Complaint(start + "NaN" + end), "line 5, column 5: is not JSON here, in zones[0].polygon[1][1]");
    EXPECT_EQ(Complaint(start + "1], [0, 1]], \"min_size\": 1e400}]}"),
              "line 5: zones[0].min_size: 1e400 is a number out of range");
    EXPECT_EQ(Complaint(start + "1], [0, 1]],\n\"color\": {\"deep\": [1,\n1e400]}}]}"),
              "line 7: zones[0].color.deep[1]: 1e400 is a number out of range");
    EXPECT_EQ(Complaint(start + "1], [0, 1]],\n\"a\\nb\": 1}]}"),
              "line 6: zones[0]: unknown key \"a\\nb\", known are exclude, mask, max_size, min_size, name, polygon");
    EXPECT_EQ(Complaint(std::string(100'000, '[')).substr(0, 8), "line 1: ");
}

// Bytes changed, left out and doubled, pieces put where they do not belong: what comes out is zones, or one line of ours.
TEST_F(ZoneFileTest, MutatedFilesAreZonesOrRefusedInOurWords) {
    const std::string whole = R"({"zones": [
        {"name": "gate", "polygon": [[0.1, 0.2], [0.4, 0.2], [0.4, 1]], "min_size": 0.05, "max_size": 0.5},
        {"name": "Tür", "polygon": [[0, 0], [1, 0], [1, 0.5]], "exclude": true}]})";
    const std::vector<std::string> pieces = {
        "1e400", "-1e999", "NaN",  "-1",       "1e308", "{",    "[[", "\"min_size\":",
        "\"",    "\\u00",  "null", "\"\xFF\"", "\n",    "true", "]]", "184467440737095516160"};
    const std::regex ours("line [0-9]+(, column [0-9]+: is not JSON here|: [^\n]+).*");
    std::mt19937 random(13);
    int refused = 0, accepted = 0;
    for (int i = 0; i < 300; ++i) {
        const std::string text = Kit::MutatedText(whole, pieces, random);
        const std::string said = Complaint(text);
        said.empty() ? ++accepted : ++refused;
        EXPECT_TRUE(said.empty() || std::regex_match(said, ours)) << text << "\n  " << said;
        EXPECT_EQ(said.find("json."), std::string::npos) << said;
    }
    EXPECT_GT(refused, 150);
    EXPECT_GT(accepted, 5);
}

TEST(ZoneText, IsReadAsAFileIsAndCalledAsToldInComplaints) {
    const std::vector<Zone> zones =
        ReadZoneText(R"({"zones": [{"name": "gate", "polygon": [[0, 0], [1, 0], [1, 1]]}]})", "settings");
    ASSERT_EQ(zones.size(), 1u);
    EXPECT_EQ(zones[0].name, "gate");
    try {
        ReadZoneText("{\"zones\":\n 3}", "settings");
        ADD_FAILURE() << "was taken";
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(), "settings: line 2: zones: must be a list of zones");
    }
}

TEST_F(ZoneFileTest, AMissingFileIsNamed) {
    EXPECT_THROW(ReadZoneFile(In("missing.json")), Failure);
    EXPECT_THROW(ReadZoneFile(Folder()), Failure);
}

TEST_F(ZoneFileTest, AMaskWithoutAnythingBrightIsAMistake) {
    WriteMask("dark.png", {0, 100, 127, 0});
    EXPECT_THROW(ReadMask(In("dark.png")), Failure);
}

TEST(Polygon, SoundOnesHaveNoTrouble) {
    EXPECT_EQ(PolygonTrouble({{0, 0}, {1, 0}, {1, 1}, {0, 1}}), "");
    EXPECT_EQ(PolygonTrouble({{0, 0}, {0.5, 0}, {1, 0}, {1, 1}, {0, 1}}), "") << "a corner on a straight line";
    EXPECT_EQ(PolygonTrouble({{0, 0}, {1, 0}, {0.2, 0.2}, {0, 1}}), "") << "not convex";
}

TEST(Polygon, OnesThatTouchThemselvesAreRefused) {
    EXPECT_NE(PolygonTrouble({{0, 0}, {1, 0}, {0.5, 0.5}, {1, 1}, {0, 1}, {0.5, 0.5}}), "") << "a corner met twice";
    EXPECT_NE(PolygonTrouble({{0, 0}, {1, 0}, {1, 1}, {0.5, 0}, {0, 1}}), "") << "a corner on another line";
    EXPECT_NE(PolygonTrouble({{0, 0}, {1, 0}, {0.5, 0}, {0, 1}}), "") << "a line that runs back";
}

}  // namespace
}  // namespace Video
