// How is FFmpeg kept quiet and its memory safe?
#include "video/media/Libav.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
#include <libavutil/mathematics.h>
}

#include "video/time/TickTime.h"

namespace Video {

namespace {

// Decoders complain from threads of their own.
std::mutex complaintMutex;
std::string complaint;

constexpr const char* tooLarge = "its pictures are too large: ";

// FFmpeg has a limit of its own, which it does not tell.
std::string Reworded(const std::string& text) {
    unsigned width = 0, height = 0;
    const bool isSize = std::sscanf(text.c_str(), "Picture size %ux%u ", &width, &height) == 2;
    const bool isLarge = isSize && std::uint64_t{width} * height > static_cast<std::uint64_t>(mostPixels);
    return isLarge ? TooLargeText(width, height) : text;
}

void Remember(void* source, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_ERROR) {
        return;
    }
    std::array<char, 512> line = {};
    int printPrefix = 0;
    av_log_format_line2(source, level, format, arguments, line.data(), static_cast<int>(line.size()), &printPrefix);
    std::string text = line.data();
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    const std::lock_guard lock(complaintMutex);
    if (complaint.empty()) {
        complaint = Reworded(text);
    }
}

}  // namespace

PacketPointer NewPacket() {
    PacketPointer packet(av_packet_alloc());
    if (!packet) {
        throw std::bad_alloc();
    }
    return packet;
}

FramePointer NewFrame() {
    FramePointer frame(av_frame_alloc());
    if (!frame) {
        throw std::bad_alloc();
    }
    return frame;
}

AVPixelFormat PlainFormat(int format) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P: return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P: return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P: return AV_PIX_FMT_YUV444P;
        case AV_PIX_FMT_YUVJ440P: return AV_PIX_FMT_YUV440P;
        case AV_PIX_FMT_YUVJ411P: return AV_PIX_FMT_YUV411P;
        default: return static_cast<AVPixelFormat>(format);
    }
}

std::string ErrorText(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text = {};
    av_strerror(error, text.data(), text.size());
    return text.data();
}

void CollectComplaints() { av_log_set_callback(Remember); }

std::string TakeComplaint() {
    const std::lock_guard lock(complaintMutex);
    return std::exchange(complaint, std::string());
}

std::string TooLargeText(std::int64_t width, std::int64_t height) {
    return tooLarge + std::to_string(width) + "x" + std::to_string(height) + ", at most " + std::to_string(mostPixels) +
           " pixels are scanned";
}

bool IsTooLargeText(const std::string& text) { return text.starts_with(tooLarge); }

std::string Explained(const std::string& what) {
    const std::string detail = TakeComplaint();
    if (IsTooLargeText(detail)) {
        return detail;
    }
    return detail.empty() ? what : what + " (" + detail + ")";
}

std::optional<Ticks> TicksOf(std::int64_t time, AVRational base) {
    constexpr Ticks limit = Ticks{1} << 60;
    const Ticks ticks = time == AV_NOPTS_VALUE ? limit : av_rescale_q(time, base, tickBase);
    return ticks > -limit && ticks < limit ? std::optional(ticks) : std::nullopt;
}

}  // namespace Video
