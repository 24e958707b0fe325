// What does the camera see while a pass is measured?  Short cycles of frames, rendered before any clock runs.
// Used by the whole passes, the shadow stage, the peers, and where instructions are counted. From a seed: the same frames in
// every build.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "GridSize.h"
#include "SeededRandom.h"

namespace Bench {

enum class SceneKind {
    Still,            // one picture, again and again
    Noise,            // camera noise: luma off by -2..2 (variance 1), chroma by -1..1; also in all scenes that follow
    Moving,           // 1 % of the blocks, in 5 squares that go to and fro
    Random,           // 10 % of the blocks, others in every frame: about 1900 objects on 240x135 blocks, which merge
    Lattice,          // single blocks as close as they can lie without joining: about a quarter of the grid
    Cover,            // every block moves: one object
    ShadowOnFew,      // 5 % foreground, half of it shadow
    ShadowEverywhere  // 100 % foreground, half of it shadow
};

inline constexpr SceneKind sceneKinds[] = {SceneKind::Still,       SceneKind::Noise,           SceneKind::Moving,
                                           SceneKind::Random,      SceneKind::Lattice,         SceneKind::Cover,
                                           SceneKind::ShadowOnFew, SceneKind::ShadowEverywhere};

std::string NameOf(SceneKind kind);
constexpr bool HasShadows(SceneKind kind) { return kind == SceneKind::ShadowOnFew || kind == SceneKind::ShadowEverywhere; }
constexpr bool HasObjects(SceneKind kind) { return kind != SceneKind::Still && kind != SceneKind::Noise; }

class Scene {
public:
    using Frame = std::vector<std::uint8_t>;  // Y, Cb and Cr, [block] each

    Scene(SceneKind kind, GridSize grid);

    SceneKind Kind() const { return _kind; }
    GridSize Grid() const { return _grid; }
    Frame CalmFrame() { return WithNoise(); }  // another one at each call; before anything happens
    const Frame& EventFrame(std::size_t n) const { return _events[n % _events.size()]; }
    std::size_t CycleLength() const { return _events.size(); }
    double ThingsPerFrame() const { return _thingsPerFrame; }  // objects before those that touch are merged

private:
    Frame RenderGround();
    void RenderNoise();
    Frame WithNoise();
    void DrawEvent(Frame& frame, int n);
    void DrawSquares(Frame& frame, int n, double share, bool areInMotion);
    void DrawRandom(Frame& frame);
    void DrawLattice(Frame& frame, int n);
    void CountThings();

    // Columns left to right - 1, rows top to bottom - 1.
    struct Area {
        int left, top, right, bottom;
    };
    template <class Change>
    void ChangeLuma(Frame& frame, Area area, Change change);
    Area ObjectArea() const;

    SceneKind _kind;
    GridSize _grid;
    Kit::SeededRandom _random;
    Frame _ground;
    std::vector<std::int8_t> _noise;
    std::vector<Frame> _events;
    double _thingsPerFrame = 0;
};

Scene& SceneFor(SceneKind kind, GridSize grid);  // kept until another one is asked for

}  // namespace Bench
