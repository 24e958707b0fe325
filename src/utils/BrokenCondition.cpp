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

std::atomic<std::thread::id> teller{};  // the thread that fails; nobody's while all is well

// A handler is called once: by the first thread that fails. Another one waits for the end that is under way; a handler that
// breaks a condition itself is not called again.
void Tell(const FailureListener& listener, const Broken& broken) {
    std::thread::id nobody{};
    const std::thread::id self = std::this_thread::get_id();
    if (teller.compare_exchange_strong(nobody, self)) {
        listener.handler(listener.context, broken.text, broken.file, broken.line, broken.function);
        return;
    }
    while (nobody != self) ::pause();
}

}  // namespace

void EndProcess(const Broken& broken) noexcept {
    const FailureListener listener = CurrentFailureListener();
    if (listener.handler) Tell(listener, broken);
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
