// Does this build compute what every other build computes?  Prints one digest over everything that a host can read of 2000
// frames: all kinds of input in turn, new grids, one to three zones, both settings.  Called by scripts/check-digest.sh,
// which compares compilers, levels and instruction sets.
//
//     StreamDigest             the digest, 16 hexadecimal digits
//     StreamDigest <frame>     the same with one block of that frame changed: the digest must be another
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "OutputDigest.h"
#include "ScriptedStream.h"
#include "detector/MotionDetector.h"

using Kit::GroundKind;
using Kit::InputKind;
using Kit::SeededRandom;

namespace {

constexpr int stretches = 8, framesOfStretch = 250;

Kit::StreamScript DrawScript(int stretch, SeededRandom& random) {
    constexpr InputKind kinds[] = {InputKind::StandardWithShadows, InputKind::Standard, InputKind::MPEG4,
                                   InputKind::PartlyH264};
    constexpr GroundKind grounds[] = {GroundKind::Texture, GroundKind::Lattice, GroundKind::Checkerboard, GroundKind::Flat};
    constexpr std::int64_t intervals[] = {Kit::oneSecond / 5, Kit::oneSecond / 3, Kit::oneSecond / 2};
    Kit::StreamScript script;
    script.kind = kinds[stretch % 4];
    script.columns = random.Between(1, 48);
    script.rows = random.Between(1, 36);
    script.seed = random.Next();
    script.ground = random.Pick(grounds);
    script.things = random.Between(1, 5);
    script.shadows = script.kind == InputKind::StandardWithShadows ? 3 : 0;
    script.noise = random.Between(0, 3);
    script.hasDrift = random.OneIn(2);
    script.interval = random.Pick(intervals);
    script.jitterPercent = random.Between(0, 50);
    script.fps = random.OneIn(2) ? 25.0 : 4.0;
    return script;
}

void ReplaceZones(DetectorHandle* handle, SeededRandom& random) {
    h11(handle);
    const int zones = random.Between(1, 3);
    for (int i = 0; i < zones; ++i) {
        const int columns = random.Between(1, 20), rows = random.Between(1, 20);
        std::vector<std::uint8_t> mask(static_cast<std::size_t>(columns * rows));
        for (std::uint8_t& cell : mask) cell = random.OneIn(4) ? std::uint8_t{0} : std::uint8_t{1};
        mask[0] = 0;  // never the whole frame: an object may not fill it and be too small
        MDZoneInfo zone{mask.data(),
                        columns,
                        rows,
                        0.3f,
                        static_cast<float>(random.Between(0, 3)) * 0.05f,
                        static_cast<float>(random.Between(0, 3)) * 0.05f};
        h12(handle, &zone);
    }
}

std::uint64_t Digest(int changedFrame) {
    SeededRandom random(20240607);
    DetectorHandle handle = nullptr;
    h15(&handle);
    GetDetector(&handle)->_skipPhase = 0;  // not the one that the C library's random numbers draw
    Kit::OutputDigest digest;
    std::int64_t time = 0;
    int frame = 0;
    for (int stretch = 0; stretch < stretches; ++stretch) {
        ReplaceZones(&handle, random);
        Kit::ScriptedStream stream(DrawScript(stretch, random), time);
        for (int i = 0; i < framesOfStretch; ++i, ++frame) {
            if (random.OneIn(60)) h35(&handle, random.Between(0, 2));
            if (random.OneIn(90)) h36(&handle, random.Between(0, 1));
            DetectionInfo info = stream.Next();
            if (frame == changedFrame) info.ycbcrForEachBlock[stream.BlockCount() / 2] ^= 128;
            h13(&handle, &info);
            digest.AddFrame(&handle, stream.BlockCount());
        }
        time = stretch % 2 == 0 ? stream.NextTime() : -1000000000;  // grid or time: always a fresh start
    }
    h14(&handle);
    return digest.Value();
}

}  // namespace

int main(int count, char** arguments) {
    std::printf("%016llx\n", static_cast<unsigned long long>(Digest(count > 1 ? std::atoi(arguments[1]) : -1)));
    return 0;
}
