// Runs the library beside the model and tells the first difference.
#include "SideBySide.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Reference {

// An assertion of the library ends the process: say on which stream.
static std::uint64_t currentSeed = 0;
static int currentFrame = 0;

static void TellSeed(int) {
    std::fprintf(stderr, "aborted on seed %llu, frame %d\n", static_cast<unsigned long long>(currentSeed), currentFrame);
    std::signal(SIGABRT, SIG_DFL);
}

// The detector draws its phase with one call of rand(): the same seed gives the same value beforehand.
int SideBySide::DrawPhase(std::uint64_t seed) {
    const unsigned int start = static_cast<unsigned int>(seed * 2654435761u);
    std::srand(start);
    const int drawn = std::rand();
    std::srand(start);
    return Model::StartPhase(drawn);
}

SideBySide::SideBySide(std::uint64_t seed, const Rules& rules)
    : _seed(seed), _scenario(seed), _model(DrawPhase(seed), rules) {
    std::signal(SIGABRT, TellSeed);
    Expect("status of h15", h15(&_handle), 0);
}

RuleCounters SideBySide::Rehearse(std::uint64_t seed, int frames) {
    Scenario scenario(seed);
    Model model(DrawPhase(seed));
    std::vector<std::uint8_t> image;
    std::vector<std::int32_t> mask;
    for (int frame = 0; frame < frames; ++frame) {
        model.Background(image.data(), mask.data());
        Step step = scenario.Next();
        Prepare(model, step);
        if (step.removeZones && step.addZones.empty()) model.Result();
        model.Detect(step.Info());
        MDResultInfo summary{};
        model.Summary(summary);
        model.Result();
        image.resize(3 * model.BlockCount());
        mask.resize(model.BlockCount());
    }
    return model.Counters();
}

std::optional<std::string> SideBySide::Play(int frames) {
    currentSeed = _seed;
    for (int end = _frame + frames; _frame < end && !_difference; ++_frame) {
        currentFrame = _frame;
        if (_frame == 0) CompareBeforeFirstFrame();
        Step step = _scenario.Next();
        Prepare(_model, step);
        Prepare(step);
        if (step.removeZones && step.addZones.empty())
            CompareEverything(Reading::Everything);  // the results of the last frame outlive the zones
        DetectionInfo info = step.Info();
        _width = info.width;
        _model.Detect(info);
        const std::vector<std::uint8_t> planes = step.planes, reference = step.reference;
        h13(&_handle, &info);
        Expect("input left alone", planes == step.planes && reference == step.reference, true);
        CompareEverything(step.reading);
    }
    return _difference;
}

void SideBySide::CompareEverything(Reading reading) {
    if (reading == Reading::Nothing) return;
    if (reading != Reading::WithoutSummary) CompareSummary();
    CompareResult(reading == Reading::FirstObject ? 1 : allObjects);
    if (reading == Reading::Twice) CompareResult(allObjects);
    CompareBackground();
}

void SideBySide::Prepare(Model& model, Step& step) {
    if (step.removeZones) model.RemoveAllZones();
    for (ZoneSetting& zone : step.addZones) model.AddZone(zone.Info());
    if (step.limit) model.SetLimit(*step.limit);
    if (step.longTimes) model.SetLongTimes(*step.longTimes);
}

void SideBySide::Prepare(Step& step) {
    if (step.removeZones) h11(&_handle);
    for (ZoneSetting zone : step.addZones) {  // a copy that is gone right away: the library must not keep the caller's mask
        MDZoneInfo info = zone.Info();
        h12(&_handle, &info);
    }
    if (step.limit) h35(&_handle, *step.limit);
    if (step.longTimes) h36(&_handle, *step.longTimes);
}

// --------------------------------------------------------------------------------------------------------- comparison

template <class A, class B>
void SideBySide::Expect(const std::string& what, A library, B model) {
    if (_difference || static_cast<long long>(library) == static_cast<long long>(model)) return;
    std::ostringstream text;
    text << "seed " << _seed << ", frame " << _frame << ": " << what << ": library " << static_cast<long long>(library)
         << ", model " << static_cast<long long>(model);
    _difference = text.str();
}

template <class T>
void SideBySide::CompareMap(const char* what, const T* library, const std::vector<T>& model) {
    if (std::memcmp(library, model.data(), model.size() * sizeof(T)) == 0) return;
    for (std::size_t i = 0; i < model.size(); ++i) {
        const int x = static_cast<int>(i) % _width, y = static_cast<int>(i) / _width;
        Expect(std::string(what) + " at (" + std::to_string(x) + ", " + std::to_string(y) + ")", library[i], model[i]);
    }
}

void SideBySide::CompareBeforeFirstFrame() {
    CompareSummary();
    CompareResult(allObjects);
    std::uint8_t pixel[3] = {1, 2, 3};
    std::int32_t mask = 4;
    Expect("negative status of h33 before the first frame", h33(&_handle, pixel, &mask) < 0, true);
    Expect("model's status", _model.Background(pixel, &mask) < 0, true);
    Expect("picture written before the first frame", pixel[0] == 1 && pixel[1] == 2 && pixel[2] == 3 && mask == 4, true);
}

void SideBySide::CompareSummary() {
    MDResultInfo library = {-7, -7, -7}, model = {-7, -7, -7};
    Expect("status of h17", h17(&_handle, &library), _model.Summary(model));
    Expect("zoneResultsCount", library.zoneResultsCount, model.zoneResultsCount);
    Expect("isIFrame", library.isIFrame, model.isIFrame);
    Expect("passThroughFlag", library.passThroughFlag, model.passThroughFlag);
}

void SideBySide::CompareResult(std::size_t objects) {
    std::uint16_t label = 0;
    std::uint8_t result = 0;
    MDZoneDetectionInfo library = {-7, &label, &result};
    const ZoneResult model = _model.Result();
    Expect("status of h19", h19(&_handle, &library), model.status);
    if (_difference) return;
    if (model.status != COREMD_DELIVERED) {
        const bool isUntouched = library.objectsCount == -7 && library.objectsMap == &label && library.zoneMap == &result;
        Expect("record of h19 left alone", isUntouched, true);
        return;
    }
    Expect("objectsCount", library.objectsCount, model.objects->size());
    CompareMap("objectsMap", library.objectsMap, *model.labels);
    CompareMap("zoneMap", library.zoneMap, *model.results);
    for (std::size_t i = 0; i < std::min(objects, model.objects->size()) && !_difference; ++i) {
        MDObjectInfo object{};
        Expect("status of h18", h18(&_handle, &object), COREMD_DELIVERED);
        if (!_difference) CompareObject(i, object, (*model.objects)[i]);
    }
    MDObjectInfo object{};
    if (!_difference && objects == allObjects)
        Expect("status of h18 after the last object", h18(&_handle, &object), COREMD_EXHAUSTED);
}

void SideBySide::CompareObject(std::size_t position, const MDObjectInfo& object, const MotionObject& expected) {
    const std::string name = "object " + std::to_string(position);
    Expect(name + ": pixelsCount", object.pixelsCount, expected.cells.size());
    Expect(name + ": index", object.index, 0);
    Expect(name + ": secondIndex", object.secondIndex, 0);
    Expect(name + ": left", object.left, expected.left);
    Expect(name + ": right", object.right, expected.right);
    Expect(name + ": top", object.top, expected.top);
    Expect(name + ": bottom", object.bottom, expected.bottom);
    for (std::size_t i = 0; i < expected.cells.size() && !_difference; ++i)
        if (object.pixelsX[i] != expected.cells[i].x || object.pixelsY[i] != expected.cells[i].y) {
            Expect(name + ": column of block " + std::to_string(i), object.pixelsX[i], expected.cells[i].x);
            Expect(name + ": row of block " + std::to_string(i), object.pixelsY[i], expected.cells[i].y);
        }
}

void SideBySide::CompareBackground() {
    const std::size_t count = _model.BlockCount();
    std::vector<std::uint8_t> image(3 * count, 77), expectedImage(3 * count, 78);
    std::vector<std::int32_t> mask(count, 77), expectedMask(count, 78);
    Expect("status of h33", h33(&_handle, image.data(), mask.data()),
           _model.Background(expectedImage.data(), expectedMask.data()));
    CompareMap("background mask", mask.data(), expectedMask);
    if (image == expectedImage) return;
    for (std::size_t i = 0; i < 3 * count; ++i)
        Expect("background picture, byte " + std::to_string(i % 3) + " of block " + std::to_string(i / 3), image[i],
               expectedImage[i]);
}

}  // namespace Reference
