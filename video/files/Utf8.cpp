// Which bytes make a character?
#include "video/files/Utf8.h"

namespace Video {

// As RFC 3629 has it: no longer than need be, no surrogates, nothing beyond U+10FFFF.
Utf8Character FirstCharacter(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < size) {
        return {};
    }
    char32_t code = first & (0x7fu >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xc0) != 0x80) {
            return {};
        }
        code = code << 6 | (next & 0x3fu);
    }
    const char32_t least = size == 4 ? 0x10000 : size == 3 ? 0x800 : 0x80;
    const bool isCharacter = code >= least && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
    return isCharacter ? Utf8Character{code, size} : Utf8Character{};
}

}  // namespace Video
