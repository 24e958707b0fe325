// Which camera made this input?  Recorders keep a folder per camera, and in it one per day: a file's camera is the folder
// that holds it, without those named after days. Anything else is a camera of its own.
#pragma once

#include <string>
#include <vector>

namespace Scan {

// The folder as the input names it, "." for none; from the root, where only that tells what it is called. Of a stream, a
// device or the standard input: the input itself.
//   "recordings/gate/2026/03/01/07-59-00.mp4"  "recordings/gate"
//   "2026-03-01/07/gate/59.00.mp4"             "gate"
std::string CameraOf(const std::string& input);

// The same wherever the program is called from, and however the file is reached.
std::string WholeCameraOf(const std::string& input);

// "front-door": the last part of the camera's name, as part of a file's.
std::string ShortNameOf(const std::string& camera);

// Which of these are named after a day, as a whole, or an hour below one?  Months and years only where nothing is below them
// but other such folders.
//   {"gate", "2026", "03", "01"}  the last three
std::vector<bool> DayFolders(const std::vector<std::string>& folders);

}  // namespace Scan
