// Which members of an exported class stay inside?  Inline ones, which every user compiles anew, and private helpers.
#pragma once

#define MD_INTERNAL __attribute__((visibility("hidden")))
