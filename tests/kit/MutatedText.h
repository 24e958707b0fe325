// What does a text become under the hands of somebody who errs?  One to three bytes changed, left out, doubled or replaced.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace Kit {

// whole, pieces: not empty; pieces: what is likely to hurt.
inline std::string MutatedText(const std::string& whole, const std::vector<std::string>& pieces, std::mt19937& random) {
    const auto below = [&](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    std::string text = whole;
    for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
        const std::size_t place = below(text.size()), kind = below(4);
        if (kind == 0) {
            text[place] = static_cast<char>(below(256));
        } else if (kind == 1) {
            text.erase(place, 1 + below(3));
        } else if (kind == 2) {
            text.insert(place, text.substr(below(text.size()), below(20)));
        } else {
            text.replace(place, below(4), pieces[below(pieces.size())]);
        }
    }
    return text;
}

}  // namespace Kit
