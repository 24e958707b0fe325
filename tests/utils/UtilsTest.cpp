// Does every primitive over a row of blocks do to each element what its rule says, and nothing outside the row?
#include "utils/Utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "GuardedBlocks.h"
#include "KernelComparison.h"

namespace {

using Kit::GuardedBlocks;
using Kit::GuardedSide;
using Kit::KernelCase;
using Kit::KernelComparison;
using Byte = unsigned char;

constexpr std::size_t longestRow = 67;  // four vectors of 16 and a tail
constexpr std::size_t lastStart = 3;    // odd starts: no row is aligned by luck

using Filling = Kit::Level;

template <class T>
void Fill(T* first, std::size_t count, Filling filling, std::mt19937& random) {
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned number = static_cast<unsigned>(random());
        if constexpr (std::is_same_v<T, float>)  // fractions, so that a sum in double precision shows
            first[i] = filling == Filling::Low ? 0.0f
                       : filling == Filling::High
                           ? 325125.0f
                           : static_cast<float>(static_cast<int>(number % 2000003u) - 1000001) / 37.0f;
        else first[i] = static_cast<T>(filling == Filling::Low ? 0u : filling == Filling::High ? 255u : number);
    }
}

std::vector<std::size_t> RowLengths() {
    std::vector<std::size_t> lengths(std::begin(Kit::chunkBorders), std::end(Kit::chunkBorders));
    for (std::size_t length = 0; length <= longestRow; ++length) lengths.push_back(length);
    return lengths;
}

// Is `primitive`, run over rows of every length and start, equal byte for byte to `rule`, asked once per element?
template <class Source, class Destination>
testing::AssertionResult RowsFollowRule(const std::function<int(Source*, Destination*, int)>& primitive,
                                        const std::function<Destination(Source, Destination)>& rule) {
    std::mt19937 random(20240607);
    for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front})
        for (const std::size_t length : RowLengths())
            for (std::size_t start = 0; start <= lastStart; ++start)
                for (const Filling filling : {Filling::Low, Filling::High, Filling::Random}) {
                    // The row lies at the guarded side; `start` elements on the other side of it must stay.
                    const std::size_t first = side == GuardedSide::End ? start : 0;
                    GuardedBlocks<Source> source(start + length, side);
                    GuardedBlocks<Destination> destination(start + length, side);
                    Fill(source.data(), source.size(), filling, random);
                    Fill(destination.data(), destination.size(), filling, random);
                    const std::vector<Source> sourceBefore(source.begin(), source.end());
                    std::vector<Destination> expected(destination.begin(), destination.end());
                    for (std::size_t i = first; i < first + length; ++i) expected[i] = rule(source[i], expected[i]);

                    const int status =
                        primitive(source.data() + first, destination.data() + first, static_cast<int>(length));
                    const KernelCase c{start + length, first, first + length, filling, side, 0};
                    KernelComparison comparison;
                    comparison.Compare(c, "destination", destination.data(), expected.data(), expected.size());
                    comparison.Compare(c, "source", source.data(), sourceBefore.data(), sourceBefore.size());
                    if (!comparison.Result()) return comparison.Result();
                    const auto failure = [&](const char* what) {
                        return testing::AssertionFailure() << what << ", " << c.Text();
                    };
                    if ((status == 0) != (length > 0)) return failure("unexpected status");
                    if (!source.SlackIsIntact() || !destination.SlackIsIntact()) return failure("a write outside the row");
                }
    return testing::AssertionSuccess();
}

// Primitives with one array: the source of the comparison stays unused.
template <class T>
std::function<int(T*, T*, int)> InPlace(const std::function<int(T*, int)>& primitive) {
    return [primitive](T*, T* buffer, int length) { return primitive(buffer, length); };
}

}  // namespace

TEST(UtilsTest, ClearSetsEveryElementToZero) {
    EXPECT_TRUE((RowsFollowRule<float, float>(InPlace<float>([](float* row, int n) { return Utils::ImageClear(row, n); }),
                                              [](float, float) { return 0.0f; })));
    EXPECT_TRUE((RowsFollowRule<Byte, Byte>(InPlace<Byte>([](Byte* row, int n) { return Utils::ImageClear(row, n); }),
                                            [](Byte, Byte) { return Byte{0}; })));
}

TEST(UtilsTest, ClearWithValueSetsEveryElementToIt) {
    for (const int value : {0, 1, 127, 128, 255}) {
        const Byte byte = static_cast<Byte>(value);
        EXPECT_TRUE(
            (RowsFollowRule<Byte, Byte>(InPlace<Byte>([byte](Byte* row, int n) { return Utils::ImageClear(row, n, byte); }),
                                        [byte](Byte, Byte) { return byte; })))
            << value;
    }
}

TEST(UtilsTest, AddFloatAddsTheFirstArrayIntoTheSecond) {
    EXPECT_TRUE((RowsFollowRule<float, float>(Utils::ImageAddFloat, [](float value, float sum) { return sum + value; })));
}

TEST(UtilsTest, AddWidensBytesAndAddsThemIntoTheSecond) {
    EXPECT_TRUE((RowsFollowRule<Byte, float>(Utils::ImageAdd,
                                             [](Byte value, float sum) { return sum + static_cast<float>(value); })));
}

TEST(UtilsTest, AddSquareAddsSquaresIntoTheSecond) {
    EXPECT_TRUE((RowsFollowRule<Byte, float>(
        Utils::ImageAddSquare, [](Byte value, float sum) { return sum + static_cast<float>(int{value} * int{value}); })));
}

TEST(UtilsTest, MaxKeepsTheLargerInTheSecond) {
    EXPECT_TRUE(
        (RowsFollowRule<Byte, Byte>(Utils::ImageMax, [](Byte value, Byte largest) { return std::max(value, largest); })));
}

TEST(UtilsTest, MinKeepsTheSmallerInTheSecond) {
    EXPECT_TRUE(
        (RowsFollowRule<Byte, Byte>(Utils::ImageMin, [](Byte value, Byte smallest) { return std::min(value, smallest); })));
}

TEST(UtilsTest, InvertMaskFlipsEveryBit) {
    EXPECT_TRUE((RowsFollowRule<Byte, Byte>(Utils::InvertMask,
                                            [](Byte value, Byte) { return static_cast<Byte>(~unsigned{value}); })));
}

TEST(UtilsTest, ConvertByteMaskToIntZeroExtends) {
    EXPECT_TRUE((RowsFollowRule<Byte, int>(Utils::ConvertByteMaskToInt, [](Byte value, int) { return int{value}; })));
}

// The comparison above is worth something: it notices one wrong element, one touched neighbour, one missing element.
TEST(UtilsTest, ComparisonNoticesPlantedFaults) {
    const std::function<Byte(Byte, Byte)> larger = [](Byte value, Byte largest) { return std::max(value, largest); };
    EXPECT_FALSE((RowsFollowRule<Byte, Byte>(
        [](Byte* source, Byte* destination, int length) {
            const int status = Utils::ImageMax(source, destination, length);
            if (length == 35) destination[33] = static_cast<Byte>(destination[33] ^ 1u);
            return status;
        },
        larger)));
    EXPECT_FALSE((RowsFollowRule<Byte, Byte>(
        [](Byte* source, Byte* destination, int length) {
            const int status = Utils::ImageMax(source, destination, length);
            if (length == 67) source[0] = static_cast<Byte>(source[0] ^ 1u);
            return status;
        },
        larger)));
    EXPECT_FALSE((RowsFollowRule<Byte, Byte>(
        [](Byte* source, Byte* destination, int length) {
            return length > 16 ? Utils::ImageMax(source, destination, length - 1)
                               : Utils::ImageMax(source, destination, length);
        },
        larger)));
    EXPECT_FALSE((RowsFollowRule<float, float>(
        [](float* source, float* destination, int length) {
            for (int i = 0; i < length; ++i)
                destination[i] = static_cast<float>(double{destination[i]} * 1.00000006 + double{source[i]});
            return length > 0 ? 0 : -16;
        },
        [](float value, float sum) { return sum + value; })));
}

TEST(UtilsTest, SquareOf255IsExact) {
    Byte value = 255;
    float sum = 0;
    EXPECT_EQ(Utils::ImageAddSquare(&value, &sum, 1), 0);
    EXPECT_EQ(sum, 65025.0f);
    for (int i = 1; i < 5; ++i) Utils::ImageAddSquare(&value, &sum, 1);
    EXPECT_EQ(sum, 325125.0f);  // a window of five frames at its largest
}

TEST(UtilsTest, InvertMaskNeeds0And255) {
    Byte mask[] = {0, 255, 1};
    Byte inverse[3] = {};
    EXPECT_EQ(Utils::InvertMask(mask, inverse, 3), 0);
    EXPECT_EQ(inverse[0], 255);
    EXPECT_EQ(inverse[1], 0);
    EXPECT_EQ(inverse[2], 254);  // a 1 does not become "not set"
}

TEST(UtilsTest, LengthBelowOneIsAStepErrorAndWritesNothing) {
    for (const int length : {0, -1, -67, std::numeric_limits<int>::min()}) {
        Byte byte = 7, source = 200;
        float number = 7.0f, addend = 1.0f;
        int wide = 7;
        EXPECT_EQ(Utils::ImageClear(&number, length), -16);
        EXPECT_EQ(Utils::ImageClear(&byte, length), -16);
        EXPECT_EQ(Utils::ImageClear(&byte, length, 3), -16);
        EXPECT_EQ(Utils::InvertMask(&source, &byte, length), -16);
        EXPECT_EQ(Utils::ConvertByteMaskToInt(&source, &wide, length), -16);
        EXPECT_LT(Utils::ImageAddFloat(&addend, &number, length), 0);
        EXPECT_LT(Utils::ImageAdd(&source, &number, length), 0);
        EXPECT_LT(Utils::ImageAddSquare(&source, &number, length), 0);
        EXPECT_LT(Utils::ImageMax(&source, &byte, length), 0);
        byte = 201;
        EXPECT_LT(Utils::ImageMin(&source, &byte, length), 0);
        EXPECT_EQ(byte, 201);
        EXPECT_EQ(number, 7.0f);
        EXPECT_EQ(wide, 7);
    }
}

TEST(UtilsTest, NullArrayIsReportedBeforeTheLength) {
    Byte byte = 7;
    float number = 7.0f;
    Byte* const noBytes = nullptr;
    float* const noNumbers = nullptr;
    int* const noIntegers = nullptr;
    for (const int length : {1, 0, -1}) {
        EXPECT_EQ(Utils::ImageClear(noNumbers, length), -8);
        EXPECT_EQ(Utils::ImageClear(noBytes, length), -8);
        EXPECT_EQ(Utils::ImageClear(noBytes, length, 3), -8);
        EXPECT_EQ(Utils::InvertMask(noBytes, &byte, length), -8);
        EXPECT_EQ(Utils::InvertMask(&byte, noBytes, length), -8);
        EXPECT_EQ(Utils::ConvertByteMaskToInt(&byte, noIntegers, length), -8);
        int wide = 7;
        EXPECT_EQ(Utils::ConvertByteMaskToInt(noBytes, &wide, length), -8);
        EXPECT_EQ(wide, 7);
        EXPECT_LT(Utils::ImageAddFloat(noNumbers, &number, length), 0);
        EXPECT_LT(Utils::ImageAddFloat(&number, noNumbers, length), 0);
        EXPECT_LT(Utils::ImageAdd(noBytes, &number, length), 0);
        EXPECT_LT(Utils::ImageAdd(&byte, noNumbers, length), 0);
        EXPECT_LT(Utils::ImageAddSquare(noBytes, &number, length), 0);
        EXPECT_LT(Utils::ImageAddSquare(&byte, noNumbers, length), 0);
        EXPECT_LT(Utils::ImageMax(noBytes, &byte, length), 0);
        EXPECT_LT(Utils::ImageMax(&byte, noBytes, length), 0);
        EXPECT_LT(Utils::ImageMin(noBytes, &byte, length), 0);
        EXPECT_LT(Utils::ImageMin(&byte, noBytes, length), 0);
    }
    EXPECT_EQ(byte, 7);
    EXPECT_EQ(number, 7.0f);
}
