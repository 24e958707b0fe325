// What does FFmpeg have to be told before it opens something, and which of its streams is looked at?
#include "video/media/Connection.h"

#include <algorithm>
#include <new>
#include <ratio>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#ifdef COREMD_HAS_DEVICES
#include <libavdevice/avdevice.h>
#endif
#include <libavutil/mathematics.h>
}

#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/base/LiveName.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

constexpr AVRational usualRate = {25, 1};               // where the file does not say
constexpr double lowestRate = 0.01, highestRate = 480;  // pictures per second; outside: the file does not know

bool IsPlausible(AVRational rate) {
    return rate.num > 0 && rate.den > 0 && av_q2d(rate) >= lowestRate && av_q2d(rate) <= highestRate;
}

AVRational NominalRate(const AVStream& stream) {
    for (const AVRational rate : {stream.avg_frame_rate, stream.r_frame_rate}) {
        if (IsPlausible(rate)) {
            return rate;
        }
    }
    return usualRate;
}

// Ticks after which the stream's count of time overflows; 0: never.
Ticks OverflowPeriod(const AVStream& stream) {
    constexpr Ticks shortest = 600 * oneSecond;
    if (stream.pts_wrap_bits >= 63) {
        return 0;
    }
    const Ticks period = TicksOf(std::int64_t{1} << stream.pts_wrap_bits, stream.time_base).value_or(0);
    return period > shortest ? period : 0;
}

// What it says of itself outlives the connection.
OutputPointer CopyOf(const AVStream& stream) {
    OutputPointer holder(avformat_alloc_context());
    AVStream* copy = holder ? avformat_new_stream(holder.get(), nullptr) : nullptr;
    if (!copy || avcodec_parameters_copy(copy->codecpar, stream.codecpar) < 0) {
        throw std::bad_alloc();
    }
    for (int i = 0; i < stream.nb_side_data; ++i) {
        const AVPacketSideData& data = stream.side_data[i];
        std::uint8_t* place = av_stream_new_side_data(copy, data.type, data.size);
        if (!place) {
            throw std::bad_alloc();
        }
        std::copy_n(data.data, data.size, place);
    }
    copy->time_base = stream.time_base;
    copy->avg_frame_rate = stream.avg_frame_rate;
    copy->r_frame_rate = stream.r_frame_rate;
    copy->sample_aspect_ratio = stream.sample_aspect_ratio;
    return holder;
}

std::shared_ptr<const StreamFacts> FactsOf(AVFormatContext& input, AVStream& stream) {
    auto facts = std::make_shared<StreamFacts>();
    facts->copy = CopyOf(stream);
    facts->timeBase = stream.time_base;
    facts->nominalInterval = std::max<Ticks>(1, av_rescale_q(1, av_inv_q(NominalRate(stream)), tickBase));
    facts->sampleAspect = av_guess_sample_aspect_ratio(&input, &stream, nullptr);
    facts->turn = TurnOf(stream);
    if (facts->turn.transposed && facts->sampleAspect.num > 0) {
        facts->sampleAspect = av_inv_q(facts->sampleAspect);
    }
    facts->overflow = OverflowPeriod(stream);
    return facts;
}

// Null: FFmpeg is to find out by itself.
const AVInputFormat* CameraFormat(const std::string& url) {
    if (!IsCamera(url)) {
        return nullptr;
    }
#ifdef COREMD_HAS_DEVICES
    avdevice_register_all();
#endif
    const AVInputFormat* format = av_find_input_format("v4l2");
    if (!format) {
        throw Failure(Concern::Input, "cannot open: is a camera, and this mdscan was built without libavdevice");
    }
    return format;
}

class Settings {
public:
    ~Settings() { av_dict_free(&_settings); }
    Settings() = default;
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    void Set(const char* name, const std::string& value) { av_dict_set(&_settings, name, value.c_str(), 0); }
    AVDictionary** Address() { return &_settings; }

private:
    AVDictionary* _settings = nullptr;
};

void RefuseTooLarge(const AVFormatContext& input) {
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        const AVCodecParameters& codec = *input.streams[i]->codecpar;
        const bool isCover = (input.streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
        if (codec.codec_type == AVMEDIA_TYPE_VIDEO && !isCover && std::int64_t{codec.width} * codec.height > mostPixels) {
            throw Failure(Concern::Input, TooLargeText(codec.width, codec.height));
        }
    }
}

// Looks into the streams, which may decode pictures: none that is too large.
int FindStreams(AVFormatContext& input) {
    std::vector<Settings> settings(input.nb_streams);
    std::vector<AVDictionary*> options;
    for (Settings& stream : settings) {
        stream.Set("max_pixels", std::to_string(mostPixels));
        options.push_back(*stream.Address());
    }
    const int result = avformat_find_stream_info(&input, options.data());  // each may have become another one
    for (std::size_t i = 0; i < options.size(); ++i) {
        *settings[i].Address() = options[i];
    }
    return result;
}

}  // namespace

Ticks SteadyTicks(SteadyTime time) {
    using HundredNanoseconds = std::chrono::duration<Ticks, std::ratio<1, oneSecond>>;
    return std::chrono::duration_cast<HundredNanoseconds>(time.time_since_epoch()).count();
}

bool Patience::IsOver() const { return _ended || Interrupted() || (_deadline != forever && SteadyNow() > _deadline); }

AVIOInterruptCB Patience::Callback() {
    return {[](void* self) { return static_cast<const Patience*>(self)->IsOver() ? 1 : 0; }, this};
}

InputPointer NewInput(Patience& patience) {
    InputPointer input(avformat_alloc_context());
    if (!input) {
        throw std::bad_alloc();
    }
    input->interrupt_callback = patience.Callback();
    return input;
}

InputPointer OpenRemote(const std::string& url, Patience& patience, double reconnect) {
    const AVInputFormat* format = CameraFormat(url);
    InputPointer input = NewInput(patience);
    Settings settings;
    if (format) {
        input->flags |= AVFMT_FLAG_NONBLOCK;  // a camera that stalls does not ask whether to go on
    }
    if (!url.ends_with("?udp") && !url.ends_with("&udp")) {  // which FFmpeg understands, if it is left to it
        settings.Set("rtsp_transport", "tcp");
    }
    if (reconnect > 0) {
        settings.Set("reconnect", "1");  // of what has a length and can be read from any place
        settings.Set("reconnect_delay_max", std::to_string(static_cast<int>(reconnect)));
    }
    TakeComplaint();
    AVFormatContext* opened = input.release();  // freed by FFmpeg where it fails
    if (const int error = avformat_open_input(&opened, url.c_str(), format, settings.Address()); error < 0) {
        throw Failure(Concern::Input, "cannot open: " + Explained(error == AVERROR_EXIT ? "no answer" : ErrorText(error)));
    }
    return InputPointer(opened);
}

Connection FindVideo(InputPointer input) {
    Connection connection;
    connection.opened = std::chrono::steady_clock::now();
    RefuseTooLarge(*input);  // where the header says it
    const int error = FindStreams(*input);
    RefuseTooLarge(*input);
    if (error < 0) {
        throw Failure(Concern::Input, "cannot read: " + Explained(ErrorText(error)));
    }
    const AVCodec* codec = nullptr;
    const int index = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (index == AVERROR_DECODER_NOT_FOUND) {
        throw Failure(Concern::Input, "there is no decoder for its video");
    }
    if (index < 0 || (input->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        throw Failure(Concern::Input, "contains no video");
    }
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        input->streams[i]->discard = i == static_cast<unsigned>(index) ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    connection.stream = input->streams[index];
    const std::string complaint = TakeComplaint();  // probing complains about what turns out well, too
    if (connection.stream->codecpar->width <= 0 && IsTooLargeText(complaint)) {
        throw Failure(Concern::Input, complaint);
    }
    connection.facts = FactsOf(*input, *connection.stream);
    connection.input = std::move(input);
    return connection;
}

}  // namespace Video
