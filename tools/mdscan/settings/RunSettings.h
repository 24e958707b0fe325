// How does a run go about its inputs?  Nothing here changes what is found in them.
#pragma once

#include <string>

namespace Scan {

struct RunSettings {
    int jobs = 1;                   // inputs at a time; 0: one per processor
    std::string resume;             // file that knows what is finished; empty: none
    double reconnect = 60;          // seconds for which a live source that breaks is tried again
    bool quiet = false;             // standard error is for what went wrong
    std::string progress = "auto";  // auto: on a terminal; json; none
};

}  // namespace Scan
