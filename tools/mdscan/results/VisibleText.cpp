// Which characters are not shown as they are?
#include "results/VisibleText.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "video/files/Utf8.h"

namespace Scan {

namespace {

bool IsHidden(char32_t code) {
    const bool isControl = code < 0x20 || (code >= 0x7f && code < 0xa0);
    const bool turnsDirection = code == 0x061c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
                                (code >= 0x2066 && code <= 0x2069);
    const bool endsLine = code == 0x2028 || code == 0x2029;
    const bool hasNoWidth = code == 0x200b || code == 0xfeff;
    return isControl || turnsDirection || endsLine || hasNoWidth;
}

std::string Escape(const char* format, unsigned number) {
    std::array<char, 16> text = {};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

}  // namespace

std::string Visible(const std::string& text) {
    std::string shown;
    for (std::string_view rest = text; !rest.empty();) {
        const auto [code, size] = Video::FirstCharacter(rest);
        if (size == 0) {
            shown += Escape("\\x%02x", static_cast<unsigned char>(rest.front()));
        } else if (IsHidden(code)) {
            shown += Escape(code < 0x80 ? "\\x%02x" : "\\u%04x", code);
        } else {
            shown += rest.substr(0, size);
        }
        rest.remove_prefix(size == 0 ? 1 : size);
    }
    return shown;
}

// Below U+0080, a writer of JSON has escaped what is within strings, but for U+007F; what is between them stays.
std::string VisibleJson(const std::string& json) {
    std::string shown;
    for (std::string_view rest = json; !rest.empty();) {
        const auto [code, size] = Video::FirstCharacter(rest);
        if (size > 0 && code >= 0x7f && IsHidden(code)) {
            shown += Escape("\\u%04x", code);
        } else {
            shown += rest.substr(0, size == 0 ? 1 : size);
        }
        rest.remove_prefix(size == 0 ? 1 : size);
    }
    return shown;
}

}  // namespace Scan
