// Has the user had enough?  SIGINT and SIGTERM as a question that loops ask.
#pragma once

namespace Video {

// From now on the first SIGINT or SIGTERM makes Interrupted true, a second one of the same kind ends the process. A reader
// that leaves no longer ends it: writing to it fails.
void LeaveOrderly();

bool Interrupted();

}  // namespace Video
