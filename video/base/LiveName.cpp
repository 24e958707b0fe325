// Which protocols are known?
#include "video/base/LiveName.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <sys/stat.h>

namespace Video {

namespace {

constexpr std::array<std::string_view, 8> protocols = {"rtsp", "rtsps", "http", "https", "rtmp", "udp", "tcp", "srt"};
constexpr std::string_view afterProtocol = "://";

}  // namespace

bool IsUrl(const std::string& name) {
    const std::string_view protocol = std::string_view(name).substr(0, name.find(afterProtocol));
    return protocol.size() < name.size() && std::find(protocols.begin(), protocols.end(), protocol) != protocols.end();
}

bool IsCamera(const std::string& name) {
    struct stat status = {};
    return name.starts_with("/dev/video") && stat(name.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
}

std::string ShownName(const std::string& name) {
    if (!IsUrl(name)) {
        return name;
    }
    const std::size_t host = name.find(afterProtocol) + afterProtocol.size();
    const std::size_t end = std::min(name.find_first_of("/?#", host), name.size());
    const std::size_t at = name.rfind('@', end);
    const bool hasUser = at != std::string::npos && at >= host && at + 1 < end;  // udp://@:1234 names none
    return hasUser && at > host ? name.substr(0, host) + name.substr(at + 1) : name;
}

}  // namespace Video
