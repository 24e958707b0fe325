// Which checksum has a line?
#include "video/files/CheckedLine.h"

#include <array>
#include <cstdint>
#include <cstdio>

extern "C" {
#include <libavutil/crc.h>
}

namespace Video {

namespace {

constexpr std::size_t prefix = 9;  // bytes: eight digits and a blank

std::string PrefixOf(std::string_view text) {
    const std::uint32_t sum = av_crc(av_crc_get_table(AV_CRC_32_IEEE_LE), UINT32_MAX,
                                     reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    std::array<char, prefix + 1> digits = {};
    std::snprintf(digits.data(), digits.size(), "%08x ", ~sum);
    return digits.data();
}

}  // namespace

std::string Checked(const std::string& text) { return PrefixOf(text) + text; }

std::optional<std::string_view> Verified(std::string_view line) {
    if (line.size() < prefix) {
        return std::nullopt;
    }
    const std::string_view text = line.substr(prefix);
    return line.starts_with(PrefixOf(text)) ? std::optional(text) : std::nullopt;
}

}  // namespace Video
