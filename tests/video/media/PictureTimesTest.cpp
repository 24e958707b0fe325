// When was every picture of a file shown, which number has it, and what time of day was it?  Files as FFmpeg writes them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ClipFixture.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {
namespace {

constexpr Ticks tolerance = oneSecond / 1000;  // Matroska counts milliseconds

struct Shown {
    std::vector<double> times;  // seconds
    std::vector<std::int64_t> numbers;
    std::vector<bool> exact;
};

Shown ShownBy(const std::string& path) {
    Decoder decoder(OpenSource(path), 1);
    Shown shown;
    std::vector<Ticks> times;
    while (decoder.Next()) {
        times.push_back(decoder.Time());
        shown.times.push_back(ToSeconds(decoder.Time()));
    }
    for (const Ticks time : times) {  // asked afterwards: later pictures must not change it
        shown.numbers.push_back(decoder.Numbers().At(time));
        shown.exact.push_back(decoder.Numbers().IsExact(time));
    }
    return shown;
}

// Twenty pictures, ten a second.
SquareScene Tiny() { return {.width = 64, .height = 48, .seconds = 2, .from = 0, .until = 2}; }

class PictureTimes : public ClipFixture {
protected:
    std::string Clip(const Encoding& encoding) const {
        WriteEncoded({Tiny()}, encoding, In("clip"));
        return In("clip");
    }
};

// Each picture at the time that the function gives, in tenths of a second, and with its number.
void ExpectAllAt(const Shown& shown, int pictures, const std::function<double(int)>& tenths) {
    ASSERT_EQ(shown.times.size(), static_cast<std::size_t>(pictures));
    for (int i = 0; i < pictures; ++i) {
        const auto place = static_cast<std::size_t>(i);
        EXPECT_NEAR(shown.times[place], tenths(i) / 10, ToSeconds(tolerance)) << "picture " << i;
        EXPECT_EQ(shown.numbers[place], i);
        EXPECT_TRUE(shown.exact[place]) << "picture " << i;
    }
}

double Even(int picture) { return picture; }

TEST_F(PictureTimes, PicturesDecodedOutOfOrderAreShownInOrder) {
    for (const auto& [codec, container] :
         {std::pair{"mpeg4", "mp4"}, std::pair{"mpeg4", "avi"}, std::pair{"mpeg4", "matroska"},
          std::pair{"mpeg2video", "mpegts"}, std::pair{"mpeg2video", "vob"}}) {
        SCOPED_TRACE(std::string(codec) + " in " + container);
        ExpectAllAt(ShownBy(Clip({.codec = codec, .container = container, .bFrames = 2})), 20, Even);
    }
}

TEST_F(PictureTimes, UnevenPicturesKeepTheirTimes) {
    const auto uneven = [](int picture) { return picture + picture / 3 + picture / 7 * 5; };
    ExpectAllAt(ShownBy(Clip({.codec = "ffv1", .container = "matroska", .time = uneven})), 20, uneven);
    ExpectAllAt(ShownBy(Clip({.codec = "mpeg4", .container = "mp4", .time = uneven})), 20, uneven);
}

TEST_F(PictureTimes, HolesAreTheFilesOwn) {
    const auto hole = [](int picture) { return picture < 10 ? picture : picture + 36'000; };
    ExpectAllAt(ShownBy(Clip({.codec = "mpeg2video", .container = "mpegts", .time = hole})), 20, hole);
    ExpectAllAt(ShownBy(Clip({.codec = "mjpeg", .container = "mov", .format = AV_PIX_FMT_YUVJ420P, .time = hole})), 20,
                hole);
}

TEST_F(PictureTimes, ACountOf33BitsOverflowsUnnoticed) {
    constexpr std::int64_t period = (std::int64_t{1} << 33) / 9000;  // tenths of a second
    const auto late = [](int picture) { return period - 10 + picture; };
    ExpectAllAt(ShownBy(Clip({.codec = "mpeg2video", .container = "mpegts", .bFrames = 2, .time = late})), 20, Even);
}

TEST_F(PictureTimes, PicturesBeforeAnEditAreNotShown) {
    const auto cut = [](int picture) { return picture - 5; };  // the list of edits begins with the sixth picture
    ExpectAllAt(ShownBy(Clip({.codec = "mpeg4", .container = "mp4", .time = cut})), 15, Even);
}

TEST_F(PictureTimes, ALateStartIsTheStart) {
    const auto late = [](int picture) { return picture + 70; };
    ExpectAllAt(ShownBy(Clip({.codec = "mpeg4", .container = "mp4", .time = late})), 20, Even);
    ExpectAllAt(ShownBy(Clip({.codec = "ffv1", .container = "matroska", .time = late})), 20, Even);
}

TEST_F(PictureTimes, StreamsWithoutTimesCountAtTheirRate) {
    for (const char* container : {"m4v", "mpeg2video"}) {
        const std::string codec = container == std::string("m4v") ? "mpeg4" : "mpeg2video";
        const Shown shown = ShownBy(Clip({.codec = codec, .container = container}));
        ASSERT_EQ(shown.times.size(), 20u);
        const double step = shown.times[1] - shown.times[0];
        for (std::size_t i = 0; i < 20; ++i) {
            EXPECT_NEAR(shown.times[i], static_cast<double>(i) * step, 0.001) << container;
            EXPECT_EQ(shown.numbers[i], static_cast<std::int64_t>(i)) << container;
        }
    }
}

TEST_F(PictureTimes, JoinedRecordingsGoOn) {
    const std::string once = Read(std::filesystem::path(Clip({.codec = "mpeg2video", .container = "mpegts"})).filename());
    Write("twice.ts", once + once);
    const Shown shown = ShownBy(In("twice.ts"));
    ASSERT_EQ(shown.times.size(), 40u);
    for (std::size_t i = 0; i < 40; ++i) {
        EXPECT_NEAR(shown.times[i], static_cast<double>(i) / 10, ToSeconds(tolerance));
        EXPECT_EQ(shown.numbers[i], static_cast<std::int64_t>(i));
    }
    EXPECT_TRUE(shown.exact[15]);
    EXPECT_FALSE(shown.exact[39]) << "packets may be missing where they were joined";
}

TEST_F(PictureTimes, BehindDamageNumbersAreApproximate) {
    SquareScene scene = Tiny();
    scene.seconds = 10;
    WriteEncoded({scene}, {.codec = "mpeg2video", .container = "mpegts", .gop = 5}, In("clip"));
    Damage("clip", std::filesystem::file_size(In("clip")) / 2, 3000);
    const Shown shown = ShownBy(In("clip"));
    ASSERT_GT(shown.times.size(), 60u);
    ASSERT_LT(shown.times.size(), 100u) << "some are lost";
    EXPECT_TRUE(shown.exact.front());
    EXPECT_FALSE(shown.exact.back());
    for (std::size_t i = 0; i < shown.times.size(); ++i) {
        EXPECT_EQ(shown.numbers[i], std::llround(shown.times[i] * 10)) << "by time and rate";
        EXPECT_TRUE(i == 0 || shown.exact[i - 1] || !shown.exact[i]) << "no way back";
    }
}

TEST_F(PictureTimes, TheContainerSaysWhenItBegan) {
    const Decoder decoder(OpenSource(Clip({.codec = "mpeg4", .container = "mp4", .created = "2019-05-04T08:00:00Z"})), 1);
    ASSERT_TRUE(decoder.Started());
    EXPECT_EQ(WallTimeText(decoder.Started()->at), "2019-05-04T08:00:00.000Z");
    EXPECT_EQ(decoder.Started()->source, ClockSource::Container);
    const Decoder matroska(OpenSource(Clip({.codec = "ffv1", .container = "matroska", .created = "2019-05-04T08:00:00Z"})),
                           1);
    EXPECT_TRUE(matroska.Started());
}

TEST_F(PictureTimes, UnlikelyStartsAreNotTold) {
    for (const char* created : {"", "1970-01-01T00:00:01Z", "2100-01-01T00:00:00Z"}) {
        EXPECT_FALSE(OpenSource(Clip({.codec = "mpeg4", .container = "mp4", .created = created}))->Started()) << created;
    }
    SquareScene longer = Tiny();
    longer.seconds = 30;
    WriteEncoded({longer}, {.codec = "mpeg4", .container = "mp4", .created = WallTimeText(WallNow())}, In("end.mp4"));
    EXPECT_FALSE(OpenSource(In("end.mp4"))->Started()) << "half a minute cannot have been recorded since";
}

}  // namespace
}  // namespace Video
