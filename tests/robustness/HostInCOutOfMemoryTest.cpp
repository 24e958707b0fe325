// What does a host in C get when memory runs out?  Every allocation of every function of coreMD-host.h fails once: the
// status says so, nothing leaks, nothing is thrown, and the call goes through when there is memory again.
#include <cstdint>
#include <new>
#include <vector>

#include "OutOfMemory.h"
#include "coreMD-host.h"

namespace {

using OutOfMemory::FailOneByOne;

constexpr int columns = 24, rows = 18, blocks = columns * rows;
constexpr coreMD_Grid grid{columns, rows, 4 * columns, 4 * rows, 4};

// A call whose status is that memory ran out did so because the gate let an allocation fail; its end is told as the kit
// expects it.
template <class Call>
auto Telling(Call call) {
    return [=] {
        const std::int32_t status = call();
        EXPECT_TRUE(status == COREMD_HOST_DONE || status == COREMD_HOST_NO_MEMORY) << coreMD_HostStatusText(status);
        if (status == COREMD_HOST_NO_MEMORY) throw std::bad_alloc();
    };
}

TEST(HostInCOutOfMemoryTest, HandlesAreMadeOrNot) {
    const coreMD_PictureFormat format{96, 72, COREMD_NV12, 4, 0, 0, 0, 0, 0};
    for (const std::int32_t stabilise : {COREMD_STABILISE_OFF, COREMD_STABILISE_ON}) {
        const int allocations = FailOneByOne("coreMD_CreateReducer", [&](auto fails) {
            coreMD_Reducer* reducer = nullptr;
            const bool failed = fails(Telling([&] { return coreMD_CreateReducer(&format, stabilise, &reducer); }));
            EXPECT_EQ(reducer == nullptr, failed);
            coreMD_DestroyReducer(&reducer);
        });
        EXPECT_GE(allocations, 5);
    }
    FailOneByOne("coreMD_CreatePriming", [&](auto fails) {
        coreMD_Priming* priming = nullptr;
        const bool failed = fails(Telling([&] { return coreMD_CreatePriming(columns, rows, 5, &priming); }));
        EXPECT_EQ(priming == nullptr, failed);
        coreMD_DestroyPriming(&priming);
    });
    const int allocations = FailOneByOne("coreMD_CreateConditioner", [&](auto fails) {
        coreMD_Conditioner* conditioner = nullptr;
        const bool failed =
            fails(Telling([&] { return coreMD_CreateConditioner(columns, rows, 0, COREMD_LOW_SENSITIVITY, &conditioner); }));
        EXPECT_EQ(conditioner == nullptr, failed);
        coreMD_DestroyConditioner(&conditioner);
    });
    EXPECT_GE(allocations, 20);
}

void Show(void* shown, std::uint8_t*, std::int64_t) { ++*static_cast<int*>(shown); }

TEST(HostInCOutOfMemoryTest, AConditionerGoesOn) {
    const std::vector<std::uint8_t> planes(3 * blocks, 90);
    std::vector<std::uint16_t> labels(blocks);
    FailOneByOne("coreMD_PrimeConditioner and a picture", [&](auto fails) {
        coreMD_Conditioner* conditioner = nullptr;
        ASSERT_EQ(coreMD_CreateConditioner(columns, rows, 0, COREMD_LOW_SENSITIVITY, &conditioner), COREMD_HOST_DONE);
        int shown = 0;
        const auto prime = [&] {
            return coreMD_PrimeConditioner(conditioner, planes.data(), 3 * blocks, nullptr, Show, &shown);
        };
        const auto show = [&] {
            return coreMD_ConditionPicture(conditioner, planes.data(), 3 * blocks, nullptr, 5, Show, &shown);
        };
        const auto answer = [&] {
            return coreMD_ConditionAnswer(conditioner, labels.data(), planes.data(), labels.data(), blocks);
        };
        if (fails(Telling(prime))) {
            EXPECT_EQ(prime(), COREMD_HOST_DONE);
        }
        EXPECT_GE(shown, 14);
        EXPECT_EQ(show(), COREMD_HOST_DONE);
        EXPECT_EQ(answer(), COREMD_HOST_DONE);
        coreMD_DestroyConditioner(&conditioner);
    });
}

TEST(HostInCOutOfMemoryTest, MemoriesAreWrittenAndReadOrNot) {
    const std::vector<std::uint8_t> planes(3 * blocks, 90);
    std::vector<std::uint8_t> memory(5 * blocks), back(3 * blocks);
    std::int64_t size = 0, place = 0, length = 0;
    FailOneByOne("coreMD_PackBackground", [&](auto fails) {
        fails(Telling(
            [&] { return coreMD_PackBackground(&grid, 1, planes.data(), nullptr, memory.data(), 5 * blocks, &size); }));
    });
    FailOneByOne("coreMD_UnpackBackground", [&](auto fails) {
        fails(Telling(
            [&] { return coreMD_UnpackBackground(memory.data(), size, &grid, nullptr, back.data(), nullptr, blocks); }));
    });
    EXPECT_EQ(back, planes);
    FailOneByOne("a refusal", [&](auto fails) {
        fails(Telling([&] {
            const std::int32_t status = coreMD_UnpackState(memory.data(), size, &grid, 1, nullptr, &place, &length);
            return status == COREMD_HOST_OTHER_KIND ? COREMD_HOST_DONE : status;
        }));
    });
    FailOneByOne("coreMD_PackState", [&](auto fails) {
        fails(Telling(
            [&] { return coreMD_PackState(&grid, 1, 1, planes.data(), 3 * blocks, memory.data(), 5 * blocks, &size); }));
    });
    FailOneByOne("coreMD_UnpackState", [&](auto fails) {
        fails(Telling([&] { return coreMD_UnpackState(memory.data(), size, &grid, 1, nullptr, &place, &length); }));
    });
    const std::vector<std::uint16_t> labels(blocks, 7);
    coreMD_Outline outline;
    FailOneByOne("coreMD_OutlineLabels", [&](auto fails) {
        fails(Telling([&] { return coreMD_OutlineLabels(labels.data(), columns, rows, &outline, 1, &size); }));
    });
    EXPECT_EQ(outline.blocks, blocks);
}

}  // namespace
