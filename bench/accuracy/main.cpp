// coreMD_accuracy: how right is what the scanner finds?  Reads the command line, judges one sequence after another.
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "FiguresText.h"
#include "FolderRun.h"
#include "LabelledFolder.h"
#include "Options.h"
#include "ScannerSubject.h"
#include "video/base/Failure.h"
#include "video/media/Libav.h"

namespace {

// Two folders of one name are two sequences.
std::string FreeName(const std::map<std::string, Accuracy::Score>& taken, const Accuracy::LabelledFolder& folder,
                     const std::string& path) {
    return taken.count(folder.name) ? path : folder.name;
}

void Run(const Accuracy::Options& options) {
    const std::vector<Accuracy::Candidate> candidates = {{"mdscan", options.share, Accuracy::Scanner(options.scanner)}};
    std::map<std::string, Accuracy::Score> sequences;
    for (const std::string& path : options.folders) {
        const Accuracy::LabelledFolder folder = Accuracy::OpenLabelledFolder(path);
        sequences[FreeName(sequences, folder, path)] = Accuracy::Judge(folder, candidates).front().score;
    }
    const std::string text = options.json ? Accuracy::JsonOf(sequences) + "\n" : Accuracy::TableOf(sequences);
    std::fputs(text.c_str(), stdout);
}

}  // namespace

int main(int argc, char** argv) {
    Video::CollectComplaints();
    try {
        const Accuracy::Options options = Accuracy::ReadOptions({argv + 1, argv + argc});
        if (options.help) {
            std::fputs(Accuracy::usage, stdout);
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
