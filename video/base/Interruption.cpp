// How is an interruption remembered?
#include "video/base/Interruption.h"

#include <csignal>

namespace Video {

namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);  // written by a signal handler

thread_local const std::atomic<bool>* flagOfThread = nullptr;

void Interrupt(int) { interrupted = true; }

}  // namespace

void LeaveOrderly() {
    struct sigaction once = {};
    once.sa_handler = Interrupt;
    once.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &once, nullptr);
    sigaction(SIGTERM, &once, nullptr);
    struct sigaction hangup = {};
    sigaction(SIGHUP, nullptr, &hangup);
    if (hangup.sa_handler != SIG_IGN) {
        sigaction(SIGHUP, &once, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

bool Interrupted() { return interrupted || (flagOfThread && *flagOfThread); }

InterruptedBy::InterruptedBy(const std::atomic<bool>& flag) { flagOfThread = &flag; }
InterruptedBy::~InterruptedBy() { flagOfThread = nullptr; }

}  // namespace Video
