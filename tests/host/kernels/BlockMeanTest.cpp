// Do the summing kernels equal their plain form, for every length and start, without leaving their arrays?
#include "kernels/BlockMean.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <set>
#include <vector>

#include "GuardedBlocks.h"

using namespace Host::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;

namespace {

constexpr std::size_t longestLength = 67;
constexpr GuardedSide bothSides[] = {GuardedSide::End, GuardedSide::Front};

enum class Filling { Low, High, Random };
constexpr Filling allFillings[] = {Filling::Low, Filling::High, Filling::Random};

template <class T>
GuardedBlocks<T> Filled(std::size_t count, Filling filling, GuardedSide side, T high, std::mt19937& random) {
    GuardedBlocks<T> blocks(count, side);
    for (T& value : blocks) {
        const T any = static_cast<T>(random() % (static_cast<std::uint64_t>(high) + 1));
        value = filling == Filling::Low ? T{0} : filling == Filling::High ? high : any;
    }
    return blocks;
}

// The plain form of one kernel run: what the output is to be, given all elements before it.
template <class T>
using PlainForm = std::function<T(std::size_t index)>;

// Runs a kernel for one output and compares every byte of it, also those that the kernel must leave alone.
template <class T>
void ExpectOutput(const GuardedBlocks<T>& before, const GuardedBlocks<T>& after, SampleRange written,
                  const PlainForm<T>& plain) {
    ASSERT_TRUE(after.SlackIsIntact());
    for (std::size_t i = 0; i < after.size(); ++i) {
        const bool isWritten = i >= written.first && i < written.last;
        ASSERT_EQ(after[i], isWritten ? plain(i) : before[i]) << "element " << i << " of " << after.size();
    }
}

constexpr std::uint16_t largestColumnSum = largestBlockSize * 255;

}  // namespace

TEST(BlockMean, RoundedMeanIsTheIntegerQuotientForEverySumOfEveryBlock) {
    std::set<std::uint32_t> counts;  // those that a block of up to 64 x 64 samples can have
    for (std::uint32_t width = 1; width <= largestBlockSize; ++width)
        for (std::uint32_t height = 1; height <= width; ++height) counts.insert(width * height);
    ASSERT_EQ(*counts.rbegin(), largestSampleCount);
    for (const std::uint32_t count : counts) {
        const SampleCount samples(count);
        std::uint32_t wrong = 0;
        for (std::uint32_t sum = 0; sum <= 255 * count; ++sum)
            wrong += RoundedMean(sum, samples) != (sum + count / 2) / count;
        EXPECT_EQ(wrong, 0u) << "of the sums of " << count << " samples";
    }
}

TEST(BlockMean, DeepMeanIsTheIntegerQuotientForEverySumThatIsNearAnother) {
    for (std::uint32_t count = 1; count <= largestSampleCount; ++count) {
        const DeepSampleCount samples(count);
        ASSERT_EQ(samples.isPowerOfTwo, (count & (count - 1)) == 0);
        std::uint32_t wrong = 0;
        const auto look = [&](std::uint32_t sum) {
            const std::uint32_t expected = std::min((sum + 2 * count) / (4 * count), 255u);
            wrong += DeepMean(sum, samples) != expected;
            wrong += samples.isPowerOfTwo && ShiftedDeepMean(sum, samples) != expected;
        };
        for (std::uint32_t level = 0; level <= 255; ++level) {  // means step by one where sums pass 4 * level * count - half
            const std::uint32_t middle = 4 * level * count;
            look(middle);
            look(middle + 2 * count - 1);
            if (middle + 2 * count <= largestDeepSample * count) look(middle + 2 * count);
        }
        look(largestDeepSample * count);
        EXPECT_EQ(wrong, 0u) << "of the sums of " << count << " samples";
    }
    EXPECT_EQ(DeepMean(1, DeepSampleCount(1)), 0);
    EXPECT_EQ(DeepMean(2, DeepSampleCount(1)), 1);  // a tie, upwards
    EXPECT_EQ(DeepMean(1023, DeepSampleCount(1)), 255);
}

TEST(BlockMean, ShiftedMeanIsTheRoundedMeanForEverySum) {
    for (std::uint32_t count = 1; count <= largestSampleCount; ++count) {
        const SampleCount samples(count);
        ASSERT_EQ(samples.isPowerOfTwo, (count & (count - 1)) == 0);
        if (!samples.isPowerOfTwo) continue;
        std::uint32_t wrong = 0;
        for (std::uint32_t sum = 0; sum <= 255 * count; ++sum)
            wrong += ShiftedMean(sum, samples) != RoundedMean(sum, samples);
        EXPECT_EQ(wrong, 0u) << "of the sums of " << count << " samples";
    }
}

TEST(BlockMean, SmallMeanIsTheRoundedMeanForEverySum) {
    for (std::uint32_t count = 1; count <= largestSampleCount; ++count) {
        const SampleCount samples(count);
        ASSERT_EQ(samples.isSmall, count < 128);
        if (!samples.isSmall || samples.isPowerOfTwo) continue;
        std::uint32_t wrong = 0;
        for (std::uint32_t sum = 0; sum <= 255 * count; ++sum)
            wrong += SmallMean(static_cast<std::uint16_t>(sum), samples) != RoundedMean(sum, samples);
        EXPECT_EQ(wrong, 0u) << "of the sums of " << count << " samples";
    }
}

TEST(BlockMean, TieIsRoundedUpwards) {
    EXPECT_EQ(RoundedMean(1, SampleCount(2)), 1);
    EXPECT_EQ(RoundedMean(31, SampleCount(64)), 0);
    EXPECT_EQ(RoundedMean(32, SampleCount(64)), 1);
    EXPECT_EQ(RoundedMean(1, SampleCount(3)), 0);
    EXPECT_EQ(RoundedMean(2, SampleCount(3)), 1);
}

TEST(BlockMean, SamplesOfBlockCoverItsPixelsAndNoOthers) {
    for (std::size_t pictureSize = 1; pictureSize <= 200; ++pictureSize)
        for (std::size_t blockSize = 1; blockSize <= largestBlockSize; ++blockSize)
            for (std::size_t block = 0; block * blockSize < pictureSize; ++block) {
                std::size_t smallest = std::numeric_limits<std::size_t>::max(), largest = 0;
                std::size_t smallestHalved = smallest, largestHalved = 0;
                for (std::size_t x = 0; x < pictureSize; ++x) {
                    if (x / blockSize != block) continue;
                    smallest = std::min(smallest, x);
                    largest = std::max(largest, x);
                    smallestHalved = std::min(smallestHalved, x / 2);
                    largestHalved = std::max(largestHalved, x / 2);
                }
                const SampleRange whole = SamplesOfBlock(block, blockSize, pictureSize, false);
                const SampleRange halved = SamplesOfBlock(block, blockSize, pictureSize, true);
                ASSERT_EQ(whole.first, smallest);
                ASSERT_EQ(whole.last, largest + 1);
                ASSERT_EQ(halved.first, smallestHalved);
                ASSERT_EQ(halved.last, largestHalved + 1);
            }
}

namespace {

constexpr std::size_t rowCounts[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 23, largestBlockSize};  // every mix of passes

// Rows of samples in memory of their own: padding lies between rows only.
class Rows {
public:
    Rows(std::size_t columns, std::size_t rowCount, bool upsideDown, Filling filling, GuardedSide side, std::mt19937& random)
        : _stride(columns + random() % 4),
          _samples(Filled<std::uint8_t>((rowCount - 1) * _stride + columns, filling, side, 255, random)) {
        const auto stride = static_cast<std::ptrdiff_t>(_stride);
        const std::ptrdiff_t lastRow = static_cast<std::ptrdiff_t>(rowCount - 1) * stride;
        stack = upsideDown ? RowStack{_samples.data() + lastRow, -stride, rowCount}
                           : RowStack{_samples.data(), stride, rowCount};
    }

    // Of every row, the samples from `first` on.
    std::uint16_t Sum(std::size_t first, std::size_t count) const {
        std::uint16_t sum = 0;
        for (std::size_t row = 0; row < stack.count; ++row)
            for (std::size_t i = 0; i < count; ++i)
                sum = static_cast<std::uint16_t>(
                    sum +
                    stack.top[static_cast<std::ptrdiff_t>(row) * stack.stride + static_cast<std::ptrdiff_t>(first + i)]);
        return sum;
    }

    RowStack stack;

private:
    std::size_t _stride;
    GuardedBlocks<std::uint8_t> _samples;
};

// check(rows, length, side) for rows of samplesPerElement * length samples.
template <class Check>
void ForAllRows(std::size_t samplesPerElement, std::uint32_t seed, Check check) {
    std::mt19937 random(seed);
    for (const GuardedSide side : bothSides)
        for (const Filling filling : allFillings)
            for (std::size_t length = 1; length <= longestLength; ++length)
                for (const std::size_t rowCount : rowCounts)
                    check(Rows(samplesPerElement * length, rowCount, random() % 2 != 0, filling, side, random), length,
                          side);
}

// What was in the sums before must not matter.
GuardedBlocks<std::uint16_t> Stale(std::size_t length, GuardedSide side) {
    GuardedBlocks<std::uint16_t> sum(length, side);
    std::fill(sum.begin(), sum.end(), std::uint16_t{0xBEEF});
    return sum;
}

}  // namespace

TEST(BlockMean, ColumnSumsEqualThePlainForm) {
    ForAllRows(1, 1, [](const Rows& rows, std::size_t length, GuardedSide side) {
        const auto before = Stale(length, side);
        auto sum = Stale(length, side);
        SumColumns(rows.stack, sum.data(), length);
        ExpectOutput<std::uint16_t>(before, sum, {0, length}, [&](std::size_t i) { return rows.Sum(i, 1); });
    });
}

TEST(BlockMean, PairSumsEqualThePlainForm) {
    ForAllRows(2, 2, [](const Rows& rows, std::size_t length, GuardedSide side) {
        const auto before = Stale(length, side);
        auto sum = Stale(length, side);
        SumColumnPairs(rows.stack, sum.data(), length);
        ExpectOutput<std::uint16_t>(before, sum, {0, length}, [&](std::size_t i) { return rows.Sum(2 * i, 2); });
    });
}

TEST(BlockMean, AlternatingColumnSumsEqualThePlainForm) {
    ForAllRows(2, 3, [](const Rows& rows, std::size_t length, GuardedSide side) {
        const auto before = Stale(length, side);
        auto even = Stale(length, side), odd = Stale(length, side);
        SumAlternatingColumns(rows.stack, even.data(), odd.data(), length);
        ExpectOutput<std::uint16_t>(before, even, {0, length}, [&](std::size_t i) { return rows.Sum(2 * i, 1); });
        ExpectOutput<std::uint16_t>(before, odd, {0, length}, [&](std::size_t i) { return rows.Sum(2 * i + 1, 1); });
    });
}

TEST(BlockMean, DeepColumnSumsEqualThePlainForm) {
    ForAllRows(2, 9, [](const Rows& rows, std::size_t length, GuardedSide side) {
        const int shift = length % 2 != 0 ? 6 : 0;
        const auto before = Stale(length, side);
        auto sum = Stale(length, side);
        SumDeepColumns(rows.stack, shift, sum.data(), length);
        ExpectOutput<std::uint16_t>(before, sum, {0, length}, [&](std::size_t i) {
            int expected = 0;
            for (std::size_t row = 0; row < rows.stack.count; ++row) {
                const std::uint8_t* const sample =
                    rows.stack.top + static_cast<std::ptrdiff_t>(row) * rows.stack.stride + 2 * i;
                const int both = sample[0] + 256 * sample[1];
                expected += shift == 6 ? both / 64 : both % 1024;
            }
            return static_cast<std::uint16_t>(expected);
        });
    });
}

TEST(BlockMean, NarrowedSamplesAndPartedSumsEqualThePlainForm) {
    std::mt19937 random(10);
    for (const GuardedSide side : bothSides)
        for (const Filling filling : allFillings)
            for (std::size_t length = 0; length <= longestLength; ++length) {
                const auto samples = Filled<std::uint8_t>(2 * length, filling, side, 255, random);
                for (const int shift : {0, 6}) {
                    const GuardedBlocks<std::uint8_t> before(length, side);
                    GuardedBlocks<std::uint8_t> bytes(length, side);
                    NarrowSamples(samples.data(), shift, bytes.data(), length);
                    ExpectOutput<std::uint8_t>(before, bytes, {0, length}, [&](std::size_t i) {
                        const int both = samples[2 * i] + 256 * samples[2 * i + 1];
                        return static_cast<std::uint8_t>(shift == 6 ? both / 256 : both / 4 % 256);
                    });
                }
                const auto sums = Filled<std::uint16_t>(2 * length, filling, side, UINT16_MAX, random);
                const auto before = Stale(length, side);
                auto even = Stale(length, side), odd = Stale(length, side);
                PartAlternatingSums(sums.data(), even.data(), odd.data(), length);
                ExpectOutput<std::uint16_t>(before, even, {0, length}, [&](std::size_t i) { return sums[2 * i]; });
                ExpectOutput<std::uint16_t>(before, odd, {0, length}, [&](std::size_t i) { return sums[2 * i + 1]; });
            }
}

TEST(BlockMean, SumsStopAtTheirCount) {
    std::mt19937 random(4);
    const Rows rows(2 * longestLength, 9, false, Filling::High, GuardedSide::End, random);
    for (std::size_t count = 0; count <= longestLength; ++count) {
        const auto before = Stale(longestLength, GuardedSide::End);
        auto column = Stale(longestLength, GuardedSide::End), pair = Stale(longestLength, GuardedSide::End);
        auto even = Stale(longestLength, GuardedSide::End), odd = Stale(longestLength, GuardedSide::End);
        SumColumns(rows.stack, column.data(), count);
        SumColumnPairs(rows.stack, pair.data(), count);
        SumAlternatingColumns(rows.stack, even.data(), odd.data(), count);
        for (const auto* const sum : {&column, &even, &odd})
            ExpectOutput<std::uint16_t>(before, *sum, {0, count}, [](std::size_t) { return std::uint16_t{9 * 255}; });
        ExpectOutput<std::uint16_t>(before, pair, {0, count}, [](std::size_t) { return std::uint16_t{2 * 9 * 255}; });
    }
}

namespace {

constexpr std::size_t groupSizes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 13, 15, 64};

// Single columns, pairs and quads are groups of a fixed size.
template <class Part>
void ExpectGroupSums(Part largestPart, std::uint32_t seed) {
    std::mt19937 random(seed);
    for (const GuardedSide side : bothSides)
        for (const Filling filling : allFillings)
            for (std::size_t length = 0; length <= longestLength; ++length)
                for (const std::size_t groupSize : groupSizes) {
                    const auto part = Filled<Part>(length * groupSize, filling, side, largestPart, random);
                    const PlainForm<std::uint32_t> plain = [&](std::size_t i) {
                        std::uint32_t sum = 0;
                        for (std::size_t k = 0; k < groupSize; ++k) sum += part[i * groupSize + k];
                        return sum;
                    };
                    const GuardedBlocks<std::uint32_t> before(length, side);
                    GuardedBlocks<std::uint32_t> sum(length, side);
                    SumGroups(part.data(), groupSize, sum.data(), length);
                    ExpectOutput(before, sum, {0, length}, plain);
                    if (groupSize == 2) {
                        GuardedBlocks<std::uint32_t> pairSum(length, side);
                        SumPairs(part.data(), pairSum.data(), length);
                        ExpectOutput(before, pairSum, {0, length}, plain);
                    }
                    if constexpr (sizeof(Part) == 2)
                        if (groupSize == 4 && largestPart <= UINT16_MAX / 2) {
                            GuardedBlocks<std::uint32_t> quadSum(length, side);
                            SumQuads(part.data(), quadSum.data(), length);
                            ExpectOutput(before, quadSum, {0, length}, plain);
                        }
                    if constexpr (sizeof(Part) == 2)
                        if (groupSize == 1) {
                            GuardedBlocks<std::uint32_t> wide(length, side);
                            WidenSums(part.data(), wide.data(), length);
                            ExpectOutput(before, wide, {0, length}, plain);
                        }
                }
}

}  // namespace

TEST(BlockMean, GroupsOfColumnSumsEqualThePlainForm) { ExpectGroupSums<std::uint16_t>(UINT16_MAX, 4); }

TEST(BlockMean, QuadsOfTheLargestSumsEqualThePlainForm) { ExpectGroupSums<std::uint16_t>(UINT16_MAX / 2, 8); }

TEST(BlockMean, GroupsOfWideSumsEqualThePlainForm) { ExpectGroupSums<std::uint32_t>(largestColumnSum * 32u, 5); }

TEST(BlockMean, HalvedRangesEqualThePlainForm) {
    std::mt19937 random(6);
    for (const GuardedSide side : bothSides)
        for (const Filling filling : allFillings)
            for (std::size_t pictureSize = 1; pictureSize <= 131; ++pictureSize)
                for (std::size_t blockSize = 1; blockSize <= largestBlockSize; ++blockSize) {
                    const std::size_t count = (pictureSize + blockSize - 1) / blockSize;
                    const auto columnSum =
                        Filled<std::uint16_t>((pictureSize + 1) / 2, filling, side, largestColumnSum, random);
                    const GuardedBlocks<std::uint32_t> before(count, side);
                    GuardedBlocks<std::uint32_t> sum(count, side);
                    SumHalvedRanges(columnSum.data(), blockSize, pictureSize, sum.data(), count);
                    ExpectOutput<std::uint32_t>(before, sum, {0, count}, [&](std::size_t block) {
                        std::uint32_t expected = 0;
                        for (std::size_t c = 0; c < columnSum.size(); ++c) {
                            const bool left = 2 * c >= block * blockSize && 2 * c < (block + 1) * blockSize;
                            const bool right = 2 * c + 1 >= block * blockSize && 2 * c + 1 < (block + 1) * blockSize &&
                                               2 * c + 1 < pictureSize;
                            if (left || right) expected += columnSum[c];  // either pixel of the sample lies in the block
                        }
                        return expected;
                    });
                }
}

TEST(BlockMean, DividedSumsEqualTheRule) {
    std::mt19937 random(7);
    for (const GuardedSide side : bothSides)
        for (const Filling filling : allFillings)
            for (std::size_t length = 0; length <= longestLength; ++length)
                for (const std::uint32_t samples : {1u, 2u, 3u, 9u, 63u, 64u, 127u, 129u, 255u, 4032u, 4096u}) {
                    const auto sum = Filled<std::uint32_t>(length, filling, side, 255 * samples, random);
                    const GuardedBlocks<std::uint8_t> before(length, side);
                    GuardedBlocks<std::uint8_t> mean(length, side);
                    DivideSums(sum.data(), SampleCount(samples), mean.data(), length);
                    ExpectOutput<std::uint8_t>(before, mean, {0, length}, [&](std::size_t i) {
                        return static_cast<std::uint8_t>((sum[i] + samples / 2) / samples);
                    });
                    const auto deepSum = Filled<std::uint32_t>(length, filling, side, largestDeepSample * samples, random);
                    DivideSums(deepSum.data(), DeepSampleCount(samples), mean.data(), length);
                    ExpectOutput<std::uint8_t>(before, mean, {0, length}, [&](std::size_t i) {
                        return static_cast<std::uint8_t>(std::min((deepSum[i] + 2 * samples) / (4 * samples), 255u));
                    });
                }
}

TEST(BlockMeanDeathTest, RowThatEndsTooEarlyIsNoticed) {
    const GuardedBlocks<std::uint8_t> row(longestLength);
    GuardedBlocks<std::uint16_t> sum(longestLength + 1), other(longestLength + 1);
    EXPECT_DEATH(SumColumns({row.data(), 0, 1}, sum.data(), longestLength + 1), "");
    EXPECT_DEATH(SumColumns({row.data() + 1, 0, 1}, sum.data(), longestLength), "");
    EXPECT_DEATH(SumColumnPairs({row.data(), 0, 1}, sum.data(), longestLength / 2 + 1), "");
    EXPECT_DEATH(SumAlternatingColumns({row.data(), 0, 1}, sum.data(), other.data(), longestLength / 2 + 1), "");
    EXPECT_DEATH(SumDeepColumns({row.data(), 0, 1}, 6, sum.data(), longestLength / 2 + 1), "");
}
