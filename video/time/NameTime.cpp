// Which forms are usual, and which of several times in a name is the start?
#include "video/time/NameTime.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <vector>

#include "video/time/NamePattern.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

// Of a name without folders. Of several at one place, the first in this list counts.
constexpr std::array inNames = {"20%y[-_.]%m[-_.]%d[-_. Tt]%H[-_.:]%M[-_.:]%S",
                                "20%y[-_.]%m[-_.]%d at %H[-_.:]%M[-_.:]%S",
                                "20%y[-_.]%m[-_.]%d[-_. Tt]%Hh%Mm%Ss",
                                "20%y[-_.]%m[-_.]%d[-_. Tt]%H%M%S",
                                "20%y%m%d[-_. Tt]%H[-_.:]%M[-_.:]%S",
                                "20%y%m%d[-_. Tt]%H%M%S",
                                "20%y%m%d%H%M%S"};

// Folders named after a day, each with what there may be from it on, the nearest first. Read once: paths are many.
constexpr std::string_view century = "20";  // all of them begin with it
constexpr std::array dayFolders = {"20%y[-_.]%m[-_.]%d", "20%y%m%d", "20%y/%m/%d", "20%y[-_.]%m/%d", "20%y%m/%d"};
const std::vector<NamePattern>& FormsBelowDay() {
    static const std::vector<NamePattern> forms = [] {
        std::vector<std::string> rests;
        for (const std::string between : {"*/", "*/*/", "*/*/*/", "*/*/*/*/"}) {
            for (const std::string before : {"", "*[-_. ]"}) {
                for (const char* time : {"%H-%M-%S", "%H.%M.%S", "%H_%M_%S", "%H:%M:%S", "%Hh%Mm%Ss", "%H%M%S"}) {
                    rests.push_back(between + before + time);
                }
            }
        }
        for (const char* belowHour : {"/%H/%M[-_.:]%S", "/%H/*/%M[-_.:]%S", "/%H/%M"}) {
            rests.push_back(belowHour);
        }
        std::vector<NamePattern> made;
        for (const std::string& below : rests) {
            for (const std::string day : dayFolders) {
                made.emplace_back(day + below);
            }
        }
        return made;
    }();
    return forms;
}
constexpr std::size_t mostParts = 8;  // of a path that any of them spans

bool IsWordAt(const std::string& name, std::size_t at) {
    return at < name.size() && std::isalnum(static_cast<unsigned char>(name[at])) != 0;
}

// The file's name, and so many folders above it.
std::string LastParts(const std::string& path, std::size_t folders) {
    std::size_t slash = std::string::npos;
    for (std::size_t i = 0; i <= folders; ++i) {
        slash = slash == 0 ? std::string::npos : path.rfind('/', slash - 1);
        if (slash == std::string::npos) {
            return path;
        }
    }
    return path.substr(slash + 1);
}

std::optional<StartTime> Believed(const NamedTime& found) {
    const std::optional<Ticks> offset = found.ticks ? std::optional<Ticks>() : found.offset;
    const std::optional<WallTicks> at = found.ticks ? found.ticks : WallTimeAt(found.civil, offset);
    return at && *at >= earliestStart ? std::optional(StartTime{*at, ClockSource::Name, offset}) : std::nullopt;
}

// With what may follow a usual form: a fraction that is no ending of the file's name, and an offset. One with a minus may as
// well be the time of the end: it takes a colon, or a T before the time.
NamedTime WithTail(NamedTime found, const std::string& name) {
    const auto endsAt = [&](std::size_t at) { return at < name.size() && !IsWordAt(name, at); };
    const bool hasT = name.find_first_of("Tt", found.begin) < found.end;
    if (Ticks fraction = 0; found.end < name.size() && (name[found.end] == '.' || name[found.end] == ',')) {
        const std::size_t end = found.end + 1 + ReadFraction(name, found.end + 1, fraction);
        std::optional<Ticks> offset;
        if (end > found.end + 1 && (endsAt(end) || ReadOffset(name, end, offset) > 0)) {
            found.civil.fraction = fraction;
            found.end = end;
        }
    }
    std::optional<Ticks> offset;
    const std::size_t end = found.end + ReadOffset(name, found.end, offset);
    const bool isMeant = offset && (name[found.end] != '-' || hasT || name.find(':', found.end) < end);
    if (isMeant && !IsWordAt(name, end)) {
        found.offset = offset;
        found.end = end;
    }
    return found;
}

// Does anything in it look like a day, "20260301" or "2026-02-30", whether there is such a day or not?
bool HoldsADay(const std::string& name) {
    constexpr std::string_view separators = "-_.", digits = "0123456789";
    for (std::size_t begin = 0; (begin = name.find("20", begin)) != std::string::npos; ++begin) {
        std::size_t at = begin, count = 0;
        for (; at < name.size() && count < 8; ++at) {
            const bool mayBeSeparator = count == 4 || count == 6;
            if (digits.find(name[at]) != std::string_view::npos) {
                ++count;
            } else if (!mayBeSeparator || separators.find(name[at]) == std::string_view::npos) {
                break;
            }
        }
        if (count == 8) {
            return true;
        }
    }
    return false;
}

// The first time in the name: recorders that write two begin with the start.
std::optional<StartTime> TimeWithDay(const std::string& name) {
    static const std::vector<NamePattern> forms(inNames.begin(), inNames.end());
    for (std::size_t from = 0; from < name.size();) {
        std::optional<NamedTime> first;
        for (const NamePattern& form : forms) {
            const std::optional<NamedTime> found = form.FindIn(name, from);
            if (found && (!first || found->begin < first->begin)) {
                first = found;
            }
        }
        if (!first) {
            return std::nullopt;
        }
        if (const std::optional<StartTime> start = Believed(WithTail(*first, name))) {
            return start;
        }
        from = first->begin + 1;
    }
    return std::nullopt;
}

// Of this form, where it ends in the file's name. It spans as many folders as there are, so it begins in the first of them.
std::optional<StartTime> TimeOfForm(const NamePattern& pattern, const std::string& path) {
    const std::string parts = LastParts(path, static_cast<std::size_t>(pattern.Folders()));
    const bool mayBegin = parts.find(century) < parts.find('/');  // asked first: hardly any form may, and to try costs
    if (!mayBegin || std::count(parts.begin(), parts.end(), '/') != pattern.Folders()) {
        return std::nullopt;
    }
    const std::optional<NamedTime> found = pattern.FindIn(parts);
    if (!found || found->end <= parts.rfind('/') + 1) {
        return std::nullopt;
    }
    const NamedTime whole = WithTail(*found, parts);
    return IsWordAt(parts, whole.end) ? std::nullopt : Believed(whole);
}

// A time in the file's name, its day in the nearest folder that is named after one.
std::optional<StartTime> TimeBelowDay(const std::string& path) {
    const std::string parts = LastParts(path, mostParts - 1);
    const std::string folders = parts.substr(0, parts.rfind('/') + 1);
    if (folders.find(century) == std::string::npos || HoldsADay(LastParts(path, 0))) {
        return std::nullopt;
    }
    for (const NamePattern& form : FormsBelowDay()) {
        if (const auto start = TimeOfForm(form, parts)) {
            return start;
        }
    }
    return std::nullopt;
}

// Ten digits alone, from 2001 to 2033, or thirteen with milliseconds.
std::optional<StartTime> SecondsSince1970(const std::string& name) {
    constexpr std::size_t seconds = 10, milliseconds = 13;
    for (std::size_t begin = 0; (begin = name.find('1', begin)) != std::string::npos; ++begin) {
        const std::size_t end = std::min(name.find_first_not_of("0123456789", begin), name.size()), digits = end - begin;
        const bool standsAlone = (begin == 0 || !IsWordAt(name, begin - 1)) && !IsWordAt(name, end);
        if (standsAlone && (digits == seconds || digits == milliseconds)) {
            const Ticks unit = digits == seconds ? oneSecond : oneSecond / 1000;
            return StartTime{std::stoll(name.substr(begin, digits)) * unit, ClockSource::Name};
        }
    }
    return std::nullopt;
}

}  // namespace

std::string FaultOfNameTime(const std::string& pattern) {
    return pattern == usualNameTimes || pattern == noNameTimes ? "" : NamePattern::FaultOf(pattern);
}

std::optional<StartTime> TimeInName(const std::string& path, const std::string& pattern) {
    if (pattern == noNameTimes) {
        return std::nullopt;
    }
    if (pattern != usualNameTimes) {
        const NamePattern form(pattern);
        const auto found = form.FindIn(LastParts(path, static_cast<std::size_t>(form.Folders())));
        return found ? Believed(*found) : std::nullopt;
    }
    const std::string name = LastParts(path, 0);
    std::optional<StartTime> start = TimeWithDay(name);
    start = start ? start : TimeBelowDay(path);
    return start ? start : SecondsSince1970(name);
}

}  // namespace Video
