// Do the reducer and the priming for hosts in C give what the classes give, to the bit, and a status where a class
// would stop the process?
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "GuardedBlocks.h"
#include "Handles.h"
#include "SeededRandom.h"
#include "conditioning/Priming.h"
#include "conditioning/SteadyReduction.h"
#include "coreMD-host.h"

using namespace InC;

namespace {

constexpr Host::PixelFormat formatOf[] = {Host::PixelFormat::Yuv420,   Host::PixelFormat::Yuv422, Host::PixelFormat::Yuv444,
                                          Host::PixelFormat::Nv12,     Host::PixelFormat::Grey,   Host::PixelFormat::P010,
                                          Host::PixelFormat::Yuv420P10};
constexpr int BytesOf(int layout) { return layout == COREMD_P010 || layout == COREMD_YUV420P10 ? 2 : 1; }
constexpr bool IsAlternating(int layout) { return layout == COREMD_NV12 || layout == COREMD_P010; }
constexpr bool IsHalvedDown(int layout) {
    return layout == COREMD_YUV420 || layout == COREMD_YUV420P10 || IsAlternating(layout);
}

// A picture of random samples whose rows have some padding, the top row first or last in memory.
struct RandomPicture {
    RandomPicture(int width, int height, int layout, bool isBottomUp, std::uint64_t seed) {
        Kit::SeededRandom random(seed);
        const bool isHalved = layout != COREMD_YUV444, isHalvedDown = IsHalvedDown(layout);
        for (std::size_t p = 0; p < 3; ++p) {
            const int columns = p == 0 || !isHalved ? width : (width + 1) / 2 * (IsAlternating(layout) ? 2 : 1);
            const int rows = p == 0 || !isHalvedDown ? height : (height + 1) / 2;
            const std::ptrdiff_t stride = columns * BytesOf(layout) + 5;
            bytes[p].resize(static_cast<std::size_t>(stride * rows));
            for (std::uint8_t& byte : bytes[p]) byte = random.Byte();
            const bool isThere = layout == COREMD_GREY ? p == 0 : IsAlternating(layout) ? p < 2 : true;
            picture.plane[p] = !isThere ? nullptr : bytes[p].data() + (isBottomUp ? stride * (rows - 1) : 0);
            picture.stride[p] = isBottomUp ? -stride : stride;
        }
    }
    Host::PictureView View() const {
        return {{picture.plane[0], picture.plane[1], picture.plane[2]},
                {picture.stride[0], picture.stride[1], picture.stride[2]}};
    }

    Bytes bytes[3];
    coreMD_Picture picture;
};

Bytes Reduced(coreMD_Reducer* reducer, const coreMD_Picture& picture) {
    coreMD_Grid grid;
    EXPECT_EQ(coreMD_ReducerGrid(reducer, &grid), COREMD_HOST_DONE);
    const auto size = static_cast<std::size_t>(3 * grid.columns * grid.rows);
    Kit::GuardedBlocks<std::uint8_t> planes(size);  // whoever writes beyond them is stopped
    EXPECT_EQ(coreMD_Reduce(reducer, &picture, planes.data(), static_cast<std::int64_t>(size), nullptr), COREMD_HOST_DONE);
    return {planes.data(), planes.data() + size};
}

TEST(ReducerInC, EveryLayoutAndStrideIsReducedAsByTheClass) {
    for (int layout = COREMD_YUV420; layout <= COREMD_YUV420P10; ++layout) {
        for (const int blockSize : {1, 3, 8}) {
            for (const bool isBottomUp : {false, true}) {
                const RandomPicture shown(45, 31, layout, isBottomUp, static_cast<std::uint64_t>(layout));
                const coreMD_PictureFormat format{45, 31, layout, blockSize, COREMD_LIMITED_RANGE, 0, 0, 0, 0};
                Reducer reducer;
                ASSERT_EQ(coreMD_CreateReducer(&format, COREMD_STABILISE_OFF, &reducer.handle), COREMD_HOST_DONE);
                Host::BlockReducer expected({.width = 45, .height = 31, .format = formatOf[layout], .blockSize = blockSize});
                expected.Reduce(shown.View());
                const Bytes planes(expected.Ycbcr(), expected.Ycbcr() + 3 * expected.BlockCount());
                EXPECT_EQ(Reduced(reducer, shown.picture), planes) << layout << " " << blockSize << " " << isBottomUp;

                expected.PaintBgr();
                Bytes bgr(planes.size());
                ASSERT_EQ(coreMD_PaintBlocks(planes.data(), expected.BlockCount(), COREMD_LIMITED_RANGE, bgr.data()), 0);
                EXPECT_EQ(bgr, Bytes(expected.Bgr(), expected.Bgr() + planes.size()));
            }
        }
    }
}

TEST(ReducerInC, ACropIsThePictureThatItCutsOut) {
    for (int layout = COREMD_YUV420; layout <= COREMD_YUV420P10; ++layout) {
        for (const bool isBottomUp : {false, true}) {
            const RandomPicture shown(64, 48, layout, isBottomUp, 7);
            for (const int given : {0, 1}) {  // both sizes, or all that is left
                const coreMD_PictureFormat format{64, 48, layout, 4, COREMD_FULL_RANGE, 10, 6, 33 * given, 21 * given};
                const int width = given ? 33 : 54, height = given ? 21 : 42;
                Reducer reducer;
                ASSERT_EQ(coreMD_CreateReducer(&format, COREMD_STABILISE_OFF, &reducer.handle), COREMD_HOST_DONE);
                const auto pixel = [&](std::size_t plane, int column, int row) {
                    return shown.picture.plane[plane]
                               ? shown.picture.plane[plane] + row * shown.picture.stride[plane] + column * BytesOf(layout)
                               : nullptr;
                };
                const int across = layout == COREMD_YUV444 || IsAlternating(layout) ? 10 : 5;
                const int down = IsHalvedDown(layout) ? 3 : 6;
                Host::PictureView view = shown.View();
                view.plane = {pixel(0, 10, 6), pixel(1, across, down), pixel(2, across, down)};
                Host::BlockReducer expected({.width = width, .height = height, .format = formatOf[layout], .blockSize = 4});
                expected.Reduce(view);
                EXPECT_EQ(Reduced(reducer, shown.picture),
                          Bytes(expected.Ycbcr(), expected.Ycbcr() + 3 * expected.BlockCount()))
                    << layout << " " << isBottomUp << " " << given;
                coreMD_Grid grid;
                coreMD_ReducerGrid(reducer, &grid);
                EXPECT_EQ(grid.width, width);
                EXPECT_EQ(grid.height, height);
            }
        }
    }
}

TEST(ReducerInC, AShakingCameraIsSteadiedAsByTheClass) {
    constexpr int width = 160, height = 120, margin = 8;
    Bytes world(static_cast<std::size_t>((width + 2 * margin) * (height + 2 * margin)));
    Kit::SeededRandom random(3);
    for (std::size_t i = 0; i < world.size(); ++i)
        world[i] =
            static_cast<std::uint8_t>(random.Below(8) + (i / 7 % 3 == 0 ? 60 : 160) + (i / 176 / 9 % 2 == 0 ? 0 : 40));
    const coreMD_PictureFormat format{width, height, COREMD_GREY, 8, COREMD_LIMITED_RANGE, 0, 0, 0, 0};
    Host::SteadyReduction expected({.width = width, .height = height, .format = Host::PixelFormat::Grey, .blockSize = 8},
                                   Host::Stabilise::Auto);
    Reducer reducer;
    ASSERT_EQ(coreMD_CreateReducer(&format, COREMD_STABILISE_AUTO, &reducer.handle), COREMD_HOST_DONE);
    Bytes planes(3 * 20 * 15);
    int moved = 0;
    for (int picture = 0; picture < 20; ++picture) {
        const std::ptrdiff_t stride = width + 2 * margin;
        const std::ptrdiff_t place = (margin + random.Between(-3, 3)) * stride + margin + random.Between(-3, 3);
        const coreMD_Picture shown{{world.data() + place, nullptr, nullptr}, {stride, 0, 0}};
        expected.Reduce({.plane = {world.data() + place}, .stride = {stride}});
        coreMD_Shift shift{1, 1};
        ASSERT_EQ(coreMD_Reduce(reducer, &shown, planes.data(), 900, &shift), COREMD_HOST_DONE);
        EXPECT_EQ(planes, Bytes(expected.Ycbcr(), expected.Ycbcr() + 900)) << picture;
        EXPECT_EQ(shift.dx16, expected.TakenBack().dx16);
        EXPECT_EQ(shift.dy16, expected.TakenBack().dy16);
        moved += expected.TakenBack().IsNone() ? 0 : 1;
    }
    EXPECT_GT(moved, 5);  // else it proves little
}

TEST(ReducerInC, WhatStopsTheClassIsAStatus) {
    const coreMD_PictureFormat good{64, 48, COREMD_YUV420, 4, COREMD_LIMITED_RANGE, 0, 0, 0, 0};
    const auto status = [&](auto change) {
        coreMD_PictureFormat format = good;
        change(format);
        coreMD_Reducer* reducer = reinterpret_cast<coreMD_Reducer*>(&format);
        const std::int32_t result = coreMD_CreateReducer(&format, COREMD_STABILISE_OFF, &reducer);
        EXPECT_EQ(reducer == nullptr, result != COREMD_HOST_DONE);
        coreMD_DestroyReducer(&reducer);
        return result;
    };
    using Format = coreMD_PictureFormat;
    EXPECT_EQ(status([](Format&) {}), COREMD_HOST_DONE);
    for (std::int32_t Format::*member : {&Format::width, &Format::height, &Format::blockSize})
        for (const std::int32_t value : {0, -1, lowest, highest})
            EXPECT_EQ(status([&](Format& f) { f.*member = value; }), COREMD_HOST_OUT_OF_RANGE) << value;
    for (std::int32_t Format::*member :
         {&Format::layout, &Format::range, &Format::cropLeft, &Format::cropTop, &Format::cropWidth, &Format::cropHeight})
        for (const std::int32_t value : {-1, 65, lowest, highest})
            EXPECT_EQ(status([&](Format& f) { f.*member = value; }), COREMD_HOST_OUT_OF_RANGE) << value;
    EXPECT_EQ(status([](Format& f) { f.blockSize = 65; }), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(status([](Format& f) { f.layout = COREMD_YUV420P10 + 1; }), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(status([](Format& f) { f.width = 10000, f.blockSize = 1; }), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(status([](Format& f) { f.cropLeft = 3; }), COREMD_HOST_OUT_OF_RANGE) << "between two samples of chroma";
    EXPECT_EQ(status([](Format& f) { f.cropTop = 3; }), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(status([](Format& f) { f.cropTop = 3, f.layout = COREMD_YUV422; }), COREMD_HOST_DONE);
    EXPECT_EQ(status([](Format& f) { f.cropLeft = 2, f.cropWidth = 63; }), COREMD_HOST_OUT_OF_RANGE);

    Reducer reducer;
    EXPECT_EQ(coreMD_CreateReducer(nullptr, 0, &reducer.handle), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_CreateReducer(&good, 0, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_CreateReducer(&good, 3, &reducer.handle), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(coreMD_CreateReducer(&good, -1, &reducer.handle), COREMD_HOST_OUT_OF_RANGE);
    ASSERT_EQ(coreMD_CreateReducer(&good, 0, &reducer.handle), COREMD_HOST_DONE);
    RandomPicture shown(64, 48, COREMD_YUV420, false, 1);
    Bytes planes(3 * 16 * 12);
    coreMD_Grid grid;
    EXPECT_EQ(coreMD_ReducerGrid(nullptr, &grid), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ReducerGrid(reducer, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_Reduce(nullptr, &shown.picture, planes.data(), 576, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_Reduce(reducer, nullptr, planes.data(), 576, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_Reduce(reducer, &shown.picture, nullptr, 576, nullptr), COREMD_HOST_NULL);
    for (const std::int64_t size : {std::int64_t{575}, std::int64_t{0}, std::numeric_limits<std::int64_t>::min()})
        EXPECT_EQ(coreMD_Reduce(reducer, &shown.picture, planes.data(), size, nullptr), COREMD_HOST_NO_ROOM);
    for (std::size_t plane = 0; plane < 3; ++plane) {
        coreMD_Picture broken = shown.picture;
        broken.plane[plane] = nullptr;
        EXPECT_EQ(coreMD_Reduce(reducer, &broken, planes.data(), 576, nullptr), COREMD_HOST_NULL);
        for (const std::ptrdiff_t stride : {0, plane == 0 ? 63 : 31, -31}) {
            broken = shown.picture;
            broken.stride[plane] = stride;
            EXPECT_EQ(coreMD_Reduce(reducer, &broken, planes.data(), 576, nullptr), COREMD_HOST_OUT_OF_RANGE) << stride;
        }
    }
    EXPECT_EQ(planes, Bytes(576)) << "nothing was written";

    EXPECT_EQ(coreMD_PaintBlocks(nullptr, 1, 0, planes.data()), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_PaintBlocks(planes.data(), 1, 0, nullptr), COREMD_HOST_NULL);
    for (const std::int64_t blocks : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{99980002}})
        EXPECT_EQ(coreMD_PaintBlocks(planes.data(), blocks, 0, planes.data()), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(coreMD_PaintBlocks(planes.data(), 1, 2, planes.data()), COREMD_HOST_OUT_OF_RANGE);
    for (const std::int32_t bad : {0, -1, lowest, highest}) {
        EXPECT_EQ(coreMD_ChooseBlockSize(bad, 48, 240), 0) << bad;
        EXPECT_EQ(coreMD_ChooseBlockSize(64, bad, 240), 0) << bad;
    }
    EXPECT_EQ(coreMD_ChooseBlockSize(64, 48, 0), 0);
    EXPECT_EQ(coreMD_ChooseBlockSize(1920, 1080, 240), Host::ChooseBlockSize(1920, 1080));
}

TEST(PrimingInC, GivesWhatTheClassGives) {
    constexpr int columns = 9, rows = 5, size = 3 * columns * rows;
    Kit::SeededRandom random(9);
    Host::Priming expected(columns, rows, 12);
    Priming priming;
    ASSERT_EQ(coreMD_CreatePriming(columns, rows, 12, &priming.handle), COREMD_HOST_DONE);
    std::vector<Bytes> shown;
    for (int i = 0; i < 12; ++i) {
        shown.emplace_back(size);
        for (std::uint8_t& value : shown.back()) value = static_cast<std::uint8_t>(90 + random.Below(20));
        expected.Add(shown.back().data());
        ASSERT_EQ(coreMD_KeepPicture(priming, shown.back().data(), size), COREMD_HOST_DONE);
    }
    for (const int ahead : {1, 4, 11, highest}) {
        Bytes theirs(size), ours(size);
        expected.MostFrequent(std::min(ahead, 100), theirs.data());
        EXPECT_EQ(coreMD_MostFrequent(priming, ahead, ours.data(), size), COREMD_HOST_DONE);
        EXPECT_EQ(ours, theirs) << ahead;
    }
    for (int i = 0; i < 12; ++i) {
        Bytes picture(size);
        EXPECT_EQ(coreMD_KeptPicture(priming, i, picture.data(), size), COREMD_HOST_DONE);
        EXPECT_EQ(picture, shown[static_cast<std::size_t>(i)]);
    }

    Bytes picture(size);
    EXPECT_EQ(coreMD_KeepPicture(priming, picture.data(), size), COREMD_HOST_NO_ROOM);
    for (const std::int32_t index : {-1, 12, lowest, highest})
        EXPECT_EQ(coreMD_KeptPicture(priming, index, picture.data(), size), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(coreMD_KeptPicture(priming, 0, picture.data(), size - 1), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_MostFrequent(priming, 1, picture.data(), size - 1), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_MostFrequent(priming, 0, picture.data(), size), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(coreMD_ForgetPictures(priming), COREMD_HOST_DONE);
    EXPECT_EQ(coreMD_MostFrequent(priming, 1, picture.data(), size), COREMD_HOST_WRONG_ORDER);
    EXPECT_EQ(coreMD_KeepPicture(priming, picture.data(), size - 1), COREMD_HOST_NO_ROOM);
    std::int32_t pictures = 7;
    EXPECT_EQ(coreMD_KeptPictures(priming, &pictures), COREMD_HOST_DONE);
    EXPECT_EQ(pictures, 0);
    EXPECT_EQ(coreMD_KeptPictures(priming, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_KeptPictures(nullptr, &pictures), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_KeepPicture(nullptr, picture.data(), size), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_KeepPicture(priming, nullptr, size), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_KeptPicture(nullptr, 0, picture.data(), size), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_MostFrequent(nullptr, 1, picture.data(), size), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_ForgetPictures(nullptr), COREMD_HOST_NULL);
    coreMD_Priming* none = nullptr;
    EXPECT_EQ(coreMD_CreatePriming(1, 1, 1, nullptr), COREMD_HOST_NULL);
    for (const std::int32_t bad : {0, -1, lowest, highest}) {
        EXPECT_EQ(coreMD_CreatePriming(bad, 1, 1, &none), COREMD_HOST_OUT_OF_RANGE);
        EXPECT_EQ(coreMD_CreatePriming(1, bad, 1, &none), COREMD_HOST_OUT_OF_RANGE);
        EXPECT_EQ(coreMD_CreatePriming(1, 1, bad, &none), COREMD_HOST_OUT_OF_RANGE);
    }
}

}  // namespace
