// Does shadow detection mark, measure and decide as its rules say, on grids of every shape?
#include "detector/kernels/Shadow.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "GuardedBlocks.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace MD::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;
using Kit::KernelComparison;
using Kit::SeededRandom;
using MD::Grid;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;

constexpr Grid grids[] = {
    {1, 1}, {2, 1},  {1, 2},   {9, 1},  {1, 9},  {2, 2},  {3, 2},   {2, 3},   {3, 3},
    {7, 5}, {16, 9}, {17, 13}, {63, 3}, {64, 3}, {65, 2}, {128, 2}, {129, 3}, {257, 2}};  // around the parts of 64 columns

using Fill = Kit::Level;

// Everything that the three passes read and write, as plain values.
struct Frame {
    Grid grid{};
    Bytes isObject, isBackground, y, cb, cr, currentY, currentCb, currentCr;
    Bytes zoneResultMap, searchMask;
    Floats backgroundGradientX, backgroundGradientY, currentGradientX, currentGradientY, cbDifference, crDifference,
        gradientSum, chromaSum;

    std::size_t Size() const { return static_cast<std::size_t>(grid.columns * grid.rows); }
    std::size_t Index(int x, int row) const { return static_cast<std::size_t>(row * grid.columns + x); }
};

Frame DrawFrame(Grid grid, Fill fill, SeededRandom& random) {
    Frame f;
    f.grid = grid;
    const std::size_t n = f.Size();
    const auto draw = [&](auto value) {
        Bytes bytes(n);
        for (std::uint8_t& byte : bytes)
            byte = fill == Fill::Low    ? std::uint8_t{0}
                   : fill == Fill::High ? std::uint8_t{255}
                                        : static_cast<std::uint8_t>(value());
        return bytes;
    };
    const int objectShare = random.Between(1, 4), unknownShare = random.Between(1, 6);
    f.isObject = draw([&] { return random.OneIn(objectShare) ? 255 : 0; });
    f.isBackground = draw([&] { return random.OneIn(unknownShare) ? 0 : 255; });
    for (Bytes* plane : {&f.y, &f.cb, &f.cr}) *plane = draw([&] { return random.Between(60, 180); });
    // The frame: the background darkened alike everywhere, with a little noise; some blocks are something else.
    const int percent = random.Between(30, 100), noise = random.Between(0, 3);
    f.currentY = f.y;
    f.currentCb = f.cb;
    f.currentCr = f.cr;
    for (std::size_t i = 0; fill == Fill::Random && i < n; ++i) {
        const bool isOther = random.OneIn(8);
        f.currentY[i] =
            isOther ? random.Byte() : static_cast<std::uint8_t>(f.y[i] * percent / 100 + random.Between(0, noise));
        f.currentCb[i] = static_cast<std::uint8_t>(f.cb[i] + random.Between(-noise, isOther ? 12 : noise));
        f.currentCr[i] = static_cast<std::uint8_t>(f.cr[i] + random.Between(isOther ? -60 : -noise, noise));
    }
    f.zoneResultMap = f.searchMask = draw([&] { return random.Byte(); });
    for (Floats* plane : {&f.backgroundGradientX, &f.backgroundGradientY, &f.currentGradientX, &f.currentGradientY,
                          &f.cbDifference, &f.crDifference, &f.gradientSum, &f.chromaSum})
        plane->assign(n, 0.0f);
    return f;
}

// ---- The rules, written block by block ------------------------------------------------------------------------------

struct Faults {  // planted ones
    bool windowHasWholeNeighbourhood = false;
    bool deadZoneIsContinuous = false;
    int searchReach = 1;
};

void MarkSlowly(Frame& f, Faults faults) {
    for (int y = 0; y < f.grid.rows; ++y)
        for (int x = 0; x < f.grid.columns; ++x) {
            bool isSearched = false;
            for (int ny = y - faults.searchReach; ny <= y + faults.searchReach; ++ny)
                for (int nx = x - faults.searchReach; nx <= x + faults.searchReach; ++nx)
                    if (nx >= 0 && ny >= 0 && nx < f.grid.columns && ny < f.grid.rows && f.isObject[f.Index(nx, ny)])
                        isSearched = true;
            f.searchMask[f.Index(x, y)] = isSearched ? 1 : 0;
            f.zoneResultMap[f.Index(x, y)] = f.isObject[f.Index(x, y)] ? 1 : 0;
        }
}

float LogStep(const Bytes& luma, std::size_t from, std::size_t to) {
    return static_cast<float>(std::log(luma[from] + 1.0) - std::log(luma[to] + 1.0));
}

float ChromaStep(int chroma, int background, Faults faults) {
    int d = std::abs(chroma - background);
    if (d > 6) d -= 6;
    else if (faults.deadZoneIsContinuous) d = 0;
    return static_cast<float>(d) * 0.01f;
}

void MeasureSlowly(Frame& f, Faults faults) {
    for (int y = 0; y < f.grid.rows; ++y)
        for (int x = 0; x < f.grid.columns; ++x) {
            const std::size_t i = f.Index(x, y);
            if (!f.isBackground[i] || f.searchMask[i] != 1) continue;
            if (f.grid.columns > 1) {  // the only column has no neighbour; its value is read by no window
                const int from = x < f.grid.columns - 1 ? x : x - 1;
                f.backgroundGradientX[i] = LogStep(f.y, f.Index(from, y), f.Index(from + 1, y));
                f.currentGradientX[i] = LogStep(f.currentY, f.Index(from, y), f.Index(from + 1, y));
            }
            if (f.grid.rows > 1) {
                const int from = y < f.grid.rows - 1 ? y : y - 1;
                f.backgroundGradientY[i] = LogStep(f.y, f.Index(x, from), f.Index(x, from + 1));
                f.currentGradientY[i] = LogStep(f.currentY, f.Index(x, from), f.Index(x, from + 1));
            }
            f.cbDifference[i] = ChromaStep(f.currentCb[i], f.cb[i], faults);
            f.crDifference[i] = ChromaStep(f.currentCr[i], f.cr[i], faults);
        }
}

void DecideSlowly(Frame& f, Faults faults) {
    const int more = faults.windowHasWholeNeighbourhood ? 1 : 0;
    for (int y = 0; y < f.grid.rows; ++y)
        for (int x = 0; x < f.grid.columns; ++x) {
            const std::size_t i = f.Index(x, y);
            if (!f.isBackground[i]) {
                f.isObject[i] = f.zoneResultMap[i] == 1 ? 255 : 0;
                continue;
            }
            if (f.zoneResultMap[i] != 1) {
                f.isObject[i] = 0;
                continue;
            }
            // Row by row, a block's two gradients before they are added: the order in which digests were taken.
            float s1 = 0.0f, s2 = 0.0f;
            for (int wy = std::max(y - 1, 0); wy < std::min(y + 1 + more, f.grid.rows - 1 + more); ++wy)
                for (int wx = std::max(x - 1, 0); wx < std::min(x + 1 + more, f.grid.columns - 1 + more); ++wx) {
                    const std::size_t w = f.Index(wx, wy);
                    const float alongX = std::fabs(f.backgroundGradientX[w] - f.currentGradientX[w]),
                                alongY = std::fabs(f.backgroundGradientY[w] - f.currentGradientY[w]);
                    s1 += alongX + alongY;
                    s2 += f.cbDifference[w] + f.crDifference[w];
                }
            f.gradientSum[i] = s1;
            f.chromaSum[i] = s2;
            const float score = 75.0f * s1 + 150.0f * s2;
            const bool isShadow = score < 100.0f;
            f.zoneResultMap[i] = isShadow ? 2 : 1;
            f.isObject[i] = isShadow ? 0 : 255;
        }
}

// ---- The kernels on guarded arrays -----------------------------------------------------------------------------------

// Runs the three passes, with every array beside an unreadable page, and puts the results back into the frame.
class GuardedFrame {
public:
    GuardedFrame(Frame& f, GuardedSide side) : _frame(f) {
        for (Bytes* plane : {&f.isObject, &f.isBackground, &f.y, &f.cb, &f.cr, &f.currentY, &f.currentCb, &f.currentCr,
                             &f.zoneResultMap, &f.searchMask})
            _bytes.push_back({plane, GuardedBlocks<std::uint8_t>(std::span<const std::uint8_t>(*plane), side)});
        for (Floats* plane : {&f.backgroundGradientX, &f.backgroundGradientY, &f.currentGradientX, &f.currentGradientY,
                              &f.cbDifference, &f.crDifference, &f.gradientSum, &f.chromaSum})
            _floats.push_back({plane, GuardedBlocks<float>(std::span<const float>(*plane), side)});
    }
    ~GuardedFrame() {
        for (auto& [plane, blocks] : _bytes) {
            EXPECT_TRUE(blocks.SlackIsIntact());
            plane->assign(blocks.begin(), blocks.end());
        }
        for (auto& [plane, blocks] : _floats) {
            EXPECT_TRUE(blocks.SlackIsIntact());
            plane->assign(blocks.begin(), blocks.end());
        }
    }
    GuardedFrame(const GuardedFrame&) = delete;
    GuardedFrame& operator=(const GuardedFrame&) = delete;

    void Mark() { MarkShadowSearch(At(_frame.isObject), At(_frame.zoneResultMap), At(_frame.searchMask), _frame.grid); }
    void Measure() {
        MeasureShadowFeatures({.searchMask = At(_frame.searchMask),
                               .isBackground = At(_frame.isBackground),
                               .backgroundY = At(_frame.y),
                               .backgroundCb = At(_frame.cb),
                               .backgroundCr = At(_frame.cr),
                               .currentY = At(_frame.currentY),
                               .currentCb = At(_frame.currentCb),
                               .currentCr = At(_frame.currentCr),
                               .backgroundGradientX = At(_frame.backgroundGradientX),
                               .backgroundGradientY = At(_frame.backgroundGradientY),
                               .currentGradientX = At(_frame.currentGradientX),
                               .currentGradientY = At(_frame.currentGradientY),
                               .cbDifference = At(_frame.cbDifference),
                               .crDifference = At(_frame.crDifference)},
                              _frame.grid);
    }
    void Decide() {
        DecideShadows({.isBackground = At(_frame.isBackground),
                       .backgroundGradientX = At(_frame.backgroundGradientX),
                       .backgroundGradientY = At(_frame.backgroundGradientY),
                       .currentGradientX = At(_frame.currentGradientX),
                       .currentGradientY = At(_frame.currentGradientY),
                       .cbDifference = At(_frame.cbDifference),
                       .crDifference = At(_frame.crDifference),
                       .gradientSum = At(_frame.gradientSum),
                       .chromaSum = At(_frame.chromaSum),
                       .isObject = At(_frame.isObject),
                       .zoneResultMap = At(_frame.zoneResultMap)},
                      100.0f, _frame.grid);
    }

private:
    std::uint8_t* At(const Bytes& plane) {
        return std::find_if(_bytes.begin(), _bytes.end(), [&](auto& p) { return p.first == &plane; })->second.data();
    }
    float* At(const Floats& plane) {
        return std::find_if(_floats.begin(), _floats.end(), [&](auto& p) { return p.first == &plane; })->second.data();
    }

    Frame& _frame;
    std::vector<std::pair<Bytes*, GuardedBlocks<std::uint8_t>>> _bytes;
    std::vector<std::pair<Floats*, GuardedBlocks<float>>> _floats;
};

void RunAllPasses(Frame& f, GuardedSide side) {
    GuardedFrame guarded(f, side);
    guarded.Mark();
    guarded.Measure();
    guarded.Decide();
}

void Compare(KernelComparison& comparison, const char* fill, const Frame& got, const Frame& expected) {
    const Kit::GridCase c{.columns = got.grid.columns, .rows = got.grid.rows, .fill = fill};
    comparison.Compare(c, "isObject", got.isObject, expected.isObject);
    comparison.Compare(c, "zoneResultMap", got.zoneResultMap, expected.zoneResultMap);
    comparison.Compare(c, "searchMask", got.searchMask, expected.searchMask);
    comparison.Compare(c, "y", got.y, expected.y);
    comparison.Compare(c, "currentY", got.currentY, expected.currentY);
    comparison.Compare(c, "isBackground", got.isBackground, expected.isBackground);
    comparison.Compare(c, "backgroundGradientX", got.backgroundGradientX, expected.backgroundGradientX);
    comparison.Compare(c, "backgroundGradientY", got.backgroundGradientY, expected.backgroundGradientY);
    comparison.Compare(c, "currentGradientX", got.currentGradientX, expected.currentGradientX);
    comparison.Compare(c, "currentGradientY", got.currentGradientY, expected.currentGradientY);
    comparison.Compare(c, "cbDifference", got.cbDifference, expected.cbDifference);
    comparison.Compare(c, "crDifference", got.crDifference, expected.crDifference);
    comparison.Compare(c, "gradientSum", got.gradientSum, expected.gradientSum);
    comparison.Compare(c, "chromaSum", got.chromaSum, expected.chromaSum);
}

testing::AssertionResult PassesEqual(Faults faults) {
    KernelComparison comparison;
    SeededRandom random(5);
    for (const Grid grid : grids)
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front})
            for (int round = 0; round < (grid.columns < 20 ? 12 : 4); ++round) {
                const Fill fill = round == 0 ? Fill::Low : round == 1 ? Fill::High : Fill::Random;
                Frame fast = DrawFrame(grid, fill, random), slow = fast;
                RunAllPasses(fast, side);
                MarkSlowly(slow, faults);
                MeasureSlowly(slow, faults);
                DecideSlowly(slow, faults);
                Compare(comparison, NameOf(fill), fast, slow);
            }
    return comparison.Result();
}

// A grid of known, unchanged foreground: every score is 0 until a test changes something.
Frame UnchangedForeground(Grid grid) {
    Frame f;
    f.grid = grid;
    const std::size_t n = f.Size();
    f.isObject = f.isBackground = Bytes(n, 255);
    f.y = f.cb = f.cr = f.currentY = f.currentCb = f.currentCr = Bytes(n, 100);
    f.zoneResultMap = f.searchMask = Bytes(n, 0);
    f.backgroundGradientX = f.backgroundGradientY = f.currentGradientX = f.currentGradientY = f.cbDifference =
        f.crDifference = f.gradientSum = f.chromaSum = Floats(n, 0.0f);
    return f;
}

// Marked foreground; the decision alone, on features that a test chose.
void Decide(Frame& f) {
    f.zoneResultMap.assign(f.Size(), 1);
    GuardedFrame(f, GuardedSide::End).Decide();
}

}  // namespace

TEST(ShadowKernel, LogarithmOfEveryLuma) {
    for (int luma = 0; luma < 256; ++luma) EXPECT_EQ(LogLuma(static_cast<std::uint8_t>(luma)), std::log(luma + 1.0)) << luma;
}

TEST(ShadowKernel, ChromaDeadZoneJumps) {
    EXPECT_EQ(ChromaChange(106, 100), 6.0f * 0.01f);
    EXPECT_EQ(ChromaChange(107, 100), 1.0f * 0.01f);
    for (int chroma = 0; chroma < 256; ++chroma)
        for (int background = 0; background < 256; ++background)
            ASSERT_EQ(ChromaChange(chroma, background), ChromaStep(chroma, background, {}));
}

TEST(ShadowKernel, GridEqualsRule) { EXPECT_TRUE(PassesEqual({})); }

TEST(ShadowKernel, ComparisonNoticesPlantedFaults) {
    EXPECT_FALSE(PassesEqual({.windowHasWholeNeighbourhood = true}));
    EXPECT_FALSE(PassesEqual({.deadZoneIsContinuous = true}));
    EXPECT_FALSE(PassesEqual({.searchReach = 2}));
}

TEST(ShadowKernel, WindowOfInnerBlockIsItsUpperLeftSquare) {
    constexpr Grid grid{6, 6};
    for (int y = 0; y < grid.rows; ++y)
        for (int x = 0; x < grid.columns; ++x) {
            Frame f = UnchangedForeground(grid);
            f.backgroundGradientX[f.Index(x, y)] = 1.0f;
            Decide(f);
            for (int by = 0; by < grid.rows; ++by)
                for (int bx = 0; bx < grid.columns; ++bx) {
                    const bool isInWindow = (bx == x || bx == x + 1) && (by == y || by == y + 1) && x < grid.columns - 1 &&
                                            y < grid.rows - 1;  // the ends are exclusive
                    EXPECT_EQ(f.gradientSum[f.Index(bx, by)], isInWindow ? 1.0f : 0.0f)
                        << x << ' ' << y << ' ' << bx << ' ' << by;
                }
        }
}

TEST(ShadowKernel, ScoreOfExactlyAHundredIsForeground) {
    Frame f = UnchangedForeground({3, 3});
    const auto scoreOf = [&](float gradient, float chroma) {
        f.backgroundGradientX[f.Index(1, 1)] = gradient;
        f.cbDifference[f.Index(1, 1)] = chroma;
        Decide(f);
        return f.isObject[f.Index(1, 1)];
    };
    EXPECT_EQ(ShadowScore(1.0f, 1.0f), 225.0f);
    ASSERT_EQ(ShadowScore(4.0f / 3.0f, 0.0f), 100.0f);
    EXPECT_EQ(scoreOf(4.0f / 3.0f, 0.0f), 255);
    EXPECT_EQ(f.zoneResultMap[f.Index(1, 1)], 1);
    EXPECT_EQ(scoreOf(std::nextafter(4.0f / 3.0f, 0.0f), 0.0f), 0);
    EXPECT_EQ(f.zoneResultMap[f.Index(1, 1)], 2);
    EXPECT_EQ(scoreOf(0.0f, 0.6f), 0);    // 90
    EXPECT_EQ(scoreOf(0.5f, 0.5f), 255);  // 112.5
    EXPECT_EQ(scoreOf(9.0f, 9.0f), 255);  // far above the clamp
}

TEST(ShadowKernel, DarkenedFlatGroundIsShadow) {
    Frame f = UnchangedForeground({8, 6});
    f.currentY.assign(f.Size(), 30);
    RunAllPasses(f, GuardedSide::End);
    EXPECT_EQ(f.isObject, Bytes(f.Size(), 0));
    EXPECT_EQ(f.zoneResultMap, Bytes(f.Size(), 2));
}

TEST(ShadowKernel, UnknownGroundStaysForeground) {
    Frame f = UnchangedForeground({8, 6});
    f.isBackground.assign(f.Size(), 0);
    f.zoneResultMap.assign(f.Size(), 1);
    GuardedFrame(f, GuardedSide::End).Decide();
    EXPECT_EQ(f.isObject, Bytes(f.Size(), 255));
    EXPECT_EQ(f.zoneResultMap, Bytes(f.Size(), 1));
}

TEST(ShadowKernel, GridOfOneRowHasNoWindow) {
    for (const Grid grid : {Grid{9, 1}, Grid{1, 9}, Grid{1, 1}}) {
        Frame f = UnchangedForeground(grid);
        for (std::size_t i = 0; i < f.Size(); ++i) f.currentY[i] = static_cast<std::uint8_t>(i % 2 == 0 ? 0 : 255);
        f.currentCb.assign(f.Size(), 250);
        RunAllPasses(f, GuardedSide::End);
        EXPECT_EQ(f.isObject, Bytes(f.Size(), 0));
        EXPECT_EQ(f.zoneResultMap, Bytes(f.Size(), 2));
    }
}
