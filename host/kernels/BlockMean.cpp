// How are the samples of a block row summed and divided?  See BlockMean.h.
#include "kernels/BlockMean.h"

#include <cstring>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

// Both halves of one wide element, in whichever order the machine stores them: their sum is the same.  One wide load and a
// shift vectorise better than two loads with a stride.
std::uint32_t SumOfPair(const std::uint16_t* pair) {
    std::uint32_t both;
    std::memcpy(&both, pair, sizeof both);
    return (both & 0xFFFF) + (both >> 16);
}

std::uint32_t SumOfPair(const std::uint32_t* pair) { return pair[0] + pair[1]; }

template <class Part> void SumPairsOf(const Part* part, std::uint32_t* sum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) sum[i] = SumOfPair(part + 2 * i);
}

template <class Part> std::uint32_t SumOfRange(const Part* part, std::size_t first, std::size_t last) {
    std::uint32_t sum = 0;
    for (std::size_t i = first; i < last; ++i) sum += part[i];
    return sum;
}

template <class Part> void SumGroupsOf(const Part* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) sum[i] = SumOfRange(part, i * groupSize, (i + 1) * groupSize);
}

}  // namespace

void AddRow(const std::uint8_t* row, std::uint16_t* columnSum, SampleRange columns) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = columns.first; i < columns.last; ++i)
        columnSum[i] = static_cast<std::uint16_t>(columnSum[i] + row[i]);
}

void AddTwoRows(const std::uint8_t* row, const std::uint8_t* nextRow, std::uint16_t* columnSum, SampleRange columns) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = columns.first; i < columns.last; ++i)
        columnSum[i] = static_cast<std::uint16_t>(columnSum[i] + row[i] + nextRow[i]);
}

void SeparateColumns(const std::uint16_t* both, std::uint16_t* even, std::uint16_t* odd, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        even[i] = both[2 * i];
        odd[i] = both[2 * i + 1];
    }
}

void WidenSums(const std::uint16_t* part, std::uint32_t* sum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) sum[i] = part[i];
}

void SumPairs(const std::uint16_t* part, std::uint32_t* sum, std::size_t count) { SumPairsOf(part, sum, count); }
void SumPairs(const std::uint32_t* part, std::uint32_t* sum, std::size_t count) { SumPairsOf(part, sum, count); }

void SumGroups(const std::uint16_t* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count) {
    SumGroupsOf(part, groupSize, sum, count);
}

void SumGroups(const std::uint32_t* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count) {
    SumGroupsOf(part, groupSize, sum, count);
}

void SumHalvedRanges(const std::uint16_t* columnSum, std::size_t blockSize, std::size_t pictureSize, std::uint32_t* sum,
                     std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const SampleRange columns = SamplesOfBlock(i, blockSize, pictureSize, true);
        sum[i] = SumOfRange(columnSum, columns.first, columns.last);
    }
}

void DivideSums(const std::uint32_t* sum, SampleCount samples, std::uint8_t* mean, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) mean[i] = RoundedMean(sum[i], samples);
}

}  // namespace Host::Kernels
