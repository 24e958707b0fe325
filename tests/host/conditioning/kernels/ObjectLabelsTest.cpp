// Are the blocks of objects counted for those that own them, at every length?
#include "conditioning/kernels/ObjectLabels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using namespace Kit;

namespace {

enum class Fault { None, MaskAlone, NobodyCounts };

testing::AssertionResult CountsEqual(Fault fault) {
    KernelPlane<std::uint16_t> labels;
    KernelPlane<std::uint8_t> isMoving, isCalm;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        labels.Fill(c, 0, 300, [&] { return static_cast<std::uint16_t>(random.OneIn(3) ? 0 : random.Between(0, 7)); });
        for (auto* plane : {&isMoving, &isCalm})
            plane->Draw(c, [&] { return static_cast<std::uint8_t>(random.OneIn(3) ? 255 : 0); });
        const std::size_t count = c.Range().Count();
        const auto labelsOfCase = labels.Copy(c);
        const std::uint16_t largest = count == 0
                                          ? std::uint16_t{0}
                                          : *std::max_element(labelsOfCase.begin() + static_cast<std::ptrdiff_t>(c.first),
                                                              labelsOfCase.begin() + static_cast<std::ptrdiff_t>(c.last));
        comparison.CompareValue(c, "LargestPlace", LargestPlace(labels.At(c) + c.first, count), largest);

        std::vector<std::uint32_t> blocks(std::size_t{largest} + 1), confirmed(blocks.size());
        std::vector<std::uint32_t> plainBlocks(blocks.size()), plainConfirmed(blocks.size());
        for (std::size_t i = c.first; i < c.last; ++i) {
            if (labelsOfCase[i] == 0 && fault != Fault::NobodyCounts) continue;
            ++plainBlocks[labelsOfCase[i]];
            if (isMoving(c, i) != 0 || (isCalm(c, i) != 0 && fault != Fault::MaskAlone)) ++plainConfirmed[labelsOfCase[i]];
        }
        CountConfirmed(labels.At(c) + c.first, isMoving.At(c) + c.first, isCalm.At(c) + c.first, blocks.data(),
                       confirmed.data(), count);
        comparison.Compare(c, "blocks", blocks, plainBlocks);
        comparison.Compare(c, "confirmed", confirmed, plainConfirmed);

        std::vector<std::uint8_t> isLabelled(count, 7), plainIsLabelled(count);
        std::vector<std::size_t> visited, plainVisited;
        for (std::size_t i = 0; i < count; ++i) {
            plainIsLabelled[i] = labelsOfCase[c.first + i] != 0 ? 1 : 0;
            if (plainIsLabelled[i] != 0 || fault == Fault::NobodyCounts) plainVisited.push_back(i);
        }
        MarkLabelled(labels.At(c) + c.first, isLabelled.data(), count);
        ForEachLabelled(labels.At(c) + c.first, count, [&](std::size_t i) { visited.push_back(i); });
        comparison.Compare(c, "isLabelled", isLabelled, plainIsLabelled);
        comparison.Compare(c, "visited", visited, plainVisited);

        std::vector<std::uint16_t> kept = labelsOfCase;
        for (std::size_t i = c.first; i < c.last; ++i)
            if (kept[i] % 2 != 0) kept[i] = 0;
        DropObjects(labels.At(c) + c.first, count, [](std::uint16_t place) { return place % 2 != 0; });
        comparison.Compare(c, "labels", labels, kept);
    });
    return comparison.Result();
}

}  // namespace

TEST(ObjectLabels, CountsEqualThePlainForm) { EXPECT_TRUE(CountsEqual(Fault::None)); }
TEST(ObjectLabels, ComparisonNoticesFaults) {
    EXPECT_FALSE(CountsEqual(Fault::MaskAlone));
    EXPECT_FALSE(CountsEqual(Fault::NobodyCounts));
}

TEST(ObjectLabels, ObjectStaysWithExactlyThePercentage) {
    EXPECT_TRUE(IsConfirmed(10, 2, 20));
    EXPECT_FALSE(IsConfirmed(11, 2, 20));
    EXPECT_TRUE(IsConfirmed(3, 0, 0));
    EXPECT_FALSE(IsConfirmed(100, 99, 100));
    EXPECT_TRUE(IsConfirmed(99980001, 99980001, 100));  // the largest grid
}

TEST(ObjectLabels, EveryLoneBlockIsVisited) {
    for (std::size_t lone = 0; lone < 67; ++lone) {
        std::vector<std::uint16_t> labels(67);
        labels[lone] = lone % 2 == 0 ? 1 : 0x8000;
        std::vector<std::size_t> visited;
        ForEachLabelled(labels.data(), labels.size(), [&](std::size_t i) { visited.push_back(i); });
        EXPECT_EQ(visited, std::vector<std::size_t>{lone});
    }
}

TEST(ObjectLabels, NobodysBlocksAreNotAskedFor) {
    std::vector<std::uint16_t> labels(9, 0);
    DropObjects(labels.data(), labels.size(), [](std::uint16_t) {
        ADD_FAILURE();
        return true;
    });
}
