// When can stored pictures follow others, and where does each clip begin?
#include "video/pictures/JoinedVideo.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/mathematics.h>
}

#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/pictures/Chapters.h"
#include "video/pictures/VideoEncoder.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

// A clip that is open.
struct OpenClip {
    InputPointer input;
    const AVStream* stream;  // its video; owned by input
};

OpenClip Open(const std::string& path) {
    AVFormatContext* opened = nullptr;
    int result = avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, nullptr);
    InputPointer input(opened);
    result = result < 0 ? result : avformat_find_stream_info(opened, nullptr);
    result = result < 0 ? result : av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (result < 0) {
        throw Failure(Concern::Output, "cannot join " + path + ": " + ErrorText(result));
    }
    return {std::move(input), opened->streams[result]};
}

// visit(packet) for each of the clip's video.
template <class Visit>
void ForEachPacket(const OpenClip& clip, Visit visit) {
    const PacketPointer packet = NewPacket();
    while (av_read_frame(clip.input.get(), packet.get()) >= 0) {
        if (packet->stream_index == clip.stream->index && packet->pts != AV_NOPTS_VALUE) {
            visit(*packet);
        }
        av_packet_unref(packet.get());
    }
}

// Where a clip's pictures lie on its own clock.
struct Extent {
    Ticks begin, end;
};

Extent ExtentOf(const OpenClip& clip) {
    Ticks begin = std::numeric_limits<Ticks>::max(), end = 0;
    ForEachPacket(clip, [&](const AVPacket& packet) {
        begin = std::min(begin, av_rescale_q(packet.pts, clip.stream->time_base, tickBase));
        end = std::max(end, av_rescale_q(packet.pts + packet.duration, clip.stream->time_base, tickBase));
    });
    return begin < end ? Extent{begin, end} : Extent{0, 0};
}

std::optional<std::vector<std::uint8_t>> TurnOf(const AVStream& stream) {
    std::size_t size = 0;
    const std::uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    return matrix ? std::optional(std::vector<std::uint8_t>(matrix, matrix + size)) : std::nullopt;
}

bool AreAlike(const AVStream& one, const AVStream& other) {
    const AVCodecParameters &a = *one.codecpar, &b = *other.codecpar;
    return a.codec_id == b.codec_id && a.codec_tag == b.codec_tag && a.width == b.width && a.height == b.height &&
           a.format == b.format && a.color_range == b.color_range && a.extradata_size == b.extradata_size &&
           (a.extradata_size == 0 ||
            std::memcmp(a.extradata, b.extradata, static_cast<std::size_t>(a.extradata_size)) == 0) &&
           av_cmp_q(one.sample_aspect_ratio, other.sample_aspect_ratio) == 0 && TurnOf(one) == TurnOf(other);
}

// Clips one after another, each from where the one before ended.
class Copier {
public:
    Copier(const AtomicFile& file, const AVStream& like, const std::vector<Chapter>& chapters) : _file(file) {
        AVFormatContext* made = nullptr;
        Check(avformat_alloc_output_context2(&made, FormatOf(file.Path()), nullptr, file.PassingPath().c_str()));
        _output.reset(made);
        _output->flags |= AVFMT_FLAG_BITEXACT;  // equal clips make equal videos
        AVStream* stream = avformat_new_stream(made, nullptr);
        if (!stream || avcodec_parameters_copy(stream->codecpar, like.codecpar) < 0) {
            throw std::bad_alloc();
        }
        stream->codecpar->codec_tag = 0;  // the clips' container calls it that, this one may not
        stream->time_base = like.time_base;
        stream->sample_aspect_ratio = like.sample_aspect_ratio;
        stream->avg_frame_rate = like.avg_frame_rate;
        if (const auto turn = TurnOf(like)) {
            std::uint8_t* copy = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, turn->size());
            if (!copy) {
                throw std::bad_alloc();
            }
            std::copy(turn->begin(), turn->end(), copy);
        }
        AddChapters(*_output, chapters);
        Check(avio_open(&_output->pb, ("file:" + file.PassingPath()).c_str(), AVIO_FLAG_WRITE));
        Check(avformat_write_header(made, nullptr));
    }

    // later: ticks that its pictures are shown later than in the clip.
    void Add(const OpenClip& clip, Ticks later) {
        ForEachPacket(clip, [&](AVPacket& packet) {
            const AVRational base = _output->streams[0]->time_base;
            av_packet_rescale_ts(&packet, clip.stream->time_base, base);
            const std::int64_t shift = av_rescale_q(later, tickBase, base);
            packet.pts += shift;
            packet.dts = std::max(_lastDts + 1, packet.dts == AV_NOPTS_VALUE ? packet.pts : packet.dts + shift);
            packet.pts = std::max(packet.pts, packet.dts);
            _lastDts = packet.dts;
            packet.stream_index = 0;
            packet.pos = -1;
            Check(av_write_frame(_output.get(), &packet));
        });
    }

    void Finish() {
        Check(av_write_trailer(_output.get()));
        Check(avio_closep(&_output->pb));
    }

private:
    void Check(int result) const {
        if (result < 0) {
            throw Failure(Concern::Output, "cannot write " + _file.Path() + ": " + ErrorText(result));
        }
    }

    const AtomicFile& _file;
    OutputPointer _output;
    std::int64_t _lastDts = std::numeric_limits<std::int64_t>::min() / 2;  // in the container's units: they must rise
};

// Pictures of any size and shape, painted into the middle of one of square pixels.
class Painter {
public:
    explicit Painter(const AtomicFile& file) : _file(file) {}

    void Paint(const AVFrame& picture, AVRational aspect, AVFrame& canvas) {
        const auto [width, height] = Shown(picture.width, picture.height, aspect);
        const double scale = std::min(1.0 * canvas.width / width, 1.0 * canvas.height / height);
        const int across = std::clamp(EvenSize(static_cast<int>(width * scale)), 2, canvas.width);
        const int down = std::clamp(EvenSize(static_cast<int>(height * scale)), 2, canvas.height);
        if (across < canvas.width || down < canvas.height) {
            Blacken(canvas);
        }
        _scaler.reset(sws_getCachedContext(_scaler.release(), picture.width, picture.height, PlainFormat(picture.format),
                                           across, down, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr));
        if (!_scaler) {
            throw Failure(Concern::Output, "cannot write " + _file.Path() + ": " + ErrorText(AVERROR(EINVAL)));
        }
        const int x = (canvas.width - across) / 4 * 2,
                  y = (canvas.height - down) / 4 * 2;  // even, as colour has half as many
        std::uint8_t* const planes[] = {canvas.data[0] + y * canvas.linesize[0] + x,
                                        canvas.data[1] + y / 2 * canvas.linesize[1] + x / 2,
                                        canvas.data[2] + y / 2 * canvas.linesize[2] + x / 2};
        sws_scale(_scaler.get(), picture.data, picture.linesize, 0, picture.height, planes, canvas.linesize);
    }

    // The size in square pixels.
    static std::pair<int, int> Shown(int width, int height, AVRational aspect) {
        const bool isSquare = aspect.num <= 0 || aspect.den <= 0;
        return {isSquare ? width : static_cast<int>(av_rescale(width, aspect.num, aspect.den)), height};
    }

private:
    static void Blacken(AVFrame& canvas) {
        for (int plane = 0; plane < 3; ++plane) {
            const int rows = plane == 0 ? canvas.height : canvas.height / 2;
            const int black = plane > 0 ? 128 : canvas.color_range == AVCOL_RANGE_JPEG ? 0 : 16;
            std::memset(canvas.data[plane], black,
                        static_cast<std::size_t>(canvas.linesize[plane]) * static_cast<std::size_t>(rows));
        }
    }

    const AtomicFile& _file;
    ScalerPointer _scaler;
};

Decoder DecoderOf(const std::string& clip) { return Decoder(OpenSource(clip, 0), 0, {}); }

}  // namespace

void CheckJoins(const std::string& path) {
    constexpr std::string_view takes[] = {"mp4", "mov", "ipod", "matroska"};
    const std::string_view name = FormatOf(path)->name;
    if (std::find(std::begin(takes), std::end(takes), name) == std::end(takes)) {
        throw Failure(Concern::Place,
                      "cannot write " + path + ": a video with chapters wants a name like .mp4, .mov or .mkv");
    }
}

void JoinClips(const std::vector<JoinPart>& parts, const AtomicFile& file) {
    std::vector<Extent> extents;
    std::vector<Chapter> chapters;
    const OpenClip first = Open(parts.front().clip);
    const AVCodecID codec = first.stream->codecpar->codec_id;
    bool areAlike = avformat_query_codec(FormatOf(file.Path()), codec, FF_COMPLIANCE_NORMAL) == 1;
    VideoForm form{2, 2, std::numeric_limits<Ticks>::max(), {1, 1}, first.stream->codecpar->color_range};
    Ticks end = 0;
    for (const JoinPart& part : parts) {
        const OpenClip clip = Open(part.clip);
        areAlike = areAlike && AreAlike(*first.stream, *clip.stream);
        extents.push_back(ExtentOf(clip));
        const Ticks length = extents.back().end - extents.back().begin;
        chapters.push_back({end, end + length, part.title});
        end += length;
    }
    if (areAlike) {
        Copier copier(file, *first.stream, chapters);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            copier.Add(Open(parts[i].clip), chapters[i].start - extents[i].begin);
        }
        copier.Finish();
        return;
    }
    for (const JoinPart& part : parts) {
        Decoder clip = DecoderOf(part.clip);
        form.interval = std::min(form.interval, clip.NominalInterval());
        if (clip.Next()) {
            const auto [width, height] = Painter::Shown(clip.Frame().width, clip.Frame().height, clip.SampleAspect());
            form.width = std::max(form.width, width);
            form.height = std::max(form.height, height);
        }
    }
    VideoEncoder video(file, form, chapters);
    Painter painter(file);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        Decoder clip = DecoderOf(parts[i].clip);
        while (clip.Next()) {
            painter.Paint(clip.Frame(), clip.SampleAspect(), video.Canvas());
            video.Write(chapters[i].start + clip.Time());
        }
        if (Interrupted()) {  // which ends decoding
            throw Failure(Concern::Output, "cannot write " + file.Path() + ": interrupted while clips were encoded anew");
        }
    }
    video.Finish();
}

}  // namespace Video
