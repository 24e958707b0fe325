// How is it told what was given up?
#include "outputs/GivenUp.h"

namespace Scan {

std::string GivenUp::Text() const {
    std::string text;
    for (const std::string& reason : _reasons) {
        text += (text.empty() ? "" : "; ") + reason;
    }
    return text;
}

}  // namespace Scan
