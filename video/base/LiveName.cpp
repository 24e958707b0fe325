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

// Parameters of addresses whose values let others in: signed addresses of archives, tokens of cameras. In lower case.
constexpr std::array<std::string_view, 14> secrets = {"x-amz-signature",
                                                      "x-amz-security-token",
                                                      "x-amz-credential",
                                                      "x-goog-signature",
                                                      "x-goog-credential",
                                                      "signature",
                                                      "sig",
                                                      "token",
                                                      "access_token",
                                                      "auth",
                                                      "key",
                                                      "password",
                                                      "passphrase",
                                                      "pwd"};

bool IsSecret(std::string_view parameter) {
    std::string lower(parameter);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });
    return std::find(secrets.begin(), secrets.end(), lower) != secrets.end();
}

// What tells one camera from another remains.
std::string WithoutSecrets(const std::string& address) {
    std::size_t begin = address.find('?');
    std::string shown = address.substr(0, begin);
    while (begin < address.size()) {  // at a mark before a parameter
        const std::size_t end = std::min(address.find_first_of("&#", begin + 1), address.size());
        const std::size_t sign = address.find('=', begin);
        const bool isSecret = sign < end && IsSecret(std::string_view(address).substr(begin + 1, sign - begin - 1));
        shown += isSecret ? address.substr(begin, sign + 1 - begin) + "***" : address.substr(begin, end - begin);
        begin = end;
    }
    return shown;
}

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
    return WithoutSecrets(hasUser && at > host ? name.substr(0, host) + name.substr(at + 1) : name);
}

}  // namespace Video
