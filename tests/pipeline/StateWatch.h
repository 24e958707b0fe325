// Which states did a detector go through?  Looked at after every frame; a scene that claims to reach a rule proves it here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

#include "coreMD.h"
#include "detector/MotionDetector.h"

class StateWatch {
public:
    explicit StateWatch(DetectorHandle* handle) : _detector(GetDetector(handle)) {}

    void Look() {
        const MD::MotionDetector& d = *_detector;
        phases.insert(d._skipPhase);
        if (d._frameStatistics._isFilled) ++(d._lastFrameTime == d._currentTime ? updated : skipped);
        const bool isOn = d._h264PartlyStatistic._analyseIFramesForMotion;
        machineTurnedOn += isOn && !_wasOn;
        machineTurnedOff += !isOn && _wasOn;
        _wasOn = isOn;

        const auto count = static_cast<std::size_t>(d.blockCount);
        _wasBackground.resize(count);
        _backgroundTime.resize(count);
        _sampleTime.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            const bool isBackground = d._isBackground[i] != 0;
            confirmed += isBackground && !_wasBackground[i];
            forgotten += !isBackground && _wasBackground[i];
            refreshed += isBackground && _wasBackground[i] && d._backgroundTime[i] != _backgroundTime[i];
            sampled += d._sampleTime[i] != _sampleTime[i];
            changed += d._isMotionPixel[i] != 0;
            stable += d._isStable[i] != 0;
            unstable += d._isStable[i] == 0;
            _wasBackground[i] = isBackground;
            _backgroundTime[i] = d._backgroundTime[i];
            _sampleTime[i] = d._sampleTime[i];
        }
    }

    std::set<int> phases;          // of frame skipping
    int updated = 0, skipped = 0;  // frames with and without background update, once the history is filled
    int machineTurnedOn = 0, machineTurnedOff = 0;
    long confirmed = 0, forgotten = 0;  // blocks, added up over all frames, as all below
    long refreshed = 0, sampled = 0;
    long changed = 0, stable = 0, unstable = 0;

private:
    const MD::MotionDetector* _detector;
    bool _wasOn = false;
    std::vector<bool> _wasBackground;
    std::vector<std::int64_t> _backgroundTime, _sampleTime;
};

inline const std::set<int> allPhases = {0, 1, 2, 3, 4, 5};
