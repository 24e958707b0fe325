// Which packets are decoded?  Packets without contents, and no decoder.
#include "video/media/PictureSelection.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

using Decoding = PictureChoice::Decoding;

constexpr Ticks interval = oneSecond / 10;
constexpr int gop = 20;  // pictures; two seconds

class PictureSelectionTest : public testing::Test {
protected:
    PictureSelectionTest() : _codec(avcodec_parameters_alloc()) { _codec->codec_id = AV_CODEC_ID_MPEG4; }
    ~PictureSelectionTest() override { avcodec_parameters_free(&_codec); }

    // Of the packet of this number: a keyframe begins every GOP, decoding times are presentation times.
    static PictureChoice Choice(PictureSelection& selection, int number, Ticks later = 0, int flags = 0) {
        const PacketPointer packet = NewPacket();
        packet->pts = packet->dts = number * interval;
        packet->flags = flags | (number % gop == 0 ? AV_PKT_FLAG_KEY : 0);
        return selection.Choose(*packet, tickBase, later);
    }

    static Decoding Chosen(PictureSelection& selection, int number, Ticks later = 0, int flags = 0) {
        return Choice(selection, number, later, flags).decoding;
    }

    // As many as it takes to trust the stream, each shown.
    static void RunEvenly(PictureSelection& selection, int until) {
        for (int number = 0; number < until; ++number) {
            Choice(selection, number);
            selection.Show(number * interval);
        }
    }

    AVCodecParameters* _codec;
};

const auto nothing = [](Ticks) { return false; };

TEST_F(PictureSelectionTest, WithoutRulesAllAreDecoded) {
    PictureSelection selection({}, *_codec);
    EXPECT_FALSE(selection.MaySkip());
    for (int number = 0; number < 5 * gop; ++number) {
        EXPECT_EQ(Chosen(selection, number), Decoding::Always) << number;
        EXPECT_TRUE(selection.Show(number * interval).empty());
    }
    EXPECT_TRUE(selection.DiscardedAtEnd().empty());
    EXPECT_EQ(selection.Skipped(), 0);
}

TEST_F(PictureSelectionTest, WhatNobodyNeedsIsDiscardedAndCounted) {
    PictureSelection selection({.needed = nothing}, *_codec);
    EXPECT_FALSE(selection.MaySkip());
    RunEvenly(selection, 30);
    EXPECT_EQ(Chosen(selection, 30), Decoding::IfReference);
    EXPECT_EQ(Chosen(selection, 31), Decoding::IfReference);
    EXPECT_EQ(selection.Show(31 * interval), std::vector<Ticks>{30 * interval}) << "others do refer to 31";
    EXPECT_EQ(Chosen(selection, 32), Decoding::IfReference);
    EXPECT_EQ(selection.DiscardedAtEnd(), std::vector<Ticks>{32 * interval});
    EXPECT_EQ(selection.Skipped(), 0) << "these are for the decoder to count";
}

TEST_F(PictureSelectionTest, WhatIsNeededIsAskedForInTimesOfTheScan) {
    PictureSelection selection({.needed = [](Ticks time) { return time == 33 * interval; }}, *_codec);
    RunEvenly(selection, 30);
    EXPECT_EQ(Chosen(selection, 30, 3 * interval), Decoding::Always);
    EXPECT_EQ(Chosen(selection, 31, 3 * interval), Decoding::IfReference);
}

TEST_F(PictureSelectionTest, CodecsThatDoNotTellReferencesAreDecodedWhole) {
    for (const auto& [codec, order] : {std::pair{AV_CODEC_ID_HEVC, AV_FIELD_PROGRESSIVE}, {AV_CODEC_ID_H264, AV_FIELD_TT}}) {
        _codec->codec_id = codec;
        _codec->field_order = order;
        PictureSelection selection({.needed = nothing}, *_codec);
        RunEvenly(selection, 30);
        EXPECT_EQ(Chosen(selection, 30), Decoding::Always) << codec;
    }
}

TEST_F(PictureSelectionTest, WhatAnEditCutsAwayIsNeverCounted) {
    PictureSelection selection({.needed = nothing}, *_codec);
    RunEvenly(selection, 30);
    EXPECT_EQ(Chosen(selection, 30, 0, AV_PKT_FLAG_DISCARD), Decoding::Always);
    EXPECT_TRUE(selection.DiscardedAtEnd().empty());
}

TEST_F(PictureSelectionTest, AStandInSkipsItsGop) {
    std::vector<Ticks> asked;
    const StandIn second = [&](Ticks time) {
        asked.push_back(time);
        return time == gop * interval ? NewFrame() : nullptr;
    };
    PictureSelection selection({.standIn = second}, *_codec);
    EXPECT_TRUE(selection.MaySkip());
    for (int number = 0; number < 3 * gop; ++number) {
        const PictureChoice choice = Choice(selection, number, oneSecond);
        const bool skipped = number >= gop && number < 2 * gop;
        EXPECT_EQ(choice.decoding, skipped ? Decoding::Never : Decoding::Always) << number;
        EXPECT_EQ(choice.standIn != nullptr, number == gop) << number;
    }
    EXPECT_EQ(asked, (std::vector<Ticks>{0, gop * interval, 2 * gop * interval}));
    EXPECT_EQ(selection.Skipped(), gop - 1) << "the first is shown";
    EXPECT_EQ(selection.SkippedUntil(), (2 * gop - 1) * interval + oneSecond);
}

TEST_F(PictureSelectionTest, BehindASkippedGopNothingIsDiscardedUntilAPictureIsShown) {
    PictureSelection selection(
        {.needed = nothing, .standIn = [](Ticks time) { return time < 2 * gop * interval ? NewFrame() : nullptr; }},
        *_codec);
    for (int number = 0; number < 2 * gop; ++number) {
        EXPECT_EQ(Chosen(selection, number), Decoding::Never);
    }
    selection.Show(gop * interval);  // the stand-in
    EXPECT_EQ(Chosen(selection, 2 * gop), Decoding::Always);
    EXPECT_EQ(Chosen(selection, 2 * gop + 1), Decoding::Always) << "nothing of this GOP was shown";
    EXPECT_TRUE(selection.Show(2 * gop * interval).empty());
    EXPECT_EQ(Chosen(selection, 2 * gop + 2), Decoding::IfReference) << "evenness was followed all the while";
}

TEST_F(PictureSelectionTest, KeyframesAreEnoughFromWhereTheRuleSaysSo) {
    bool enough = false;
    PictureSelection selection({.keyframesOnly = [&] { return enough; }}, *_codec);
    EXPECT_TRUE(selection.MaySkip());
    for (int number = 0; number < 3 * gop; ++number) {
        enough = number >= 5;
        EXPECT_EQ(Chosen(selection, number), number < 5 || number % gop == 0 ? Decoding::Always : Decoding::Never) << number;
    }
    EXPECT_EQ(selection.Skipped(), 3 * gop - 5 - 2);
}

TEST_F(PictureSelectionTest, AKeyframeWithoutATimeBeginsNothing) {
    PictureSelection selection({.standIn = [](Ticks) { return NewFrame(); }}, *_codec);
    const PacketPointer packet = NewPacket();
    packet->flags = AV_PKT_FLAG_KEY;
    EXPECT_EQ(selection.Choose(*packet, tickBase, 0).decoding, Decoding::Always);
    packet->dts = 0;
    EXPECT_EQ(selection.Choose(*packet, tickBase, 0).decoding, Decoding::Never) << "a time of decoding does";
}

}  // namespace
}  // namespace Video
