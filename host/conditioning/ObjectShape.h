// Which blocks belong to an object, and how long is it one?  Holes belong to what encloses them; what stopped is told for a
// while longer.  Both work on a detector's label map, [block] uint16: 0, or the place of the block's object, from 1.
//
//     Host::HoleFill holes(columns, rows);
//     Host::ObjectHold hold(columns, rows, 30 * Host::ticksPerSecond);
//     hold.Hold(planes, time, labels);                // first: what is not told any more encloses nothing
//     holes.Fill(labels);
//     if (the light or the picture's place changed) hold.EndHold();
//
// Memory is taken by the constructors only.  One thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "conditioning/StreamTime.h"

namespace Host {

namespace Kernels {
struct LabelGap;
}

// Blocks of nobody from which no way leads to the picture's border, from block to block beside, above or below, are a
// hole, whether one object encloses them or several together.  Blocks of objects that touch by their corners leave no way
// through.
class HoleFill {
public:
    // Both 1..9999 blocks: else the process stops.
    HoleFill(int columns, int rows);
    ~HoleFill();
    HoleFill(const HoleFill&) = delete;
    HoleFill& operator=(const HoleFill&) = delete;

    // Gives every hole to the object to the left of the hole's first block: of its uppermost blocks the leftmost.  There
    // always is one.  Returns how many blocks were filled.  Costs one look at every block, and little per gap in a row.
    int Fill(std::uint16_t* labels);

private:
    const std::size_t _columns;
    const std::size_t _rows;
    const std::unique_ptr<Kernels::LabelGap[]> _gaps;  // as many as a chequered grid has; the first stands for the outside
};

// For detectors whose limit of objects to blocks that just moved (h35) is off: an object is told for a bounded time after
// any of its blocks changed last, that is, after its luma was more than 8 levels from what it was one, two or four pictures
// before.  Objects have no identity here but their blocks: one that has a block with an earlier object goes on from it, and
// one that joins others from that which changed last.
class ObjectHold {
public:
    static constexpr Ticks usualHold = 30 * ticksPerSecond;

    // columns, rows: 1..9999 blocks; hold: at least 0.  Else the process stops.
    ObjectHold(int columns, int rows, Ticks hold = usualHold);

    // The next picture: its luma ([block], first of the planes), its stamp, and the detector's label map, from which objects
    // that have not changed for `hold` go: their blocks become 0.  Returns how many went.  Of the very first picture, and of
    // the first after EndHold, nothing is told: nothing is known to have changed.
    // time: above -2^62; below that of the picture before, everything starts afresh.  A place larger than the grid stops
    // the process.
    int Hold(const std::uint8_t* luma, Ticks time, std::uint16_t* labels);

    // Ends all holds at once, and forgets the pictures before: of the objects, those are told again that change against
    // pictures to come.  For the moment after which pictures cannot be compared with earlier ones: the light was switched,
    // the camera was moved.
    void EndHold();

private:
    static constexpr std::size_t picturesKept = 4;

    const std::uint8_t* LumaOfAge(std::size_t age) const;
    int DropExpired(Ticks time, std::size_t largest);
    void Spread(std::uint16_t* labels);

    const std::size_t _blockCount;
    const Ticks _hold;
    std::size_t _known = 0;                // pictures kept so far, 0..picturesKept
    std::size_t _next = 0;                 // where the next one is kept
    Ticks _time = 0;                       // of the picture before, if any is kept
    std::vector<std::uint8_t> _luma;       // picturesKept [block] planes, in turn
    std::vector<std::uint8_t> _isChanged;  // [block] {0,255}
    std::vector<Ticks> _lastChange;        // [block] of the object that it belongs to; noChange if that is not told
    std::vector<Ticks> _latest;            // [place] the same, of objects; place 0 is nobody's
    std::vector<bool> _isHeld;             // [stretch of blocks] any of them may have a lastChange; 1 bit a stretch
};

}  // namespace Host
