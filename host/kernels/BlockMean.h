// What is the mean of every block of a picture plane?  Sums of columns, or of pairs of columns, over a block's rows; then
// sums of those over a block's columns; then one exact rounded division.  Called by BlockReducer, which owns every array.
//
// No kernel writes outside the elements it is told to write, none keeps anything between calls, and the arrays of one call
// never overlap.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

inline constexpr std::size_t largestBlockSize = 64;                                       // pixels along one side
inline constexpr std::uint32_t largestSampleCount = largestBlockSize * largestBlockSize;  // samples in one block
static_assert(4 * largestBlockSize * 255 <= UINT16_MAX, "four columns over a block's rows fit 16 bits");

// Samples first to last - 1 of a row or of a column of a plane.
struct SampleRange {
    std::size_t first;
    std::size_t last;
};

// One block: which samples cover the pixels [x0, x1) = [block * blockSize, (block + 1) * blockSize) that exist?
// Full resolution: those pixels.  Halved: [floor(x0 / 2), ceil(x1 / 2)), never empty; neighbouring blocks of odd size share
// a sample.  Columns and rows alike.
constexpr SampleRange SamplesOfBlock(std::size_t block, std::size_t blockSize, std::size_t pictureSize, bool halved) {
    const std::size_t begin = block * blockSize;
    const std::size_t end = begin + blockSize < pictureSize ? begin + blockSize : pictureSize;
    return halved ? SampleRange{begin / 2, (end + 1) / 2} : SampleRange{begin, end};
}

// Rows of a plane, one below the other.
struct RowStack {
    const std::uint8_t* top;  // first sample of the uppermost
    std::ptrdiff_t stride;    // bytes from a row to the one below; may be negative
    std::size_t count;        // 1..largestBlockSize
};

inline constexpr std::uint32_t largestDeepSample = 1023;  // of ten bits
static_assert(largestBlockSize * largestDeepSample <= UINT16_MAX, "a column over a block's rows fits 16 bits");
inline constexpr std::size_t mostDeepRowsOfQuads = 32;  // up to which two columns do
static_assert(2 * mostDeepRowsOfQuads * largestDeepSample <= UINT16_MAX);

inline constexpr std::uint32_t smallSampleCount = 128;  // of blocks whose sums and factors fit 16 bits: up to 11 x 11

// A sample count, prepared for RoundedMean.  1..largestSampleCount.
//
// Why the product is exact: factor = (2^32 + e) / count with 0 < e <= count.  For x = sum + half, x * factor / 2^32 exceeds
// x / count by x * e / (count * 2^32), which stays below the 1 / count that is at least left to the next integer, because
// x * e <= 255.5 * count * count <= 255.5 * 2^24 < 2^32.
struct SampleCount {
    constexpr explicit SampleCount(std::uint32_t count)
        : factor((std::uint64_t{1} << 32) / count + 1),
          half(count / 2),
          isPowerOfTwo(std::has_single_bit(count)),
          shift(std::countr_zero(count)),
          isSmall(count < smallSampleCount),
          smallShift(isSmall ? static_cast<int>(std::bit_width(count)) - 1 : 0),
          smallFactor(static_cast<std::uint16_t>(isSmall && !isPowerOfTwo ? (65536u << smallShift) / count + 1 : 0)) {}

    std::uint64_t factor;  // 32 fractional bits
    std::uint32_t half;    // makes the division round to nearest, a tie upwards
    bool isPowerOfTwo;     // then the division is
    int shift;             // this shift to the right
    bool isSmall;          // then SmallMean may be asked, where the division is no shift
    int smallShift;
    std::uint16_t smallFactor;  // 16 + smallShift fractional bits
};
static_assert(std::uint64_t{511} * largestSampleCount * largestSampleCount < std::uint64_t{1} << 33);

// One block: (sum + count / 2) / count in integers.  sum: at most 255 * count.
constexpr std::uint8_t RoundedMean(std::uint32_t sum, SampleCount count) {
    return static_cast<std::uint8_t>((sum + count.half) * count.factor >> 32);
}

// One block of fewer than smallSampleCount samples, not 2^shift: the same mean.  Exact as above: x * e stays below 2^16
// times 2^smallShift, because 2 * 2^smallShift > count and 255.5 * count < 2^15.
constexpr std::uint8_t SmallMean(std::uint16_t sum, SampleCount count) {
    const std::uint16_t dividend = static_cast<std::uint16_t>(sum + count.half);
    const std::uint16_t product = static_cast<std::uint16_t>(std::uint32_t{dividend} * count.smallFactor >> 16);
    return static_cast<std::uint8_t>(product >> count.smallShift);
}
static_assert(511 * smallSampleCount <= 1u << 16);

// One block of 2^shift samples: the same mean.
constexpr std::uint8_t ShiftedMean(std::uint32_t sum, SampleCount count) {
    return static_cast<std::uint8_t>((sum + count.half) >> count.shift);
}

// A count of samples with ten bits, prepared for DeepMean.  1..largestSampleCount.
//
// Why the product is exact: as above, with count' = 4 * count, 40 fractional bits, and
// x * e <= 256.25 * count' * count' <= 256.25 * 2^28 < 2^40.
struct DeepSampleCount {
    constexpr explicit DeepSampleCount(std::uint32_t count)
        : factor((std::uint64_t{1} << 40) / (4 * count) + 1),
          half(2 * count),
          isPowerOfTwo(std::has_single_bit(count)),
          shift(std::countr_zero(count) + 2) {}

    std::uint64_t factor;  // 40 fractional bits
    std::uint32_t half;
    bool isPowerOfTwo;
    int shift;
};

// One block: (sum + 2 * count) / (4 * count) in integers, 255 at most: the mean in levels of eight bits, a tie upwards.
// sum: at most largestDeepSample * count.
constexpr std::uint8_t DeepMean(std::uint32_t sum, DeepSampleCount count) {
    const auto mean = static_cast<std::uint32_t>((sum + count.half) * count.factor >> 40);
    return static_cast<std::uint8_t>(mean < 255 ? mean : 255);
}

// One block of 2^(shift - 2) samples: the same mean.
constexpr std::uint8_t ShiftedDeepMean(std::uint32_t sum, DeepSampleCount count) {
    const std::uint32_t mean = (sum + count.half) >> count.shift;
    return static_cast<std::uint8_t>(mean < 255 ? mean : 255);
}

// A sample of ten bits: those from bit `shift` on, 0 or 6, of two bytes, the lower one first.
constexpr std::uint16_t DeepSample(std::uint8_t low, std::uint8_t high, int shift) {
    return static_cast<std::uint16_t>(static_cast<unsigned>(low | high << 8) >> shift & largestDeepSample);
}

// Over all rows of the stack, i < count:
//     columnSum[i] = sum of row[i]
//     pairSum[i]   = sum of row[2 * i] and row[2 * i + 1]
//     even[i]      = sum of row[2 * i], odd[i] = sum of row[2 * i + 1]: columns of two planes whose samples alternate
void SumColumns(RowStack rows, std::uint16_t* columnSum, std::size_t count);
void SumColumnPairs(RowStack rows, std::uint16_t* pairSum, std::size_t count);
void SumAlternatingColumns(RowStack rows, std::uint16_t* even, std::uint16_t* odd, std::size_t count);

// columnSum[i] = sum of DeepSample(row[2 * i], row[2 * i + 1], shift) over all rows of the stack, i < count.
void SumDeepColumns(RowStack rows, int shift, std::uint16_t* columnSum, std::size_t count);

// even[i] = sum[2 * i], odd[i] = sum[2 * i + 1], i < count.
void PartAlternatingSums(const std::uint16_t* sum, std::uint16_t* even, std::uint16_t* odd, std::size_t count);

// byte[i] = the upper eight bits of DeepSample(sample[2 * i], sample[2 * i + 1], shift), i < count.
void NarrowSamples(const std::uint8_t* sample, int shift, std::uint8_t* byte, std::size_t count);

// sum[i] = part[i], i < count: blocks of one column.
void WidenSums(const std::uint16_t* part, std::uint32_t* sum, std::size_t count);

// sum[i] = part[2 * i] + part[2 * i + 1], i < count.
void SumPairs(const std::uint16_t* part, std::uint32_t* sum, std::size_t count);
void SumPairs(const std::uint32_t* part, std::uint32_t* sum, std::size_t count);

// sum[i] = sum of the four elements of part from 4 * i on, i < count.  Any two of them fit 16 bits, added up.
void SumQuads(const std::uint16_t* part, std::uint32_t* sum, std::size_t count);

// sum[i] = sum of the groupSize elements of part from i * groupSize on, i < count.  groupSize: at least 1.
void SumGroups(const std::uint16_t* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count);
void SumGroups(const std::uint32_t* part, std::size_t groupSize, std::uint32_t* sum, std::size_t count);

// sum[i] = sum of columnSum over SamplesOfBlock(i, blockSize, pictureSize, true): the form for ranges that share columns.
void SumHalvedRanges(const std::uint16_t* columnSum, std::size_t blockSize, std::size_t pictureSize, std::uint32_t* sum,
                     std::size_t count);

// mean[i] = RoundedMean(sum[i], samples) or DeepMean(sum[i], samples), i < count.
void DivideSums(const std::uint32_t* sum, SampleCount samples, std::uint8_t* mean, std::size_t count);
void DivideSums(const std::uint32_t* sum, DeepSampleCount samples, std::uint8_t* mean, std::size_t count);

}  // namespace Host::Kernels
