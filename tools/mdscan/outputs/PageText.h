// What does every page consist of?  Its folder in web/, what pages share, and the bundle of its script, compiled in; CMake
// writes the sources.
#pragma once

namespace Scan {

struct PageText {
    const char* head;  // up to the end of what the page says of itself
    const char* style;
    const char* body;
    const char* script;
};

extern const PageText reportPage;
extern const PageText zonesPage;

}  // namespace Scan
