// What does a host gain that leaves out part of H.264's decoding, and what does it lose?  Decodes a video by FFmpeg's
// libraries in one of several ways, one thread each, and shows the detector about six pictures a second.
//
//     partly_h264 WAY VIDEO      says when something moves; the ways are those of the table below
//     partly_h264 VIDEO          tries all of them and compares what they find with the first
//
// The measuring apart, Decoding, Look and Watch are all that a host takes from here.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}
#include <coreMD.hpp>
#include <coreMD/host/BlockReducer.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// What the decoder leaves out, and what the detector is told about the rest.
struct Way {
    const char* name;
    AVDiscard skipFrame;       // NONREF: pictures that no other refers to; NONKEY: all but key frames
    AVDiscard skipLoopFilter;  // NONINTRA: of all but I-pictures, which are decoded in full then
    int every;                 // of the packets between two key frames, only each so manieth is decoded
    bool isPartly;             // shown as partly decoded H.264, else as complete pictures
};

// skip_idct is none of them: libavcodec's H.264 decoder does not read it.
constexpr Way ways[] = {
    {"complete", AVDISCARD_DEFAULT, AVDISCARD_DEFAULT, 1, false},
    {"references", AVDISCARD_NONREF, AVDISCARD_DEFAULT, 1, false},
    {"unfiltered", AVDISCARD_NONREF, AVDISCARD_ALL, 1, false},
    {"partly", AVDISCARD_NONREF, AVDISCARD_NONINTRA, 1, true},
    {"second", AVDISCARD_NONREF, AVDISCARD_ALL, 2, false},
    {"second-partly", AVDISCARD_NONREF, AVDISCARD_NONINTRA, 2, true},
    {"keys", AVDISCARD_NONKEY, AVDISCARD_DEFAULT, 1, false},
};

constexpr double rate = 6.0;  // pictures shown to the detector per second of video

using Packet = std::unique_ptr<AVPacket, decltype([](AVPacket* p) { av_packet_free(&p); })>;
using Picture = std::unique_ptr<AVFrame, decltype([](AVFrame* f) { av_frame_free(&f); })>;
using Input = std::unique_ptr<AVFormatContext, decltype([](AVFormatContext* c) { avformat_close_input(&c); })>;
using Codec = std::unique_ptr<AVCodecContext, decltype([](AVCodecContext* c) { avcodec_free_context(&c); })>;

void Check(int status, const std::string& what) {
    if (status >= 0) return;
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(status, text, sizeof text);
    throw std::runtime_error(what + ": " + text);
}

// One H.264 stream, decoded in one way.
class Decoding {
public:
    Decoding(const std::string& url, const Way& way) : _way(way) {
        AVFormatContext* opened = nullptr;
        Check(avformat_open_input(&opened, url.c_str(), nullptr, nullptr), url);
        _input.reset(opened);
        Check(avformat_find_stream_info(opened, nullptr), url);
        const AVCodec* decoder = nullptr;
        _index = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
        Check(_index, url);
        if (Stream().codecpar->codec_id != AV_CODEC_ID_H264) throw std::runtime_error(url + ": not H.264");
        _codec.reset(avcodec_alloc_context3(decoder));
        Check(avcodec_parameters_to_context(_codec.get(), Stream().codecpar), url);
        _codec->thread_count = 1;
        _codec->skip_frame = way.skipFrame;
        _codec->skip_loop_filter = way.skipLoopFilter;
        Check(avcodec_open2(_codec.get(), decoder, nullptr), url);
    }

    double FramesPerSecond() const { return av_q2d(Stream().avg_frame_rate); }

    // The next picture in the order of presentation, valid until the next call; null at the end.
    const AVFrame* Next() {
        while (true) {
            const int status = avcodec_receive_frame(_codec.get(), _picture.get());
            if (status >= 0) return _picture.get();
            if (status != AVERROR(EAGAIN)) return nullptr;
            SendOne();
        }
    }
    double SecondsOf(const AVFrame& picture) const {
        return static_cast<double>(picture.best_effort_timestamp) * av_q2d(Stream().time_base);
    }

private:
    const AVStream& Stream() const { return *_input->streams[_index]; }

    void SendOne() {
        while (av_read_frame(_input.get(), _packet.get()) >= 0) {
            const bool isOurs = _packet->stream_index == _index;
            if (isOurs) _sinceKey = _packet->flags & AV_PKT_FLAG_KEY ? 0 : _sinceKey + 1;
            // Without what it refers to, a picture is made from the nearest one that is there: wrong, but near enough.
            const bool isWanted = isOurs && _sinceKey % _way.every == 0;
            if (isWanted) avcodec_send_packet(_codec.get(), _packet.get());  // damaged: the next key frame helps
            av_packet_unref(_packet.get());
            if (isWanted) return;
        }
        avcodec_send_packet(_codec.get(), nullptr);  // the end: what the decoder still holds comes out
    }

    const Way _way;
    Input _input;
    Codec _codec;
    int _index = -1;
    int _sinceKey = 0;  // packets
    const Packet _packet{av_packet_alloc()};
    const Picture _picture{av_frame_alloc()};
};

// Decoded pictures in; does anything move?
class Look {
public:
    Look(const Way& way, double fps) : _way(way), _fps(fps) { _detector.AddWholePicture(0.03f, 0.03f); }

    // I-pictures are told by their slices. Packets and frames that are marked as key need not be any: with periodic intra
    // refresh, P-pictures are marked at which a decoder may start.
    static bool IsIPicture(const AVFrame& picture) { return picture.pict_type == AV_PICTURE_TYPE_I; }

    // Partly decoded, every I-picture counts: P-pictures are compared with the last one that was shown.
    bool Wants(const AVFrame& picture, double seconds) const {
        return seconds >= _next || (_way.isPartly && IsIPicture(picture));
    }

    bool SeesMotion(const AVFrame& picture, double seconds) {
        _next = seconds + 0.9 / rate;
        if (picture.format != AV_PIX_FMT_YUV420P && picture.format != AV_PIX_FMT_YUVJ420P)
            throw std::runtime_error("not YUV 4:2:0 of 8 bits");
        if (!_reducer || picture.width != _width || picture.height != _height) {
            _width = picture.width, _height = picture.height;
            _reducer.emplace(Host::PictureFormat{.width = _width,
                                                 .height = _height,
                                                 .format = Host::PixelFormat::Yuv420,
                                                 .blockSize = Host::ChooseBlockSize(_width, _height)});
        }
        _reducer->Reduce({.plane = {picture.data[0], picture.data[1], picture.data[2]},
                          .stride = {picture.linesize[0], picture.linesize[1], picture.linesize[2]}});
        _detector.Detect({.columns = _reducer->Columns(),
                          .rows = _reducer->Rows(),
                          .ycbcr = {_reducer->Ycbcr(), 3 * static_cast<std::size_t>(_reducer->BlockCount())},
                          .time = coremd::Ticks(std::llround(seconds * 1e7)),
                          .fps = _fps,
                          .isIFrame = IsIPicture(picture),
                          .isPartlyH264 = _way.isPartly,
                          .isPartlyH264IFrame = _way.isPartly && IsIPicture(picture)});
        const auto objects = _detector.Objects();
        return objects.begin() != objects.end();
    }

    // Eleven pictures must have been shown; partly decoded, eleven I-pictures.
    bool IsReady() { return _detector.Summary().isReady; }

private:
    const Way _way;
    const double _fps;
    coremd::Detector _detector;
    std::optional<Host::BlockReducer> _reducer;
    int _width = 0, _height = 0;
    double _next = 0;  // seconds; when to look again
};

struct Findings {
    int decoded = 0, iPictures = 0;
    double cost = 0;               // seconds of processor time, opening the file not counted
    std::optional<double> ready;   // seconds; from when on something may be found
    std::map<double, bool> moves;  // at the seconds of the pictures that were shown since then
};

Findings Watch(const std::string& url, const Way& way) {
    std::srand(1);  // the detector draws the phase of its frame cycle: the same in every run
    Findings findings;
    Decoding decoding(url, way);
    Look look(way, decoding.FramesPerSecond());
    const std::clock_t start = std::clock();
    while (const AVFrame* const picture = decoding.Next()) {
        ++findings.decoded;
        findings.iPictures += Look::IsIPicture(*picture);
        const double seconds = decoding.SecondsOf(*picture);
        if (!look.Wants(*picture, seconds)) continue;
        const bool moves = look.SeesMotion(*picture, seconds);
        if (!look.IsReady()) continue;
        if (!findings.ready) findings.ready = seconds;
        findings.moves[seconds] = moves;
    }
    findings.cost = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    return findings;
}

void Tell(const Findings& findings) {
    if (!findings.ready) std::printf("never ready: %d I-pictures in the stream\n", findings.iPictures);
    bool wasMoving = false;
    for (const auto& [seconds, moves] : findings.moves) {
        if (moves != wasMoving) std::printf("%6.2f s: %s\n", seconds, moves ? "motion" : "quiet");
        wasMoving = moves;
    }
}

std::set<long> SecondsWithMotion(const Findings& findings, double from) {
    std::set<long> found;
    for (const auto& [seconds, moves] : findings.moves)
        if (moves && seconds >= from) found.insert(static_cast<long>(seconds));
    return found;
}

// One row: from when on both are ready, the pictures and the seconds with motion of complete pictures that were found too.
void Compare(const Way& way, const Findings& findings, const Findings& truth) {
    std::printf("%-14s %7d %8.0f", way.name, findings.decoded, 1000 * findings.cost);
    if (!findings.ready || !truth.ready) {
        std::printf("    never: %d I-pictures\n", findings.iPictures);
        return;
    }
    const double from = std::max(*findings.ready, *truth.ready);
    int moving = 0, found = 0;
    for (const auto& [seconds, moves] : truth.moves) {
        const auto same = findings.moves.find(seconds);
        if (seconds < from || !moves || same == findings.moves.end()) continue;
        ++moving, found += same->second;
    }
    const std::set<long> real = SecondsWithMotion(truth, from), seen = SecondsWithMotion(findings, from);
    const auto both = std::count_if(seen.begin(), seen.end(), [&](long second) { return real.contains(second); });
    std::printf(" %8.1f %6d/%-6d %5d/%-5zu %5d\n", *findings.ready, found, moving, static_cast<int>(both), real.size(),
                static_cast<int>(seen.size()) - static_cast<int>(both));
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr, "usage: partly_h264 [WAY] VIDEO\n");
        return 2;
    }
    av_log_set_level(AV_LOG_FATAL);  // what is left out would be complained of
    if (argc == 3) {
        const std::string name = argv[1];
        const auto way = std::find_if(std::begin(ways), std::end(ways), [&](const Way& w) { return name == w.name; });
        if (way == std::end(ways)) throw std::runtime_error("no way is called " + name);
        Tell(Watch(argv[2], *way));
        return 0;
    }
    const Findings truth = Watch(argv[1], ways[0]);
    std::printf("%-14s %7s %8s %8s %13s %11s %5s\n", "way", "decoded", "ms", "ready s", "pictures", "seconds", "more");
    for (const Way& way : ways) Compare(way, &way == ways ? truth : Watch(argv[1], way), truth);
} catch (const std::exception& failure) {
    std::fprintf(stderr, "partly_h264: %s\n", failure.what());
    return 1;
}
