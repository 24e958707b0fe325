// How does a text look that may hold anything?  Names of files may turn the direction of a line, hide parts of it, and steer
// a terminal.
#pragma once

#include <string>

namespace Scan {

// For people: control characters, those that turn the direction and bytes that are no UTF-8 as "\x1b", "\u202e", "\xff".
std::string Visible(const std::string& text);

// The same value, with those characters as escapes of JSON. json: a whole JSON text in UTF-8.
std::string VisibleJson(const std::string& json);

}  // namespace Scan
