// How do times of day become times of a recording?
#include "video/time/TimeRange.h"

#include <cstddef>
#include <limits>

namespace Video {

namespace {

constexpr Ticks oneHour = 3600 * oneSecond;
constexpr Ticks wholeDay = 24 * oneHour;
constexpr Ticks noEnd = std::numeric_limits<Ticks>::max();

// Rounded down, also below 0.
Ticks DaysIn(Ticks time) { return time / wholeDay - (time % wholeDay < 0 ? 1 : 0); }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// "22", "30": two digits below the bound at that place; -1: something else.
int TwoDigits(const std::string& text, std::size_t place, int bound) {
    if (place + 2 > text.size() || !IsDigit(text[place]) || !IsDigit(text[place + 1])) {
        return -1;
    }
    const int value = 10 * (text[place] - '0') + (text[place + 1] - '0');
    return value < bound ? value : -1;
}

// began: on the axis of the range.
RecordingPart PlainPart(const TimeRange& range, Ticks began) {
    return {range.from ? range.from->at - began : 0, range.to ? range.to->at - began : noEnd};
}

}  // namespace

std::optional<RangeEdge> ParseClockEdge(const std::string& text) {
    if (const std::optional<WallTicks> moment = ParseWallTime(text)) {
        return RangeEdge{.kind = RangeEdge::Kind::Moment, .at = *moment, .text = text};
    }
    if (text.empty() || (text[0] != 'T' && text[0] != 't')) {
        return std::nullopt;
    }
    const int hour = TwoDigits(text, 1, 25), minute = TwoDigits(text, 4, 60);
    if (hour < 0 || minute < 0 || text[3] != ':') {
        return std::nullopt;
    }
    RangeEdge edge{.kind = RangeEdge::Kind::TimeOfDay, .at = hour * oneHour + minute * 60 * oneSecond, .text = text};
    std::size_t place = 6;
    if (place < text.size() && text[place] == ':') {
        const int second = TwoDigits(text, place + 1, 60);
        if (second < 0) {
            return std::nullopt;
        }
        edge.at += second * oneSecond;
        place += 3;
        if (place < text.size() && text[place] == '.') {
            Ticks unit = oneSecond;
            for (++place; place < text.size() && IsDigit(text[place]); ++place) {
                unit /= 10;
                edge.at += unit * (text[place] - '0');
            }
            if (unit == oneSecond) {
                return std::nullopt;
            }
        }
    }
    if (edge.at > wholeDay) {
        return std::nullopt;
    }
    if (place == text.size()) {
        return edge;
    }
    const char sign = text[place];
    if (sign == 'Z' || sign == 'z') {
        edge.offset = 0;
        return place + 1 == text.size() ? std::optional(edge) : std::nullopt;
    }
    const int hours = TwoDigits(text, place + 1, 24), minutes = TwoDigits(text, place + 4, 60);
    if ((sign != '+' && sign != '-') || place + 6 != text.size() || text[place + 3] != ':' || hours < 0 || minutes < 0) {
        return std::nullopt;
    }
    edge.offset = (sign == '-' ? -1 : 1) * (hours * oneHour + minutes * 60 * oneSecond);
    return edge;
}

std::string TimeRange::Text() const {
    std::string text = from ? "--from " + from->text : "";
    return text + (to ? (text.empty() ? "--to " : " --to ") + to->text : "");
}

std::string Trouble(const TimeRange& range) {
    if (!range.from || !range.to) {
        return "";
    }
    if (range.from->kind != range.to->kind) {
        return "--from and --to must both be seconds, times of day, or times with a date";
    }
    if (range.Recurs() && (range.from->offset != range.to->offset)) {
        return "--from and --to must be by the same clock";
    }
    const bool isNothing = range.Recurs() ? range.from->at == range.to->at : range.from->at >= range.to->at;
    return isNothing ? "--to must be later than --from" : "";
}

std::optional<RecordingPart> PartBehind(const TimeRange& range, const std::optional<StartTime>& clock, Ticks time) {
    if (!range.Recurs()) {
        const RecordingPart part = PlainPart(range, range.WantsClock() ? clock->at : 0);
        return part.end > time ? std::optional(part) : std::nullopt;
    }
    const std::optional<Ticks>& stated = (range.from ? range.from : range.to)->offset;
    const Ticks offset = stated ? *stated : clock->offset ? *clock->offset : LocalOffset(clock->at + time);
    const Ticks from = range.from ? range.from->at : 0, to = range.to ? range.to->at : wholeDay;
    const Ticks length = to > from ? to - from : to - from + wholeDay;  // across midnight
    const Ticks began = clock->at + offset;                             // by the clock that is meant
    // The latest day on which a part has begun by then; that part, or the one of the day after it.
    const Ticks day = DaysIn(began + time - from) * wholeDay;
    const Ticks start = day + from - began;
    return start + length > time ? RecordingPart{start, start + length}
                                 : RecordingPart{start + wholeDay, start + wholeDay + length};
}

}  // namespace Video
