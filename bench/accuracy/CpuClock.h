// How much processor time did a part of the program take?
#pragma once

#include <ctime>

namespace Accuracy {

class CpuClock {
public:
    // Runs it and adds what it took.
    template <typename Step>
    void Time(const Step& step) {
        const double begin = Now();
        step();
        _seconds += Now() - begin;
    }

    // Runs it within a step that is timed, and takes out again what it took.
    template <typename Step>
    void Except(const Step& step) {
        const double begin = Now();
        step();
        _seconds -= Now() - begin;
    }

    double Seconds() const { return _seconds; }

private:
    static double Now() {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }

    double _seconds = 0;
};

}  // namespace Accuracy
