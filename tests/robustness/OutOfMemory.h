// Does a call survive the failure of each of its allocations?  Tries it with the first, the second, ... one failing until it
// goes through: with memory again afterwards, and with none until the call returns.
#pragma once

#include <cstdio>

#include <gtest/gtest.h>

#include "AllocationGate.h"

namespace OutOfMemory {

using AllocationGate::Memory;

// One attempt: everything that must be done anew for it, the call, what must hold after its failure.
//     attempt(fails)      fails(call) makes the call and returns true if an allocation failed
// Returns the number of allocations that the call asks for. Nothing of an attempt may stay allocated.
template <class Attempt>
int FailOneByOne(const char* what, Attempt attempt) {
    constexpr int limit = 5000;  // attempts: more is a call that never goes through
    int allocations = 0;
    for (const Memory after : {Memory::IsBack, Memory::StaysOut}) {
        bool wentThrough = false;
        for (int failing = 1; !wentThrough && failing < limit && !testing::Test::HasFailure(); ++failing) {
            SCOPED_TRACE(testing::Message() << what << ", allocation " << failing << ", memory "
                                            << (after == Memory::IsBack ? "is back" : "stays out"));
            const long before = AllocationGate::LiveBlocks();
            attempt([&](auto call) {
                wentThrough = AllocationGate::WithFailure(failing, after, call);
                return !wentThrough;
            });
            EXPECT_EQ(AllocationGate::LiveBlocks(), before) << "leaked";
            if (wentThrough) allocations = failing - 1;
        }
        EXPECT_TRUE(wentThrough) << what;
    }
    std::printf("%-44s %4d allocations, each failed twice\n", what, allocations);
    return allocations;
}

}  // namespace OutOfMemory
