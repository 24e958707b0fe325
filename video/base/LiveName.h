// Does this name stand for a source on the network or a camera rather than a file?
#pragma once

#include <string>

namespace Video {

// "rtsp://camera/1": one of the protocols that mdscan opens. What is behind may still be a finished file.
bool IsUrl(const std::string& name);

// "/dev/video0", where that is a device.
bool IsCamera(const std::string& name);

// The name without user and password, and with *** in place of signatures, tokens and the like among the parameters of an
// address: results and logs are read by others. Names of files as they are.
std::string ShownName(const std::string& name);

}  // namespace Video
