// In which order is what told, and what is said of the rest?
#include "archive/Gathering.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "archive/PartJoin.h"
#include "outputs/RunOutputs.h"
#include "results/ConditionNote.h"
#include "results/JobResult.h"
#include "results/JsonLines.h"
#include "results/Records.h"
#include "results/ScanLine.h"
#include "results/TallyText.h"
#include "run/ScanInputs.h"
#include "run/StateLine.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/base/LiveName.h"
#include "video/base/Tally.h"

namespace Scan {

namespace {

constexpr int mostNamed = 5;  // of those that are missing

// Consecutive jobs of a plan: all of one video.
using PlannedInput = std::span<const PlannedJob>;

// A part that does not begin the video belongs to the job before.
std::vector<PlannedInput> InputsOf(const Plan& plan) {
    std::vector<PlannedInput> inputs;
    for (std::size_t i = 0, end = 0; i < plan.jobs.size(); i = end) {
        for (end = i + 1; end < plan.jobs.size() && plan.jobs[end].part && plan.jobs[end].part->from > 0; ++end) {
        }
        inputs.emplace_back(plan.jobs.data() + i, end - i);
    }
    return inputs;
}

class Gatherer {
public:
    Gatherer(const Plan& plan, const std::vector<PlannedInput>& inputs, KeptResults& store, const ScanSettings& scan,
             RunOutputs& results, bool quiet)
        : _plan(plan), _inputs(inputs), _store(store), _scan(scan), _results(results), _quiet(quiet) {}

    int Do();

private:
    std::optional<RecalledInput> ResultOf(const PlannedJob& job);
    std::optional<RecalledInput> ResultOf(const PlannedInput& input);
    void HandOn(const PlannedJob& job, RecalledInput& input);
    int Conclude();

    const Plan& _plan;
    const std::vector<PlannedInput>& _inputs;
    KeptResults& _store;
    const ScanSettings& _scan;
    RunOutputs& _results;
    const bool _quiet;
    std::size_t _moving = 0, _failed = 0, _missing = 0, _outside = 0;
    Video::Tally _sum;
};

int Gatherer::Do() {
    for (const PlannedInput& input : _inputs) {
        if (Video::Interrupted()) {
            break;
        }
        if (std::optional<RecalledInput> result = ResultOf(input)) {
            HandOn(input.front(), *result);
        }
    }
    _results.Keep();
    return Conclude();
}

// Nothing is told of a video of which a part is missing: events may go on there.
std::optional<RecalledInput> Gatherer::ResultOf(const PlannedInput& input) {
    PartJoin join(_scan);
    std::optional<RecalledInput> whole;
    const PlannedJob* missing = nullptr;
    for (const PlannedJob& job : input) {
        std::optional<RecalledInput> result = ResultOf(job);
        if (!result) {
            missing = missing ? missing : &job;
        } else if (job.part) {
            join.Add(*job.part, std::move(*result));
        } else {
            whole = std::move(result);
        }
    }
    if (!missing) {
        return whole ? std::move(whole) : join.Finish();
    }
    if (++_missing <= mostNamed) {
        const std::string part = missing->part ? "the part from " + ToldSeconds(missing->part->from) + " s: " : "";
        PrintLastLine(Video::ShownName(missing->file), part + _store.Absence(missing->key));
    }
    return std::nullopt;
}

std::optional<RecalledInput> Gatherer::ResultOf(const PlannedJob& job) {
    if (!job.trouble.empty()) {
        return RecalledInput{
            {.health = Health::Unreadable, .code = Video::exitFailed, .trouble = job.trouble, .tally = {}}, {}, {}};
    }
    const std::optional<std::string> line = _store.Read(job.key);
    if (!line) {
        return std::nullopt;
    }
    try {
        return ReadStateLine(*line, job.key);
    } catch (const std::exception&) {
        PrintLastLine(Video::ShownName(job.file), "its result is damaged, and removed: it has to be scanned again");
        _store.Discard(job.key);
        return std::nullopt;
    }
}

// An event's picture goes before its record.
void Gatherer::HandOn(const PlannedJob& job, RecalledInput& input) {
    const std::string name = Video::ShownName(job.file);
    ConditionNote note;
    for (const ScanPicture& picture : input.pictures) {
        _results.Show(job.file, picture);
    }
    for (Record& record : input.records) {
        std::visit([&](auto& one) { one.file = ToldName(name); }, record);
        note.Take(record);
        _results.Tell(job.file, record);
        _results.Show(job.file, record);
    }
    _results.TellEnd(job.file, input.result);
    _results.ShowEnd(job.file, input.result);
    _moving += input.result.tally.events > 0 ? 1 : 0;
    _outside += IsOutside(input.result, _scan.range) ? 1 : 0;
    _sum.events += input.result.tally.events;
    _sum.length += input.result.tally.length;
    if (input.result.health != Health::Whole) {
        ++_failed;
        PrintLastLine(name, ResultText(input.result));
    }
    if (note.HidesMotion() && !_quiet) {
        PrintLastLine(name, note.Text());
    }
}

int Gatherer::Conclude() {
    if (_missing > mostNamed) {
        PrintLastLine("", "and " + std::to_string(_missing - mostNamed) + " more are not scanned yet");
    }
    for (const std::string& reason : _results.GaveUp().Reasons()) {
        PrintLastLine("", reason);
    }
    if (!_quiet) {
        const auto counted = [](std::size_t count, const char* one) {
            return Counted(static_cast<std::int64_t>(count), one);
        };
        std::string text = counted(_inputs.size(), "input") + ": " + std::to_string(_moving) + " with motion, " +
                           std::to_string(_failed) + " failed";
        text += _missing > 0 ? ", " + std::to_string(_missing) + " missing" : "";
        text += _outside > 0 ? ", " + std::to_string(_outside) + (_outside == 1 ? " has" : " have") + " nothing from " +
                                   _scan.range.Text()
                             : "";
        text += _plan.otherFiles > 0 ? "; " + Counted(_plan.otherFiles, "other file") + " passed over" : "";
        PrintLastLine("", text + "; " + Counted(_sum.events, "event") + " in " + ToldSeconds(_sum.length) + " s of video");
    }
    if (_failed > 0 || _missing > 0 || Video::Interrupted() || !_results.GaveUp().Reasons().empty()) {
        return Video::exitFailed;
    }
    return _moving > 0 ? Video::exitComplete : Video::exitNothing;
}

}  // namespace

int Gather(const Plan& plan, KeptResults& store, const ScanSettings& scan, const OutputSettings& outputs, bool quiet) {
    RefuseSameFileTwice(outputs, "", true);
    std::vector<std::string> paths;
    const std::vector<PlannedInput> inputs = InputsOf(plan);
    for (const PlannedInput& input : inputs) {
        paths.push_back(input.front().file);
    }
    RunOutputs results(outputs, ScanLine(scan), paths, true);
    return Gatherer(plan, inputs, store, scan, results, quiet).Do();
}

}  // namespace Scan
