// Are holes those blocks that no way leads out of?  And is an object told as long as its last change is not too long ago?
#include "conditioning/ObjectShape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using Host::Ticks;
using Kit::GuardedBlocks;
using Kit::SeededRandom;
using Labels = std::vector<std::uint16_t>;

namespace {

enum class FillFault { None, WaysThroughCorners, BorderIsClosed, OwnerOnTheRight, EachByItsOwn };

// Every block of nobody is walked from, on its own.
Labels PlainFill(const Labels& labels, int columns, int rows, FillFault fault) {
    Labels filled = labels;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x) {
            const auto at = [&](int column, int row) { return static_cast<std::size_t>(row * columns + column); };
            if (labels[at(x, y)] != 0) continue;
            std::vector<std::uint8_t> isSeen(labels.size());
            std::vector<std::size_t> way = {at(x, y)};
            isSeen[way[0]] = 1;
            bool isOutside = false;
            std::size_t first = way[0];
            while (!way.empty()) {
                const std::size_t block = way.back();
                way.pop_back();
                first = std::min(first, block);
                const int column = static_cast<int>(block) % columns, row = static_cast<int>(block) / columns;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        if (dx != 0 && dy != 0 && fault != FillFault::WaysThroughCorners) continue;
                        const int otherX = column + dx, otherY = row + dy;
                        if (otherX < 0 || otherX >= columns || otherY < 0 || otherY >= rows) {
                            isOutside |= fault != FillFault::BorderIsClosed;
                        } else if (labels[at(otherX, otherY)] == 0 && !isSeen[at(otherX, otherY)]) {
                            isSeen[at(otherX, otherY)] = 1;
                            way.push_back(at(otherX, otherY));
                        }
                    }
            }
            if (isOutside) continue;
            if (fault == FillFault::EachByItsOwn) first = at(x, y);
            if (fault == FillFault::OwnerOnTheRight) {
                while (first < labels.size() && labels[first] == 0) ++first;
                filled[at(x, y)] = first < labels.size() ? labels[first] : std::uint16_t{0};
            } else {
                filled[at(x, y)] = first > 0 ? labels[first - 1] : std::uint16_t{0};
            }
        }
    return filled;
}

std::string Picture(const Labels& labels, int columns) {
    std::string text;
    for (std::size_t i = 0; i < labels.size(); ++i) {
        if (i % static_cast<std::size_t>(columns) == 0) text += '\n';
        text += std::to_string(labels[i]) + " ";
    }
    return text;
}

testing::AssertionResult FillEquals(FillFault fault, const Labels& labels, int columns, int rows, Host::HoleFill& holes,
                                    GuardedBlocks<std::uint16_t>& got) {
    std::copy(labels.begin(), labels.end(), got.begin());
    const int filled = holes.Fill(got.data());
    const Labels expected = PlainFill(labels, columns, rows, fault), result(got.begin(), got.end());
    int changed = 0;
    for (std::size_t i = 0; i < labels.size(); ++i) changed += labels[i] != expected[i] ? 1 : 0;
    if (result == expected && filled == changed && got.SlackIsIntact()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "of" << Picture(labels, columns) << "\ngot" << Picture(result, columns)
                                       << "\nexpected" << Picture(expected, columns) << "\nfilled " << filled;
}

testing::AssertionResult FillEqualsOnRandomMaps(FillFault fault) {
    SeededRandom random(1);
    for (int round = 0; round < 3000; ++round) {
        const int columns = random.Between(1, 24), rows = random.Between(1, 16), gaps = random.Between(2, 4);
        Host::HoleFill holes(columns, rows);
        Labels labels(static_cast<std::size_t>(columns * rows));
        for (std::uint16_t& label : labels)
            label = random.OneIn(gaps) ? 0 : static_cast<std::uint16_t>(random.OneIn(20) ? 65535 : random.Between(1, 5));
        GuardedBlocks<std::uint16_t> got(labels.size());
        if (const auto equal = FillEquals(fault, labels, columns, rows, holes, got); !equal) return equal;
    }
    return testing::AssertionSuccess();
}

// A map of one character a block: '.' is nobody's.
Labels Drawn(const std::vector<std::string>& rows) {
    Labels labels;
    for (const std::string& row : rows)
        for (const char sign : row)
            labels.push_back(sign == '.' ? std::uint16_t{0} : static_cast<std::uint16_t>(sign - '0'));
    return labels;
}

Labels Filled(const std::vector<std::string>& rows) {
    Labels labels = Drawn(rows);
    Host::HoleFill holes(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
    holes.Fill(labels.data());
    return labels;
}

}  // namespace

TEST(HoleFill, EveryMapOfFourByFourEqualsThePlainForm) {
    Host::HoleFill holes(4, 4);
    GuardedBlocks<std::uint16_t> got(16);
    for (unsigned bits = 0; bits < 65536; ++bits) {
        Labels labels(16);
        for (unsigned i = 0; i < 16; ++i) labels[i] = static_cast<std::uint16_t>((bits >> i & 1) * (i + 1));
        ASSERT_TRUE(FillEquals(FillFault::None, labels, 4, 4, holes, got));
    }
}

TEST(HoleFill, RandomMapsEqualThePlainForm) { EXPECT_TRUE(FillEqualsOnRandomMaps(FillFault::None)); }
TEST(HoleFill, ComparisonNoticesFaults) {
    for (const FillFault fault :
         {FillFault::WaysThroughCorners, FillFault::BorderIsClosed, FillFault::OwnerOnTheRight, FillFault::EachByItsOwn})
        EXPECT_FALSE(FillEqualsOnRandomMaps(fault)) << "fault " << static_cast<int>(fault);
}

TEST(HoleFill, HoleIsThatOfTheObjectLeftOfItsFirstBlock) {
    EXPECT_EQ(Filled({".1222.",  //
                      "1...2.",  //
                      "3..4..",  //
                      ".33.4."}),
              Drawn({".1222.",  //
                     "11112.",  //
                     "3114..",  //
                     ".33.4."}));
}

TEST(HoleFill, SpiralsAreOpenAndIslandsStay) {
    const std::vector<std::string> spiral = {"1111111",  //
                                             "1.....1",  //
                                             "1.111.1",  //
                                             "1.1...1",  //
                                             "1.11111",  //
                                             "1......",  //
                                             "1111111"};
    EXPECT_EQ(Filled(spiral), Drawn(spiral));
    EXPECT_EQ(Filled({"11111",  //
                      "1...1",  //
                      "1.2.1",  //
                      "1...1",  //
                      "11111"}),
              Drawn({"11111",  //
                     "11111",  //
                     "11211",  //
                     "11111",  //
                     "11111"}));
}

namespace {

enum class HoldFault { None, OneTickLonger, AgeFourIsThree, JoinsWithTheEarlier, KeepsWithoutBlocks };

// Time left, block by block, as it runs down from picture to picture.
class PlainHold {
public:
    PlainHold(std::size_t blocks, Ticks hold, HoldFault fault) : _hold(hold), _fault(fault), _life(blocks) {}

    // Returns how many objects went.
    int Hold(const std::vector<std::uint8_t>& luma, Ticks time, Labels& labels) {
        if (!_before.empty() && time < _time) EndHold();
        const Ticks passed = _before.empty() ? 0 : time - _time;
        _time = time;
        std::vector<Ticks> life(5, -1);
        std::vector<bool> isThere(5), isChanged(5);
        for (std::size_t i = 0; i < labels.size(); ++i) {
            if (labels[i] == 0) {
                if (_fault != HoldFault::KeepsWithoutBlocks) _life[i] = 0;
                continue;
            }
            const bool isFirst = !isThere[labels[i]];
            isThere[labels[i]] = true;
            for (const std::size_t age :
                 {std::size_t{1}, std::size_t{2}, std::size_t{_fault == HoldFault::AgeFourIsThree ? 3u : 4u}})
                if (age <= _before.size() && std::abs(luma[i] - _before[_before.size() - age][i]) > 8)
                    isChanged[labels[i]] = true;
            Ticks& left = life[labels[i]];
            left = _fault == HoldFault::JoinsWithTheEarlier && !isFirst ? std::min(left, _life[i] - passed)
                                                                        : std::max(left, _life[i] - passed);
        }
        _before.push_back(luma);
        int dropped = 0;
        for (std::size_t place = 1; place < life.size(); ++place) {
            if (isChanged[place]) life[place] = _hold;
            const bool isOver = life[place] < (_fault == HoldFault::OneTickLonger ? 0 : 1);
            if (isOver) life[place] = 0;
            dropped += isThere[place] && isOver ? 1 : 0;
        }
        for (std::size_t i = 0; i < labels.size(); ++i) {
            if (labels[i] == 0) continue;
            _life[i] = life[labels[i]];
            if (_life[i] == 0 && !(_fault == HoldFault::OneTickLonger && isChanged[labels[i]])) labels[i] = 0;
        }
        return dropped;
    }

    void EndHold() {
        _before.clear();
        std::fill(_life.begin(), _life.end(), 0);
    }

private:
    Ticks _hold, _time = 0;
    HoldFault _fault;
    std::vector<Ticks> _life;
    std::vector<std::vector<std::uint8_t>> _before;
};

testing::AssertionResult HoldEquals(HoldFault fault) {
    constexpr int columns = 9, rows = 4;
    constexpr std::size_t blocks = columns * rows;
    constexpr Ticks hold = 50;
    SeededRandom random(3);
    Host::ObjectHold real(columns, rows, hold);
    PlainHold plain(blocks, hold, fault);
    std::vector<std::uint8_t> luma(blocks, 100);
    Labels map(blocks);
    Ticks time = 1000;
    for (int n = 0; n < 3000; ++n) {
        if (random.OneIn(400)) {
            real.EndHold();
            plain.EndHold();
        }
        time += random.OneIn(300) ? -random.Between(1, 100) : 5 * random.Between(0, 4);
        for (std::uint8_t& value : luma)
            if (random.OneIn(150)) value = static_cast<std::uint8_t>(100 + 3 * random.Between(0, 6));
        for (std::uint16_t& label : map)
            if (random.OneIn(60)) label = random.OneIn(2) ? 0 : static_cast<std::uint16_t>(random.Between(1, 4));
        Labels expected = map;
        GuardedBlocks<std::uint16_t> got{std::span<const std::uint16_t>(map)};
        const GuardedBlocks<std::uint8_t> plane{std::span<const std::uint8_t>(luma)};
        const int dropped = real.Hold(plane.data(), time, got.data());
        const int expectedDropped = plain.Hold(luma, time, expected);
        const Labels result(got.begin(), got.end());
        if (result != expected || dropped != expectedDropped)
            return testing::AssertionFailure()
                   << "picture " << n << ": got" << Picture(result, columns) << "\nexpected" << Picture(expected, columns)
                   << "\ndropped " << dropped << ", expected " << expectedDropped;
    }
    return testing::AssertionSuccess();
}

// One object of one block, in a grid of two.
class OneBlock {
public:
    explicit OneBlock(Ticks ticks) : hold(2, 1, ticks) {}

    bool IsTold(std::uint8_t luma, Ticks time) {
        const std::uint8_t plane[2] = {luma, 0};
        std::uint16_t labels[2] = {1, 0};
        hold.Hold(plane, time, labels);
        return labels[0] == 1;
    }

    Host::ObjectHold hold;
};

}  // namespace

TEST(ObjectHold, StreamsEqualThePlainForm) { EXPECT_TRUE(HoldEquals(HoldFault::None)); }
TEST(ObjectHold, ComparisonNoticesFaults) {
    for (const HoldFault fault : {HoldFault::OneTickLonger, HoldFault::AgeFourIsThree, HoldFault::JoinsWithTheEarlier,
                                  HoldFault::KeepsWithoutBlocks})
        EXPECT_FALSE(HoldEquals(fault)) << "fault " << static_cast<int>(fault);
}

TEST(ObjectHold, ObjectIsToldUntilItsTimeIsOver) {
    OneBlock block(1000);
    EXPECT_FALSE(block.IsTold(50, 0));  // nothing to compare with
    EXPECT_FALSE(block.IsTold(58, 100));
    EXPECT_TRUE(block.IsTold(59, 200));  // nine levels since two pictures ago
    EXPECT_TRUE(block.IsTold(59, 300));  // one: no; two: no
    EXPECT_TRUE(block.IsTold(59, 400));  // four pictures ago it was 50
    EXPECT_TRUE(block.IsTold(59, 1399));
    EXPECT_FALSE(block.IsTold(59, 1400));
    EXPECT_FALSE(block.IsTold(59, 1500));
    EXPECT_TRUE(block.IsTold(40, 1600));
}

TEST(ObjectHold, NoJumpInTimeIsTooLarge) {
    OneBlock block(1000);
    constexpr Ticks first = 1 - (Ticks{1} << 62);
    block.IsTold(50, first);
    for (int i = 1; i < 7; ++i) EXPECT_TRUE(block.IsTold(90, first + i)) << i;
    EXPECT_FALSE(block.IsTold(90, std::numeric_limits<Ticks>::max()));
}

TEST(ObjectHold, EndHoldForgetsThePicturesBefore) {
    OneBlock block(1000);
    block.IsTold(50, 0);
    EXPECT_TRUE(block.IsTold(90, 100));
    block.hold.EndHold();
    EXPECT_FALSE(block.IsTold(200, 200));  // the light was switched on
    EXPECT_FALSE(block.IsTold(200, 300));
    EXPECT_TRUE(block.IsTold(180, 400));
}

TEST(ObjectHold, StampThatStepsBackStartsAfresh) {
    OneBlock block(1000);
    block.IsTold(50, 5000);
    EXPECT_TRUE(block.IsTold(90, 5100));
    EXPECT_FALSE(block.IsTold(50, 5099));
    EXPECT_TRUE(block.IsTold(90, 5099));  // the same stamp again is none that steps back
}

TEST(ObjectShapeDeathTest, BadArgumentsStopTheProcess) {
    EXPECT_DEATH(Host::HoleFill(0, 1), "size > 0 && size <= largestGrid");
    EXPECT_DEATH(Host::ObjectHold(1, 10000), "size > 0 && size <= largestGrid");
    EXPECT_DEATH(Host::ObjectHold(1, 1, -1), "hold >= 0");
    Host::HoleFill holes(2, 2);
    EXPECT_DEATH(holes.Fill(nullptr), "labels");
    Host::ObjectHold hold(2, 2);
    const std::uint8_t luma[4] = {};
    std::uint16_t labels[4] = {0, 0, 0, 5};
    EXPECT_DEATH(hold.Hold(luma, 0, labels), "largest < _latest.size\\(\\)");
    EXPECT_DEATH(hold.Hold(nullptr, 0, labels), "luma && labels");
    EXPECT_DEATH(hold.Hold(luma, -(Ticks{1} << 62), labels), "time > earliestTime");
}
