// How are days counted?
#include "video/time/WallClock.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "video/time/TickTime.h"

namespace Video {

namespace {

constexpr Ticks oneDay = oneSecond * 24 * 3600;
constexpr Ticks oneMillisecond = oneSecond / 1000;

constexpr Ticks StartOfDay(std::chrono::year_month_day day) {
    return std::chrono::sys_days(day).time_since_epoch().count() * oneDay;
}

constexpr Ticks clockTolerance = 5 * oneSecond;  // between the recorder's clock and the file system's

// Reads fixed-width fields from a text, one after another.
class Reader {
public:
    explicit Reader(const std::string& text) : _rest(text.c_str()) {}

    bool Take(const char* anyOf) {
        for (; *anyOf != '\0'; ++anyOf) {
            if (*_rest == *anyOf) {
                _taken = *_rest++;
                return true;
            }
        }
        return false;
    }
    char Taken() const { return _taken; }

    // -1: there are no such many digits.
    int Digits(int count) {
        int value = 0;
        for (int i = 0; i < count; ++i) {
            if (!Take("0123456789")) {
                return -1;
            }
            value = 10 * value + (_taken - '0');
        }
        return value;
    }

    bool AtEnd() const { return *_rest == '\0'; }

private:
    const char* _rest;
    char _taken = '\0';
};

std::optional<CivilTime> ReadFields(Reader& reader) {
    const int year = reader.Digits(4);
    if (!reader.Take("-")) {
        return std::nullopt;
    }
    const int month = reader.Digits(2);
    if (!reader.Take("-")) {
        return std::nullopt;
    }
    const int day = reader.Digits(2);
    if (year < 0 || month < 1 || day < 1 || !reader.Take("Tt ")) {
        return std::nullopt;
    }
    const int hour = reader.Digits(2);
    if (!reader.Take(":")) {
        return std::nullopt;
    }
    const int minute = reader.Digits(2);
    if (!reader.Take(":")) {
        return std::nullopt;
    }
    const int second = reader.Digits(2);
    Ticks fraction = 0;
    if (reader.Take(".,")) {
        Ticks unit = oneSecond;
        while (reader.Take("0123456789")) {
            unit /= 10;
            fraction += unit * (reader.Taken() - '0');
        }
        if (unit == oneSecond) {
            return std::nullopt;
        }
    }
    return CivilTime{std::chrono::year(year) / month / day, hour, minute, second, fraction};
}

WallTicks LocalTime(const CivilTime& fields) {
    std::tm local = {};
    local.tm_year = static_cast<int>(fields.day.year()) - 1900;
    local.tm_mon = static_cast<int>(static_cast<unsigned>(fields.day.month())) - 1;
    local.tm_mday = static_cast<int>(static_cast<unsigned>(fields.day.day()));
    local.tm_hour = fields.hour;
    local.tm_min = fields.minute;
    local.tm_sec = fields.second;
    local.tm_isdst = -1;
    return std::int64_t{std::mktime(&local)} * oneSecond + fields.fraction;
}

}  // namespace

const WallTicks earliestStart = StartOfDay(std::chrono::year(2000) / 1 / 2);

const char* NameOf(ClockSource source) {
    switch (source) {
        case ClockSource::Given: return "given";
        case ClockSource::Name: return "name";
        case ClockSource::Container: return "container";
        case ClockSource::Arrival: return "arrival";
    }
    return "";
}

std::optional<WallTicks> WallTimeAt(const CivilTime& time, const std::optional<Ticks>& offset) {
    const auto& [day, hour, minute, second, fraction] = time;
    if (!day.ok() || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 60) {
        return std::nullopt;  // the sixtieth second is a leap second
    }
    if (!offset) {
        return LocalTime(time);
    }
    return StartOfDay(day) + ((hour * 60 + minute) * Ticks{60} + second) * oneSecond + fraction - *offset;
}

Ticks LocalOffset(WallTicks time) {
    const WallTicks beginOfSecond = time - (time % oneSecond + oneSecond) % oneSecond;
    const std::time_t seconds = beginOfSecond / oneSecond;
    std::tm local = {};
    return localtime_r(&seconds, &local) != nullptr ? local.tm_gmtoff * oneSecond : 0;
}

std::optional<WallTicks> ParseWallTime(const std::string& text) {
    Reader reader(text);
    const std::optional<CivilTime> fields = ReadFields(reader);
    if (!fields) {
        return std::nullopt;
    }
    if (reader.AtEnd()) {
        return WallTimeAt(*fields, std::nullopt);
    }
    Ticks offset = 0;
    if (!reader.Take("Zz")) {
        if (!reader.Take("+-")) {
            return std::nullopt;
        }
        const int sign = reader.Taken() == '-' ? -1 : 1;
        const int hours = reader.Digits(2);
        reader.Take(":");
        const int minutes = reader.Digits(2);
        if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59) {
            return std::nullopt;
        }
        offset = oneSecond * 60 * sign * (60 * hours + minutes);
    }
    return reader.AtEnd() ? WallTimeAt(*fields, offset) : std::nullopt;
}

std::string WallTimeText(WallTicks time) {
    const auto milliseconds = static_cast<std::int64_t>(std::llround(static_cast<double>(time) / oneMillisecond));
    const std::chrono::sys_time<std::chrono::milliseconds> moment{std::chrono::milliseconds(milliseconds)};
    const auto midnight = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day day(midnight);
    const std::chrono::hh_mm_ss ofDay(moment - midnight);
    std::array<char, 64> text = {};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(ofDay.hours().count()), static_cast<int>(ofDay.minutes().count()),
                  static_cast<int>(ofDay.seconds().count()), static_cast<int>(ofDay.subseconds().count()));
    return text.data();
}

std::optional<WallTicks> WallTimeOf(const std::string& text) {
    using Limits = std::numeric_limits<WallTicks>;
    constexpr int furthestYear = 32'000;  // ticks count to the year 31196
    int year = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
    unsigned month = 0, day = 0;
    if (std::sscanf(text.c_str(), "%d-%2u-%2uT%2d:%2d:%2d.%3dZ", &year, &month, &day, &hour, &minute, &second,
                    &millisecond) != 7 ||
        std::abs(year) > furthestYear) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    if (!date.ok()) {
        return std::nullopt;
    }
    // Printed, the outermost times are rounded to more than ticks hold.
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    const std::int64_t milliseconds = (((days * 24 + hour) * 60 + minute) * 60 + second) * 1000 + millisecond;
    const WallTicks time = milliseconds > Limits::max() / oneMillisecond   ? Limits::max()
                           : milliseconds < Limits::min() / oneMillisecond ? Limits::min()
                                                                           : milliseconds * oneMillisecond;
    return WallTimeText(time) == text ? std::optional(time) : std::nullopt;
}

WallTicks WallNow() {
    using HundredNanoseconds = std::chrono::duration<std::int64_t, std::ratio<1, oneSecond>>;
    return std::chrono::duration_cast<HundredNanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

bool CanBeStart(WallTicks created, Ticks length, WallTicks completed) {
    return created >= earliestStart && created + length <= completed + clockTolerance;
}

}  // namespace Video
