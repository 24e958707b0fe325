// What is asked for on the command line?
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ScannerSubject.h"

namespace Accuracy {

struct Options {
    std::vector<std::string> folders;  // labelled ones
    std::vector<std::string> still;    // videos in which nothing moves
    ScannerRules scanner;
    double share = 0.5;                                      // of a scored block that a mask has to cover
    std::vector<std::pair<std::string, std::string>> found;  // by whom, and folders of his masks
    bool json = false;
    bool lines = false;
    bool peers = false;
    std::string masks;  // file; empty: none
    bool help = false;
};

// Throws Video::Failure where it cannot be understood.
Options ReadOptions(const std::vector<std::string>& words);

extern const char* const usage;

}  // namespace Accuracy
