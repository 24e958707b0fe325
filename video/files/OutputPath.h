// What is a file called that belongs to an input, or to one of its events?
#pragma once

#include <string>

namespace Video {

// "-0a1b2c3d", different for different paths.
std::string MarkOf(const std::string& path);

// "DIR/front-door.png", for recordings/front-door.mp4. distinct: with a mark of the whole path, which keeps files of one
// name in several folders apart. ending: with its dot.
std::string OutputPath(const std::string& folder, const std::string& input, bool distinct, const std::string& ending);

// "DIR/front-door-3.jpg": of its event 3.
std::string OutputPath(const std::string& folder, const std::string& input, bool distinct, int event,
                       const std::string& ending);

}  // namespace Video
