// What does every page consist of?  The files of page/, compiled in; written by CMake into PageText.cpp, used by HtmlPage.
#pragma once

namespace Scan {

extern const char* const pageHead;  // up to the end of what the page says of itself
extern const char* const pageStyle;
extern const char* const pageBody;
extern const char* const pageScript;

}  // namespace Scan
