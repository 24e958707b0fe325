// Does a place that moves always move like that?  Leaves, water and flags do: a second, cheap model of every block learns
// how restless it is by nature, and confirms what a detector found, or does not.
//
//     Host::MotionGate gate(reducer.Columns(), reducer.Rows());
//     gate.Learn(reducer.Ycbcr());                    // every analysed picture, also those shown to prime a detector
//     gate.Confirm(labels, 20);                       // objects of which fewer than 20 % are confirmed leave the label map
//
// Every block remembers 20 colours that it had; it is still where two of them lie within its limit.  The limit follows how
// far matches usually lie apart, so that it is wide where the background is restless.  A still block replaces one of its
// samples now and then, and lets a neighbour replace one of its own, so that what came to stay becomes background from its
// edges on.  Draws come from a seed: the same pictures give the same bits on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Host {

// One grid.  Memory is taken by the constructor only: about 85 bytes a block.  One thread at a time.
class MotionGate {
public:
    // Both at least 1, at most 9999 blocks: else the process stops.
    MotionGate(int columns, int rows, std::uint32_t seed = 2463534242u);

    // The next picture: three [block] planes one after another, Y, Cb, Cr.  Updates Mask and IsCalm.
    void Learn(const std::uint8_t* ycbcr);

    // [block] {0,255}; 255: moves, by the median of the 5 x 5 blocks around.  All 0 before two pictures were learned.
    const std::uint8_t* Mask() const { return _mask.data(); }
    // [block] {0,255}; 255: the gate sees no restlessness here, and has no say.  All 255 before two pictures were learned.
    const std::uint8_t* IsCalm() const { return _isCalm.data(); }
    int Pictures() const { return _pictures; }  // learned so far

    // Drops from a label map ([block], 0 or the place of the block's object, from 1) every object of which fewer than
    // `confirmedPercent` (0..100) of its blocks are in the mask or calm: they become 0, the others keep their places.
    // Returns how many objects were dropped.  A place larger than the grid stops the process.
    int Confirm(std::uint16_t* labels, int confirmedPercent = 20);

    // Of an object that the last Confirm kept: would it have done so at this percentage, too?
    bool WouldConfirm(std::uint16_t place, int confirmedPercent) const;

private:
    static constexpr std::size_t sampleCount = 20;  // colours that a block remembers

    // What all blocks of a row draw together: blocks differ in when it is their turn, not in which sample is replaced then.
    struct RowDraws {
        std::uint16_t ownSample;        // replaced by the row's blocks
        std::uint16_t neighbourSample;  // replaced by what is at the row's blocks, where a neighbour lets them
        std::int8_t columnsAway;        // that neighbour's place, -1..1
        std::int8_t rowsAway;           // -1..1
        std::uint16_t ownDraws;         // first of its blocks' bytes in _draws
        std::uint16_t neighbourDraws;
    };
    RowDraws DrawRow();

    std::uint8_t* SamplePlane(std::size_t sample, std::size_t plane) {
        return _samples.data() + (3 * sample + plane) * _blockCount;
    }
    void Match(const std::uint8_t* ycbcr);
    void ReplaceSamples(const std::uint8_t* ycbcr);
    void ReplaceRow(const std::uint8_t* ycbcr, std::size_t sample, const std::uint8_t* isTaken, std::size_t first,
                    std::size_t count);
    void Adjust();
    void FilterMask();

    const std::size_t _columns;  // blocks per row
    const std::size_t _rows;
    const std::size_t _blockCount;  // _columns * _rows
    int _pictures = 0;
    std::uint64_t _drawState;

    std::vector<std::uint8_t> _draws;             // 0..255 in random order; rows begin anywhere in it
    std::vector<RowDraws> _rowDraws;              // [row]
    std::vector<std::uint8_t> _samples;           // sampleCount times three [block] planes
    std::vector<std::uint16_t> _distance;         // [block] 1/256 levels; average of a block's nearest match
    std::vector<std::uint16_t> _limit;            // [block] 1/256 levels; nearer samples match
    std::vector<std::uint16_t> _interval;         // [block] 1/256 pictures between two updates
    std::vector<std::uint16_t> _step;             // [block] 1/256 pictures; what an interval changes by
    std::vector<std::uint8_t> _wholeLimit;        // [block] levels
    std::vector<std::uint8_t> _isMoving;          // [block] {0,255}
    std::vector<std::uint8_t> _nearest;           // [block] levels; the newest picture's nearest match
    std::vector<std::uint8_t> _isOwnTurn;         // [block] {0,255}; replaces one of its samples
    std::vector<std::uint8_t> _isNeighboursTurn;  // [block] {0,255}; lets a neighbour replace one
    std::vector<std::uint8_t> _rowSums;           // one row, with the median's reach to either side
    std::vector<std::uint8_t> _mask;              // [block] {0,255}
    std::vector<std::uint8_t> _isCalm;            // [block] {0,255}
    std::vector<std::uint32_t> _objectBlocks;     // [place]: as many as a grid of single blocks can have, and nobody's
    std::vector<std::uint32_t> _confirmedBlocks;  // [place]
};

}  // namespace Host
