// What does a host do with every frame of a scene?  Hands it over, reads the summary, the zone result and every object.
// Used by the whole passes, by scaling and by the memory figures. By the C interface, as coreMD.hpp names it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Scenes.h"
#include "coreMD.hpp"

namespace Bench {

enum class InputKind {
    Standard,           // objects are limited to blocks that moved just now (h35), as it is by default
    StandardUnlimited,  // without that limit
    MPEG4,              // no complete pictures: luma is compared with the frame before where no background is known
    PartlyH264          // one I-frame in ten frames, the others are P-frames
};
inline constexpr InputKind inputKinds[] = {InputKind::Standard, InputKind::StandardUnlimited, InputKind::MPEG4,
                                           InputKind::PartlyH264};
std::string NameOf(InputKind input);

struct PassSetup {
    SceneKind scene = SceneKind::Noise;
    GridSize grid = usualGrid;
    InputKind input = InputKind::Standard;
    int zones = 1;  // 1, 4 or 16: tiles that cover the grid
    bool detectShadow = false;
};

// One detector and its host. All players of one setup see the same frames at the same times, whatever the build's speed.
class ScenePlayer {
public:
    explicit ScenePlayer(const PassSetup& setup);

    // Calm frames until the blocks have a background, then one cycle of events, so that all memory has been taken.
    void Learn(Scene& scene);
    // The next event frame, 25 of them a second, with everything that it brings.
    void Play(const Scene& scene);

    int ObjectsOfLastFrame() const { return _objects; }
    MD::MotionDetector& Classes() { return _detector.Classes(); }

private:
    void Detect(const Scene::Frame& frame, const Scene::Frame& before, bool isIFrame);
    void Read();
    double KnownShare();

    const PassSetup _setup;
    coremd::Detector _detector;
    std::int64_t _time = 0;  // ticks; of the next frame
    std::size_t _next = 0;   // event frame
    int _objects = 0;
};

}  // namespace Bench
