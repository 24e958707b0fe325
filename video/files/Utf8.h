// Which character does a text begin with, if it is text?  Names of files may hold any bytes.
#pragma once

#include <cstddef>
#include <string_view>

namespace Video {

struct Utf8Character {
    char32_t code = 0;
    std::size_t size = 0;  // bytes; 0: the text does not begin with a character of UTF-8
};

Utf8Character FirstCharacter(std::string_view text);

}  // namespace Video
