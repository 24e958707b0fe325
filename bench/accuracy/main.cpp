// coreMD_accuracy: how right is what the scanner finds?  Reads the command line, judges one sequence after another.
#include <cstddef>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "FiguresText.h"
#include "FolderRun.h"
#include "LabelledFolder.h"
#include "MaskPicture.h"
#include "Options.h"
#include "PeerSubjects.h"
#include "ScannerSubject.h"
#include "StillRun.h"
#include "StoredMasks.h"
#include "video/base/BgrPicture.h"
#include "video/base/Failure.h"
#include "video/media/Libav.h"

namespace {

using namespace Accuracy;

// Two of one name are two.
template <typename Value>
std::string FreeName(const std::map<std::string, Value>& taken, const std::string& name, const std::string& path) {
    return taken.count(name) ? path : name;
}

// The first one is the scanner.
std::vector<Candidate> CandidatesFor(const Options& options) {
    std::vector<Candidate> candidates = {{"mdscan", {options.share}, Scanner(options.scanner)}};
    for (const auto& [name, folder] : options.found) {
        candidates.push_back(StoredMasks(name, folder, options.share));
    }
    if (options.peers) {
        const std::vector<Candidate> peers = Peers();
        if (peers.empty()) {
            throw Video::Failure(Video::Concern::Usage, "--peers: built without OpenCV, or without COREMD_BENCH");
        }
        candidates.insert(candidates.end(), peers.begin(), peers.end());
    }
    return candidates;
}

// One for each candidate and share.
std::vector<Results> ResultsFor(const std::vector<Candidate>& candidates) {
    std::vector<Results> results;
    for (const Candidate& candidate : candidates) {
        for (const double share : candidate.shares) {
            results.push_back({candidate.name, share, {}, {}, {}, {}});
        }
    }
    return results;
}

// Of the subjects that are drawn: none that stands for a variant of another.
std::vector<Outcome> Plain(const std::vector<Candidate>& candidates, const std::vector<Outcome>& outcomes) {
    std::vector<Outcome> plain;
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        if (candidates[i].name.find(',') == std::string::npos) {
            plain.push_back(outcomes[i]);
        }
    }
    return plain;
}

void Run(const Options& options) {
    const std::vector<Candidate> candidates = CandidatesFor(options);
    std::vector<Results> results = ResultsFor(candidates);
    std::vector<Video::BgrPicture> rows;
    for (const std::string& path : options.folders) {
        const LabelledFolder folder = OpenLabelledFolder(path);
        const std::string name = FreeName(results.front().sequences, folder.name, path);
        std::vector<Outcome> outcomes = Judge(folder, candidates);
        if (!options.masks.empty()) {
            rows.push_back(MaskRow(folder, Plain(candidates, outcomes)));
        }
        std::size_t result = 0;
        for (Outcome& outcome : outcomes) {
            outcome.found.clear();  // much, and not told
            for (std::size_t k = 0; k < outcome.scores.size(); ++k) {
                results[result].sequences[name] = outcome.scores[k];
                results[result].settled[name] = outcome.settled[k];
                results[result++].outcomes[name] = outcome;
            }
        }
    }
    for (const std::string& path : options.still) {
        const std::string name = FreeName(results.front().still, path.substr(path.find_last_of('/') + 1), path);
        const std::vector<StillOutcome> outcomes = JudgeStill(path, candidates);
        std::size_t result = 0;
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            for (std::size_t k = 0; k < candidates[i].shares.size(); ++k) {
                results[result++].still[name] = outcomes[i];
            }
        }
    }
    if (!options.masks.empty()) {
        WriteMaskPicture(Stacked(rows), options.masks);
    }
    for (std::size_t i = 0; i < results.size() && (i == 0 || !options.json || options.lines); ++i) {
        const std::string text = options.lines  ? LineOf(results[i]) + "\n"
                                 : options.json ? JsonOf(results[i]) + "\n"
                                                : TableOf(results[i]);
        std::fputs(text.c_str(), stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    Video::CollectComplaints();
    try {
        const Options options = ReadOptions({argv + 1, argv + argc});
        if (options.help) {
            std::fputs(usage, stdout);
            return 0;
        }
        Run(options);
    } catch (const Video::Failure& failure) {
        std::fprintf(stderr, "coreMD_accuracy: %s\n", failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "coreMD_accuracy: %s\n", error.what());
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
