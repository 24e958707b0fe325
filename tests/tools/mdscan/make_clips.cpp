// Which clips do tests need that are no C++?  Writes a small folder of recordings of two cameras, sound and broken ones.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "TestClip.h"

namespace {

using namespace Scan;

// A square crosses from `from` to `until`. created: time of day as the container holds it; empty: it does not.
void Recording(const std::filesystem::path& path, double from, double until, const std::string& created) {
    const SquareScene scene{.width = 160, .height = 120, .seconds = 8, .from = from, .until = until};
    const char* codec = HasEncoder("libx264") ? "libx264" : "mpeg4";       // the former plays in browsers
    WriteEncoded({scene}, {.codec = codec, .container = "mp4", .headerFirst = true, .created = created}, path.string());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    const std::filesystem::path folder(argv[1]);
    std::filesystem::create_directories(folder / "gate");
    std::filesystem::create_directories(folder / "yard");
    Recording(folder / "gate" / "1.mp4", 3, 5, "2019-05-04T08:00:00Z");
    Recording(folder / "gate" / "2.mp4", 4, 7, "2019-05-04T08:01:00Z");
    Recording(folder / "gate" / "3.mp4", 4, 4, "");                        // nothing moves
    Recording(folder / "yard" / "<script>alert(1)<!--.mp4", 3, 6, "2019-05-04T08:00:30Z");
    std::ifstream whole(folder / "gate" / "2.mp4", std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(whole), {});
    std::ofstream(folder / "yard" / "=cut,\"short\".mp4", std::ios::binary) << content.substr(0, content.size() * 9 / 10);
    std::ofstream(folder / "yard" / "text.mp4") << "This is a text.\n";
    return 0;
}
