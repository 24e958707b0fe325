// What do a few frames cost, when instructions are counted?  Learns a scene of the benchmarks, then hands over so many
// frames more through one function, which the counting tool is told to watch.  Prints how many objects a frame has, before
// those that touch are merged.  Run by scripts/count-instructions.sh.
//
//     CountedPass SCENE COLUMNS ROWS FRAMES     SCENE: still, noise, random, lattice, cover
//
// Ends with 77 where it was built without the header by which the tool is told when to begin.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "Scenes.h"
#include "detector/MotionDetector.h"

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION std::exit(77)
#endif

// What is counted; a name that no compiler changes.
extern "C" [[gnu::noinline]] void HandOverCounted(DetectorHandle* handle, DetectionInfo* info) { h13(handle, info); }

namespace {

constexpr std::int64_t oneSecond = 10000000;  // ticks
constexpr int calmFrames = 52;                // twice a second: longer than any background takes to be learned

class CountedPlayer {
public:
    explicit CountedPlayer(Bench::GridSize grid) : _bgr(3 * grid.Blocks()) {
        h15(&_handle);
        GetDetector(&_handle)->_skipPhase = 0;  // not the one that the C library's random numbers draw
        unsigned char everywhere = 1;
        MDZoneInfo zone{&everywhere, 1, 1, 0.3f, 0.0f, 0.0f};
        h12(&_handle, &zone);
        _info.width = grid.columns;
        _info.height = grid.rows;
        _info.bgr24stride = grid.columns * 3;
        _info.bgr24ForEachBlock = _bgr.data();
        _info.fps = 50.0;  // twice the rate: no frame is skipped
        _info.isIFrame = 1;
    }
    ~CountedPlayer() { h14(&_handle); }
    CountedPlayer(const CountedPlayer&) = delete;
    CountedPlayer& operator=(const CountedPlayer&) = delete;

    template <class Detect>
    void Show(Bench::Scene::Frame frame, std::int64_t ticksToNext, Detect detect) {
        _info.ycbcrForEachBlock = frame.data();
        detect(&_handle, &_info);
        _info.timestamp += ticksToNext;
    }

    // Otherwise something else would be counted.
    bool KnowsTheScene() {
        const MD::MotionDetector& detector = *GetDetector(&_handle);
        int known = 0;
        for (int i = 0; i < detector.blockCount; ++i) known += detector._isBackground[i] == 255;
        return known > detector.blockCount / 100 * 99;
    }

private:
    DetectorHandle _handle = nullptr;
    DetectionInfo _info{};
    std::vector<std::uint8_t> _bgr;
};

bool Play(Bench::Scene& scene, int countedFrames) {
    CountedPlayer player(scene.Grid());
    for (int n = 0; n < calmFrames; ++n) player.Show(scene.CalmFrame(), oneSecond / 2, h13);
    if (!player.KnowsTheScene()) return false;
    std::size_t next = 0;
    while (next < scene.CycleLength()) player.Show(scene.EventFrame(next++), oneSecond / 25, h13);
    CALLGRIND_START_INSTRUMENTATION;
    for (int n = 0; n < countedFrames; ++n) player.Show(scene.EventFrame(next++), oneSecond / 25, HandOverCounted);
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 5) return 2;
    for (const Bench::SceneKind kind : Bench::sceneKinds) {
        if (Bench::NameOf(kind) != std::string_view(arguments[1])) continue;
        Bench::Scene scene(kind, {.columns = std::atoi(arguments[2]), .rows = std::atoi(arguments[3])});
        if (!Play(scene, std::atoi(arguments[4]))) {
            std::fputs("CountedPass: the background is not known: another scene would be counted\n", stderr);
            return 1;
        }
        std::printf("%.1f\n", scene.ThingsPerFrame());
        return 0;
    }
    return 2;
}
