// Which members of an exported class stay inside?  Inline ones, which every user compiles anew, and private helpers.
#pragma once

#if defined(_WIN32)  // no class is exported
#define MD_INTERNAL
#else
#define MD_INTERNAL __attribute__((visibility("hidden")))
#endif
