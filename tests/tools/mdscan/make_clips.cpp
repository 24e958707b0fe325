// Which clips do tests need that are no C++?  Writes a small folder of recordings of two cameras, sound and broken ones, or
// what live sources send, or what H.264 cameras do.
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

// As cameras encode: a key frame a second, P-pictures between. False where no encoder for H.264 is there.
bool Camera(const std::filesystem::path& path) {
    const Video::SquareScene scene{.width = 320, .height = 240, .seconds = 24, .from = 13, .until = 19};
    if (!Video::HasEncoder("libx264")) return false;
    Video::WriteEncoded({scene}, {.codec = "libx264", .container = "mp4", .gop = 10, .quality = 20}, path.string());
    return true;
}

}  // namespace

// With "camera": one H.264 clip, or 77 where none can be encoded. With "live": what live sources send instead.
int main(int argc, char** argv) {
    const std::string wish = argc == 3 ? argv[2] : "";
    if (argc != 2 && wish != "live" && wish != "camera") {
        return 2;
    }
    const std::filesystem::path folder(argv[1]);
    if (wish == "camera") {
        std::filesystem::create_directories(folder);
        return Camera(folder / "camera.mp4") ? 0 : 77;
    }
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
