// How is a pattern taken apart and laid over a name?
#include "video/time/NamePattern.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>

namespace Video {

namespace {

constexpr std::string_view known = "YymdHMSIbpfsz";
constexpr std::array<std::string_view, 12> months = {"jan", "feb", "mar", "apr", "may", "jun",
                                                     "jul", "aug", "sep", "oct", "nov", "dec"};

bool IsDigit(const std::string& name, std::size_t at) { return at < name.size() && name[at] >= '0' && name[at] <= '9'; }

// Does a number go on from the character before to that one?
bool IsWithinNumber(const std::string& name, std::size_t at) { return at > 0 && IsDigit(name, at - 1) && IsDigit(name, at); }

// -1: there are no such many digits.
std::int64_t NumberAt(const std::string& name, std::size_t at, int digits) {
    std::int64_t value = 0;
    for (int i = 0; i < digits; ++i, ++at) {
        if (!IsDigit(name, at)) {
            return -1;
        }
        value = 10 * value + (name[at] - '0');
    }
    return value;
}

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return lower;
}

}  // namespace

std::size_t ReadFraction(const std::string& name, std::size_t at, Ticks& fraction) {
    constexpr std::size_t mostDigits = 9;
    Ticks unit = oneSecond;
    std::size_t digits = 0;
    fraction = 0;
    for (; digits < mostDigits && IsDigit(name, at + digits); ++digits) {
        unit /= 10;
        fraction += unit * (name[at + digits] - '0');
    }
    return digits;
}

std::size_t ReadOffset(const std::string& name, std::size_t at, std::optional<Ticks>& offset) {
    constexpr std::int64_t furthest = 14 * 60, step = 15;  // minutes; of all zones that there are
    const char sign = at < name.size() ? name[at] : '\0';
    if (sign == 'Z' || sign == 'z') {
        offset = 0;
        return 1;
    }
    const std::int64_t hours = NumberAt(name, at + 1, 2);
    const std::size_t colon = at + 3 < name.size() && name[at + 3] == ':' ? 1 : 0;
    const std::int64_t rest = NumberAt(name, at + 3 + colon, 2), minutes = 60 * hours + std::max<std::int64_t>(0, rest);
    if ((sign != '+' && sign != '-') || hours < 0 || minutes % step != 0 || rest > 59 || minutes > furthest) {
        return 0;
    }
    offset = (sign == '-' ? -1 : 1) * minutes * 60 * oneSecond;
    return rest < 0 ? 3 : 5 + colon;
}

// What was read so far.
struct NamePattern::Fields {
    std::array<std::int64_t, 7> numbers = {};  // 0 before it is read
    bool hasHalves = false, isAfternoon = false;
    Ticks fraction = 0;
    std::optional<Ticks> offset;
    std::size_t end = 0;

    // How many characters it takes from there; 0: it does not stand there.
    std::size_t Take(char letter, const std::string& name, std::size_t at);
    std::int64_t& operator[](char letter) { return numbers[std::string_view("YmdHMSs").find(letter)]; }
    CivilTime Civil();
};

std::size_t NamePattern::Fields::Take(char letter, const std::string& name, std::size_t at) {
    const std::string_view rest = std::string_view(name).substr(std::min(at, name.size()));
    switch (letter) {
        case 'f': return ReadFraction(name, at, fraction);
        case 'z': return ReadOffset(name, at, offset);
        case 'b': {
            const auto month = std::find(months.begin(), months.end(), Lower(rest.substr(0, 3)));
            (*this)['m'] = month - months.begin() + 1;
            return month == months.end() ? 0 : 3;
        }
        case 'p': {
            const std::string half = Lower(rest.substr(0, 2));
            hasHalves = true;
            isAfternoon = half == "pm";
            return half == "am" || half == "pm" ? 2 : 0;
        }
        default: {
            const int digits = letter == 'Y' ? 4 : letter == 's' ? 10 : 2;
            const std::int64_t value = NumberAt(name, at, digits);
            const bool isHour = letter != 'I' || (value >= 1 && value <= 12);
            (*this)[letter == 'y' ? 'Y' : letter == 'I' ? 'H' : letter] = letter == 'y' ? 2000 + value : value;
            return value < 0 || !isHour ? 0 : static_cast<std::size_t>(digits);
        }
    }
}

CivilTime NamePattern::Fields::Civil() {
    const auto number = [&](char letter) { return static_cast<int>((*this)[letter]); };
    const int hour = hasHalves ? number('H') % 12 + (isAfternoon ? 12 : 0) : number('H');
    const std::chrono::year_month_day day(std::chrono::year(number('Y')),
                                          std::chrono::month(static_cast<unsigned>(number('m'))),
                                          std::chrono::day(static_cast<unsigned>(number('d'))));
    return {day, hour, number('M'), number('S'), fraction};
}

// What is wrong with the text; empty: nothing.
std::string NamePattern::Read(const std::string& text, std::vector<Piece>& pieces) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '[') {
            const std::size_t end = text.find(']', i + 2);
            if (end == std::string::npos) {
                return "a [ has no ]";
            }
            pieces.push_back({'[', text.substr(i + 1, end - i - 1)});
            i = end;
        } else if (text[i] != '%') {
            const bool isWild = text[i] == '?' || text[i] == '*';
            pieces.push_back({isWild ? text[i] : '=', {text[i]}});
        } else if (++i == text.size()) {
            return "it ends with %";
        } else if (text[i] == 'F' || text[i] == 'T') {
            Read(text[i] == 'F' ? "%Y-%m-%d" : "%H:%M:%S", pieces);
        } else if (text[i] == '%') {
            pieces.push_back({'=', "%"});
        } else if (known.find(text[i]) == std::string_view::npos) {
            return std::string("%") + text[i] + " is not known";
        } else {
            pieces.push_back({text[i], ""});
        }
    }
    return "";
}

std::string NamePattern::FaultOf(const std::string& text) {
    std::vector<Piece> pieces;
    if (std::string fault = Read(text, pieces); !fault.empty()) {
        return fault;
    }
    const auto has = [&](std::string_view letters) {
        return std::any_of(pieces.begin(), pieces.end(),
                           [&](const Piece& piece) { return letters.find(piece.kind) != std::string_view::npos; });
    };
    if (has("s")) {
        return "";
    }
    if (!has("Yy") || !has("mb") || !has("d")) {
        return "it tells no day: %Y, %m and %d";
    }
    return has("H") || (has("I") && has("p")) ? "" : "it tells no hour: %H, or %I and %p";
}

NamePattern::NamePattern(const std::string& text) {
    Read(text, _pieces);
    _folders = static_cast<int>(
        std::count_if(_pieces.begin(), _pieces.end(), [](const Piece& piece) { return piece.text == "/"; }));
}

bool NamePattern::Match(std::size_t piece, const std::string& name, std::size_t begin, std::size_t at,
                        Fields& fields) const {
    if (piece == _pieces.size()) {
        fields.end = at;
        return at > begin && !IsWithinNumber(name, at);
    }
    const auto& [kind, text] = _pieces[piece];
    if ((piece == 0 || kind == '*' || _pieces[piece - 1].kind == '*') && IsWithinNumber(name, at)) {
        return false;
    }
    if (kind == '*') {
        for (std::size_t end = at;; ++end) {
            Fields trial = fields;
            if (Match(piece + 1, name, begin, end, trial)) {
                fields = trial;
                return true;
            }
            if (end >= name.size() || name[end] == '/') {
                return false;
            }
        }
    }
    const bool isThere = at < name.size();
    const std::size_t length = kind == '?'                  ? isThere && name[at] != '/'
                               : kind == '=' || kind == '[' ? isThere && text.find(name[at]) != std::string::npos
                                                            : fields.Take(kind, name, at);
    return length > 0 && Match(piece + 1, name, begin, at + length, fields);
}

std::optional<NamedTime> NamePattern::FindIn(const std::string& name, std::size_t from) const {
    for (std::size_t begin = from; begin < name.size(); ++begin) {
        Fields fields;
        if (!Match(0, name, begin, begin, fields)) {
            continue;
        }
        const NamedTime found{
            .civil = fields.Civil(),
            .offset = fields.offset,
            .ticks = fields['s'] > 0 ? std::optional(fields['s'] * oneSecond + fields.fraction) : std::nullopt,
            .begin = begin,
            .end = fields.end};
        if (found.ticks || WallTimeAt(found.civil, 0)) {
            return found;
        }
    }
    return std::nullopt;
}

}  // namespace Video
