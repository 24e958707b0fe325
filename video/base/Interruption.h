// Has the user had enough?  SIGINT, SIGTERM and SIGHUP as a question that loops ask.
#pragma once

namespace Video {

// From now on the first SIGINT, SIGTERM or SIGHUP makes Interrupted true, a second one of the same kind ends the process. A
// closed terminal stays ignored where it is, as nohup wants it. A reader that leaves no longer ends it: writing to it fails.
void LeaveOrderly();

bool Interrupted();

}  // namespace Video
