// Which markup stands around styles, scripts and data?
#include "outputs/PageParts.h"

#include <cstddef>

namespace Scan {

std::string PageBegin(const PageText& page) {
    return std::string(page.head) + "<style>\n" + page.style + "</style>\n</head>\n" + page.body;
}

std::string PageEnd(const PageText& page) {
    return std::string("<script>\n\"use strict\";\n") + page.script + "</script>\n</body>\n</html>\n";
}

std::string DataBlock(const char* kind, const std::string& json) {
    return std::string("<script type=\"application/json\" class=\"") + kind + "\">" + json + "</script>\n";
}

std::string SafeInScript(std::string json) {
    for (std::size_t i = 0; (i = json.find('<', i)) != std::string::npos;) {
        json.replace(i, 1, "\\u003c");  // stands only within strings
    }
    return json;
}

}  // namespace Scan
