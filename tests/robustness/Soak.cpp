// Does memory stay flat for a month?  Runs days of stream time through one handle: all kinds of input in turn, grids, zones
// and settings changed every ten minutes. Prints resident memory and a digest of everything that can be read. Ends with 1 if
// the resident memory at any later report exceeds that after the settling time by more than the bound.
//
//     Soak --days 30                30 days at 8 frames per second: 20.7 million frames
//     Soak --hours 16               the short form that runs as a test
//     Soak --help
#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "OutputDigest.h"
#include "ResidentMemory.h"
#include "ScriptedStream.h"
#include "detector/MotionDetector.h"

namespace {

constexpr std::int64_t oneHour = 3600 * Kit::oneSecond;
constexpr std::int64_t stretchTime = oneHour / 6;  // of one kind, grid and set of zones
constexpr std::int64_t interval = Kit::oneSecond / 8;

volatile char* volatile lost;  // the last piece leaked on purpose: volatile, or it would never be allocated

struct Options {
    std::int64_t hours = 6;
    std::int64_t reportHours = 1;  // stream time between two lines
    std::int64_t settleHours = 8;  // memory may grow until then
    long boundKiB = 256;           // and by that much afterwards
    long leakBytes = 0;            // lost every ten minutes: shows that the check sees a leak
    int columns = 16, rows = 9;    // every second grid; the others are up to twice as wide and high
};

[[noreturn]] void Usage(int status) {
    std::fputs(
        "usage: Soak [--days N | --hours N] [--grid WxH] [--report-hours N] [--settle-hours N] [--bound-kib N] [--leak "
        "BYTES]\n"
        "Runs N days or hours of stream time at 8 frames per second through one detector; ends with 1 if memory grew.\n",
        status ? stderr : stdout);
    std::exit(status);
}

Options Parse(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string name = arguments[i];
        if (name == "--help") Usage(0);
        if (++i == count) Usage(2);
        const char* const value = arguments[i];
        const long number = std::atol(value);
        if (name == "--days") options.hours = 24 * number;
        else if (name == "--hours") options.hours = number;
        else if (name == "--report-hours") options.reportHours = number;
        else if (name == "--settle-hours") options.settleHours = number;
        else if (name == "--bound-kib") options.boundKiB = number;
        else if (name == "--leak") options.leakBytes = number;
        else if (name != "--grid" || std::sscanf(value, "%dx%d", &options.columns, &options.rows) != 2) Usage(2);
    }
    if (options.hours < 1 || options.reportHours < 1 || options.settleHours < 1 || options.columns < 1 || options.rows < 1)
        Usage(2);
    return options;
}

class Soak {
public:
    explicit Soak(const Options& options) : _options(options) {
        h15(&_handle);
        GetDetector(&_handle)->_skipPhase = 0;  // the digest shall not depend on the phase drawn
    }
    ~Soak() { h14(&_handle); }
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    // One kind of input on one grid with its zones. Always a fresh start: the grid changes, or time runs back by a minute.
    void RunStretch() {
        ReplaceZones();
        const bool isNewGrid = _stretch % 3 != 2;
        Kit::ScriptedStream stream(DrawScript(isNewGrid), isNewGrid ? _clock : _clock - 60 * Kit::oneSecond);
        const std::int64_t start = stream.NextTime();
        while (stream.NextTime() - start < stretchTime) {
            if (_random.OneIn(2000)) h35(&_handle, _random.Between(0, 2));
            if (_random.OneIn(3000)) h36(&_handle, _random.Between(0, 1));
            DetectionInfo info = stream.Next();
            h13(&_handle, &info);
            _digest.AddFrame(&_handle, stream.BlockCount());
            ++frames;
        }
        objects += GetDetector(&_handle)->_mergedPool._busyList._objectsCount;
        streamTime += stream.NextTime() - start;
        _clock = stream.NextTime();
        if (_options.leakBytes > 0) {
            lost = static_cast<volatile char*>(std::malloc(static_cast<std::size_t>(_options.leakBytes)));
            for (long i = 0; lost && i < _options.leakBytes; ++i) lost[i] = 1;
        }
        ++_stretch;
    }

    std::uint64_t Digest() const { return _digest.Value(); }

    std::int64_t frames = 0, streamTime = 0;
    long objects = 0;  // in the last frames of the stretches

private:
    Kit::StreamScript DrawScript(bool isNewGrid) {
        constexpr Kit::InputKind kinds[] = {Kit::InputKind::StandardWithShadows, Kit::InputKind::Standard,
                                            Kit::InputKind::MPEG4, Kit::InputKind::PartlyH264};
        constexpr Kit::GroundKind grounds[] = {Kit::GroundKind::Texture, Kit::GroundKind::Lattice,
                                               Kit::GroundKind::Checkerboard, Kit::GroundKind::Flat};
        if (isNewGrid) {
            // Few grids that come again: the largest memory ever needed is needed early.
            constexpr int shares[] = {1, 2, 4};
            const int share = _random.Pick(shares);
            const bool isUsual = _columns != _options.columns || _rows != _options.rows;
            _columns = isUsual ? _options.columns : std::max(1, 2 * _options.columns / share - 1);
            _rows = isUsual ? _options.rows : 2 * _options.rows / share + 1;
        }
        Kit::StreamScript script;
        script.kind = kinds[_stretch % 4];
        script.columns = _columns;
        script.rows = _rows;
        script.seed = _random.Next();
        script.ground = _random.Pick(grounds);
        script.things = _random.Between(1, 6);
        script.shadows = script.kind == Kit::InputKind::StandardWithShadows ? 3 : 0;
        script.noise = _random.Between(0, 2);
        script.hasDrift = _random.OneIn(2);
        script.interval = interval;
        script.jitterPercent = _random.OneIn(2) ? 0 : 40;
        script.fps = _random.OneIn(2) ? 8.0 : 3.0;
        return script;
    }

    void ReplaceZones() {
        h11(&_handle);
        for (int zones = _random.Between(1, 4); zones > 0; --zones) {
            const int columns = _random.Between(1, 12), rows = _random.Between(1, 12);
            std::vector<std::uint8_t> mask(static_cast<std::size_t>(columns * rows));
            for (std::uint8_t& cell : mask) cell = _random.OneIn(4) ? std::uint8_t{0} : std::uint8_t{1};
            MDZoneInfo zone{mask.data(), columns, rows, 0.3f, static_cast<float>(_random.Between(0, 2)) * 0.07f, 0.0f};
            h12(&_handle, &zone);
        }
    }

    Options _options;
    DetectorHandle _handle = nullptr;
    Kit::SeededRandom _random{2592000};
    Kit::OutputDigest _digest;
    std::int64_t _clock = 638000000000000000;  // ticks, as of a real clock
    int _columns = 0, _rows = 0, _stretch = 0;
};

}  // namespace

int main(int count, char** arguments) {
    const Options options = Parse(count, arguments);
    const auto begin = std::chrono::steady_clock::now();
    Soak soak(options);
    long settled = 0, largest = 0;
    bool isSettled = false;
    for (std::int64_t next = std::min(options.reportHours, options.settleHours);
         soak.streamTime < options.hours * oneHour;) {
        soak.RunStretch();
        if (soak.streamTime < next * oneHour) continue;
        const long resident = Kit::ResidentKiB();
        if (isSettled) largest = std::max(largest, resident);
        if (!isSettled && soak.streamTime >= options.settleHours * oneHour) {
            isSettled = true;
            settled = largest = resident;
        }
        std::printf("hour %4" PRId64 "  frames %10" PRId64 "  resident %6ld KiB  digest %016" PRIx64 "\n", next, soak.frames,
                    resident, soak.Digest());
        std::fflush(stdout);
        next += isSettled ? options.reportHours : std::min(options.reportHours, options.settleHours);
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    const long last = Kit::ResidentKiB();
    largest = std::max(largest, last);
    std::printf("%" PRId64
                " frames, %.1f hours of stream, %.0f s; %ld objects seen at stretch ends; resident %ld KiB settled, %ld "
                "largest since, %ld at the end, bound +%ld\n",
                soak.frames, static_cast<double>(soak.streamTime) / static_cast<double>(oneHour), seconds.count(),
                soak.objects, settled, largest, last, options.boundKiB);
    if (!isSettled || soak.objects == 0) {
        std::puts("proves nothing: too short");
        return 1;
    }
    if (largest - settled <= options.boundKiB) return 0;
    std::puts("MEMORY GREW");
    return 1;
}
