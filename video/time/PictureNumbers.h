// Which picture of the input was shown at this time?
//
// Pictures at an even distance are one run, however many they are: memory grows with the irregularities only. Live sources
// may have them for months, so the count is given up when there are a million.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {

// A picture's number in its input, counted from 0.
struct PictureNumber {
    std::int64_t number = 0;
    bool exact = true;  // no picture before it was damaged, skipped or without a time
};

class PictureNumbers {
public:
    static constexpr std::size_t mostRuns = 1 << 20;

    // interval: nominal ticks between two pictures, at least 1.
    explicit PictureNumbers(Ticks interval) : _interval(interval) {}

    // The first picture that is shown no earlier gets the number 0; those before get negative ones. Before any is counted.
    void BeginAt(Ticks time) { _begin = time; }

    // The next picture was shown at this time, later than the one before.
    void Count(Ticks time);

    // From here on the count is lost: pictures were damaged, skipped or without a time. Numbers of later times are what the
    // nominal rate makes of them.
    void Lose() { _lost = true; }

    // Number of the picture that was shown at this time, counted from 0 unless BeginAt said otherwise. Between two pictures:
    // one of them.
    std::int64_t At(Ticks time) const;

    // Is At the picture's true number?
    bool IsExact(Ticks time) const { return !_lost || (_count > 0 && time <= _last); }

private:
    struct Run {
        Ticks first;          // ticks; when its first picture was shown
        std::int64_t number;  // of that picture
    };

    std::int64_t Predicted(const Run& run, Ticks time) const;

    std::int64_t CountedAt(Ticks time) const;

    Ticks _interval;           // ticks
    std::vector<Run> _runs;    // by time
    Ticks _last = 0;           // ticks; time of the last picture counted
    std::int64_t _count = 0;   // pictures
    Ticks _begin = 0;          // ticks; of the picture with number 0
    std::int64_t _before = 0;  // pictures counted before that
    bool _lost = false;
};

}  // namespace Video
