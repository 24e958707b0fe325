// What does mdscan find?  Shows pictures to the watcher as its scans do.
#pragma once

#include "Subject.h"

namespace Accuracy {

// mdscan's options of these names, and their defaults.
struct ScannerRules {
    ScannerRules();

    double rate;
    int blockSize;
    bool shadows;
    double minSize;
};

NewSubject Scanner(const ScannerRules& rules);

}  // namespace Accuracy
