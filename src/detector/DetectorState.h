// How does a detector become bytes, and bytes a detector?  Everything that decides about the frames to come, and the result
// of the last one. And how does a detector go on with other zones?  Called by the C interface; the core itself reads and
// writes no file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "coreMD.h"

namespace MD {

class MotionDetector;

// The bytes are equal on every machine: numbers of fixed width, little-endian, floats as their bit patterns.
//
//     bytes 0..7   "coreMDst"
//     8, 12        version of the format, of the library        32 bits each
//     16, 20       columns, rows; both 0 before the first frame 32 bits each
//     24, 32       length of it all; checksum: FNV-1a of everything but itself, 64 bits each
//     40 ..        values, zones with their masks, planes, objects
//
// Not part of it: what every frame makes anew before it reads it (work planes, the P-frame, groups of foreground), the
// cursors of the readout, the copy of the BGR picture, which nobody reads, and its stride.
class DetectorState {
public:
    static std::size_t Size(const MotionDetector& detector);
    static void Save(const MotionDetector& detector, std::uint8_t* bytes);  // Size() of them

    // A status as coreMD_LoadState returns. Whatever is refused leaves the detector as it was: bytes are looked at to the
    // last one before anything changes. If memory runs out, it is left as after a failed AllocateBuffers, with its own zones
    // and settings, and the exception goes on.
    static int Load(MotionDetector& detector, std::span<const std::uint8_t> bytes);

    // A detector that goes on from this one, as if it had had these zones all along, at least one; this one stays as it is.
    // Draws no rand(). The last result is made anew, which may be as fatal as in Detect.
    static std::unique_ptr<MotionDetector> WithZones(const MotionDetector& from, std::span<const MDZoneInfo> zones);

    // One that does in the next frame what this one would; with its zones, fitted or not, and without a last result.
    static std::unique_ptr<MotionDetector> Copy(const MotionDetector& from);

private:
    static std::unique_ptr<MotionDetector> WithoutResult(const MotionDetector& from, std::span<const MDZoneInfo> zones);
    static void MakeRoom(MotionDetector& detector, int columns, int rows, std::span<const std::uint8_t> objects);
};

}  // namespace MD
