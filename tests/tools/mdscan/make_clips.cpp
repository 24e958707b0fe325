// Which clips do tests need that are no C++?  Writes a small folder of recordings of two cameras, sound and broken ones, or
// what live sources send.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "TestClip.h"

namespace {

using namespace Video;

// A square crosses from `from` to `until`. created: time of day as the container holds it; empty: it does not.
void Recording(const std::filesystem::path& path, double from, double until, const std::string& created) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 8, .from = from, .until = until};
    const char* codec = Video::HasEncoder("libx264") ? "libx264" : "mpeg4";  // the former plays in browsers
    Video::WriteEncoded({scene}, {.codec = codec, .container = "mp4", .headerFirst = true, .created = created},
                        path.string());
}

// What a live source sends: 25 pictures a second, a complete one every 0.4 s.
void Broadcast(const std::filesystem::path& path, const char* codec, const char* container, double seconds, double from,
               double until) {
    const Video::SquareScene scene{
        .width = 160, .height = 120, .framesPerSecond = 25, .seconds = seconds, .from = from, .until = until};
    Video::WriteEncoded({scene}, {.codec = codec, .container = container, .gop = 10}, path.string());
}

}  // namespace

// With "live": what live sources send instead.
int main(int argc, char** argv) {
    if (argc != 2 && !(argc == 3 && argv[2] == std::string("live"))) {
        return 2;
    }
    const std::filesystem::path folder(argv[1]);
    if (argc == 3) {
        std::filesystem::create_directories(folder);
        Broadcast(folder / "short.ts", "mpeg2video", "mpegts", 8, 0.6, 2.6);
        Broadcast(folder / "long.mp4", "mpeg4", "mp4", 15, 3, 6);
        return 0;
    }
    std::filesystem::create_directories(folder / "gate");
    std::filesystem::create_directories(folder / "yard");
    Recording(folder / "gate" / "1.mp4", 3, 5, "2019-05-04T08:00:00Z");
    Recording(folder / "gate" / "2.mp4", 4, 7, "2019-05-04T08:01:00Z");
    Recording(folder / "gate" / "3.mp4", 4, 4, "");  // nothing moves
    Recording(folder / "yard" / "<script>alert(1)<!--.mp4", 3, 6, "2019-05-04T08:00:30Z");
    std::ifstream whole(folder / "gate" / "2.mp4", std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(whole), {});
    std::ofstream(folder / "yard" / "=cut,\"short\".mp4", std::ios::binary) << content.substr(0, content.size() * 9 / 10);
    std::ofstream(folder / "yard" / "text.mp4") << "This is a text.\n";
    return 0;
}
