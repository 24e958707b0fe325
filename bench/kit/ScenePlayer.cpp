// What does a host do with every frame of a scene?
#include "ScenePlayer.h"

#include <cmath>
#include <cstdlib>

namespace Bench {
namespace {

constexpr std::int64_t oneSecond = 10000000;  // ticks
constexpr std::int64_t frameInterval = oneSecond / 25;
// Told twice the rate: a frame that comes one interval after the last one learned from would be skipped in some phases, and
// a skipped frame costs less.
constexpr double toldRate = 50.0;

// Learning takes less than 16 s of quiet in every mode; these are 26 s.
constexpr std::size_t calmFrames = 52;
constexpr std::int64_t calmInterval = oneSecond / 2;

constexpr int framesPerIFrame = 10;

}  // namespace

std::string NameOf(InputKind input) {
    switch (input) {
        case InputKind::Standard:
            return "standard";
        case InputKind::StandardUnlimited:
            return "unlimited";
        case InputKind::MPEG4:
            return "mpeg4";
        case InputKind::PartlyH264:
            return "partly";
    }
    std::abort();
}

ScenePlayer::ScenePlayer(const PassSetup& setup) : _setup(setup), _bgr(3 * setup.grid.Blocks()) {
    std::srand(1);  // the phase in which the detector starts
    h15(&_handle);
    if (setup.input == InputKind::StandardUnlimited) h35(&_handle, 1);
    const int side = static_cast<int>(std::lround(std::sqrt(setup.zones)));
    for (int tile = 0; tile < side * side; ++tile) {
        std::vector<std::uint8_t> mask(static_cast<std::size_t>(side * side));
        mask[static_cast<std::size_t>(tile)] = 1;
        MDZoneInfo zone{.mask = mask.data(),
                        .maskWidth = side,
                        .maskHeight = side,
                        .zoneValue = 0.3f,
                        .minObjectWidth = 0.0f,
                        .minObjectHeight = 0.0f};
        h12(&_handle, &zone);
    }
}

ScenePlayer::~ScenePlayer() { h14(&_handle); }

void ScenePlayer::Learn(Scene& scene) {
    for (std::size_t n = 0; n < calmFrames; ++n) {
        const Scene::Frame frame = scene.CalmFrame();
        Detect(frame, frame, true);
        _time += calmInterval;
    }
    Require(KnownShare() > 0.99, NameOf(scene.Kind()), "the background is not known: another scene would be measured");
    for (std::size_t n = 0; n < scene.CycleLength(); ++n) Play(scene);
}

void ScenePlayer::Play(const Scene& scene) {
    const std::size_t before = _next == 0 ? scene.CycleLength() - 1 : _next - 1;
    Detect(scene.EventFrame(_next), scene.EventFrame(before), _next % framesPerIFrame == 0);
    Read();
    _time += frameInterval;
    ++_next;
}

// 0..1, of blocks with a background.
double ScenePlayer::KnownShare() {
    const std::size_t blocks = _setup.grid.Blocks();
    std::vector<std::uint8_t> picture(3 * blocks);
    std::vector<std::int32_t> isKnown(blocks);
    h33(&_handle, picture.data(), isKnown.data());
    std::size_t known = 0;
    for (const std::int32_t flag : isKnown) known += flag != 0;
    return static_cast<double>(known) / static_cast<double>(blocks);
}

void ScenePlayer::Detect(const Scene::Frame& frame, const Scene::Frame& before, bool isIFrame) {
    DetectionInfo info{};
    info.width = _setup.grid.columns;
    info.height = _setup.grid.rows;
    info.bgr24stride = 3 * info.width;
    info.timestamp = _time;
    info.bgr24ForEachBlock = _bgr.data();
    info.ycbcrForEachBlock = const_cast<std::uint8_t*>(frame.data());  // read only
    info.mpeg4ReferenceLuma = _setup.input == InputKind::MPEG4 ? const_cast<std::uint8_t*>(before.data()) : nullptr;
    info.isIFrame = _setup.input != InputKind::MPEG4;
    info.fps = toldRate;
    info.detectShadow = _setup.detectShadow;
    info.isMPEG4 = _setup.input == InputKind::MPEG4;
    info.isH264Partly = _setup.input == InputKind::PartlyH264;
    info.isH264PartlyIFrame = info.isH264Partly && isIFrame;
    h13(&_handle, &info);
}

void ScenePlayer::Read() {
    _objects = 0;
    MDResultInfo summary{};
    if (h17(&_handle, &summary) != COREMD_DELIVERED) return;
    for (int result = 0; result < summary.zoneResultsCount; ++result) {
        MDZoneDetectionInfo zone{};
        if (h19(&_handle, &zone) != COREMD_DELIVERED) return;
        for (MDObjectInfo object{}; h18(&_handle, &object) == COREMD_DELIVERED; ++_objects) benchmark::DoNotOptimize(object);
    }
}

}  // namespace Bench
