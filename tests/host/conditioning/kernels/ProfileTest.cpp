// Do the loops over profiles give what their rules give, at every length?
#include "conditioning/kernels/Profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;
using Kit::SeededRandom;

namespace {

// Short ones, and those around the borders of the pieces that are summed in 16 bits.
std::vector<std::size_t> Lengths() {
    std::vector<std::size_t> lengths;
    for (std::size_t length = 0; length <= 67; ++length) lengths.push_back(length);
    for (const std::size_t length : {127, 128, 129, 135, 136, 137, 255, 256, 257, 1279}) lengths.push_back(length);
    return lengths;
}

}  // namespace

TEST(Profile, MeanIsRoundedToNearest) {
    for (const std::uint32_t samples : {1u, 3u, 64u, 240u, 639936u})
        for (std::uint32_t sum = 0; sum <= 255 * samples; sum += 1 + samples / 7)
            ASSERT_NEAR(ProfileMean(sum, samples), sum * 64.0 / samples, 0.5001) << sum << " of " << samples;
    EXPECT_EQ(ProfileMean(255, 1), 16320);
}

TEST(Profile, ErrorOfAnElementIsBounded) {
    for (const int a : {-16320, -1281, -1280, -1279, -1, 0, 1, 7, 1279, 1280, 1281, 16320})
        for (const int b : {-16320, -1280, -640, 0, 640, 1279, 1280, 16320})
            ASSERT_EQ(ElementError(static_cast<std::int16_t>(a), static_cast<std::int16_t>(b)),
                      std::min(std::abs(a - b), 1280))
                << a << ", " << b;
}

TEST(Profile, ReferenceFollowsByThreePercent) {
    EXPECT_EQ(Approached(0, 16320), 126480);               // 16320 * 256 * 31 / 1024
    EXPECT_EQ(Approached(-16320 * 256, 16320), -3924960);  // the longest way
    EXPECT_EQ(Approached(16, 0), 16);                      // 0.48 is nothing
    EXPECT_EQ(Approached(17, 0), 16);                      // 0.51 is a step
    EXPECT_EQ(Approached(-17, 0), -16);
    EXPECT_EQ(NearestQuotient(128, 256), 1);
    EXPECT_EQ(NearestQuotient(-128, 256), -1);
    EXPECT_EQ(NearestQuotient(-127, 256), 0);
}

TEST(Profile, ChunksAreSummedHoweverManyAndFarApart) {
    SeededRandom random(2);
    for (const std::size_t chunks : {0, 1, 2, 3, 12, 127, 128, 129, 257, 400})
        for (const std::size_t step : {32, 64, 96})
            for (const int level : {0, 1, 2})
                for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front}) {
                    GuardedBlocks<std::uint8_t> samples(chunks > 0 ? (chunks - 1) * step + 32 : 0, side);
                    for (std::uint8_t& sample : samples)
                        sample = level == 0 ? std::uint8_t{0} : level == 1 ? std::uint8_t{255} : random.Byte();
                    std::uint32_t sum = 0;
                    for (std::size_t chunk = 0; chunk < chunks; ++chunk)
                        for (std::size_t i = 0; i < 32; ++i) sum += samples[chunk * step + i];
                    ASSERT_EQ(SumOfChunks(samples.data(), step, chunks), sum) << chunks << " chunks, step " << step;
                }
}

TEST(Profile, LoopsGiveWhatTheRulesGiveAtEveryLength) {
    SeededRandom random(1);
    for (const std::size_t count : Lengths())
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front})
            for (const int level : {0, 1, 2}) {
                GuardedBlocks<std::uint8_t> samples(count, side);
                GuardedBlocks<std::int16_t> a(count, side), b(count, side), derivative(count, side);
                GuardedBlocks<std::uint16_t> part(count, side);
                GuardedBlocks<std::uint32_t> sum(count, side), points(count + 1, side);
                std::uint64_t sampleSum = 0, error = 0;
                for (std::uint32_t& point : points) point = static_cast<std::uint32_t>(random.Between(0, 255 * 240));
                for (std::size_t i = 0; i < count; ++i) {
                    samples[i] = level == 0 ? std::uint8_t{0} : level == 1 ? std::uint8_t{255} : random.Byte();
                    a[i] = static_cast<std::int16_t>(level == 0 ? -16320 : level == 1 ? 0 : random.Between(-2000, 2000));
                    b[i] = static_cast<std::int16_t>(level == 0   ? 16320
                                                     : level == 1 ? 0
                                                                  : a[i] + random.Between(-1500, 1500));
                    part[i] = static_cast<std::uint16_t>(random.Between(0, 65535));
                    sum[i] = static_cast<std::uint32_t>(i);
                    sampleSum += samples[i];
                    error += static_cast<std::uint64_t>(ElementError(a[i], b[i]));
                }
                ASSERT_EQ(SumOfSamples(samples.data(), count), sampleSum) << "length " << count;
                ASSERT_EQ(ProfileError(a.data(), b.data(), count), error) << "length " << count << ", level " << level;
                GuardedBlocks<std::int32_t> reference(count, side);
                GuardedBlocks<std::int16_t> rounded(count, side);
                std::vector<std::int64_t> followed(count);
                for (std::size_t i = 0; i < count; ++i) {
                    reference[i] = 256 * b[i] + static_cast<std::int32_t>(level == 2 ? random.Between(-100, 100) : 0);
                    const double exact = reference[i] + (256.0 * a[i] - reference[i]) * 31 / 1024;
                    followed[i] = std::llround(exact);
                }
                FollowProfile(a.data(), reference.data(), rounded.data(), count);
                for (std::size_t i = 0; i < count; ++i) {
                    ASSERT_LE(std::abs(reference[i] - followed[i]), 1) << "length " << count;  // halves may differ
                    ASSERT_EQ(rounded[i], std::llround(reference[i] / 256.0)) << "length " << count;
                }
                EXPECT_TRUE(reference.SlackIsIntact() && rounded.SlackIsIntact());
                AddSums(part.data(), sum.data(), count);
                TakeDerivative(points.data(), 240, derivative.data(), count);
                for (std::size_t i = 0; i < count; ++i) {
                    ASSERT_EQ(sum[i], i + part[i]) << "length " << count;
                    ASSERT_EQ(derivative[i], ProfileMean(points[i + 1], 240) - ProfileMean(points[i], 240)) << count;
                }
                EXPECT_TRUE(sum.SlackIsIntact() && derivative.SlackIsIntact());
            }
}
