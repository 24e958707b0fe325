// On which arrays must a loop give what its rule gives?  All lengths from 0 to 67 and those around the borders of one and
// two chunks, odd starts, low, high and random blocks, the last (or first) block beside an unreadable page:
//
//     testing::AssertionResult MarkingEquals(Rule rule) {
//         KernelPlane<std::uint8_t> luma, isObject;
//         KernelComparison comparison;
//         ForEachKernelCase([&](const KernelCase& c) {
//             luma.Fill(c, 0, 255, [&] { return random.Byte(); });
//             std::vector<std::uint8_t> expected = isObject.Copy(c);     // then the rule, for c.first to c.last - 1
//             MarkSomething(luma.At(c), isObject.At(c), c.Range());
//             comparison.Compare(c, "isObject", isObject, expected);     // every block of the array, outside the range too
//         });
//         return comparison.Result();
//     }
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "GuardedBlocks.h"
#include "utils/Blocks.h"

namespace Kit {

enum class Level { Low, High, Random };

inline const char* NameOf(Level level) { return level == Level::Low ? "low" : level == Level::High ? "high" : "random"; }

struct KernelCase {
    std::size_t size;   // blocks of every array
    std::size_t first;  // the range
    std::size_t last;
    Level level;
    GuardedSide side;  // where the unreadable page is
    std::uint64_t seed;

    MD::BlockRange Range() const { return {first, last}; }
    std::string Text() const {
        return std::string("case ") + NameOf(level) + ", length " + std::to_string(last - first) + ", start " +
               std::to_string(first);
    }
};

inline constexpr std::size_t longestShortRange = 67;                           // every length up to here
inline constexpr std::size_t chunkBorders[] = {255, 256, 257, 511, 512, 513};  // and these
static_assert(chunkBorders[1] == MD::chunkLength && chunkBorders[4] == 2 * MD::chunkLength);
inline constexpr std::size_t kernelStarts[] = {0, 1, 3};
inline constexpr std::size_t kernelSlack = 5;  // blocks behind the range, where the page is not there
inline constexpr std::size_t kernelCapacity = 3 + 513 + kernelSlack;

// visit(const KernelCase&)
template <class Visit>
void ForEachKernelCase(Visit visit) {
    std::uint64_t seed = 1;
    const auto visitLength = [&](std::size_t length) {
        for (const std::size_t first : kernelStarts)
            for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front})
                for (const Level level : {Level::Low, Level::High, Level::Random}) {
                    const std::size_t last = first + length;
                    const std::size_t size = side == GuardedSide::End ? last : last + kernelSlack;
                    visit(KernelCase{size, first, last, level, side, seed++});
                }
    };
    for (std::size_t length = 0; length <= longestShortRange; ++length) visitLength(length);
    for (const std::size_t length : chunkBorders) visitLength(length);
}

// One array of blocks for all cases: placed so that it ends (or starts) at the unreadable page whatever its size.
template <class T>
class KernelPlane {
public:
    KernelPlane() : _beforePage(kernelCapacity), _behindPage(kernelCapacity, GuardedSide::Front) {}

    T* At(const KernelCase& c) {
        return c.side == GuardedSide::End ? _beforePage.data() + (kernelCapacity - c.size) : _behindPage.data();
    }
    T& operator()(const KernelCase& c, std::size_t block) { return At(c)[block]; }

    // draw(): the next random value.
    template <class Drawing>
    void Fill(const KernelCase& c, T low, T high, Drawing draw) {
        for (std::size_t i = 0; i < c.size; ++i)
            At(c)[i] = c.level == Level::Low ? low : c.level == Level::High ? high : draw();
    }
    template <class Drawing>
    void Draw(const KernelCase& c, Drawing draw) {
        for (std::size_t i = 0; i < c.size; ++i) At(c)[i] = draw();
    }

    std::vector<T> Copy(const KernelCase& c) { return std::vector<T>(At(c), At(c) + c.size); }

private:
    GuardedBlocks<T> _beforePage;
    GuardedBlocks<T> _behindPage;
};

}  // namespace Kit
