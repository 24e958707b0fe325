// How does a learned background survive a restart?  Learns a scene, writes what was learned into a file, and lets a second
// detector read it back: that one sees at once what a third one, which starts with nothing, takes for background.
//
//     background_snapshot [file]          default: background.bin, removed at the end
//
// Uses the classes behind the handle, which belong to one version of the library: hence the check in main.
#include <coreMD.hpp>
#include <coreMD/detector/MotionDetector.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <ios>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int columns = 80, rows = 45, blocks = columns * rows;
using namespace std::chrono_literals;

// A snapshot that goes back to the detector that made it. Made when the grid is known: after the first frame.
auto MakeSnapshot(MD::MotionDetector& detector) {
    const auto free = [&detector](MD::BackgroundStorage* storage) { detector.FreeBackgroundStorage(&storage); };
    std::unique_ptr<MD::BackgroundStorage, decltype(free)> snapshot(detector.AllocateBackgroundStorage(), free);
    std::vector<unsigned char> everywhere(blocks, 1);
    detector.FillBackgroundStorage(snapshot.get(), everywhere.data(), columns);
    return snapshot;
}

// All arrays of a snapshot in a fixed order; each holds one element per block.
template <class Action>
void ForEachArray(MD::BackgroundStorage& storage, Action action) {
    action(storage._noiseLevel), action(storage._isStable), action(storage._isBackground), action(storage._sampleValue);
    action(storage._backgroundY), action(storage._backgroundCb), action(storage._backgroundCr);
    action(storage._backgroundTime), action(storage._sampleTime);
}

void Save(coremd::Detector& detector, const std::string& path) {
    const auto snapshot = MakeSnapshot(detector.Classes());
    std::ofstream file(path, std::ios::binary);
    ForEachArray(*snapshot, [&file](const auto* array) {
        file.write(reinterpret_cast<const char*>(array), static_cast<std::streamsize>(blocks * sizeof *array));
    });
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

// The times in the file are stream times: the stream must go on where it was, or the background counts as forgotten.
void Restore(coremd::Detector& detector, const std::string& path) {
    const auto snapshot = MakeSnapshot(detector.Classes());
    std::ifstream file(path, std::ios::binary);
    ForEachArray(*snapshot, [&file](auto* array) {
        file.read(reinterpret_cast<char*>(array), static_cast<std::streamsize>(blocks * sizeof *array));
    });
    if (!file) throw std::runtime_error("cannot read " + path);
    detector.Classes().RestoreBackground(snapshot.get());
}

// Ten frames a second of a grey scene, from frame `first` on; with something bright in it, which does not move.
void Show(coremd::Detector& detector, int first, int last, bool isSomethingThere) {
    std::vector<std::uint8_t> planes(3 * blocks, 128);
    for (int y = 20; y < 26; ++y)
        for (int x = 30; x < 36 && isSomethingThere; ++x) planes[static_cast<std::size_t>(y * columns + x)] = 220;
    for (int frame = first; frame <= last; ++frame)
        detector.Detect({.columns = columns, .rows = rows, .ycbcr = planes, .time = frame * 100ms, .fps = 10});
}

void Report(const char* name, coremd::Detector& detector) {
    int known = 0, foreground = 0;
    for (const std::int32_t flag : detector.Background().known) known += flag != 0;
    for (int i = 0; i < blocks; ++i) foreground += detector.Classes()._isObject[i] != 0;
    std::printf("%s: background of %d blocks, %d blocks in front of it\n", name, known, foreground);
}

}  // namespace

int main(int argc, char** argv) try {
    const std::string path = argc > 1 ? argv[1] : "background.bin";
    if (coremd::LibraryVersion() != coremd::headerVersion) throw std::runtime_error("compiled for another coreMD");

    coremd::Detector learned, restored, fresh;
    for (coremd::Detector* detector : {&learned, &restored, &fresh}) detector->AddWholePicture();
    Show(learned, 0, 89, false);
    Report("learned ", learned);
    Save(learned, path);

    // Half a second later; something came while nobody watched. The first frame tells the grid.
    Show(restored, 95, 95, true);
    Restore(restored, path);
    Show(restored, 96, 110, true);
    Report("restored", restored);

    Show(fresh, 95, 110, true);
    Report("fresh   ", fresh);
    if (argc < 2) std::remove(path.c_str());
} catch (const std::exception& failure) {
    std::fprintf(stderr, "background_snapshot: %s\n", failure.what());
    return 1;
}
