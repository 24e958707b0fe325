// Are pictures decoded, dated and counted as their packets say?  A made-up source hands out small raw pictures, and trouble.
#include "video/media/Decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "video/base/Damage.h"
#include "video/base/Gap.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/media/PacketListener.h"
#include "video/media/PacketSource.h"
#include "video/time/PictureDating.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr int side = 16;  // pixels
constexpr Ticks interval = oneSecond / 10;
using Kind = Reading::Kind;

std::shared_ptr<const StreamFacts> GreyFacts() {
    auto facts = std::make_shared<StreamFacts>();
    facts->copy.reset(avformat_alloc_context());
    AVCodecParameters& codec = *avformat_new_stream(facts->copy.get(), nullptr)->codecpar;
    codec.codec_type = AVMEDIA_TYPE_VIDEO;
    codec.codec_id = AV_CODEC_ID_RAWVIDEO;
    codec.format = AV_PIX_FMT_GRAY8;
    codec.width = codec.height = side;
    facts->timeBase = tickBase;
    facts->nominalInterval = interval;
    return facts;
}

struct Step {
    Reading reading;
    Ticks time = 0;         // of the packet, as the source counts
    std::uint8_t grey = 0;  // of its picture
    bool isKey = false;
};

struct Script {
    std::deque<Step> steps;  // then the end
    bool isLive = false;
    std::string endError = "", shortfall = "";
    Ticks askedEnd = -1;  // that Shortfall was asked about
    int openGaps = 0;     // asked for
};

class MadeUpSource : public PacketSource {
public:
    MadeUpSource(Script& script, std::shared_ptr<const StreamFacts> facts) : _script(script), _facts(std::move(facts)) {}

    bool IsLive() const override { return _script.isLive; }
    std::shared_ptr<const StreamFacts> Facts() const override { return _facts; }
    std::unique_ptr<PictureDating> NewDating() const override {
        return _script.isLive ? std::unique_ptr<PictureDating>(std::make_unique<LiveDating>(interval))
                              : std::make_unique<FileDating>(0, interval, 0);
    }
    Reading Read(AVPacket& packet) override {
        if (_script.steps.empty()) {
            return {.kind = _script.isLive ? Kind::Over : Kind::End};
        }
        const Step step = _script.steps.front();
        _script.steps.pop_front();
        if (step.reading.kind == Kind::Packet) {
            EXPECT_EQ(av_new_packet(&packet, side * side), 0);
            std::fill_n(packet.data, packet.size, step.grey);
            packet.pts = packet.dts = step.time;
            packet.flags = step.isKey ? AV_PKT_FLAG_KEY : 0;
        }
        Reading reading = step.reading;
        reading.facts = reading.facts ? reading.facts : _facts;
        return reading;
    }
    const std::optional<StartTime>& Started() const override { return _started; }
    std::string EndError() const override { return _script.endError; }
    std::string Shortfall(Ticks end, const std::string&) const override {
        _script.askedEnd = end;
        return _script.shortfall;
    }
    std::optional<Gap> OpenGap(Ticks last) const override {
        ++_script.openGaps;
        return Gap{last, last + oneSecond, "it went away"};
    }

private:
    Script& _script;
    std::shared_ptr<const StreamFacts> _facts;
    std::optional<StartTime> _started;
};

Step Packet(int number, const std::string& damage = "") {
    return {.reading = {.kind = Kind::Packet, .damage = damage, .arrival = number * interval},
            .time = number * interval,
            .grey = static_cast<std::uint8_t>(number)};
}

std::deque<Step> Packets(int count) {
    std::deque<Step> steps;
    for (int number = 0; number < count; ++number) {
        steps.push_back(Packet(number));
    }
    return steps;
}

struct Shown {
    std::vector<int> greys;
    std::vector<Ticks> times;
};

Shown AllOf(Decoder& decoder) {
    Shown shown;
    while (decoder.Next()) {
        shown.greys.push_back(decoder.Frame().data[0][0]);
        shown.times.push_back(decoder.Time());
    }
    return shown;
}

class DecoderTest : public testing::Test {
protected:
    std::unique_ptr<PacketSource> Source() { return std::make_unique<MadeUpSource>(_script, _facts); }

    Script _script;
    const std::shared_ptr<const StreamFacts> _facts = GreyFacts();
};

TEST_F(DecoderTest, EveryPacketIsAPictureAtItsTime) {
    _script.steps = Packets(5);
    _script.steps.insert(_script.steps.begin() + 2, Step{});  // nothing so far
    Decoder decoder(Source(), 1);
    const Shown shown = AllOf(decoder);
    EXPECT_EQ(shown.greys, (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(shown.times, (std::vector<Ticks>{0, interval, 2 * interval, 3 * interval, 4 * interval}));
    EXPECT_EQ(decoder.Pictures(), 5);
    EXPECT_EQ(decoder.PacketsRead(), 5);
    EXPECT_EQ(decoder.FileTime(), 4 * interval);
    EXPECT_EQ(decoder.Found().count, 0);
    EXPECT_EQ(_script.askedEnd, 5 * interval);
    EXPECT_TRUE(decoder.Numbers().IsExact(4 * interval));
    EXPECT_FALSE(decoder.TakeGap());
}

TEST_F(DecoderTest, DamageIsCountedAndSteppedOver) {
    _script.steps = Packets(5);
    _script.steps[2] = Packet(2, "incomplete packet");
    _script.steps[3] = {.reading = {.kind = Kind::Nothing, .damage = "read error"}};
    _script.shortfall = "ends early";
    Decoder decoder(Source(), 1);
    EXPECT_EQ(AllOf(decoder).greys, (std::vector<int>{0, 1, 2, 4}));
    EXPECT_EQ(decoder.Found().count, 2);
    EXPECT_EQ(decoder.Found().what, "incomplete packet");
    EXPECT_EQ(decoder.Found().time, interval) << "of the picture before";
    EXPECT_EQ(_script.askedEnd, -1) << "it ends somewhere else, of course";
    EXPECT_TRUE(decoder.Numbers().IsExact(interval));
    EXPECT_FALSE(decoder.Numbers().IsExact(4 * interval));
}

TEST_F(DecoderTest, AFileThatGivesNothingButErrorsIsGivenUp) {
    _script.steps = Packets(1);
    _script.steps.insert(_script.steps.end(), 2000, {.reading = {.kind = Kind::Nothing, .damage = "read error"}});
    Decoder decoder(Source(), 1);
    EXPECT_EQ(AllOf(decoder).greys.size(), 1u);
    EXPECT_EQ(decoder.Found().count, 1000);
}

TEST_F(DecoderTest, ALiveSourceIsNotAndHasNoDamage) {
    _script.isLive = true;
    _script.steps = Packets(1);
    _script.steps.insert(_script.steps.end(), 2000, {.reading = {.kind = Kind::Nothing, .damage = "read error"}});
    _script.steps.push_back(Packet(1));
    Decoder decoder(Source(), 1);
    EXPECT_EQ(AllOf(decoder).greys.size(), 2u);
    EXPECT_EQ(decoder.Found().count, 0);
    EXPECT_FALSE(decoder.Numbers().IsExact(interval));
}

TEST_F(DecoderTest, TheEndIsLookedAt) {
    const auto found = [&] {
        _script.steps = Packets(2);
        Decoder decoder(Source(), 1);
        AllOf(decoder);
        return decoder.Found();
    };
    _script.shortfall = "ends within a picture";
    EXPECT_EQ(found().what, "ends within a picture");
    _script.endError = "Input/output error";
    EXPECT_EQ(found().what, "Input/output error") << "comes first";
    EXPECT_EQ(found().count, 1);
}

TEST_F(DecoderTest, WithoutAPictureThereIsDamage) {
    Decoder decoder(Source(), 1);
    EXPECT_FALSE(decoder.Next());
    EXPECT_EQ(decoder.Found().what, "no picture could be decoded");
}

TEST_F(DecoderTest, AStandInComesInItsPlace) {
    _script.steps = Packets(60);
    for (int number = 0; number < 60; number += 20) {
        _script.steps[static_cast<std::size_t>(number)].isKey = true;
    }
    const StandIn second = [](Ticks time) {
        FramePointer picture = time == 20 * interval ? NewFrame() : nullptr;
        if (picture) {
            picture->format = AV_PIX_FMT_GRAY8;
            picture->width = picture->height = side;
            EXPECT_EQ(av_frame_get_buffer(picture.get(), 0), 0);
            picture->data[0][0] = 200;
            picture->pts = picture->best_effort_timestamp = time;
            picture->reordered_opaque = 7;  // of the decoder that it comes from
        }
        return picture;
    };
    Decoder decoder(Source(), 1, {.standIn = second});
    for (int number = 0; number < 20; ++number) {
        ASSERT_TRUE(decoder.Next());
        EXPECT_EQ(decoder.Frame().data[0][0], number);
    }
    ASSERT_TRUE(decoder.Next());
    EXPECT_EQ(decoder.Frame().data[0][0], 200);
    EXPECT_EQ(decoder.Time(), 20 * interval);
    EXPECT_EQ(decoder.Packet(), 20);
    ASSERT_TRUE(decoder.Next());
    EXPECT_EQ(decoder.Frame().data[0][0], 40) << "the next GOP is decoded";
    EXPECT_EQ(decoder.Time(), 40 * interval);
    AllOf(decoder);
    EXPECT_EQ(decoder.Pictures(), 60);
    EXPECT_FALSE(decoder.Numbers().IsExact(0));
}

TEST_F(DecoderTest, SkippedPicturesAtTheEndCountIntoItsLength) {
    _script.steps = Packets(20);
    _script.steps.front().isKey = true;
    Decoder decoder(Source(), 1, {.keyframesOnly = [] { return true; }});
    EXPECT_EQ(AllOf(decoder).greys, std::vector<int>{0});
    EXPECT_EQ(decoder.Pictures(), 20);
    EXPECT_EQ(decoder.Time(), 19 * interval);
}

TEST_F(DecoderTest, OfALiveSourceNothingIsSkipped) {
    _script.isLive = true;
    _script.steps = Packets(20);
    _script.steps.front().isKey = true;
    Decoder decoder(Source(), 1, {.keyframesOnly = [] { return true; }});
    EXPECT_EQ(AllOf(decoder).greys.size(), 20u);
    EXPECT_TRUE(decoder.Numbers().IsExact(19 * interval));
}

TEST_F(DecoderTest, APauseOfALiveSourceIsAGapAndThatOfAFileIsNot) {
    for (const bool isLive : {true, false}) {
        _script.isLive = isLive;
        _script.steps = {Packet(0), Packet(1), Packet(70)};
        Decoder decoder(Source(), 1);
        ASSERT_TRUE(decoder.Next());
        EXPECT_FALSE(decoder.TakeGap());
        ASSERT_TRUE(decoder.Next());
        EXPECT_FALSE(decoder.TakeGap());
        ASSERT_TRUE(decoder.Next());
        const std::optional<Gap> gap = decoder.TakeGap();
        ASSERT_EQ(gap.has_value(), isLive);
        if (gap) {
            EXPECT_EQ(gap->start, interval);
            EXPECT_EQ(gap->end, 70 * interval);
            EXPECT_EQ(gap->reason, "the source sent no picture");
            EXPECT_FALSE(decoder.TakeGap()) << "once";
        }
    }
}

class Listener : public PacketListener {
public:
    void OnStream(const AVStream&) override { heard.push_back("stream"); }
    void OnPacket(const AVPacket& packet, std::int64_t number) override {
        heard.push_back(std::to_string(number) + " at " + std::to_string(packet.pts / interval));
    }
    std::vector<std::string> heard;
};

TEST_F(DecoderTest, BehindAHoleDecodingBeginsAnew) {
    const std::shared_ptr<const StreamFacts> later = GreyFacts();
    _script.isLive = true;
    _script.steps = {Packet(0), Packet(1), Packet(2)};
    Step anew = Packet(3);
    anew.reading.arrival = 30 * interval;
    anew.reading.facts = later;
    anew.reading.hole = "the connection ended";
    _script.steps.push_back(anew);
    Listener listener;
    Decoder decoder(Source(), 1);
    decoder.Tell(listener);
    for (int number = 0; number < 3; ++number) {
        ASSERT_TRUE(decoder.Next());
        EXPECT_FALSE(decoder.TakeGap()) << number;
    }
    ASSERT_TRUE(decoder.Next());
    EXPECT_EQ(decoder.Time(), 30 * interval) << "by its arrival";
    const std::optional<Gap> gap = decoder.TakeGap();
    ASSERT_TRUE(gap);
    EXPECT_EQ(gap->start, 2 * interval);
    EXPECT_EQ(gap->end, 30 * interval);
    EXPECT_EQ(gap->reason, "the connection ended");
    EXPECT_EQ(listener.heard, (std::vector<std::string>{"stream", "0 at 0", "1 at 1", "2 at 2", "stream", "3 at 3"}));
}

TEST_F(DecoderTest, TheGapThatTheScanEndsInIsToldOnce) {
    _script.isLive = true;
    _script.steps = Packets(3);
    Decoder decoder(Source(), 1);
    AllOf(decoder);
    const std::optional<Gap> gap = decoder.TakeGap();
    ASSERT_TRUE(gap);
    EXPECT_EQ(gap->start, 2 * interval);
    EXPECT_EQ(gap->reason, "it went away");
    EXPECT_FALSE(decoder.TakeGap());
    EXPECT_EQ(_script.openGaps, 1);
}

}  // namespace
}  // namespace Video
