// What do a few frames cost, when instructions are counted?  Learns a scene, then hands over so many frames more through one
// function, which the counting tool is told to watch.  Run by scripts/count-instructions.sh.
//
//     CountedPass SCENE COLUMNS ROWS FRAMES     SCENE: still, noise
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "SeededRandom.h"
#include "detector/MotionDetector.h"

// What is counted; a name that no compiler changes.
extern "C" [[gnu::noinline]] void HandOverCounted(DetectorHandle* handle, DetectionInfo* info) { h13(handle, info); }

namespace {

using Frame = std::vector<std::uint8_t>;  // Y, Cb and Cr, [block] each

constexpr std::int64_t oneSecond = 10000000;  // ticks
constexpr int calmFrames = 52;                // twice a second: longer than any background takes to be learned
constexpr std::size_t pictures = 25;

// The number of ones among some random bits is a small normal distribution: luma off by -2..2, chroma by -1..1.
void AddNoise(Frame& frame, Kit::SeededRandom& random) {
    const std::size_t blocks = frame.size() / 3;
    for (std::size_t i = 0; i < frame.size(); ++i) {
        const int bits = i < blocks ? 4 : 2;
        frame[i] = static_cast<std::uint8_t>(frame[i] + std::popcount(random.Next() >> (64 - bits)) - bits / 2);
    }
}

std::vector<Frame> Render(bool hasNoise, std::size_t blocks) {
    Kit::SeededRandom random(blocks);
    Frame ground(3 * blocks);
    for (std::size_t i = 0; i < ground.size(); ++i)
        ground[i] = static_cast<std::uint8_t>(i < blocks ? random.Between(80, 149) : random.Between(118, 137));
    std::vector<Frame> frames(hasNoise ? pictures : 1, ground);
    if (hasNoise)
        for (Frame& frame : frames) AddNoise(frame, random);
    return frames;
}

// false: not every block was known, something else would be counted.
bool Play(std::vector<Frame>& frames, int columns, int rows, int countedFrames) {
    DetectorHandle handle = nullptr;
    h15(&handle);
    GetDetector(&handle)->_skipPhase = 0;  // not the one that the C library's random numbers draw
    unsigned char everywhere = 1;
    MDZoneInfo zone{&everywhere, 1, 1, 0.3f, 0.0f, 0.0f};
    h12(&handle, &zone);
    std::vector<std::uint8_t> picture(frames[0].size());
    DetectionInfo info{};
    info.width = columns;
    info.height = rows;
    info.bgr24stride = columns * 3;
    info.bgr24ForEachBlock = picture.data();
    info.fps = 50.0;  // twice the rate: no frame is skipped
    info.isIFrame = 1;
    for (int n = 0; n < calmFrames + countedFrames; ++n) {
        info.ycbcrForEachBlock = frames[static_cast<std::size_t>(n) % frames.size()].data();
        if (n < calmFrames) h13(&handle, &info);
        else HandOverCounted(&handle, &info);
        info.timestamp += n < calmFrames ? oneSecond / 2 : oneSecond / 25;
    }
    const MD::MotionDetector& detector = *GetDetector(&handle);
    int known = 0;
    for (int i = 0; i < detector.blockCount; ++i) known += detector._isBackground[i] == 255;
    const bool isLearned = known > detector.blockCount / 100 * 99;
    h14(&handle);
    return isLearned;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 5) return 2;
    const bool hasNoise = std::string_view(arguments[1]) == "noise";
    const int columns = std::atoi(arguments[2]), rows = std::atoi(arguments[3]);
    std::vector<Frame> frames = Render(hasNoise, static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    if (Play(frames, columns, rows, std::atoi(arguments[4]))) return 0;
    std::fputs("CountedPass: the background is not known: another scene would be counted\n", stderr);
    return 1;
}
