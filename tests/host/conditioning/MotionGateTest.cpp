// Does the gate learn as a plain model of single blocks does, with the same draws?  And does it do what it is for: calm
// things are confirmed, restless places are known, what came to stay is learned.
#include "conditioning/MotionGate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "GuardedBlocks.h"
#include "OutputDigest.h"
#include "SeededRandom.h"

using Kit::GuardedBlocks;
using Kit::SeededRandom;

namespace {

enum class Fault { None, OneMatchIsEnough, OtherSide, NeighboursAlwaysLearn, LimitStays, IntervalStays, MedianOfTwelve };

// One block after the other, in the words of the header; every number written out.
class PlainGate {
public:
    PlainGate(int columns, int rows, std::uint32_t seed, Fault fault)
        : isMoving(static_cast<std::size_t>(columns * rows)),
          isCalm(isMoving.size(), 255),
          _columns(columns),
          _rows(rows),
          _fault(fault),
          _state(seed),
          _cells(isMoving.size()) {
        for (int i = 0; i < 4096 + columns; ++i) _draws.push_back(static_cast<int>(Draw() >> 56));
    }

    void Learn(const std::vector<std::uint8_t>& picture) {
        const bool isFull = _pictures >= 20;
        for (std::size_t i = 0; i < _cells.size() && !isFull; ++i) _cells[i].samples.push_back(ColourAt(picture, i));
        ++_pictures;
        if (_pictures == 1) return;
        for (std::size_t i = 0; i < _cells.size(); ++i) Match(_cells[i], ColourAt(picture, i));
        struct Row {
            std::size_t own, neighbour;
            int place, ownDraws, neighbourDraws;
        };
        std::vector<Row> rows;
        for (int y = 0; y < _rows; ++y) {
            const std::uint64_t draw = Draw();
            rows.push_back({static_cast<std::size_t>((draw % 65536) * 20 / 65536),
                            static_cast<std::size_t>((draw / 65536 % 65536) * 20 / 65536),
                            static_cast<int>((draw >> 32) % 256 * 9 / 256), static_cast<int>((draw >> 40) % 4096),
                            static_cast<int>((draw >> 52) % 4096)});
        }
        const auto drawAt = [&](int start, int x) { return _draws[static_cast<std::size_t>(start + x)]; };
        for (int y = 0; y < _rows; ++y)
            for (int x = 0; x < _columns; ++x) {
                Cell& cell = At(x, y);
                const Row& row = rows[static_cast<std::size_t>(y)];
                cell.ownTurn = !cell.moves && (_pictures < 20 || drawAt(row.ownDraws, x) * cell.interval < 65536);
                cell.neighboursTurn = !cell.moves && drawAt(row.neighbourDraws, x) * cell.interval < 65536;
                if (_fault == Fault::NeighboursAlwaysLearn) cell.neighboursTurn = !cell.moves;
            }
        for (int y = 0; y < _rows && _pictures >= 20; ++y)
            for (int x = 0; x < _columns; ++x) {
                Cell& cell = At(x, y);
                const Row& row = rows[static_cast<std::size_t>(y)];
                const auto colour = ColourAt(picture, Index(x, y));
                if (cell.ownTurn) cell.samples[row.own] = colour;
                const int side = _fault == Fault::OtherSide ? -1 : 1;
                const int otherX = x + side * (row.place % 3 - 1), otherY = y + row.place / 3 - 1;
                if (otherX < 0 || otherX >= _columns || otherY < 0 || otherY >= _rows) continue;
                if (At(otherX, otherY).neighboursTurn) cell.samples[row.neighbour] = colour;
            }
        for (int y = 0; y < _rows; ++y)
            for (int x = 0; x < _columns; ++x) Adjust(At(x, y), drawAt(rows[static_cast<std::size_t>(y)].ownDraws, x));
        for (int y = 0; y < _rows; ++y)
            for (int x = 0; x < _columns; ++x) {
                isMoving[Index(x, y)] = Median(x, y) ? 255 : 0;
                isCalm[Index(x, y)] = At(x, y).limit < 3413 ? 255 : 0;
            }
    }

    std::vector<std::uint8_t> isMoving, isCalm;

private:
    using Colour = std::array<int, 3>;
    struct Cell {
        std::vector<Colour> samples;
        int limit = 2458, interval = 18 * 256, distance = 0, nearest = 0;
        bool moves = false, ownTurn = false, neighboursTurn = false;
    };

    std::uint64_t Draw() {
        _state += 0x9E3779B97F4A7C15u;
        std::uint64_t mixed = (_state ^ (_state >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }
    std::size_t Index(int x, int y) const { return static_cast<std::size_t>(y * _columns + x); }
    Cell& At(int x, int y) { return _cells[Index(x, y)]; }
    Colour ColourAt(const std::vector<std::uint8_t>& picture, std::size_t i) const {
        return {picture[i], picture[i + _cells.size()], picture[i + 2 * _cells.size()]};
    }

    void Match(Cell& cell, Colour colour) {
        int found = 0;
        cell.nearest = 255;
        for (const Colour& sample : cell.samples) {
            const int chroma = std::max(std::abs(colour[1] - sample[1]), std::abs(colour[2] - sample[2])) / 2;
            const int distance = std::min(255, std::abs(colour[0] - sample[0]) + chroma);
            if (found == 2 || distance >= (cell.limit + 255) / 256) continue;
            ++found;
            cell.nearest = std::min(cell.nearest, distance);
        }
        cell.moves = found < (_fault == Fault::OneMatchIsEnough ? 1 : 2);
    }

    void Adjust(Cell& cell, int draw) {
        const int known = std::min(_pictures, 20), share = (65536 + known / 2) / known;
        const auto part = [](int value, int of) { return static_cast<int>(std::int64_t{value} * of / 65536); };
        if (cell.ownTurn) cell.distance = cell.distance - part(cell.distance, share) + part(cell.nearest * 256, share);
        if (_fault != Fault::LimitStays) {
            if (part(cell.limit, 13107) < cell.distance) {
                cell.limit = std::min(cell.limit, 62170);
                cell.limit += part(cell.limit, 3277);
            } else {
                cell.limit -= part(cell.limit, 3277);
            }
            cell.limit = std::max(cell.limit, 2458);
        }
        const int sixteenths = std::min(cell.distance / 16, 1023), parts = 8 + sixteenths * 16 * 15 / 256;
        const int step = (2048 + parts / 2) / parts;
        const int next = cell.moves ? cell.interval + (step * 13 + draw) / 256 : cell.interval - step;
        if (next > 512 && next < 51200 && _fault != Fault::IntervalStays) cell.interval = next;
    }

    bool Median(int x, int y) {
        int moving = 0;
        for (int dy = -2; dy <= 2; ++dy)
            for (int dx = -2; dx <= 2; ++dx)
                moving += At(std::clamp(x + dx, 0, _columns - 1), std::clamp(y + dy, 0, _rows - 1)).moves;
        return moving >= (_fault == Fault::MedianOfTwelve ? 12 : 13);
    }

    int _columns, _rows, _pictures = 0;
    Fault _fault;
    std::uint64_t _state;
    std::vector<int> _draws;
    std::vector<Cell> _cells;
};

// Noise everywhere, a restless half, and a square that comes, stays for a while and goes.
class Scene {
public:
    Scene(int columns, int rows, std::uint64_t seed) : _columns(columns), _rows(rows), _random(seed) {
        _ground.resize(3 * Blocks());
        for (std::uint8_t& value : _ground) value = static_cast<std::uint8_t>(_random.Between(40, 200));
    }

    std::size_t Blocks() const { return static_cast<std::size_t>(_columns * _rows); }
    std::size_t At(int x, int y) const { return static_cast<std::size_t>(y * _columns + x); }
    bool IsRestless(int x) const { return x >= _columns / 2; }
    bool IsInSquare(int x, int y) const { return x >= 2 && x < 9 && y >= 2 && y < 9; }

    std::vector<std::uint8_t> Picture(bool hasSquare) {
        std::vector<std::uint8_t> picture = _ground;
        for (std::uint8_t& value : picture) value = static_cast<std::uint8_t>(value + _random.Between(-1, 1));
        for (int y = 0; y < _rows; ++y)
            for (int x = 0; x < _columns; ++x) {
                std::uint8_t& luma = picture[At(x, y)];
                if (IsRestless(x)) luma = static_cast<std::uint8_t>(luma + _random.Between(-20, 20));
                if (hasSquare && IsInSquare(x, y)) luma = static_cast<std::uint8_t>(luma + 50);
            }
        return picture;
    }

private:
    int _columns, _rows;
    SeededRandom _random;
    std::vector<std::uint8_t> _ground;
};

std::vector<std::uint8_t> Copied(const std::uint8_t* mask, std::size_t blocks) { return {mask, mask + blocks}; }

testing::AssertionResult GateEqualsPlainGate(Fault fault) {
    constexpr struct {
        int columns, rows;
    } grids[] = {{1, 1}, {2, 1}, {1, 7}, {3, 2}, {40, 12}, {131, 5}};  // one of them longer than a part of a row
    for (const auto grid : grids) {
        Scene scene(grid.columns, grid.rows, 5);
        Host::MotionGate gate(grid.columns, grid.rows, 77);
        PlainGate plain(grid.columns, grid.rows, 77, fault);
        for (int n = 0; n < 150; ++n) {
            const std::vector<std::uint8_t> picture = scene.Picture(n > 10 && n < 130);
            const GuardedBlocks<std::uint8_t> planes{std::span<const std::uint8_t>(picture)};
            gate.Learn(planes.data());
            plain.Learn(picture);
            if (Copied(gate.Mask(), scene.Blocks()) != plain.isMoving)
                return testing::AssertionFailure()
                       << "masks differ at picture " << n << ", " << grid.columns << " x " << grid.rows << " blocks";
            if (Copied(gate.IsCalm(), scene.Blocks()) != plain.isCalm)
                return testing::AssertionFailure()
                       << "calm blocks differ at picture " << n << ", " << grid.columns << " x " << grid.rows << " blocks";
        }
    }
    return testing::AssertionSuccess();
}

// The share of those blocks that are set in a mask, in percent.
template <class IsMeant>
int PercentSet(const std::uint8_t* mask, int columns, int rows, IsMeant isMeant) {
    int all = 0, set = 0;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            if (isMeant(x, y)) {
                ++all;
                set += mask[y * columns + x] != 0 ? 1 : 0;
            }
    return 100 * set / all;
}

}  // namespace

TEST(MotionGate, EqualsThePlainModel) { EXPECT_TRUE(GateEqualsPlainGate(Fault::None)); }

TEST(MotionGate, ComparisonNoticesFaults) {
    for (const Fault fault : {Fault::OneMatchIsEnough, Fault::OtherSide, Fault::NeighboursAlwaysLearn, Fault::LimitStays,
                              Fault::IntervalStays, Fault::MedianOfTwelve})
        EXPECT_FALSE(GateEqualsPlainGate(fault)) << "fault " << static_cast<int>(fault);
}

TEST(MotionGate, SameSeedGivesTheSameBitsEverywhere) {
    Scene scene(60, 40, 9);
    Host::MotionGate gate(60, 40), again(60, 40), other(60, 40, 1);
    Kit::OutputDigest digest;
    bool isOther = false;
    for (int n = 0; n < 120; ++n) {
        const std::vector<std::uint8_t> picture = scene.Picture(n > 30 && n < 100);
        for (Host::MotionGate* one : {&gate, &again, &other}) one->Learn(picture.data());
        digest.AddArray(gate.Mask(), scene.Blocks());
        digest.AddArray(gate.IsCalm(), scene.Blocks());
        ASSERT_EQ(Copied(gate.Mask(), scene.Blocks()), Copied(again.Mask(), scene.Blocks()));
        ASSERT_EQ(Copied(gate.IsCalm(), scene.Blocks()), Copied(again.IsCalm(), scene.Blocks()));
        isOther |= Copied(gate.Mask(), scene.Blocks()) != Copied(other.Mask(), scene.Blocks());
    }
    EXPECT_TRUE(isOther);
    EXPECT_EQ(digest.Value(), 5635002141201273488u);
}

TEST(MotionGate, NothingMovesBeforeTwoPictures) {
    Host::MotionGate gate(16, 9);
    Scene scene(16, 9, 1);
    for (int n = 0; n < 2; ++n) {
        EXPECT_EQ(gate.Pictures(), n);
        EXPECT_EQ(PercentSet(gate.Mask(), 16, 9, [](int, int) { return true; }), 0);
        EXPECT_EQ(PercentSet(gate.IsCalm(), 16, 9, [](int, int) { return true; }), 100);
        gate.Learn(scene.Picture(false).data());
    }
}

TEST(MotionGate, MotionIsSeenAndRestlessPlacesAreLearned) {
    constexpr int columns = 60, rows = 30;
    Scene scene(columns, rows, 3);
    Host::MotionGate gate(columns, rows);
    for (int n = 0; n < 100; ++n) gate.Learn(scene.Picture(false).data());
    const auto isInside = [&](int x, int y) { return x > 2 && x < 8 && y > 2 && y < 8; };  // the median rounds corners
    const auto isCalm = [&](int x, int y) { return !scene.IsRestless(x) && !scene.IsInSquare(x, y); };
    const auto isRestless = [&](int x, int) { return scene.IsRestless(x); };
    gate.Learn(scene.Picture(true).data());
    EXPECT_EQ(PercentSet(gate.Mask(), columns, rows, isInside), 100);
    EXPECT_EQ(PercentSet(gate.Mask(), columns, rows, isCalm), 0);
    EXPECT_EQ(PercentSet(gate.IsCalm(), columns, rows, isCalm), 100);
    EXPECT_LE(PercentSet(gate.Mask(), columns, rows, isRestless), 2);  // it moves all the time
    EXPECT_LE(PercentSet(gate.IsCalm(), columns, rows, isRestless), 10);
    // What stays becomes background, from the edges on.
    for (int n = 0; n < 200; ++n) gate.Learn(scene.Picture(true).data());
    EXPECT_EQ(PercentSet(gate.Mask(), columns, rows, isInside), 0);
}

TEST(MotionGate, ObjectsInRestlessPlacesAreDropped) {
    constexpr int columns = 60, rows = 30;
    Scene scene(columns, rows, 3);
    Host::MotionGate gate(columns, rows);
    for (int n = 0; n < 100; ++n) gate.Learn(scene.Picture(false).data());
    std::vector<std::uint16_t> labels(scene.Blocks(), 0);
    for (int y = 10; y < 20; ++y)
        for (int x = 0; x < 10; ++x) {
            labels[scene.At(x, y)] = 7;          // calm
            labels[scene.At(x + 45, y)] = 2;     // restless
            labels[scene.At(x + 25, y)] = 1800;  // half of it
        }
    const std::vector<std::uint16_t> before = labels;
    EXPECT_EQ(gate.Confirm(labels.data()), 1);
    for (std::size_t i = 0; i < labels.size(); ++i) ASSERT_EQ(labels[i], before[i] == 2 ? 0 : before[i]);
    EXPECT_EQ(gate.Confirm(labels.data()), 0);
    for (const int percent : {0, 20, 50, 60, 90}) {  // each as a Confirm of its own would say
        std::vector<std::uint16_t> again = labels;
        const bool isKept = gate.WouldConfirm(1800, percent), isOtherKept = gate.WouldConfirm(7, percent);
        gate.Confirm(again.data(), percent);
        EXPECT_EQ(isKept, std::count(again.begin(), again.end(), 1800) > 0) << percent;
        EXPECT_EQ(isOtherKept, std::count(again.begin(), again.end(), 7) > 0) << percent;
        gate.Confirm(labels.data());
    }
    EXPECT_EQ(gate.Confirm(labels.data(), 90), 1);
    EXPECT_EQ(std::count(labels.begin(), labels.end(), 1800), 0);
    EXPECT_EQ(std::count(labels.begin(), labels.end(), 7), 100);
    EXPECT_EQ(gate.Confirm(labels.data(), 0), 0);
}

TEST(MotionGate, MotionIsConfirmedInRestlessPlacesToo) {
    constexpr int columns = 60, rows = 30;
    Scene scene(columns, rows, 3);
    Host::MotionGate gate(columns, rows);
    for (int n = 0; n < 100; ++n) gate.Learn(scene.Picture(false).data());
    std::vector<std::uint8_t> picture = scene.Picture(false);
    std::vector<std::uint16_t> labels(scene.Blocks(), 0);
    for (int y = 10; y < 20; ++y)
        for (int x = 45; x < 55; ++x) {
            labels[scene.At(x, y)] = 1;
            picture[scene.At(x, y)] = static_cast<std::uint8_t>(picture[scene.At(x, y)] < 128 ? 255 : 0);
        }
    gate.Learn(picture.data());
    EXPECT_EQ(gate.Confirm(labels.data()), 0);
    EXPECT_EQ(labels[scene.At(50, 15)], 1);
}

TEST(MotionGateDeathTest, BadArgumentsStopTheProcess) {
    EXPECT_DEATH(Host::MotionGate(0, 1), "size > 0 && size <= largestGrid");
    EXPECT_DEATH(Host::MotionGate(1, 10000), "size > 0 && size <= largestGrid");
    Host::MotionGate gate(2, 2);
    EXPECT_DEATH(gate.Learn(nullptr), "ycbcr");
    EXPECT_DEATH(gate.Confirm(nullptr), "labels");
    std::uint16_t labels[4] = {1, 2, 3, 5};
    EXPECT_DEATH(gate.Confirm(labels), "largest < _objectBlocks.size\\(\\)");
    labels[3] = 4;
    EXPECT_EQ(gate.Confirm(labels), 0);
    EXPECT_DEATH(gate.Confirm(labels, 101), "confirmedPercent >= 0 && confirmedPercent <= 100");
    EXPECT_DEATH(gate.WouldConfirm(5, 20), "place < _objectBlocks.size\\(\\)");
    EXPECT_DEATH(gate.WouldConfirm(1, -1), "confirmedPercent >= 0 && confirmedPercent <= 100");
}
