// What does a JSON text say, and on which line does it say so?  For files that people write: whatever is wrong in one is
// named with its place.
#pragma once

#include <functional>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

namespace Video {

struct PlacedJson {
    nlohmann::ordered_json root;
    std::map<std::string, int> lines;  // from 1; of every value, by its place: "zones[3].name", "" for the root

    // The line of a place; of the one around it where nothing stands there.
    int LineOf(std::string place) const;
};

// Is told what is wrong, and where: "line 3, column 7", or a line and the place of a value. It throws.
using Complain = std::function<void(const std::string& where, const std::string& what)>;

// A text that is no JSON, a number that no one can hold, a key that an object has twice, or nesting without end: complaint.
PlacedJson ReadJson(const std::string& text, const Complain& complain);

// In quotes, on one line, cut where it is long.
std::string Quoted(const std::string& text);

// The place of a value in an object: "zones[3].name".
std::string PlaceUnder(const std::string& object, const std::string& key);

// In a list: "zones[3]".
std::string PlaceIn(const std::string& list, std::size_t index);

}  // namespace Video
