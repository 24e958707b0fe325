// Are pictures that nobody needs discarded, and is all else as if they had been decoded?
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ClipFixture.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/time/Cadence.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

struct Shown {
    std::vector<Ticks> times;
    std::vector<std::int64_t> numbers;
    std::int64_t pictures;
    Ticks end;
    int damages;
    std::int64_t calls;  // of Next that gave a picture
};

Shown ShownBy(Decoder& decoder, Cadence& cadence) {
    Shown shown{};
    while (decoder.Next()) {
        ++shown.calls;
        if (cadence.Takes(decoder.Time())) {
            shown.times.push_back(decoder.Time());
            shown.numbers.push_back(decoder.Numbers().At(decoder.Time()));
        }
    }
    shown.pictures = decoder.Pictures();
    shown.end = decoder.Time();
    shown.damages = decoder.Found().count;
    return shown;
}

class DecoderDiscard : public ClipFixture {
protected:
    // Ten seconds, 25 pictures a second.
    void Write(const Encoding& encoding) const {
        WriteEncoded({{.width = 64, .height = 48, .framesPerSecond = 25, .seconds = 10, .from = 2, .until = 8}}, encoding,
                     Path());
    }
    std::string Path() const { return In("clip"); }

    // How many pictures of the clip were not shown; what the scan sees is the same.
    std::int64_t DiscardedOf(double rate) const {
        Decoder all(OpenSource(Path()), 1);
        Cadence cadence(rate, all.NominalInterval());
        const Shown expected = ShownBy(all, cadence);

        Cadence sparing(rate, all.NominalInterval());
        Decoder some(OpenSource(Path()), 1, {.needed = [&](Ticks time) { return sparing.MayTake(time); }});
        const Shown seen = ShownBy(some, sparing);
        EXPECT_EQ(seen.times, expected.times);
        EXPECT_EQ(seen.numbers, expected.numbers);
        EXPECT_EQ(seen.pictures, expected.pictures);
        EXPECT_EQ(seen.end, expected.end);
        EXPECT_EQ(seen.damages, expected.damages);
        EXPECT_TRUE(some.Numbers().IsExact(some.Time()));
        return expected.calls - seen.calls;
    }
};

TEST_F(DecoderDiscard, TwoOfThreePicturesMayGo) {
    for (const auto& [codec, container] :
         {std::pair{"mpeg4", "mp4"}, std::pair{"mpeg4", "matroska"}, std::pair{"mpeg2video", "mpegts"},
          std::pair{"libx264", "mp4"}, std::pair{"libx264", "mpegts"}}) {
        if (!HasEncoder(codec)) {
            continue;
        }
        SCOPED_TRACE(std::string(codec) + " in " + container);
        Write({.codec = codec, .container = container, .bFrames = 2});
        EXPECT_GT(DiscardedOf(6), codec == std::string("libx264") ? 20 : 80);  // of 250; x264 chooses for itself
    }
}

TEST_F(DecoderDiscard, NothingIsWhereEveryPictureIsAnalysed) {
    Write({.codec = "mpeg4", .container = "mp4", .bFrames = 2});
    EXPECT_EQ(DiscardedOf(0), 0);
    EXPECT_EQ(DiscardedOf(25), 0);
}

TEST_F(DecoderDiscard, NothingIsWhereAllAreReferredTo) {
    Write({.codec = "mpeg4", .container = "mp4", .bFrames = 0});
    EXPECT_EQ(DiscardedOf(6), 0);
}

TEST_F(DecoderDiscard, UnevenPicturesAreAllDecoded) {
    Write({.codec = "mpeg4", .container = "matroska", .bFrames = 2, .time = [](int picture) {
               return picture + picture / 5;
           }});
    EXPECT_EQ(DiscardedOf(6), 0);
}

TEST_F(DecoderDiscard, AHoleInTheMiddleChangesNothing) {
    Write({.codec = "mpeg4", .container = "mp4", .bFrames = 2, .time = [](int picture) {
               return picture < 120 ? picture : picture + 13;
           }});
    EXPECT_GT(DiscardedOf(6), 40);
}

TEST_F(DecoderDiscard, TheFilterOfH264IsLeftOutWhereAskedFor) {
    const auto pictures = [&](bool unfiltered) {
        std::vector<std::vector<std::uint8_t>> luma;
        for (Decoder decoder(OpenSource(Path()), 1, {.unfiltered = unfiltered}); decoder.Next();) {
            const AVFrame& frame = decoder.Frame();
            luma.emplace_back(frame.data[0], frame.data[0] + frame.linesize[0] * (frame.height - 1) + frame.width);
        }
        return luma;
    };
    Write({.codec = "mpeg4", .container = "mp4"});
    EXPECT_EQ(pictures(true), pictures(false)) << "has none";
    if (!HasEncoder("libx264")) {
        GTEST_SKIP() << "FFmpeg has no encoder for H.264";
    }
    Write({.codec = "libx264", .container = "mp4"});
    const auto smooth = pictures(false), plain = pictures(true);
    ASSERT_EQ(plain.size(), smooth.size());
    EXPECT_NE(plain, smooth);
}

}  // namespace
}  // namespace Video
