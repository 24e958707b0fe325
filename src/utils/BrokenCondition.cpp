// How does a broken condition end the process?
#include "utils/BrokenCondition.h"

#undef NDEBUG
#include <unistd.h>

#include <atomic>
#include <cassert>
#include <thread>

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
    while (first != self) ::pause();
    return false;
}

}  // namespace

void EndProcess(const Broken& broken) noexcept {
    if (IsTheFirst()) {
        const FailureListener listener = CurrentFailureListener();
        if (listener.handler) listener.handler(listener.context, broken.text, broken.file, broken.line, broken.function);
    }
    __assert_fail(broken.text, broken.file, static_cast<unsigned>(broken.line), broken.function);
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
