// What does every page consist of?  web/report/ and the bundle of its script, compiled in; CMake writes PageText.cpp.
#pragma once

namespace Scan {

extern const char* const pageHead;  // up to the end of what the page says of itself
extern const char* const pageStyle;
extern const char* const pageBody;
extern const char* const pageScript;

}  // namespace Scan
