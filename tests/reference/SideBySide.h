// Do the library and the model agree on one stream?  Drives both through a scenario and compares everything that the library
// delivers after every frame: statuses, records, maps, objects with their blocks in order, and the background picture.
// Caller: the differential test. The library is used through its C interface alone.
#pragma once

#include "ReferenceModel.h"
#include "Scenario.h"

#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace Reference {

class SideBySide {
public:
    // `rules`: those of the model; others than the defaults plant a fault.
    explicit SideBySide(std::uint64_t seed, const Rules& rules = {});
    ~SideBySide() { h14(&_handle); }
    SideBySide(const SideBySide&) = delete;
    SideBySide& operator=(const SideBySide&) = delete;

    int Frames() const { return _scenario.Frames(); }

    // Plays `frames` frames or up to the first difference, which is told in words.
    std::optional<std::string> Play(int frames);

    int FramesPlayed() const { return _frame; }
    const RuleCounters& Counters() const { return _model.Counters(); }

    // The model alone over the same stream: which rules does it reach?
    static RuleCounters Rehearse(std::uint64_t seed, int frames);

private:
    static constexpr std::size_t allObjects = static_cast<std::size_t>(-1);
    static int DrawPhase(std::uint64_t seed);
    static void Prepare(Model& model, Step& step);
    void Prepare(Step& step);
    void CompareBeforeFirstFrame();
    void CompareSummary();
    void CompareEverything(Reading reading);
    void CompareResult(std::size_t objects);
    void CompareObject(std::size_t position, const MDObjectInfo& object, const MotionObject& expected);
    void CompareBackground();
    template <class T>
    void CompareMap(const char* what, const T* library, const std::vector<T>& model);
    template <class A, class B>
    void Expect(const std::string& what, A library, B model);

    std::uint64_t _seed;
    Scenario _scenario;
    Model _model;
    DetectorHandle _handle = nullptr;
    int _frame = 0, _width = 0;
    std::optional<std::string> _difference;  // the first one
};

}  // namespace Reference
