// Which moving blocks belong together?  Collecting, growing, boxing, trimming and relabelling of the blocks of a zone.
// Called by MotionDetector-Zones.cpp. Labels: 0 none, unassignedBlock moving and free, else the object's label.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "utils/Blocks.h"
#include "utils/CellBox.h"
#include "utils/StandardGaps.h"

namespace MD::Kernels {

inline constexpr std::uint16_t unassignedBlock = 65535;

// Broken conditions are reported as those of the operation that asked, in the same words whatever the compiler.
inline constexpr char processOneZone[] = "void MD::MotionDetector::ProcessOneZone()";
inline constexpr char buildObject[] = "void MD::MotionDetector::BuildCurrentMovingObject(int&, int&, int)";
inline constexpr char removeSmallObjects[] = "void MD::MotionDetector::RemoveSmallObjects(MD::MDZone*)";
inline constexpr char resolveObjects[] = "void MD::MotionDetector::ResolveMotionObjects(int)";
inline constexpr char resolveLabels[] = "void MD::MotionDetector::ResolveMotionObjectsMapIndex(MD::MotionObjectPool&, int)";

// Up to eight blocks side by side, some of them foreground; (x, y) is the leftmost, x a multiple of 8.
struct BlockGroup {
    int x;
    int y;
};
// Most of a frame is still: the groups with foreground, row by row, are found once and serve all zones. Returns their
// number; `groups` has room for CountBlockGroups(grid).
constexpr std::ptrdiff_t CountBlockGroups(Grid grid) {
    return (static_cast<std::ptrdiff_t>(grid.columns) + 7) / 8 * grid.rows;
}
constexpr int BlocksInGroup(BlockGroup group, Grid grid) { return grid.columns - group.x < 8 ? grid.columns - group.x : 8; }
std::ptrdiff_t FindForegroundGroups(const std::uint8_t* isObject, BlockGroup* groups, Grid grid);

// Collects the zone's foreground blocks in raster order and marks them unassigned in the label map. Returns their number.
struct MovingBlocks {
    const BlockGroup* groups;  // with foreground
    std::ptrdiff_t groupCount;
    const std::uint8_t* isInZone;
    const std::uint8_t* isObject;
    std::uint16_t* objectsMap;
    std::int16_t* xs;  // room for the whole grid
    std::int16_t* ys;
};
int CollectMovingBlocks(MovingBlocks b, Grid grid);

// visit(x, y, block index) for every block that is unassigned when its turn comes, group by group.
template <class Visit>
void ForEachUnassigned(const BlockGroup* groups, std::ptrdiff_t groupCount, const std::uint16_t* objectsMap, Grid grid,
                       Visit visit);

// Breadth-first fill over unassigned blocks. xs, ys hold `count` blocks of the object and serve as the queue; those from
// `processed` on have not been looked around yet. Updates both counters.
struct GrowingObject {
    std::uint16_t* objectsMap;
    std::int16_t* xs;  // room for the whole grid
    std::int16_t* ys;
    int& processed;
    int& count;
};
void GrowObject(GrowingObject object, std::uint16_t label, Grid grid);

// The blocks of one object, in order.
struct ObjectBlocks {
    const std::int16_t* xs;
    const std::int16_t* ys;
    int count;
};

// Smallest box over the blocks, of which there is at least one.
CellBox BoxOfBlocks(ObjectBlocks object);
// Does a block that counts lie on each side of that box? Then it is the box of those that count, too. In the zone, the
// object's blocks bear the label and no others do; outside, they may be of another zone's object.
struct CountedBlocks {
    const std::uint16_t* objectsMap;
    const std::uint8_t* isInZone;
    const std::uint8_t* isCounted;
};
bool AllSidesCount(CellBox box, std::uint16_t label, CountedBlocks b, Grid grid);
// The box of those for which `isCounted` is set. False if there are none.
bool BoxOfCountedBlocks(ObjectBlocks object, const std::uint8_t* isCounted, Grid grid, CellBox& box);

// Clears both maps at the blocks outside the box, or at all blocks. TrimObject returns the number of blocks outside.
int TrimObject(ObjectBlocks object, CellBox box, std::uint16_t* objectsMap, std::uint8_t* zoneResultMap, Grid grid);
void DiscardObject(ObjectBlocks object, std::uint16_t* objectsMap, std::uint8_t* zoneResultMap, Grid grid);

// Finds blocks marked `tagged` whose difference from the background is shared by more than two cells of their 3 x 3
// neighbourhood; sets uniformMask there and returns the number of blocks newly set. Nothing in the detector sets such
// marks: the refinement is kept for hosts that do.
struct SimilarityBlocks {
    const std::uint8_t* current;     // luma
    const std::uint8_t* background;  // luma
    const std::uint16_t* objectsMap;
    std::uint8_t* uniformMask;        // work mask, all 0
    std::uint8_t* neighbourhoodMask;  // room for 9 cells
};
int RefineSimilarBlocks(ObjectBlocks object, SimilarityBlocks b, std::uint16_t tagged, Grid grid);

// Appends the object's surviving blocks to xs, ys; all others get label 0. Marks become labels. Returns their number.
struct SurvivingBlocks {
    std::uint16_t* objectsMap;
    const std::uint8_t* uniformMask;
    std::int16_t* xs;
    std::int16_t* ys;
};
int CollectSurvivors(ObjectBlocks object, SurvivingBlocks b, std::uint16_t label, std::uint16_t tagged, Grid grid);

// objectsMap = label at the object's blocks.
void RelabelObject(ObjectBlocks object, std::uint16_t* objectsMap, std::uint16_t label, Grid grid);

// Of four labels side by side, the top bits, where an unassigned block is possible: it has that bit, hardly any other does.
inline std::uint64_t MaybeUnassigned(const std::uint16_t* fourLabels) {
    constexpr std::uint16_t topBit = 0x8000;
    static_assert((unassignedBlock & topBit) != 0);
    std::uint64_t word;
    std::memcpy(&word, fourLabels, sizeof word);
    return word & BitCast<std::uint64_t>(std::array<std::uint16_t, 4>{topBit, topBit, topBit, topBit});
}

template <class Visit>
void ForEachUnassigned(const BlockGroup* groups, std::ptrdiff_t groupCount, const std::uint16_t* objectsMap, Grid grid,
                       Visit visit) {
    for (const BlockGroup* group = groups; group != groups + groupCount; ++group) {
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(group->y) * grid.columns + group->x;
        const auto ask = [&](int i) {
            if (objectsMap[first + i] == unassignedBlock) visit(group->x + i, group->y, first + i);
        };
        const int length = BlocksInGroup(*group, grid);
        if (length == 8 && (MaybeUnassigned(objectsMap + first) | MaybeUnassigned(objectsMap + first + 4)) == 0) continue;
        int i = 0;
        for (; i + 4 <= length; i += 4)
            for (std::uint64_t bits = MaybeUnassigned(objectsMap + first + i); bits; bits = Lanes::WithoutFirst(bits))
                ask(i + Lanes::First<std::uint16_t>(bits));
        for (; i < length; ++i) ask(i);
    }
}

}  // namespace MD::Kernels
