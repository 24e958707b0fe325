// Does --fast find what a whole scan finds, and does it decode less for it?
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"

namespace Scan {
namespace {

using nlohmann::json;

class FastScan : public ScanFixture {
protected:
    // Ten pictures a second; the square comes twice.
    static std::vector<Video::SquareScene> TwoVisits() {
        const Video::SquareScene visit{.width = 160, .height = 120, .seconds = 40, .from = 20, .until = 24};
        return {visit, visit};
    }

    // Events and the line of the file.
    std::vector<json> Scanned(const std::vector<std::string>& options, int expectedCode = 0) const {
        std::vector<std::string> arguments = options;
        arguments.insert(arguments.end(),
                         {"--block", "4", "--resume", In("state" + std::to_string(options.size())), In("clip")});
        const Outcome run = Mdscan(arguments);
        EXPECT_EQ(run.code, expectedCode) << run.err;
        return run.lines;
    }

    // That both scans find the same events; returns the line of the file of the fast one.
    json ExpectTheSame(int code = 0) const {
        const std::vector<json> whole = Scanned({}, code), fast = Scanned({"--fast"}, code);
        EXPECT_EQ(whole.size(), 3u);
        EXPECT_EQ(fast.size(), whole.size());
        for (std::size_t i = 0; i + 1 < whole.size() && i < fast.size(); ++i) {
            EXPECT_NEAR(fast[i]["start"].get<double>(), whole[i]["start"].get<double>(), 0.5);
            EXPECT_NEAR(fast[i]["end"].get<double>(), whole[i]["end"].get<double>(), 0.5);
            EXPECT_FALSE(fast[i]["frame_exact"].get<bool>());
            EXPECT_NEAR(fast[i]["peak_frame"].get<double>(), 10 * fast[i]["peak"].get<double>(), 1);
        }
        EXPECT_NEAR(fast.back()["pictures"].get<double>(), whole.back()["pictures"].get<double>(), 10);
        EXPECT_EQ(fast.back()["seconds"], whole.back()["seconds"]);
        EXPECT_FALSE(whole.back().contains("groups"));
        return fast.back();
    }
};

TEST_F(FastScan, FindsWhatAWholeScanFinds) {
    for (const auto& [container, bFrames] : {std::pair{"mp4", 0}, std::pair{"matroska", 2}, std::pair{"avi", 0}}) {
        SCOPED_TRACE(container);
        Video::WriteEncoded(TwoVisits(), {.codec = "mpeg4", .container = container, .gop = 20, .bFrames = bFrames},
                            In("clip"));
        const json file = ExpectTheSame();
        EXPECT_EQ(file["status"], "complete");
        EXPECT_NEAR(file["groups"].get<double>(), 40, 6);  // the encoder keeps to its own count with B pictures
        EXPECT_LT(file["groups_decoded"], 18);             // two visits of two seconds, and what it takes to begin
        EXPECT_GE(file["groups_decoded"], 4);
        EXPECT_EQ(file["groups_too_long"], 0);
        EXPECT_NEAR(file["longest_group"].get<double>(), 2, 0.3);
    }
}

TEST_F(FastScan, OfCompletePicturesOnlyOneASecondIsLookedAt) {
    Video::WriteEncoded(TwoVisits(), {.codec = "mjpeg", .container = "matroska", .format = AV_PIX_FMT_YUVJ420P}, In("clip"));
    const json file = ExpectTheSame();
    EXPECT_EQ(file["groups"], 80);
    EXPECT_LT(file["groups_decoded"], 30);
}

TEST_F(FastScan, KeyframesTooFarApartAreNotTrusted) {
    Video::WriteEncoded(TwoVisits(), {.codec = "mpeg4", .container = "mp4", .gop = 50}, In("clip"));
    const json file = ExpectTheSame();
    EXPECT_EQ(file["groups"], 16);
    EXPECT_EQ(file["groups_decoded"], 16);
    EXPECT_GT(file["groups_too_long"], 5);
    EXPECT_EQ(file["longest_group"], 5.0);
    const Outcome run = Mdscan({"--fast", In("clip")});
    EXPECT_NE(run.err.find("because keyframes lie up to 5.0 s apart"), std::string::npos) << run.err;
}

TEST_F(FastScan, WhatMovesWithinOneGopOnlyIsMissed) {
    // The price, as documented: here and gone between two keyframes. Of so few GOPs, none may be decoded for its size.
    const Video::SquareScene brief{.width = 160, .height = 120, .seconds = 30, .from = 20.3, .until = 21.7};
    Video::WriteEncoded({brief}, {.codec = "mpeg4", .container = "mp4", .gop = 20}, In("clip"));
    EXPECT_EQ(Scanned({}).size(), 2u);
    const std::vector<json> fast = Scanned({"--fast"}, 3);
    ASSERT_EQ(fast.size(), 1u);
    EXPECT_LT(fast[0]["groups_decoded"], 6);
}

TEST_F(FastScan, WhatMovesWithinOneGopShowsInItsSize) {
    const Video::SquareScene brief{.width = 160, .height = 120, .seconds = 60, .from = 40.3, .until = 41.7};
    Video::WriteEncoded({brief}, {.codec = "mpeg4", .container = "mp4", .gop = 20, .quality = 12}, In("clip"));
    EXPECT_EQ(Scanned({}).size(), 2u);
    const std::vector<json> fast = Scanned({"--fast"});
    ASSERT_EQ(fast.size(), 2u);
    EXPECT_NEAR(fast[0]["start"].get<double>(), 40.3, 0.5);
    EXPECT_EQ(fast[1]["groups"], 30);
    EXPECT_EQ(fast[1]["groups_by_size"], 1);
    EXPECT_LT(fast[1]["groups_decoded"], 6);
    EXPECT_NE(Mdscan({"--fast", In("clip")}).err.find(", 1 because much is stored of them; 1 event"), std::string::npos);
}

TEST_F(FastScan, WhereItSavesNothingItIsAPlainScan) {
    const Video::SquareScene busy{.width = 160, .height = 120, .seconds = 10, .from = 0, .until = 10};
    Video::WriteEncoded({busy, busy, busy, busy, busy, busy}, {.codec = "mpeg4", .container = "mp4", .gop = 10}, In("clip"));
    const std::vector<json> whole = Scanned({}), fast = Scanned({"--fast"});
    ASSERT_EQ(fast.size(), whole.size());
    EXPECT_EQ(fast.back()["groups"], 60);
    EXPECT_EQ(fast.back()["groups_decoded"], 60);
    EXPECT_GT(fast.back()["groups_unscouted"], 40);
    EXPECT_EQ(fast.back()["analysed"], whole.back()["analysed"]);
    for (std::size_t i = 0; i + 1 < whole.size(); ++i) {
        EXPECT_EQ(fast[i]["start"], whole[i]["start"]);
        EXPECT_EQ(fast[i]["end"], whole[i]["end"]);
    }
    EXPECT_NE(Mdscan({"--fast", In("clip")}).err.find(" because looking at keyframes did not pay"), std::string::npos);
}

TEST_F(FastScan, PicturesChangeNoEvent) {
    Video::WriteEncoded(TwoVisits(), {.codec = "mpeg4", .container = "mp4", .gop = 20}, In("clip"));
    std::vector<json> without = Scanned({"--fast"}), with = Scanned({"--fast", "--thumbnails", In("pictures")});
    ASSERT_EQ(with.size(), without.size());
    for (std::size_t i = 0; i < with.size(); ++i) {
        with[i].erase("thumbnail");
        EXPECT_EQ(with[i], without[i]);
    }
}

TEST_F(FastScan, JoinedRecordingsAreJudgedLikeSingleOnes) {
    Video::WriteEncoded({TwoVisits().front()}, {.codec = "mpeg2video", .container = "mpegts", .gop = 20}, In("one"));
    Write("clip", Read("one") + Read("one"));
    const json file = ExpectTheSame(1);  // the packet in which they join is damaged
    EXPECT_LT(file["groups_decoded"], 20);
    EXPECT_GT(file["groups"], 36);
}

TEST_F(FastScan, NoGopIsJudgedByPicturesWithinIt) {
    // The decoder still holds pictures when keyframes begin to be all that is looked at.
    Video::WriteEncoded({{.width = 160, .height = 120, .framesPerSecond = 12, .seconds = 20, .from = 1.6, .until = 4}},
                        {.codec = "mpeg4", .container = "mp4", .gop = 12, .bFrames = 2}, In("clip"));
    for (const char* rate : {"0", "6"}) {
        const std::vector<json> whole = Scanned({"--rate", rate}), fast = Scanned({"--rate", rate, "--fast"});
        ASSERT_EQ(fast.size(), 2u);
        EXPECT_NEAR(fast[0]["start"].get<double>(), whole[0]["start"].get<double>(), 0.2);
        std::filesystem::remove(In("state2"));
        std::filesystem::remove(In("state3"));
    }
}

TEST_F(FastScan, DamageIsSteppedOver) {
    Video::WriteEncoded(TwoVisits(), {.codec = "mpeg4", .container = "mpegts", .gop = 20}, In("clip"));
    const std::uintmax_t size = std::filesystem::file_size(In("clip"));
    Damage("clip", size / 3, 2000);
    const std::vector<json> fast = Scanned({"--fast"}, 1);
    ASSERT_GE(fast.size(), 1u);
    EXPECT_EQ(fast.back()["status"], "damaged");
    EXPECT_EQ(fast.back()["events"], 2);
}

TEST_F(FastScan, APipeCannotBeReadTwice) {
    const Outcome run = Mdscan({"--fast", "-"});
    EXPECT_EQ(run.code, 2);
    EXPECT_NE(run.err.find("--fast wants a file, which can be read twice"), std::string::npos) << run.err;
    EXPECT_EQ(run.ErrorLines(), 1);
}

TEST_F(FastScan, AnOverlayShowsEveryPicture) {
    const Outcome run = Mdscan({"--fast", "--overlay", In("o.mp4"), RawClip({})});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1);
}

}  // namespace
}  // namespace Scan
