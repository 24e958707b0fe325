// How does detection depend on the rate of analysis, on block size and settings?  Shows labelled sequences to the detector
// the way mdscan does and prints a JSON line per combination.
//
//     coreMD_rates FOLDER...            each as LabelledVideo.h says, taken as 25 pictures a second
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "video/time/Cadence.h"
#include "video/watch/Events.h"
#include "video/base/Failure.h"
#include "LabelledVideo.h"
#include "video/watch/Watcher.h"

namespace {

constexpr double picturesPerSecond = 25;
constexpr Video::Ticks interval = Video::oneSecond / 25;

struct Setting {
    std::string name;
    double rate = 6;    // pictures analysed per second
    int blockSize = 2;  // pixels
    bool limitToMotion = true;
    bool learnSlowly = false;
    bool shadows = false;
    float minSize = 0.03f;
    double statedRate = 0;    // what the detector is told; 0: the video's
    bool partlyH264 = false;  // as complete pictures of a partly decoded stream
};

// Sums over all start phases of the cadence: which picture comes first is chance.
struct Score {
    int frames = 0, moving = 0, missed = 0, still = 0, falseAlarms = 0;  // analysed and scored frames
    long long hits = 0, misses = 0, extra = 0;                           // blocks
    int events = 0, eventsFound = 0, found = 0, foundFalse = 0;

    double Share(double part, double whole) const { return whole > 0 ? part / whole : 0; }
};

std::vector<Video::Event> EventsOf(const std::vector<Video::Findings>& frames) {
    const Video::Ticks gap = 2 * Video::oneSecond;
    Video::EventLog log({.mergeGap = gap, .minDuration = Video::oneSecond / 2, .longestGap = 1000 * Video::oneSecond});
    std::vector<Video::Event> events;
    const auto keep = [&](std::optional<Video::Event> event) {
        if (event) events.push_back(std::move(*event));
    };
    for (const Video::Findings& frame : frames) keep(log.Add(frame));
    keep(log.Close());
    return events;
}

int CountMatched(const std::vector<Video::Event>& these, const std::vector<Video::Event>& those) {
    return static_cast<int>(std::count_if(these.begin(), these.end(), [&](const Video::Event& a) {
        return std::any_of(those.begin(), those.end(),
                           [&](const Video::Event& b) { return a.start <= b.end && b.start <= a.end; });
    }));
}

void AddRun(const std::vector<Bench::LabelledPicture>& video, const Setting& setting, int phase, Score& score) {
    std::srand(static_cast<unsigned>(phase + 1));  // the detector's own frame cycle starts anywhere, too
    coremd::Detector detector;
    detector.AddWholePicture(setting.minSize, setting.minSize);
    detector.LimitToMotion(setting.limitToMotion);
    detector.LearnSlowly(setting.learnSlowly);
    Video::Cadence cadence(setting.rate, interval);
    std::vector<Video::Findings> truths, findings;
    for (std::size_t i = static_cast<std::size_t>(phase); i < video.size(); ++i) {
        const Bench::LabelledPicture& picture = video[i];
        const Video::Ticks time = static_cast<Video::Ticks>(i) * interval;
        if (!cadence.Takes(time)) continue;
        detector.Detect({.columns = picture.columns,
                         .rows = picture.rows,
                         .ycbcr = picture.ycbcr,
                         .time = coremd::Ticks(time),
                         .fps = setting.statedRate > 0 ? setting.statedRate : picturesPerSecond,
                         .detectShadow = setting.shadows,
                         .isIFrame = true,
                         .isPartlyH264 = setting.partlyH264,
                         .isPartlyH264IFrame = setting.partlyH264});
        std::vector<bool> found(picture.truth.size());
        int objects = 0;
        for (const coremd::Object& object : detector.Objects()) {
            objects += object.BlockCount() > 0;
            for (const coremd::Block block : object.Blocks())
                found[static_cast<std::size_t>(block.row * picture.columns + block.column)] = true;
        }
        if (!picture.scored) continue;
        const bool moves = picture.Moves();
        ++score.frames;
        (moves ? score.moving : score.still)++;
        score.missed += moves && objects == 0;
        score.falseAlarms += !moves && objects > 0;
        for (std::size_t block = 0; block < found.size(); ++block) {
            const Bench::Truth truth = picture.truth[block];
            score.hits += found[block] && truth == Bench::Truth::Moving;
            score.misses += !found[block] && truth == Bench::Truth::Moving;
            score.extra += found[block] && truth == Bench::Truth::Still;
        }
        const Video::MovingObject something{{0, 0, 1, 1}, 1};
        truths.push_back({time, moves ? std::vector{something} : std::vector<Video::MovingObject>{}});
        findings.push_back({time, objects > 0 ? std::vector{something} : std::vector<Video::MovingObject>{}});
    }
    const auto real = EventsOf(truths), seen = EventsOf(findings);
    score.events += static_cast<int>(real.size());
    score.found += static_cast<int>(seen.size());
    score.eventsFound += CountMatched(real, seen);
    score.foundFalse += static_cast<int>(seen.size()) - CountMatched(seen, real);
}

void Print(const std::string& sequence, const Setting& setting, const Score& s) {
    const double precision = s.Share(static_cast<double>(s.hits), static_cast<double>(s.hits + s.extra));
    const double recall = s.Share(static_cast<double>(s.hits), static_cast<double>(s.hits + s.misses));
    std::printf(
        "{\"sequence\":\"%s\",\"setting\":\"%s\",\"rate\":%g,\"block\":%d,\"frames\":%d,\"moving\":%d,\"missed\":%d,"
        "\"still\":%d,\"false_alarms\":%d,\"block_precision\":%.4f,\"block_recall\":%.4f,\"block_f\":%.4f,\"events\":%d,"
        "\"events_found\":%d,\"found\":%d,\"found_false\":%d}\n",
        sequence.c_str(), setting.name.c_str(), setting.rate, setting.blockSize, s.frames, s.moving, s.missed, s.still,
        s.falseAlarms, precision, recall, s.Share(2 * precision * recall, precision + recall), s.events, s.eventsFound,
        s.found, s.foundFalse);
    std::fflush(stdout);
}

std::vector<Setting> Settings() {
    std::vector<Setting> all;
    for (const double rate : {25.0, 12.5, 8.4, 6.25, 5.0, 4.2, 3.1, 2.0, 1.0, 0.5})
        all.push_back({.name = "rate", .rate = rate});
    for (const int block : {1, 3, 4, 8}) all.push_back({.name = "block", .blockSize = block});
    all.push_back({.name = "unlimited", .limitToMotion = false});
    all.push_back({.name = "unlimited, all pictures", .rate = 25, .limitToMotion = false});
    all.push_back({.name = "slow learning", .learnSlowly = true});
    all.push_back({.name = "shadows", .shadows = true});
    all.push_back({.name = "no smallest size", .minSize = 0});
    all.push_back({.name = "rate stated", .statedRate = 6.25});
    for (const double rate : {1.0, 0.5}) all.push_back({.name = "partly decoded H.264", .rate = rate, .partlyH264 = true});
    all.push_back({.name = "twice the rate stated", .statedRate = 12.5});
    return all;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        for (int i = 1; i < argc; ++i) {
            const std::string folder = argv[i], sequence = folder.substr(folder.find_last_of('/') + 1);
            int blockSize = 0;
            std::vector<Bench::LabelledPicture> video;
            std::vector<Setting> settings = Settings();
            std::stable_sort(settings.begin(), settings.end(),
                             [](const Setting& a, const Setting& b) { return a.blockSize < b.blockSize; });
            for (const Setting& setting : settings) {
                if (setting.blockSize != blockSize) {
                    blockSize = setting.blockSize;
                    video = Bench::ReadLabelledVideo(folder, blockSize);
                }
                Score score;
                const int phases = static_cast<int>(Video::Cadence(setting.rate, interval).Period() / interval);
                for (int phase = 0; phase < phases; ++phase) AddRun(video, setting, phase, score);
                Print(sequence, setting, score);
            }
        }
    } catch (const Video::Failure& failure) {
        std::fprintf(stderr, "coreMD_rates: %s\n", failure.what());
        return 1;
    }
}
