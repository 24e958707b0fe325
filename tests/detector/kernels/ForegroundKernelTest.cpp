// Does every foreground kernel decide as its rule says, for each byte that can occur, and touch its own blocks only?
#include "detector/kernels/Foreground.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace MD::Kernels;
using Kit::ForEachKernelCase;
using Kit::KernelCase;
using Kit::KernelComparison;
using Kit::KernelPlane;
using Kit::SeededRandom;
using MD::ByteDistance;

namespace {

constexpr int chromaLimit = 10;
constexpr BrightnessRange brightness{.darkest = 40.0f, .brightest = 190.0f};
constexpr PartlyLimits toBackground{.inRange = 12.0f, .outOfRange = 36.0f};
constexpr PartlyLimits toFrame{.inRange = 15.0f, .outOfRange = 15.0f * 2.1f};

template <class Visit>
void ForEachPairOfBytes(Visit visit) {
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b) visit(a, b);
}

// Whole-number form of the rules: the smallest difference that counts.
constexpr int smallestToBackground[] = {13, 37}, smallestToFrame[] = {16, 32};
std::uint8_t Apart(int a, int b) { return ByteDistance(static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b)); }

bool DiffersByTable(int luma, int reference, const int (&smallest)[2]) {
    const bool isOutOfRange = reference < 40 || reference > 190;
    return std::abs(luma - reference) >= smallest[isOutOfRange ? 1 : 0];
}

std::uint8_t Mark(bool isForeground) { return isForeground ? 255 : 0; }

// Values around which a reference of `base` decides: near the limits more often than chance would have it.
std::uint8_t Near(SeededRandom& random, int base) {
    constexpr int differences[] = {0, 6, 9, 10, 11, 12, 13, 15, 16, 20, 21, 22, 31, 32, 36, 37};
    if (random.OneIn(4)) return random.Byte();
    const int difference = random.Pick(differences);
    const int value = random.OneIn(2) ? base + difference : base - difference;
    return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

std::uint8_t DrawFlag(SeededRandom& random) {
    constexpr std::uint8_t flags[] = {0, 0, 255, 255, 1, 128};
    return random.Pick(flags);
}

float DrawNoise(SeededRandom& random) {
    constexpr float levels[] = {10.0f, 12.0f, 13.5f, 20.999998f, 21.0f, 21.000002f, 31.5f, 394.5f};
    return random.Pick(levels);
}

struct PlanesOfBlocks {
    KernelPlane<std::uint8_t> y, cb, cr;

    Planes At(const KernelCase& c) { return {.y = y.At(c), .cb = cb.At(c), .cr = cr.At(c)}; }
    void FillNear(const KernelCase& c, SeededRandom& random, PlanesOfBlocks* base) {
        FillNear(c, random, y, base ? &base->y : nullptr);
        FillNear(c, random, cb, base ? &base->cb : nullptr);
        FillNear(c, random, cr, base ? &base->cr : nullptr);
    }

private:
    using Plane = KernelPlane<std::uint8_t>;
    static void FillNear(const KernelCase& c, SeededRandom& random, Plane& plane, Plane* base) {
        std::size_t i = 0;
        plane.Fill(c, 0, 255, [&] { return base ? Near(random, (*base)(c, i++)) : random.Byte(); });
    }
};

// One block of the standard and of the MPEG-4 variant, values in, decision out.
struct Block {
    int y, cb, cr;                       // current
    int earlierY, earlierCb, earlierCr;  // previous frame; the MPEG-4 variant has luma only
    int backgroundY, backgroundCb, backgroundCr;
    bool isKnown;
    float noise;
};

bool StandardRule(const Block& b) {
    const int y = b.isKnown ? b.backgroundY : b.earlierY, cb = b.isKnown ? b.backgroundCb : b.earlierCb,
              cr = b.isKnown ? b.backgroundCr : b.earlierCr;
    if (static_cast<float>(std::abs(b.y - y)) > b.noise) return true;
    if (std::abs(b.cb - cb) > 10) return true;
    return std::abs(b.cr - cr) > 10;
}

bool MPEG4Rule(const Block& b) {
    if (b.isKnown) return StandardRule(b);
    return static_cast<float>(std::abs(b.y - b.earlierY)) > b.noise;
}

struct StandardArrays {
    PlanesOfBlocks background, previous, current;
    KernelPlane<std::uint8_t> isBackground, isObject, isMotionPixel;
    KernelPlane<float> noise;

    void Fill(const KernelCase& c) {
        SeededRandom random(c.seed);
        background.FillNear(c, random, nullptr);
        previous.FillNear(c, random, &background);
        current.FillNear(c, random, random.OneIn(2) ? &background : &previous);
        isBackground.Fill(c, 0, 255, [&] { return DrawFlag(random); });
        noise.Draw(c, [&] { return DrawNoise(random); });
        isObject.Draw(c, [&] { return random.Byte(); });
        isMotionPixel.Draw(c, [&] { return random.Byte(); });
    }
    Block At(const KernelCase& c, std::size_t i) {
        return {current.y(c, i),     current.cb(c, i),        current.cr(c, i),   previous.y(c, i),
                previous.cb(c, i),   previous.cr(c, i),       background.y(c, i), background.cb(c, i),
                background.cr(c, i), isBackground(c, i) != 0, noise(c, i)};
    }
};

// Does the loop leave the bytes that the rule gives?
template <class Rule>
testing::AssertionResult StandardLoopEquals(Rule rule) {
    StandardArrays a;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        std::vector<std::uint8_t> expected = a.isObject.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) expected[i] = Mark(rule(a.At(c, i)));
        MarkForeground({.current = a.current.At(c),
                        .previous = a.previous.At(c),
                        .background = a.background.At(c),
                        .isBackground = a.isBackground.At(c),
                        .noiseLevel = a.noise.At(c),
                        .isObject = a.isObject.At(c)},
                       chromaLimit, c.Range());
        comparison.Compare(c, "isObject", a.isObject, expected);
    });
    return comparison.Result();
}

template <class Rule>
testing::AssertionResult MPEG4LoopEquals(Rule rule) {
    StandardArrays a;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        std::vector<std::uint8_t> objects = a.isObject.Copy(c), motion = a.isMotionPixel.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) objects[i] = motion[i] = Mark(rule(a.At(c, i)));
        MarkForegroundMPEG4({.current = a.current.At(c),
                             .referenceLuma = a.previous.y.At(c),
                             .background = a.background.At(c),
                             .isBackground = a.isBackground.At(c),
                             .noiseLevel = a.noise.At(c),
                             .isObject = a.isObject.At(c),
                             .isMotionPixel = a.isMotionPixel.At(c)},
                            chromaLimit, c.Range());
        comparison.Compare(c, "isObject", a.isObject, objects);
        comparison.Compare(c, "isMotionPixel", a.isMotionPixel, motion);
    });
    return comparison.Result();
}

// rule(luma, previous, background, isKnown)
template <class Rule>
testing::AssertionResult IFrameLoopEquals(Rule rule) {
    StandardArrays a;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        std::vector<std::uint8_t> objects = a.isObject.Copy(c), motion = a.isMotionPixel.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            const Block b = a.At(c, i);
            objects[i] = motion[i] = Mark(rule(b.y, b.earlierY, b.backgroundY, b.isKnown));
        }
        MarkForegroundIFrame({.current = a.current.y.At(c),
                              .previous = a.previous.y.At(c),
                              .background = a.background.y.At(c),
                              .isBackground = a.isBackground.At(c),
                              .isObject = a.isObject.At(c),
                              .isMotionPixel = a.isMotionPixel.At(c)},
                             toBackground, toFrame, brightness, c.Range());
        comparison.Compare(c, "isObject", a.isObject, objects);
        comparison.Compare(c, "isMotionPixel", a.isMotionPixel, motion);
    });
    return comparison.Result();
}

// rule(luma, reference)
template <class Rule>
testing::AssertionResult PFrameLoopEquals(Rule rule) {
    StandardArrays a;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        std::vector<std::uint8_t> objects = a.isObject.Copy(c), motion = a.isMotionPixel.Copy(c);
        int expectedCount = 0;
        for (std::size_t i = c.first; i < c.last; ++i) {
            const bool differs = rule(a.current.y(c, i), a.previous.y(c, i));
            objects[i] = motion[i] = Mark(differs);
            expectedCount += differs;
        }
        const int count = MarkForegroundPFrame({.current = a.current.y.At(c),
                                                .reference = a.previous.y.At(c),
                                                .isObject = a.isObject.At(c),
                                                .isMotionPixel = a.isMotionPixel.At(c)},
                                               toFrame, brightness, c.Range());
        comparison.CompareValue(c, "count", count, expectedCount);
        comparison.Compare(c, "isObject", a.isObject, objects);
        comparison.Compare(c, "isMotionPixel", a.isMotionPixel, motion);
    });
    return comparison.Result();
}

bool IFrameRule(int luma, int previous, int background, bool isKnown) {
    return isKnown ? DiffersByTable(luma, background, smallestToBackground)
                   : DiffersByTable(luma, previous, smallestToFrame);
}

}  // namespace

TEST(ForegroundKernel, LumaEqualToNoiseIsBackground) {
    for (int noise = 0; noise < 256; ++noise)
        ForEachPairOfBytes([&](int luma, int reference) {
            ASSERT_EQ(LumaDiffers(Apart(luma, reference), static_cast<float>(noise)), std::abs(luma - reference) > noise);
        });
}

TEST(ForegroundKernel, NoiseBetweenGreyLevelsDecidesStrictly) {
    EXPECT_FALSE(LumaDiffers(Apart(100, 87), 13.5f));
    EXPECT_TRUE(LumaDiffers(Apart(100, 86), 13.5f));
    EXPECT_TRUE(LumaDiffers(Apart(100, 79), std::nextafter(21.0f, 0.0f)));
    EXPECT_FALSE(LumaDiffers(Apart(100, 79), std::nextafter(21.0f, 22.0f)));
    EXPECT_FALSE(LumaDiffers(Apart(0, 255), 394.5f));  // the highest level that can be learned hides everything
}

TEST(ForegroundKernel, ChromaOfElevenIsForeground) {
    ForEachPairOfBytes([](int chroma, int reference) {
        const bool isFar = chroma - reference >= 11 || reference - chroma >= 11;
        ASSERT_EQ(ChromaDiffers(Apart(chroma, reference), 0, chromaLimit), isFar);
        ASSERT_EQ(ChromaDiffers(0, Apart(chroma, reference), chromaLimit), isFar);
        ASSERT_EQ(ChromaDiffers(Apart(chroma, reference), Apart(chroma, reference), chromaLimit), isFar);
    });
}

TEST(ForegroundKernel, PartlyDecodedLumaDecidesByTheReference) {
    ForEachPairOfBytes([](int luma, int reference) {
        ASSERT_EQ(
            DiffersPartly(static_cast<std::uint8_t>(luma), static_cast<std::uint8_t>(reference), toBackground, brightness),
            DiffersByTable(luma, reference, smallestToBackground));
        ASSERT_EQ(DiffersPartly(static_cast<std::uint8_t>(luma), static_cast<std::uint8_t>(reference), toFrame, brightness),
                  DiffersByTable(luma, reference, smallestToFrame));
    });
    EXPECT_FALSE(DiffersPartly(52, 39, toBackground, brightness));   // 13 is not above 36
    EXPECT_TRUE(DiffersPartly(113, 100, toBackground, brightness));  // 13 is above 12
    EXPECT_FALSE(DiffersPartly(231, 200, toFrame, brightness));      // 31 is not above 31.499998
    EXPECT_TRUE(DiffersPartly(232, 200, toFrame, brightness));
    EXPECT_TRUE(DiffersPartly(56, 40, toFrame, brightness));  // 40 and 190 are in range
    EXPECT_TRUE(DiffersPartly(206, 190, toFrame, brightness));
}

TEST(ForegroundKernel, StandardLoopEqualsRule) { EXPECT_TRUE(StandardLoopEquals(StandardRule)); }
TEST(ForegroundKernel, MPEG4LoopEqualsRule) { EXPECT_TRUE(MPEG4LoopEquals(MPEG4Rule)); }
TEST(ForegroundKernel, IFrameLoopEqualsRule) { EXPECT_TRUE(IFrameLoopEquals(IFrameRule)); }
TEST(ForegroundKernel, PFrameLoopEqualsRule) {
    EXPECT_TRUE(PFrameLoopEquals([](int luma, int reference) { return DiffersByTable(luma, reference, smallestToFrame); }));
}

// The blocks above are near enough to the limits that each of these small faults shows.
TEST(ForegroundKernel, ComparisonNoticesPlantedFaults) {
    EXPECT_FALSE(StandardLoopEquals([](Block b) {
        b.noise = std::nextafter(b.noise, 0.0f);  // as if "equal" were foreground
        return StandardRule(b);
    }));
    EXPECT_FALSE(StandardLoopEquals([](Block b) {
        b.cr = b.backgroundCr;
        b.earlierCr = b.backgroundCr;  // Cr forgotten
        return StandardRule(b);
    }));
    EXPECT_FALSE(MPEG4LoopEquals(StandardRule));  // chroma tested where there is no background
    EXPECT_FALSE(IFrameLoopEquals([](int luma, int previous, int background, bool) {
        return IFrameRule(luma, previous, background, true);  // the background everywhere
    }));
    EXPECT_FALSE(PFrameLoopEquals([](int luma, int reference) { return std::abs(luma - reference) >= 16; }));
}
