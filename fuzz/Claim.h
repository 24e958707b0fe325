// What must hold, whatever the input?  A claim that fails ends the process with its text: a finding, for the fuzzer and for
// the corpus test.  Called by the targets on what the code under test has delivered.
#pragma once

#include <cstdio>
#include <cstdlib>

#define FUZZ_CLAIM(condition) (static_cast<bool>(condition) ? void(0) : Fuzz::ClaimFailed(#condition, __FILE__, __LINE__))

namespace Fuzz {

[[noreturn]] inline void ClaimFailed(const char* text, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: claim does not hold: %s\n", file, line, text);
    std::abort();
}

}  // namespace Fuzz
