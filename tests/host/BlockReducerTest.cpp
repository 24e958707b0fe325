// Are the reduced planes the exact means of the picture, for every format, block size and odd picture?
#include "BlockReducer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <random>
#include <vector>

#include "GuardedBlocks.h"
#include "kernels/BlockColour.h"

using Host::BlockReducer;
using Host::ColourRange;
using Host::PictureFormat;
using Host::PictureView;
using Host::PixelFormat;
using Kit::GuardedBlocks;
using Kit::GuardedSide;

namespace {

constexpr PixelFormat allFormats[] = {PixelFormat::Yuv420, PixelFormat::Yuv422, PixelFormat::Yuv444,   PixelFormat::Nv12,
                                      PixelFormat::Grey,   PixelFormat::P010,   PixelFormat::Yuv420P10};
constexpr bool IsDeep(PixelFormat format) { return format == PixelFormat::P010 || format == PixelFormat::Yuv420P10; }
enum class Filling { Low, High, Random };

// A picture in memory of its own.  Its last row ends where the memory ends: padding lies between rows only.
class Picture {
public:
    Picture(const PictureFormat& wanted, int padding, bool upsideDown, Filling filling, GuardedSide side,
            std::mt19937& random)
        : format(wanted), interleaved(format.format == PixelFormat::Nv12 || format.format == PixelFormat::P010) {
        const bool halvedRows = format.format == PixelFormat::Yuv420 || interleaved || IsDeep(format.format);
        const bool halvedColumns = halvedRows || format.format == PixelFormat::Yuv422;
        AddPlane(format.width, format.height, padding, upsideDown, filling, side, random);
        if (format.format == PixelFormat::Grey) return;
        columnsPerChroma = halvedColumns ? 2 : 1;
        rowsPerChroma = halvedRows ? 2 : 1;
        const int width = (format.width + columnsPerChroma - 1) / columnsPerChroma;
        const int height = (format.height + rowsPerChroma - 1) / rowsPerChroma;
        for (int plane = 0; plane < (interleaved ? 1 : 2); ++plane)
            AddPlane(interleaved ? 2 * width : width, height, padding + plane, upsideDown, filling, side, random);
    }

    // Value of Y (0), Cb (1) or Cr (2) at a pixel.
    int At(int component, int x, int y) const {
        if (component == 0) return Sample(0, x, y);
        if (format.format == PixelFormat::Grey) return 128;
        const int column = x / columnsPerChroma, row = y / rowsPerChroma;
        if (interleaved) return Sample(1, 2 * column + component - 1, row);
        return Sample(static_cast<std::size_t>(component), column, row);
    }

    PictureFormat format;
    bool interleaved;
    PictureView view;
    std::vector<GuardedBlocks<std::uint8_t>> memory;
    int columnsPerChroma = 1, rowsPerChroma = 1;

private:
    void AddPlane(int width, int height, int padding, bool upsideDown, Filling filling, GuardedSide side,
                  std::mt19937& random) {
        const std::ptrdiff_t rowBytes = IsDeep(format.format) ? 2 * width : width;
        const std::ptrdiff_t stride = rowBytes + padding, lastRow = (height - 1) * stride;
        GuardedBlocks<std::uint8_t> samples(static_cast<std::size_t>(lastRow + rowBytes), side);
        for (std::uint8_t& sample : samples)
            sample = filling == Filling::Low    ? std::uint8_t{0}
                     : filling == Filling::High ? std::uint8_t{255}
                                                : static_cast<std::uint8_t>(random() >> 8);
        view.plane[memory.size()] = upsideDown ? samples.data() + lastRow : samples.data();
        view.stride[memory.size()] = upsideDown ? -stride : stride;
        memory.push_back(std::move(samples));
    }

    int Sample(std::size_t plane, int column, int row) const {
        const std::uint8_t* const samples = view.plane[plane] + row * view.stride[plane];
        if (!IsDeep(format.format)) return samples[column];
        const int both = samples[2 * column] + 256 * samples[2 * column + 1];
        return format.format == PixelFormat::P010 ? both / 64 : both % 1024;
    }
};

// What goes wrong in the plain form, to show that the comparison would notice.
enum class Fault { None, Truncates, ForgetsTheSharedChroma, CountsPixelsThatDoNotExist };

// The obviously right form: looks at every chroma sample once that has a pixel in the block.
std::uint8_t PlainMean(const Picture& picture, int component, int column, int row, Fault fault) {
    const PictureFormat& format = picture.format;
    const int stepX = component == 0 ? 1 : picture.columnsPerChroma, stepY = component == 0 ? 1 : picture.rowsPerChroma;
    int sum = 0, count = 0;
    const int left = column * format.blockSize, top = row * format.blockSize;
    for (int y = top; y < std::min(top + format.blockSize, format.height); ++y)
        for (int x = left; x < std::min(left + format.blockSize, format.width); ++x) {
            const bool isSampleOfNeighbour = x % stepX != 0 && x == left;
            if (fault == Fault::ForgetsTheSharedChroma && isSampleOfNeighbour) continue;
            const bool isSeenAlready = (x % stepX != 0 && x > left) || (y % stepY != 0 && y > top);
            if (isSeenAlready) continue;
            sum += picture.At(component, x, y);
            ++count;
        }
    if (count == 0) return 0;  // with a fault only
    if (IsDeep(format.format)) return static_cast<std::uint8_t>(std::min((sum + 2 * count) / (4 * count), 255));
    if (fault == Fault::CountsPixelsThatDoNotExist)
        count = ((format.blockSize + stepX - 1) / stepX) * ((format.blockSize + stepY - 1) / stepY);
    return static_cast<std::uint8_t>((sum + (fault == Fault::Truncates ? 0 : count / 2)) / count);
}

struct Difference {
    int component, column, row, expected, actual;
};
[[maybe_unused]] std::ostream& operator<<(std::ostream& out, const Difference& d) {
    return out << "component " << d.component << " of block (" << d.column << ", " << d.row << "): " << d.actual
               << " instead of " << d.expected;
}

std::optional<Difference> FirstDifference(const Picture& picture, const BlockReducer& reducer, Fault fault = Fault::None) {
    for (int component = 0; component < 3; ++component)
        for (int row = 0; row < reducer.Rows(); ++row)
            for (int column = 0; column < reducer.Columns(); ++column) {
                const int expected = PlainMean(picture, component, column, row, fault);
                const int actual = reducer.Ycbcr()[component * reducer.BlockCount() + row * reducer.Columns() + column];
                if (actual != expected) return Difference{component, column, row, expected, actual};
            }
    return std::nullopt;
}

void ExpectExactMeans(const Picture& picture) {
    BlockReducer reducer(picture.format);
    ASSERT_EQ(reducer.Columns(), (picture.format.width + picture.format.blockSize - 1) / picture.format.blockSize);
    ASSERT_EQ(reducer.Rows(), (picture.format.height + picture.format.blockSize - 1) / picture.format.blockSize);
    std::fill(reducer.Ycbcr(), reducer.Ycbcr() + 3 * reducer.BlockCount(), std::uint8_t{77});
    reducer.Reduce(picture.view);
    const auto difference = FirstDifference(picture, reducer);
    ASSERT_FALSE(difference) << *difference << "\nformat " << static_cast<int>(picture.format.format) << ", "
                             << picture.format.width << " x " << picture.format.height << ", blocks of "
                             << picture.format.blockSize;
}

int Between(std::mt19937& random, int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
}

}  // namespace

TEST(BlockReducer, EveryBlockSizeGivesExactMeans) {
    std::mt19937 random(1);
    for (const PixelFormat format : allFormats)
        for (int blockSize = 1; blockSize <= 64; ++blockSize)
            for (int round = 0; round < 8; ++round) {
                const PictureFormat picture = {.width = Between(random, 1, 130),
                                               .height = Between(random, 1, 130),
                                               .format = format,
                                               .blockSize = blockSize};
                ExpectExactMeans(Picture(picture, Between(random, 0, 9), round % 2 != 0, Filling::Random,
                                         round % 4 < 2 ? GuardedSide::End : GuardedSide::Front, random));
                if (HasFatalFailure()) return;
            }
}

TEST(BlockReducer, EveryPictureSizeGivesExactMeans) {
    std::mt19937 random(2);
    for (const PixelFormat format : allFormats)
        for (int size = 1; size <= 130; ++size)
            for (const int blockSize : {1, 2, 3, 4, 5, 7, 8, 12, 16, 63, 64}) {
                const int other = Between(random, 1, 40);
                const bool wide = random() % 2 != 0;
                const PictureFormat picture = {
                    .width = wide ? size : other, .height = wide ? other : size, .format = format, .blockSize = blockSize};
                ExpectExactMeans(Picture(picture, Between(random, 0, 3), random() % 2 != 0, Filling::Random,
                                         random() % 2 != 0 ? GuardedSide::End : GuardedSide::Front, random));
                if (HasFatalFailure()) return;
            }
}

TEST(BlockReducer, BlackAndWhiteStayWhatTheyAre) {
    std::mt19937 random(3);
    for (const PixelFormat format : allFormats)
        for (int blockSize = 1; blockSize <= 64; ++blockSize)
            for (const Filling filling : {Filling::Low, Filling::High}) {
                const PictureFormat picture = {.width = 129, .height = 127, .format = format, .blockSize = blockSize};
                ExpectExactMeans(Picture(picture, 1, false, filling, GuardedSide::End, random));
                if (HasFatalFailure()) return;
            }
}

TEST(BlockReducer, SecondPictureLeavesNothingOfTheFirst) {
    std::mt19937 random(4);
    for (const PixelFormat format : allFormats) {
        const PictureFormat size = {.width = 77, .height = 59, .format = format, .blockSize = 6};
        BlockReducer reducer(size);
        const std::uint8_t* const address = reducer.Ycbcr();
        const Picture white(size, 0, false, Filling::High, GuardedSide::End, random);
        const Picture noise(size, 5, true, Filling::Random, GuardedSide::End, random);
        reducer.Reduce(white.view);
        EXPECT_FALSE(FirstDifference(white, reducer));
        reducer.Reduce(noise.view);
        EXPECT_FALSE(FirstDifference(noise, reducer));
        EXPECT_EQ(reducer.Ycbcr(), address);
    }
}

// Only what lies between two levels of eight bits makes a difference.
TEST(BlockReducer, TenBitsOfWholeLevelsAreTheBytesOfThem) {
    std::mt19937 random(8);
    for (const bool isAlternating : {false, true})
        for (const int blockSize : {1, 3, 8, 16, 33, 64}) {
            const PixelFormat narrow = isAlternating ? PixelFormat::Nv12 : PixelFormat::Yuv420;
            const PixelFormat wide = isAlternating ? PixelFormat::P010 : PixelFormat::Yuv420P10;
            const PictureFormat size = {.width = 130, .height = 70, .format = narrow, .blockSize = blockSize};
            const Picture bytes(size, 0, false, Filling::Random, GuardedSide::End, random);
            std::array<std::vector<std::uint8_t>, 3> pairs;
            PictureView view;
            for (std::size_t plane = 0; plane < bytes.memory.size(); ++plane) {
                for (const std::uint8_t byte : bytes.memory[plane]) {
                    const int both = isAlternating ? byte << 8 : byte << 2;
                    pairs[plane].push_back(static_cast<std::uint8_t>(both & 255));
                    pairs[plane].push_back(static_cast<std::uint8_t>(both >> 8));
                }
                view.plane[plane] = pairs[plane].data();
                view.stride[plane] = 2 * bytes.view.stride[plane];
            }
            PictureFormat wideSize = size;
            wideSize.format = wide;
            BlockReducer reducer(wideSize), expected(size);
            reducer.Reduce(view);
            expected.Reduce(bytes.view);
            EXPECT_TRUE(std::equal(reducer.Ycbcr(), reducer.Ycbcr() + 3 * reducer.BlockCount(), expected.Ycbcr()))
                << isAlternating << ", blocks of " << blockSize;
        }
}

TEST(BlockReducer, ComparisonNoticesPlantedFaults) {
    std::mt19937 random(5);
    const PictureFormat size = {.width = 62, .height = 62, .format = PixelFormat::Yuv420, .blockSize = 5};
    const Picture picture(size, 0, false, Filling::Random, GuardedSide::End, random);
    BlockReducer reducer(size);
    reducer.Reduce(picture.view);
    EXPECT_FALSE(FirstDifference(picture, reducer));
    EXPECT_TRUE(FirstDifference(picture, reducer, Fault::Truncates));
    const auto cutOff = FirstDifference(picture, reducer, Fault::CountsPixelsThatDoNotExist);
    ASSERT_TRUE(cutOff);
    EXPECT_EQ(cutOff->column, 12);  // the first partial block
    const auto shared = FirstDifference(picture, reducer, Fault::ForgetsTheSharedChroma);
    ASSERT_TRUE(shared);
    EXPECT_EQ(shared->component, 1);  // luma shares nothing
    EXPECT_EQ(shared->column, 1);     // its first column is odd
    for (int index = 0; index < 3 * reducer.BlockCount(); ++index) {
        std::uint8_t& mean = reducer.Ycbcr()[index];
        mean ^= 1;
        const auto flipped = FirstDifference(picture, reducer);
        ASSERT_TRUE(flipped);
        EXPECT_EQ((flipped->component * reducer.Rows() + flipped->row) * reducer.Columns() + flipped->column, index);
        mean ^= 1;
    }
}

TEST(BlockReducer, BgrPictureShowsTheMeansInTheirRange) {
    std::mt19937 random(6);
    for (const ColourRange range : {ColourRange::Full, ColourRange::Limited}) {
        const PictureFormat size = {
            .width = 50, .height = 30, .format = PixelFormat::Yuv444, .blockSize = 4, .range = range};
        const Picture picture(size, 0, false, Filling::Random, GuardedSide::End, random);
        BlockReducer reducer(size);
        reducer.Reduce(picture.view);
        EXPECT_TRUE(std::all_of(reducer.Bgr(), reducer.Bgr() + 3 * reducer.BlockCount(),
                                [](std::uint8_t value) { return value == 0; }));  // nobody asked for it yet
        reducer.PaintBgr();
        EXPECT_FALSE(FirstDifference(picture, reducer));  // the means are the decoder's own values in either range
        const auto& matrix = range == ColourRange::Full ? Host::Kernels::fullRangeMatrix : Host::Kernels::limitedRangeMatrix;
        ASSERT_EQ(reducer.BgrStride(), 3 * 13);
        for (int row = 0; row < reducer.Rows(); ++row)
            for (int column = 0; column < reducer.Columns(); ++column) {
                const int block = row * reducer.Columns() + column, count = reducer.BlockCount();
                const auto pixel = Host::Kernels::BgrOfYcbcr(reducer.Ycbcr()[block], reducer.Ycbcr()[count + block],
                                                             reducer.Ycbcr()[2 * count + block], matrix);
                const std::uint8_t* bgr = reducer.Bgr() + row * reducer.BgrStride() + 3 * column;
                EXPECT_EQ(bgr[0], pixel.blue);
                EXPECT_EQ(bgr[1], pixel.green);
                EXPECT_EQ(bgr[2], pixel.red);
            }
    }
}

TEST(BlockReducerDeathTest, ReadsBeyondAPlaneAreNoticed) {
    std::mt19937 random(7);
    for (const PixelFormat format : {PixelFormat::Yuv420, PixelFormat::P010}) {
        const PictureFormat size = {.width = 40, .height = 30, .format = format, .blockSize = 4};
        Picture picture(size, 0, false, Filling::Random, GuardedSide::End, random);
        BlockReducer reducer(size);
        for (std::size_t plane = 0; plane < picture.memory.size(); ++plane) {
            PictureView shifted = picture.view;
            ++shifted.plane[plane];
            EXPECT_DEATH(reducer.Reduce(shifted), "") << plane;
        }
    }
}

TEST(BlockReducerDeathTest, BrokenFormatsStopTheProcess) {
    EXPECT_DEATH(BlockReducer({.width = 0, .height = 1, .blockSize = 1}), "format.width > 0");
    EXPECT_DEATH(BlockReducer({.width = 1, .height = -1, .blockSize = 1}), "format.height > 0");
    EXPECT_DEATH(BlockReducer({.width = 1, .height = 1, .blockSize = 0}), "format.blockSize > 0");
    EXPECT_DEATH(BlockReducer({.width = 1, .height = 1, .blockSize = 65}), "largestBlockSize");
    EXPECT_DEATH(BlockReducer({.width = 10000, .height = 1, .blockSize = 1}), "largestGridSize");
    EXPECT_DEATH(BlockReducer({.width = 1, .height = 10000, .blockSize = 1}), "largestGridSize");
    EXPECT_DEATH(BlockReducer({.width = 4, .height = 4, .blockSize = 2}).Reduce({}), "samples");
}

TEST(ChooseBlockSize, UsualPicturesGetPowersOfTwo) {
    EXPECT_EQ(Host::ChooseBlockSize(320, 240), 2);
    EXPECT_EQ(Host::ChooseBlockSize(640, 360), 4);
    EXPECT_EQ(Host::ChooseBlockSize(768, 576), 4);
    EXPECT_EQ(Host::ChooseBlockSize(1280, 720), 8);
    EXPECT_EQ(Host::ChooseBlockSize(1920, 1080), 8);
    EXPECT_EQ(Host::ChooseBlockSize(2592, 1944), 16);
    EXPECT_EQ(Host::ChooseBlockSize(3840, 2160), 16);
}

TEST(ChooseBlockSize, GivesFewerColumnsWhereTheyAreWanted) {
    EXPECT_EQ(Host::ChooseBlockSize(640, 360, 160), 4);
    EXPECT_EQ(Host::ChooseBlockSize(641, 360, 160), 8);
    EXPECT_EQ(Host::ChooseBlockSize(1920, 1080, 160), 16);
    EXPECT_EQ(Host::ChooseBlockSize(100, 10000, 160), 2);
}

TEST(ChooseBlockSize, GivesABoundedGridWhereverOneExists) {
    for (int width = 1; width <= 64 * 240; ++width) {
        const int size = Host::ChooseBlockSize(width, 1);
        const int columns = (width + size - 1) / size;
        ASSERT_TRUE(size >= 1 && size <= 64) << width;
        ASSERT_LE(columns, 240) << width;
        ASSERT_GE(columns, std::min(width, 120)) << width;
    }
    EXPECT_EQ(Host::ChooseBlockSize(64 * 240 + 1, 1), 64);
}

TEST(ChooseBlockSize, ExtremelyTallPicturesFitTheDetectorsGrid) {
    EXPECT_EQ(Host::ChooseBlockSize(100, 9999), 1);
    EXPECT_EQ(Host::ChooseBlockSize(100, 10000), 2);
    EXPECT_EQ(Host::ChooseBlockSize(100, 64 * 9999), 64);
}
