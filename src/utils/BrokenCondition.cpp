// How does a broken condition end the process?
#include "utils/BrokenCondition.h"

#undef NDEBUG
#include <atomic>
#include <cassert>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#elif !defined(__GLIBC__)
#include <errno.h>
#endif

namespace MD {
namespace {

// The count is odd while the halves of the listener change. No lock that a thread could hold while it fails.
std::atomic<unsigned> changes{0};
std::atomic<coreMD_FailureHandler> currentHandler{nullptr};
std::atomic<void*> currentContext{nullptr};

std::atomic<std::thread::id> failing{};  // the thread that does; nobody's while all is well

// The first thread that fails. Another one waits for the end that is under way, whoever listens by now: it may be told for a
// while. What that one breaks itself, in a handler, ends the process without another call.
bool IsTheFirst() {
    std::thread::id first{};
    const std::thread::id self = std::this_thread::get_id();
    if (failing.compare_exchange_strong(first, self)) return true;
    while (first != self) std::this_thread::sleep_for(std::chrono::hours(1));
    return false;
}

#if defined(__GLIBC__)
[[noreturn]] void SayAndEnd(const Broken& broken) {
    __assert_fail(broken.text, broken.file, static_cast<unsigned>(broken.line), broken.function);
}
#else  // what other C libraries say is in other words
const char* ProgramName() {
#if defined(_WIN32)
    static char path[MAX_PATH];
    const char* name = path;
    const DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH - 1);
    for (DWORD i = 0; i < length; ++i)
        if (path[i] == '\\') name = path + i + 1;
    return name;
#else
    return program_invocation_short_name;
#endif
}

[[noreturn]] void SayAndEnd(const Broken& broken) {
    std::fprintf(stderr, "%s: %s:%d: %s: Assertion `%s' failed.\n", ProgramName(), broken.file, broken.line, broken.function,
                 broken.text);
    std::fflush(stderr);
    std::abort();
}
#endif

}  // namespace

void EndProcess(const Broken& broken) noexcept {
    if (IsTheFirst()) {
        const FailureListener listener = CurrentFailureListener();
        if (listener.handler) listener.handler(listener.context, broken.text, broken.file, broken.line, broken.function);
    }
    SayAndEnd(broken);
}

FailureListener CurrentFailureListener() noexcept {
    for (;;) {
        const unsigned before = changes.load(std::memory_order_acquire);
        const FailureListener listener{currentHandler.load(std::memory_order_acquire),
                                       currentContext.load(std::memory_order_acquire)};
        if (before % 2 == 0 && changes.load(std::memory_order_relaxed) == before) return listener;
    }
}

void SetFailureListener(FailureListener listener) noexcept {
    unsigned even = changes.load(std::memory_order_relaxed);
    do even &= ~1u;  // whoever changes it now is done in a moment
    while (!changes.compare_exchange_weak(even, even + 1, std::memory_order_acquire, std::memory_order_relaxed));
    currentHandler.store(listener.handler, std::memory_order_release);
    currentContext.store(listener.context, std::memory_order_release);
    changes.store(even + 2, std::memory_order_release);
}

}  // namespace MD
