// How is a moment of a scan looked into?
//
// The scan is the very one that prints events, with a listener: what it explains is what a scan finds.
#include "ask/Explain.h"

#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "ask/BlockProbe.h"
#include "ask/Explanation.h"
#include "ask/Question.h"
#include "results/JobResult.h"
#include "results/Progress.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "run/Job.h"
#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/base/LiveName.h"
#include "video/base/PictureGrid.h"
#include "video/base/Tally.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"
#include "video/watch/Watcher.h"

namespace Scan {

namespace {

constexpr Video::Ticks halfMillisecond =
    Video::oneSecond / 2000;  // results give times rounded so: what they name must be found

// Keeps what is known of the block in the newest analysed frame until the moment in question is over, then follows the event
// that this frame belongs to.
class Witness : public JobListener {
public:
    Witness(const ScanSettings& settings, const Question& question, Progress& progress)
        : _settings(settings), _question(question), _progress(progress) {
        _explanation.asked = Video::FromSeconds(question.at);
        _explanation.minBlocks = settings.minBlocks;
        _explanation.minDuration = settings.minDuration;
    }

    void OnRecord(const Record&) override {}
    void OnScanPicture(const ScanPicture&) override {}
    void OnLive() override {
        throw Video::Failure(Video::Concern::Usage, "mdscan explain wants a recording, not a live source");
    }
    void OnPicture(double done, const Video::Tally& tally) override { _progress.Show(done, tally); }

    // Every event, whatever its length: see Explain.
    void OnEvent(const Video::Event& event) override {
        if (!_running) {
            return;
        }
        EventFate fate = *std::exchange(_running, std::nullopt);
        const bool isLong = fate.end - fate.start >= Video::FromSeconds(_settings.minDuration);
        fate.flash = isLong && _settings.ignoreFlashes && event.onlyFlash;
        fate.counts = isLong && !fate.flash;
        fate.number = fate.counts ? ++_counted : 0;
        if (std::exchange(_isFollowed, false)) {
            _explanation.event = fate;
        }
    }

    // Its picture may have begun before: then it goes on.
    void OnDiscard(Video::Ticks from) override {
        if (!_running || _running->start < from) {
            return;
        }
        EventFate fate = *std::exchange(_running, std::nullopt);
        fate.forgotten = true;
        if (std::exchange(_isFollowed, false)) {
            _explanation.event = fate;
        }
    }

    void OnFrame(Video::Watcher& watcher, const Video::Findings& findings, const Video::PictureNumber& picture) override {
        const bool moves = !findings.objects.empty() && Video::MovingBlocks(findings) >= _settings.minBlocks;
        _isOver = findings.time > _explanation.asked + halfMillisecond;
        if (!_isOver) {
            Look(watcher, findings, picture);
            _isFollowed = moves;
        }
        if (moves) {
            _running = EventFate{.start = _running ? _running->start : findings.time, .end = findings.time};
        }
    }

    bool HasEnough() const override { return _isOver && !_isFollowed; }

    // tally: of the whole scan. Throws Failure where the question has no answer.
    const Explanation& Answer(const Video::Tally& tally) const {
        if (!_isOver && _explanation.asked >= tally.length) {
            throw Video::Failure(Video::Concern::Usage, "--at must lie within the video, from 0 to " +
                                                            SecondsText(tally.length) + " s, not " +
                                                            SecondsText(_explanation.asked));
        }
        if (!_hasSeen) {
            throw Video::Failure(Video::Concern::Usage,
                                 "no picture was analysed up to " + SecondsText(_explanation.asked) + " s");
        }
        const Video::PictureGrid& grid = _explanation.facts.grid;
        const auto range = [](int columns, int rows) {
            return "0,0 to " + std::to_string(columns - 1) + "," + std::to_string(rows - 1);
        };
        if (!_isInside && _question.pixel) {
            throw Video::Failure(Video::Concern::Usage, "--pixel must lie within the picture, from " +
                                                            range(grid.pictureWidth, grid.pictureHeight));
        }
        if (!_isInside) {
            throw Video::Failure(Video::Concern::Usage, "--block must lie within the grid, from " +
                                                            range(grid.columns, grid.rows) + " for blocks of " +
                                                            std::to_string(grid.blockSize) + " pixels");
        }
        return _explanation;
    }

private:
    void Look(Video::Watcher& watcher, const Video::Findings& findings, const Video::PictureNumber& picture) {
        const Video::PictureGrid& grid = watcher.Grid();
        const auto [x, y] = _question.pixel ? *_question.pixel : *_question.block;
        const bool isInPicture = !_question.pixel || (x < grid.pictureWidth && y < grid.pictureHeight);
        const int size = _question.pixel ? grid.blockSize : 1;
        const std::optional<BlockFacts> facts = Probe(watcher, {x / size, y / size});
        _hasSeen = true;
        _isInside = isInPicture && facts;
        _explanation.facts = _isInside ? *facts : BlockFacts{.grid = grid};
        _explanation.time = findings.time;
        _explanation.picture = picture;
        _explanation.movingBlocks = Video::MovingBlocks(findings);
        _explanation.event.reset();
    }

    const ScanSettings& _settings;
    const Question& _question;
    Progress& _progress;
    Explanation _explanation;
    std::optional<EventFate> _running;  // the event under way
    int _counted = 0;                   // events that are over and were long enough
    bool _hasSeen = false;              // a frame up to the moment
    bool _isInside = false;             // the block, in that frame's grid
    bool _isOver = false;               // the moment: a later frame was seen
    bool _isFollowed = false;           // the event under way holds the frame in question
};

}  // namespace

int Explain(const std::vector<std::string>& inputs, const ScanSettings& settings, const Question& question,
            Progress& progress) {
    if (inputs.size() != 1) {
        throw Video::Failure(Video::Concern::Usage, "mdscan explain wants a single video");
    }
    if (coremd::LibraryVersion() != coremd::headerVersion) {
        throw Video::Failure(Video::Concern::System,
                             "mdscan explain needs the very version of coreMD that it was built for, see mdscan --version");
    }
    const std::string& input = inputs.front();
    JobSettings whole{.scan = settings};
    whole.scan.minDuration = 0;  // short events and flashes are told apart here, not dropped on the way
    whole.scan.ignoreFlashes = false;
    Witness witness(settings, question, progress);
    const JobResult result = RunJob(whole, input, "", witness);
    const std::string shown = Video::ShownName(input);
    progress.Clear();
    if (result.health == Health::Unreadable || result.health == Health::Interrupted || result.tally.pictures == 0) {
        throw FailureOf(result, shown + ": ");
    }
    Explanation explanation;
    try {
        explanation = witness.Answer(result.tally);
    } catch (const Video::Failure& failure) {
        throw Video::Failure(failure.Concerns(),
                             shown + ": " + failure.what() + (result.trouble.empty() ? "" : "; " + result.trouble));
    }
    explanation.file = shown;
    const std::string text = question.json ? ExplanationLine(explanation) + "\n" : ExplanationText(explanation);
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        throw Video::Failure(Video::Concern::Output, "cannot print the explanation");
    }
    if (result.health != Health::Whole) {
        throw FailureOf(result, shown + ": ");
    }
    return Video::exitComplete;
}

}  // namespace Scan
