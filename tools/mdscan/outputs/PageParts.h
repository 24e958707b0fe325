// How is a page put together?  Its texts around blocks of data, which its script finds by their kinds.
#pragma once

#include <string>

#include "outputs/PageText.h"

namespace Scan {

// Up to where data stand, and behind them.
std::string PageBegin(const PageText& page);
std::string PageEnd(const PageText& page);

// json: as SafeInScript gives it.
std::string DataBlock(const char* kind, const std::string& json);

// JSON that may stand within a script element, whatever names it holds.
std::string SafeInScript(std::string json);

}  // namespace Scan
