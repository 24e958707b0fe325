// How does what was learned survive a restart?  Learns a scene, writes two memories into files, and goes on ten minutes
// later in five ways: from the state of the detector, with times that go on as if nothing had happened and with times that
// tell of the outage; from the background alone; from nothing; and from a state that is of no use.
//
//     background_snapshot [folder]          default: the current one; the files are removed at the end
#include <coreMD.hpp>
#include <coreMD/host/conditioning/BackgroundMemory.h>
#include <coreMD/host/conditioning/MemoryFile.h>
#include <coreMD/host/conditioning/Priming.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
constexpr coremd::Ticks interval = 100ms, outage = 10min;
constexpr Host::MemoryGrid grid{.columns = 80, .rows = 45, .width = 640, .height = 360, .blockSize = 8};
constexpr int blocks = grid.columns * grid.rows;
using Planes = std::vector<std::uint8_t>;  // 3 * [block]: Y, Cb, Cr

// A grey scene with a little noise. After the outage it is three levels brighter, and something was put there.
Planes Scene(int number, bool isLater) {
    Planes planes(3 * blocks, 128);
    std::uint32_t random = static_cast<std::uint32_t>(number) + 1;
    for (int i = 0; i < blocks; ++i) {
        random = random * 1664525u + 1013904223u;
        const int x = i % grid.columns, y = i / grid.columns;
        const bool isThing = isLater && x >= 30 && x < 36 && y >= 20 && y < 26;
        const std::uint32_t luma = isThing ? 220 : isLater ? 123 : 120;
        planes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(luma + (random >> 31));
    }
    return planes;
}

void Show(coremd::Detector& detector, const Planes& planes, coremd::Ticks time) {
    detector.Detect({.columns = grid.columns, .rows = grid.rows, .ycbcr = planes, .time = time, .fps = 10});
}

void Save(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    if (const std::string failure = Host::SaveMemory(path, bytes); !failure.empty()) throw std::runtime_error(failure);
}

std::vector<std::uint8_t> Load(const std::string& path) {
    Host::LoadedBytes file = Host::LoadMemory(path);
    if (!file.bytes) throw std::runtime_error(file.failure);
    return *file.bytes;
}

// A detector that goes on, with the time of the last frame that it was shown; or why there is none. The file begins with
// magic, version, grid and checksum: whatever it holds, the worst is a refusal.
struct Continued {
    coremd::Detector detector;
    coremd::Ticks last{};
};
std::optional<Continued> Restore(const std::string& path, const Host::MemoryGrid& wanted) {
    const auto recalled = Host::DecodeState(Load(path), wanted, coreMD_Version());
    Continued continued;
    if (recalled.memory && continued.detector.LoadState(recalled.memory->state) == coremd::StateStatus::Done) {
        continued.last = coremd::Ticks(recalled.memory->time);
        return continued;
    }
    std::printf("refused: %s\n", recalled.memory ? "no state of a detector" : recalled.refusal.c_str());
    return std::nullopt;
}

// Shows the eleven frames after the outage, at their times and `offset`; says what each of them reports.
void GoOn(const char* name, coremd::Detector& detector, coremd::Ticks start, coremd::Ticks offset) {
    std::string reports, known;
    for (int number = 1; number <= 11; ++number) {
        Show(detector, Scene(number, true), start + (number - 1) * interval + offset);
        const auto objects = detector.Objects();
        reports += !detector.Summary().isReady ? '-' : objects.begin() != objects.end() ? 'M' : '.';
        int count = 0;
        for (const std::int32_t flag : detector.Background().known) count += flag != 0;
        if (number == 1 || number == 11) known += (known.empty() ? "" : ", then ") + std::to_string(count);
    }
    std::printf("%-18s %s  background of %s blocks\n", name, reports.c_str(), known.c_str());
}

void Run(const std::string& statePath, const std::string& backgroundPath) {
    if (coremd::LibraryVersion() < coremd::headerVersion) throw std::runtime_error("compiled for another coreMD");

    // Before the outage: 20 seconds of the scene. The background alone is what was most often to be seen lately.
    coremd::Detector learned;
    learned.AddWholePicture();
    Host::Priming lately(grid.columns, grid.rows, 100);
    coremd::Ticks time{};
    for (int number = 0; number < 200; ++number, time += interval) {
        const Planes planes = Scene(number, false);
        Show(learned, planes, time);
        if (number >= 100) lately.Add(planes.data());
    }
    const coremd::Ticks last = time - interval;
    Host::BackgroundMemory background{
        .grid = grid, .time = last.count(), .ycbcr = Planes(3 * blocks), .isKnown = std::vector<std::uint8_t>(blocks, 255)};
    lately.MostFrequent(7, background.ycbcr.data());
    Save(backgroundPath, Host::Encode(background));
    const Host::StateMemory state{
        .grid = grid, .time = last.count(), .libraryVersion = coreMD_Version(), .state = learned.SaveState()};
    Save(statePath, Host::Encode(state));

    // After it: time goes on ten minutes later.
    const coremd::Ticks start = last + outage;
    if (auto continued = Restore(statePath, grid))
        GoOn("state, times moved", continued->detector, start, continued->last + interval - start);
    if (auto continued = Restore(statePath, grid)) GoOn("state, times kept", continued->detector, start, coremd::Ticks{});

    coremd::Detector primed, fresh;
    for (coremd::Detector* detector : {&primed, &fresh}) detector->AddWholePicture();
    const auto recalled = Host::DecodeBackground(Load(backgroundPath), grid);
    if (!recalled.memory) throw std::runtime_error(recalled.refusal);
    const auto offset = Host::ShowBackground(recalled.memory->ycbcr.data(), start.count(),
                                             [&](const std::uint8_t* planes, Host::Ticks showing) {
                                                 Show(primed, Planes(planes, planes + 3 * blocks), coremd::Ticks(showing));
                                             });
    GoOn("background alone", primed, start, coremd::Ticks(offset));
    GoOn("nothing", fresh, start, coremd::Ticks{});

    // The camera sends larger pictures now: the state is of no use, and the host begins with nothing.
    Restore(statePath, {.columns = 120, .rows = 68, .width = 960, .height = 540, .blockSize = 8});
}

}  // namespace

int main(int argc, char** argv) try {
    const std::string folder = argc > 1 ? argv[1] : ".";
    const std::string state = folder + "/street.state", background = folder + "/street.background";
    Run(state, background);
    std::remove(state.c_str());
    std::remove(background.c_str());
} catch (const std::exception& failure) {
    std::fprintf(stderr, "background_snapshot: %s\n", failure.what());
    return 1;
}
