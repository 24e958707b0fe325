// Are the gaps of a row found and joined as columns say, without leaving their arrays?
#include "conditioning/kernels/LabelGaps.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;

namespace {

GuardedBlocks<std::uint16_t> RandomRow(std::size_t columns, GuardedSide side, Kit::SeededRandom& random) {
    GuardedBlocks<std::uint16_t> labels(columns, side);
    const int gaps = random.Between(1, 4);
    for (std::uint16_t& label : labels) label = random.OneIn(gaps) ? 0 : static_cast<std::uint16_t>(random.Between(1, 9));
    return labels;
}

std::vector<std::size_t> Lengths() {
    std::vector<std::size_t> lengths = {255, 256, 257, 511, 512, 513};
    for (std::size_t length = 0; length <= 67; ++length) lengths.push_back(length);
    return lengths;
}

}  // namespace

TEST(LabelGaps, GapsCoverNobodysBlocksAndNoOthers) {
    Kit::SeededRandom random(1);
    for (const std::size_t columns : Lengths())
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front}) {
            const auto labels = RandomRow(columns, side, random);
            GuardedBlocks<LabelGap> gaps(2 + (columns + 1) / 2, side);
            const std::size_t count = AppendGaps(labels.data(), 5, columns, gaps.data(), 2);
            std::vector<std::uint16_t> covered(columns, 1);
            for (std::size_t i = 2; i < count; ++i) {
                ASSERT_EQ(gaps[i].row, 5u);
                ASSERT_EQ(gaps[i].parent, i);
                ASSERT_LT(gaps[i].first, gaps[i].last);
                if (i > 2) {
                    ASSERT_GT(gaps[i].first, gaps[i - 1].last);
                }
                for (std::size_t column = gaps[i].first; column < gaps[i].last; ++column) covered[column] = 0;
            }
            for (std::size_t column = 0; column < columns; ++column)
                ASSERT_EQ(covered[column] == 0, labels[column] == 0) << "column " << column << " of " << columns;
        }
}

TEST(LabelGaps, WidestRowsFitTheirArrays) {
    for (const std::size_t columns : Lengths()) {
        GuardedBlocks<std::uint16_t> labels(columns);
        for (std::size_t column = 0; column < columns; ++column) labels[column] = column % 2;  // gaps at 0, 2, 4, ...
        GuardedBlocks<LabelGap> gaps((columns + 1) / 2);
        EXPECT_EQ(AppendGaps(labels.data(), 0, columns, gaps.data(), 0), (columns + 1) / 2);
    }
}

TEST(LabelGaps, FirstOfAllIsFoundHoweverTheyWereJoined) {
    std::vector<LabelGap> gaps(6);
    for (std::uint32_t i = 0; i < 6; ++i) gaps[i].parent = i;
    JoinGaps(gaps.data(), 5, 4);
    JoinGaps(gaps.data(), 2, 3);
    EXPECT_EQ(FirstGap(gaps.data(), 5), 4u);
    EXPECT_EQ(FirstGap(gaps.data(), 3), 2u);
    JoinGaps(gaps.data(), 3, 5);
    JoinGaps(gaps.data(), 3, 5);
    for (std::size_t i = 2; i < 6; ++i) EXPECT_EQ(FirstGap(gaps.data(), i), 2u);
    EXPECT_EQ(FirstGap(gaps.data(), 1), 1u);
    JoinGaps(gaps.data(), 4, 0);
    EXPECT_EQ(FirstGap(gaps.data(), 3), 0u);
}

TEST(LabelGaps, RowsAreJoinedWhereTheyShareAColumn) {
    Kit::SeededRandom random(2);
    for (int round = 0; round < 3000; ++round) {
        const std::size_t columns = static_cast<std::size_t>(random.Between(1, 40));
        const auto upper = RandomRow(columns, GuardedSide::End, random),
                   lower = RandomRow(columns, GuardedSide::End, random);
        std::vector<LabelGap> gaps(columns + 2), plain;
        const std::size_t above = AppendGaps(upper.data(), 0, columns, gaps.data(), 0);
        const std::size_t last = AppendGaps(lower.data(), 1, columns, gaps.data(), above);
        plain = gaps;
        JoinRows(gaps.data(), 0, above, last);
        for (std::size_t a = 0; a < above; ++a)
            for (std::size_t b = above; b < last; ++b)
                for (std::size_t column = 0; column < columns; ++column)
                    if (column >= plain[a].first && column < plain[a].last && column >= plain[b].first &&
                        column < plain[b].last)
                        JoinGaps(plain.data(), a, b);
        for (std::size_t i = 0; i < last; ++i)
            ASSERT_EQ(FirstGap(gaps.data(), i), FirstGap(plain.data(), i)) << "gap " << i << ", round " << round;
    }
}
