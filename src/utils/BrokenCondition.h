// How does a broken condition end the process?  By the message that the GNU C library has for assertions, on every
// system, once the host's handler was told.
#pragma once

#include "coreMD.h"

namespace MD {

// A condition that does not hold, with the place that its message names; without text where all hold.
struct Broken {
    const char* text = nullptr;
    const char* file = nullptr;
    int line = 0;
    const char* function = nullptr;
};

[[noreturn, gnu::cold]] void EndProcess(const Broken& broken) noexcept;

inline void Ensure(const Broken& broken) {
    if (broken.text) [[unlikely]]
        EndProcess(broken);
}

// Who is told of the next failure, of whichever thread; a null handler: nobody.
struct FailureListener {
    coreMD_FailureHandler handler;
    void* context;
};

// From any thread at any time; both halves change together.
void SetFailureListener(FailureListener listener) noexcept;
FailureListener CurrentFailureListener() noexcept;

}  // namespace MD
