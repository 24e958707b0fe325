// How are pictures counted by their times?
#include "video/time/PictureNumbers.h"

#include <algorithm>

#include "video/time/TickTime.h"

namespace Video {

void PictureNumbers::Count(Ticks time) {
    if (_lost) {
        return;
    }
    if (_runs.empty() || Predicted(_runs.back(), time) != _count) {
        if (_runs.size() == mostRuns) {
            Lose();
            return;
        }
        _runs.push_back({time, _count});
    }
    _last = time;
    ++_count;
    _before += time < _begin ? 1 : 0;
}

// By the run's even distance. Precondition: time is not before the run.
std::int64_t PictureNumbers::Predicted(const Run& run, Ticks time) const {
    return run.number + (time - run.first + _interval / 2) / _interval;
}

std::int64_t PictureNumbers::At(Ticks time) const { return CountedAt(time) - _before; }

std::int64_t PictureNumbers::CountedAt(Ticks time) const {
    if (_runs.empty()) {
        return std::max<std::int64_t>(0, (time + _interval / 2) / _interval);
    }
    const auto later =
        std::upper_bound(_runs.begin(), _runs.end(), time, [](Ticks wanted, const Run& run) { return wanted < run.first; });
    if (later == _runs.begin()) {
        return 0;
    }
    const std::int64_t number = Predicted(*(later - 1), time);
    if (later != _runs.end()) {
        return std::min(number, later->number - 1);  // a pause before the next run
    }
    return _lost || time > _last ? number : std::min(number, _count - 1);
}

}  // namespace Video
