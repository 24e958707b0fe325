// Has the user had enough?  SIGINT, SIGTERM and SIGHUP as a question that loops ask.
#pragma once

#include <atomic>

namespace Video {

// From now on the first SIGINT, SIGTERM or SIGHUP makes Interrupted true, a second one of the same kind ends the process. A
// closed terminal stays ignored where it is, as nohup wants it. A reader that leaves no longer ends it: writing to it fails.
void LeaveOrderly();

bool Interrupted();

// For hosts whose signals are their own: as long as it lives, Interrupted is also true in this thread once the flag is set.
// One at a time in a thread.
class InterruptedBy {
public:
    explicit InterruptedBy(const std::atomic<bool>& flag);
    ~InterruptedBy();
    InterruptedBy(const InterruptedBy&) = delete;
    InterruptedBy& operator=(const InterruptedBy&) = delete;
};

}  // namespace Video
