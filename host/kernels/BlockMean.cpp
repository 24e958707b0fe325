// How are the samples of a block row summed and divided?  See BlockMean.h.
#include "kernels/BlockMean.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

// Two samples side by side, loaded as one element: bytes taken apart by a mask and a shift vectorise at every level, and
// leave half as many sums as bytes widened one by one.
struct SamplePair {
    std::uint16_t even;
    std::uint16_t odd;
};

SamplePair PairAt(const std::uint8_t* samples) {
    std::uint16_t both;
    std::memcpy(&both, samples, sizeof both);
    const std::uint16_t low = both & 0xFF, high = both >> 8;
    return std::endian::native == std::endian::little ? SamplePair{low, high} : SamplePair{high, low};
}

constexpr std::uint16_t Sum(std::uint16_t a, std::uint16_t b) { return static_cast<std::uint16_t>(a + b); }

const std::uint8_t* RowOf(RowStack rows, std::size_t row) {
    return rows.top + static_cast<std::ptrdiff_t>(row) * rows.stride;
}

// Up to eight rows in one pass: the sums' way to memory and back costs as much as a row.  The first pass sets the sums,
// further ones add to them.
template <std::size_t rowCount, bool isFirst>
void SumColumnsAtOnce(RowStack rows, std::uint16_t* columnSum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t sum = isFirst ? std::uint16_t{0} : columnSum[i];
        for (std::size_t row = 0; row < rowCount; ++row) sum = Sum(sum, RowOf(rows, row)[i]);
        columnSum[i] = sum;
    }
}

template <std::size_t rowCount, bool isFirst>
void SumColumnPairsAtOnce(RowStack rows, std::uint16_t* pairSum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t sum = isFirst ? std::uint16_t{0} : pairSum[i];
        for (std::size_t row = 0; row < rowCount; ++row) {
            const SamplePair pair = PairAt(RowOf(rows, row) + 2 * i);
            sum = Sum(sum, Sum(pair.even, pair.odd));
        }
        pairSum[i] = sum;
    }
}

template <std::size_t rowCount, bool isFirst>
void SumAlternatingColumnsAtOnce(RowStack rows, std::uint16_t* even, std::uint16_t* odd, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t evenSum = isFirst ? std::uint16_t{0} : even[i], oddSum = isFirst ? std::uint16_t{0} : odd[i];
        for (std::size_t row = 0; row < rowCount; ++row) {
            const SamplePair pair = PairAt(RowOf(rows, row) + 2 * i);
            evenSum = Sum(evenSum, pair.even);
            oddSum = Sum(oddSum, pair.odd);
        }
        even[i] = evenSum;
        odd[i] = oddSum;
    }
}

// As DeepSample, of two bytes loaded as one element. A shift that the compiler knows takes one instruction for all lanes.
template <int shift>
std::uint16_t DeepSampleAt(const std::uint8_t* sample) {
    std::uint16_t both;
    std::memcpy(&both, sample, sizeof both);
    if constexpr (std::endian::native != std::endian::little) both = static_cast<std::uint16_t>(both << 8 | both >> 8);
    const auto shifted = static_cast<std::uint16_t>(both >> shift);
    return static_cast<std::uint16_t>(shifted & largestDeepSample);
}

template <std::size_t rowCount, bool isFirst, int shift>
void SumDeepColumnsAtOnce(RowStack rows, std::uint16_t* columnSum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t sum = isFirst ? std::uint16_t{0} : columnSum[i];
        for (std::size_t row = 0; row < rowCount; ++row) sum = Sum(sum, DeepSampleAt<shift>(RowOf(rows, row) + 2 * i));
        columnSum[i] = sum;
    }
}

// pass(rows, how many of them to take, whether they are the first): both are constants by their type.
template <class Pass>
void InPasses(RowStack rows, Pass pass) {
    std::size_t taken = 0;
    const auto take = [&](auto rowCount) {
        const RowStack rest{RowOf(rows, taken), rows.stride, rows.count - taken};
        if (taken == 0) pass(rest, rowCount, std::true_type());
        else pass(rest, rowCount, std::false_type());
        taken += rowCount;
    };
    while (rows.count - taken >= 8) take(std::integral_constant<std::size_t, 8>());
    if (rows.count - taken >= 4) take(std::integral_constant<std::size_t, 4>());
    if (rows.count - taken >= 2) take(std::integral_constant<std::size_t, 2>());
    if (rows.count - taken >= 1) take(std::integral_constant<std::size_t, 1>());
}

// Both halves of one wide element, in whichever order the machine stores them: their sum is the same.  One wide load and a
// shift vectorise better than two loads with a stride.
std::uint32_t SumOfPair(const std::uint16_t* pair) {
    std::uint32_t both;
    std::memcpy(&both, pair, sizeof both);
    return (both & 0xFFFF) + (both >> 16);
}

std::uint32_t SumOfPair(const std::uint32_t* pair) { return pair[0] + pair[1]; }

template <class Part>
void SumPairsOf(const Part* part, std::uint32_t* sum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) sum[i] = SumOfPair(part + 2 * i);
}

template <class Part>
std::uint32_t SumOfRange(const Part* part, std::size_t first, std::size_t last) {
    std::uint32_t sum = 0;
    for (std::size_t i = first; i < last; ++i) sum += part[i];
    return sum;
}

// A length that the compiler knows: short loops of another one cost more than what they add up.
template <std::size_t length, class Part>
std::uint32_t SumOf(const Part* part) {
    std::uint32_t sum = part[0];
    for (std::size_t i = 1; i < length; ++i) sum += part[i];
    return sum;
}

// Calls with the length as a constant of its type where it is one that blocks of everyday pictures have, else not at all.
template <class Call>
bool WithConstant(std::size_t length, Call call) {
    switch (length) {
        case 2: call(std::integral_constant<std::size_t, 2>()); return true;
        case 3: call(std::integral_constant<std::size_t, 3>()); return true;
        case 4: call(std::integral_constant<std::size_t, 4>()); return true;
        case 5: call(std::integral_constant<std::size_t, 5>()); return true;
        case 6: call(std::integral_constant<std::size_t, 6>()); return true;
        case 7: call(std::integral_constant<std::size_t, 7>()); return true;
        case 8: call(std::integral_constant<std::size_t, 8>()); return true;
        case 9: call(std::integral_constant<std::size_t, 9>()); return true;
        case 11: call(std::integral_constant<std::size_t, 11>()); return true;
        case 13: call(std::integral_constant<std::size_t, 13>()); return true;
        case 15: call(std::integral_constant<std::size_t, 15>()); return true;
        default: return false;
    }
}

template <class Part>
void SumGroupsOf(const Part* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count) {
    const bool isDone = WithConstant(groupSize, [&](auto size) {
        for (std::size_t i = 0; i < count; ++i) sum[i] = SumOf<size>(part + i * size);
    });
    if (isDone) return;
    for (std::size_t i = 0; i < count; ++i) sum[i] = SumOfRange(part, i * groupSize, (i + 1) * groupSize);
}

}  // namespace

void SumColumns(RowStack rows, std::uint16_t* columnSum, std::size_t count) {
    InPasses(rows, [&](RowStack some, auto rowCount, auto isFirst) {
        SumColumnsAtOnce<rowCount, isFirst>(some, columnSum, count);
    });
}

void SumColumnPairs(RowStack rows, std::uint16_t* pairSum, std::size_t count) {
    InPasses(rows, [&](RowStack some, auto rowCount, auto isFirst) {
        SumColumnPairsAtOnce<rowCount, isFirst>(some, pairSum, count);
    });
}

void SumAlternatingColumns(RowStack rows, std::uint16_t* even, std::uint16_t* odd, std::size_t count) {
    InPasses(rows, [&](RowStack some, auto rowCount, auto isFirst) {
        SumAlternatingColumnsAtOnce<rowCount, isFirst>(some, even, odd, count);
    });
}

void SumDeepColumns(RowStack rows, int shift, std::uint16_t* columnSum, std::size_t count) {
    InPasses(rows, [&](RowStack some, auto rowCount, auto isFirst) {
        if (shift == 0) SumDeepColumnsAtOnce<rowCount, isFirst, 0>(some, columnSum, count);
        else SumDeepColumnsAtOnce<rowCount, isFirst, 6>(some, columnSum, count);
    });
}

void PartAlternatingSums(const std::uint16_t* sum, std::uint16_t* even, std::uint16_t* odd, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t both;
        std::memcpy(&both, sum + 2 * i, sizeof both);
        const auto low = static_cast<std::uint16_t>(both), high = static_cast<std::uint16_t>(both >> 16);
        even[i] = std::endian::native == std::endian::little ? low : high;
        odd[i] = std::endian::native == std::endian::little ? high : low;
    }
}

void NarrowSamples(const std::uint8_t* sample, int shift, std::uint8_t* byte, std::size_t count) {
    if (shift == 0) {
        HOST_INDEPENDENT_COLUMNS
        for (std::size_t i = 0; i < count; ++i) byte[i] = static_cast<std::uint8_t>(DeepSampleAt<0>(sample + 2 * i) >> 2);
        return;
    }
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) byte[i] = static_cast<std::uint8_t>(DeepSampleAt<6>(sample + 2 * i) >> 2);
}

void WidenSums(const std::uint16_t* part, std::uint32_t* sum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) sum[i] = part[i];
}

void SumPairs(const std::uint16_t* part, std::uint32_t* sum, std::size_t count) { SumPairsOf(part, sum, count); }
void SumPairs(const std::uint32_t* part, std::uint32_t* sum, std::size_t count) { SumPairsOf(part, sum, count); }

void SumQuads(const std::uint16_t* part, std::uint32_t* sum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t four;
        std::memcpy(&four, part + 4 * i, sizeof four);
        const std::uint32_t two = static_cast<std::uint32_t>(four + (four >> 32));  // in halves that do not carry
        sum[i] = (two & 0xFFFF) + (two >> 16);
    }
}

void SumGroups(const std::uint16_t* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count) {
    SumGroupsOf(part, groupSize, sum, count);
}

void SumGroups(const std::uint32_t* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count) {
    SumGroupsOf(part, groupSize, sum, count);
}

// Blocks of an odd size have (blockSize + 1) / 2 halved columns each, wherever they begin, but for one that is cut off.
void SumHalvedRanges(const std::uint16_t* columnSum, std::size_t blockSize, std::size_t pictureSize, std::uint32_t* sum,
                     std::size_t count) {
    const std::size_t whole = blockSize % 2 != 0 ? std::min(count, pictureSize / blockSize) : 0;
    const bool isDone = WithConstant((blockSize + 1) / 2, [&](auto length) {
        for (std::size_t i = 0; i < whole; ++i) sum[i] = SumOf<length>(columnSum + i * blockSize / 2);
    });
    for (std::size_t i = isDone ? whole : 0; i < count; ++i) {
        const SampleRange columns = SamplesOfBlock(i, blockSize, pictureSize, true);
        sum[i] = SumOfRange(columnSum, columns.first, columns.last);
    }
}

void DivideSums(const std::uint32_t* sum, SampleCount samples, std::uint8_t* mean, std::size_t count) {
    if (samples.isPowerOfTwo) {
        HOST_INDEPENDENT_COLUMNS
        for (std::size_t i = 0; i < count; ++i) mean[i] = ShiftedMean(sum[i], samples);
        return;
    }
    if (samples.isSmall) {
        HOST_INDEPENDENT_COLUMNS
        for (std::size_t i = 0; i < count; ++i) mean[i] = SmallMean(static_cast<std::uint16_t>(sum[i]), samples);
        return;
    }
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) mean[i] = RoundedMean(sum[i], samples);
}

void DivideSums(const std::uint32_t* sum, DeepSampleCount samples, std::uint8_t* mean, std::size_t count) {
    if (samples.isPowerOfTwo) {
        HOST_INDEPENDENT_COLUMNS
        for (std::size_t i = 0; i < count; ++i) mean[i] = ShiftedDeepMean(sum[i], samples);
        return;
    }
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) mean[i] = DeepMean(sum[i], samples);
}

}  // namespace Host::Kernels
