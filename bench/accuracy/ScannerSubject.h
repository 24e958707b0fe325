// What does mdscan find?  Shows pictures to the watcher as its scans do.
#pragma once

#include <optional>

#include "Subject.h"
#include "video/watch/Conditioning.h"

namespace Accuracy {

// mdscan's options of these names, and their defaults.
struct ScannerRules {
    ScannerRules();

    double rate;
    int blockSize;
    bool shadows;
    std::optional<double> minSize;
    Video::ConditioningRules conditioning;
};

NewSubject Scanner(const ScannerRules& rules);

}  // namespace Accuracy
