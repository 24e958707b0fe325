// How does a value get its line?
//
// The parser tells values as it comes by, and takes its characters from an iterator that knows how many it has taken: lines
// are counted up to there.
#include "video/zones/PlacedJson.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

namespace Video {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t deepest = 32;     // lists and objects within each other
constexpr std::size_t mostQuoted = 60;  // bytes
constexpr int numberOutOfRange = 406;   // as the parser numbers what can be wrong

class CountedText {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountedText(const char* at, const char** furthest) : _at(at), _furthest(furthest) {}
    reference operator*() const { return *_at; }
    CountedText& operator++() {
        ++_at;
        *_furthest = std::max(*_furthest, _at);
        return *this;
    }
    CountedText operator++(int) {
        const CountedText before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountedText& other) const { return _at == other._at; }
    bool operator!=(const CountedText& other) const { return _at != other._at; }

private:
    const char* _at;
    const char** _furthest;  // of all copies
};

// byte: from 1.
std::string LineAndColumn(const std::string& text, std::size_t byte) {
    const std::size_t before = std::min(byte > 0 ? byte - 1 : 0, text.size());
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(before), '\n');
    const std::size_t newline = before > 0 ? text.rfind('\n', before - 1) : std::string::npos;
    const std::size_t column = newline == std::string::npos ? before + 1 : before - newline;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

std::string Cut(const std::string& text) {
    if (text.size() <= mostQuoted) {
        return text;
    }
    std::size_t end = mostQuoted;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {  // not within a character
        --end;
    }
    return text.substr(0, end) + "...";
}

// Makes values of what the parser tells, and knows where they stand.
class Placer : public nlohmann::json_sax<Json> {
public:
    Placer(const std::string& text, const Complain& complain)
        : _text(text), _complain(complain), _read(text.data()), _counted(text.data()) {}

    PlacedJson Read() {
        const char* const end = _text.data() + _text.size();
        Json::sax_parse(CountedText(_text.data(), &_read), CountedText(end, &_read), this);
        return std::move(_told);
    }

    bool null() override { return Add(nullptr); }
    bool boolean(bool value) override { return Add(value); }
    bool number_integer(number_integer_t value) override { return Add(value); }
    bool number_unsigned(number_unsigned_t value) override { return Add(value); }
    bool number_float(number_float_t value, const string_t&) override { return Add(value); }
    bool string(string_t& value) override { return Add(std::move(value)); }
    bool binary(binary_t&) override { return true; }  // no text holds any
    bool start_object(std::size_t) override { return Open(Json::object()); }
    bool start_array(std::size_t) override { return Open(Json::array()); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t& key) override {
        Level& level = _levels.back();
        if (!level.keys.insert(key).second) {
            Complain(level.place, Quoted(key) + " is given twice in one object");
        }
        level.key = key;
        return true;
    }

    bool parse_error(std::size_t byte, const std::string& token, const Json::exception& error) override {
        const std::string place = NextPlace();
        if (error.id == numberOutOfRange) {
            Complain(place, Cut(token) + " is a number out of range");
        } else {
            _complain(LineAndColumn(_text, byte), "is not JSON here" + (place.empty() ? "" : ", in " + place));
        }
        return false;
    }

private:
    struct Level {
        Json* container;
        std::string place;
        std::string key = {};             // of an object: the newest
        std::set<std::string> keys = {};  // likewise: all so far
    };

    void Complain(const std::string& place, const std::string& what) {
        _complain("line " + std::to_string(Line()), (place.empty() ? "" : place + ": ") + what);
    }

    // Of what was told last. Behind a number, the parser has taken a character more.
    int Line() {
        const char* const last = std::max(_counted, _read - 1);
        _line += static_cast<int>(std::count(_counted, last, '\n'));
        _counted = last;
        return _line;
    }

    // Of the value that comes.
    std::string NextPlace() const {
        if (_levels.empty()) {
            return "";
        }
        const Level& level = _levels.back();
        if (level.container->is_array()) {
            return PlaceIn(level.place, level.container->size());
        }
        return level.key.empty() ? level.place : PlaceUnder(level.place, level.key);
    }

    bool Add(Json value) {
        Put(std::move(value));
        return true;
    }

    Json& Put(Json value) {
        _told.lines.try_emplace(NextPlace(), Line());
        if (_levels.empty()) {
            return _told.root = std::move(value);
        }
        Level& level = _levels.back();
        if (level.container->is_array()) {
            level.container->push_back(std::move(value));
            return level.container->back();
        }
        return (*level.container)[std::exchange(level.key, "")] = std::move(value);
    }

    bool Open(Json container) {
        const std::string place = NextPlace();
        if (_levels.size() == deepest) {
            Complain(place, "is nested too deeply");
        }
        Json& opened = Put(std::move(container));
        _levels.push_back({.container = &opened, .place = place});
        return true;
    }

    bool Close() {
        _levels.pop_back();
        return true;
    }

    const std::string& _text;
    const Video::Complain& _complain;
    const char* _read;     // behind what the parser has taken
    const char* _counted;  // up to where _line was counted
    int _line = 1;
    PlacedJson _told;
    std::vector<Level> _levels;  // open objects and lists
};

}  // namespace

int PlacedJson::LineOf(std::string place) const {
    while (!lines.contains(place) && !place.empty()) {
        const std::size_t end = place.find_last_of(".[");
        place.resize(end == std::string::npos ? 0 : end);
    }
    const auto found = lines.find(place);
    return found == lines.end() ? 1 : found->second;
}

PlacedJson ReadJson(const std::string& text, const Complain& complain) { return Placer(text, complain).Read(); }

std::string Quoted(const std::string& text) {
    const std::string escaped = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    return "\"" + Cut(escaped.substr(1, escaped.size() - 2)) + "\"";
}

std::string PlaceUnder(const std::string& object, const std::string& key) {
    const std::string quoted = Quoted(key);
    return (object.empty() ? "" : object + ".") + quoted.substr(1, quoted.size() - 2);
}

std::string PlaceIn(const std::string& list, std::size_t index) { return list + "[" + std::to_string(index) + "]"; }

}  // namespace Video
