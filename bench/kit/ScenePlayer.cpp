// What does a host do with every frame of a scene?
#include "ScenePlayer.h"

#include <cmath>
#include <cstdlib>
#include <span>

#include "Measure.h"

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

coremd::Detector MakeDetector() {
    std::srand(1);  // the phase in which the detector starts
    return {};
}

}  // namespace

std::string NameOf(InputKind input) {
    switch (input) {
        case InputKind::Standard: return "standard";
        case InputKind::StandardUnlimited: return "unlimited";
        case InputKind::MPEG4: return "mpeg4";
        case InputKind::PartlyH264: return "partly";
    }
    std::abort();
}

ScenePlayer::ScenePlayer(const PassSetup& setup) : _setup(setup), _detector(MakeDetector()) {
    if (setup.input == InputKind::StandardUnlimited) _detector.LimitToMotion(false);
    const int side = static_cast<int>(std::lround(std::sqrt(setup.zones)));
    for (int tile = 0; tile < side * side; ++tile) {
        std::vector<std::uint8_t> mask(static_cast<std::size_t>(side * side));
        mask[static_cast<std::size_t>(tile)] = 1;
        _detector.AddZone({.mask = mask, .columns = side, .rows = side});
    }
}

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
    const coremd::BackgroundPicture background = _detector.Background();
    std::size_t known = 0;
    for (const std::int32_t flag : background.known) known += flag != 0;
    return static_cast<double>(known) / static_cast<double>(_setup.grid.Blocks());
}

void ScenePlayer::Detect(const Scene::Frame& frame, const Scene::Frame& before, bool isIFrame) {
    const bool isMPEG4 = _setup.input == InputKind::MPEG4, isPartly = _setup.input == InputKind::PartlyH264;
    _detector.Detect(
        {.columns = _setup.grid.columns,
         .rows = _setup.grid.rows,
         .ycbcr = frame,
         .time = coremd::Ticks(_time),
         .fps = toldRate,
         .detectShadow = _setup.detectShadow,
         .isIFrame = !isMPEG4,
         .isMPEG4 = isMPEG4,
         .mpeg4ReferenceLuma = isMPEG4 ? std::span(before).first(_setup.grid.Blocks()) : std::span<const std::uint8_t>(),
         .isPartlyH264 = isPartly,
         .isPartlyH264IFrame = isPartly && isIFrame});
}

void ScenePlayer::Read() {
    _objects = 0;
    for (const coremd::ZoneResult& zone : _detector.ZoneResults())
        for (const coremd::Object& object : zone.Objects()) {
            benchmark::DoNotOptimize(object.Record());
            ++_objects;
        }
}

}  // namespace Bench
