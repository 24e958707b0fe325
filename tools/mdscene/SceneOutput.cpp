// What are the bytes of the video, the truth and the mask?  See SceneOutput.h.
#include "SceneOutput.h"

#include <cstdint>
#include <cstdio>
#include <numeric>
#include <string_view>
#include <vector>

namespace MdScene {
namespace {

void WriteBytes(const std::vector<std::uint8_t>& bytes, std::ostream& out) {
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void WriteBox(std::string_view name, const PixelBox& box, std::ostream& out) {
    if (box.IsEmpty()) return;
    out << ",\"" << name << "\":[" << box.left << ',' << box.top << ',' << box.right - box.left << ','
        << box.bottom - box.top << ']';
}

}  // namespace

void WriteVideoHeader(const Settings& settings, std::ostream& out) {
    const auto thousandths = static_cast<std::int64_t>(settings.fps * 1000 + 0.5);
    const std::int64_t divisor = std::gcd(thousandths, std::int64_t{1000});
    out << "YUV4MPEG2 W" << settings.width << " H" << settings.height << " F" << thousandths / divisor << ':'
        << 1000 / divisor << " Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n";
}

void WriteVideoFrame(const Frame& frame, std::ostream& out) {
    out << "FRAME\n";
    WriteBytes(frame.y, out);
    WriteBytes(frame.cb, out);
    WriteBytes(frame.cr, out);
}

void WriteTruthLine(const Frame& frame, std::ostream& out) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", frame.seconds);
    out << "{\"frame\":" << frame.number << ",\"seconds\":" << seconds << ",\"things\":[";
    for (std::size_t i = 0; i < frame.things.size(); ++i) {
        const Thing& thing = frame.things[i];
        out << (i > 0 ? "," : "") << "{\"id\":" << thing.id << ",\"kind\":\""
            << (thing.kind == Kind::Person ? "person" : "car") << '"';
        WriteBox("box", thing.box, out);
        WriteBox("shadow", thing.shadow, out);
        out << '}';
    }
    out << ']';
    for (std::size_t i = 0; i < frame.disturbances.size(); ++i)
        out << (i > 0 ? ",\"" : ",\"disturbances\":[\"") << NameOf(frame.disturbances[i]) << '"';
    out << (frame.disturbances.empty() ? "}\n" : "]}\n");
}

void WriteMask(const Frame& frame, std::ostream& out) {
    out << "P5\n" << frame.width << ' ' << frame.height << "\n255\n";
    WriteBytes(frame.mask, out);
}

}  // namespace MdScene
