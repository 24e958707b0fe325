// How is a path made an address?
#include "outputs/PageLink.h"

#include <filesystem>

namespace Scan {

std::string LinkFrom(const std::string& page, const std::string& target) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::absolute(page).lexically_normal().parent_path();
    const std::string path = fs::absolute(target).lexically_normal().lexically_proximate(folder).string();
    constexpr const char* digits = "0123456789ABCDEF";
    std::string link;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
                           c == '.' || c == '_' || c == '~' || c == '/';
        if (plain) {
            link += c;
        } else {
            link += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return link;
}

}  // namespace Scan
