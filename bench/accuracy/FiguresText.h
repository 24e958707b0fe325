// How are figures told: as JSON, and as a table for readers?
#pragma once

#include <map>
#include <string>

#include "FolderRun.h"
#include "Score.h"
#include "StillRun.h"

namespace Accuracy {

// Of one subject at one share, by sequence and by video.
struct Results {
    std::string subject;
    double share = 0.25;
    std::map<std::string, Score> sequences;
    std::map<std::string, Score> settled;     // of the same sequences, as if none had a temporalROI.txt
    std::map<std::string, Outcome> outcomes;  // likewise
    std::map<std::string, StillOutcome> still;
};

// {"f":0.6702,"precision":...,"recall":...,"missed":...,"false":...}
std::string JsonOf(const Figures& figures);

// {"sequences":{"name":{...},...},"mean":{...}}; where there are videos, "still":{"name":{"length":,"seconds":,"events":,
// "told":,"conditions":[]}}
std::string JsonOf(const Results& results);

// The same, with the subject, counts of pictures and events, and cost: {"subject":...,"share":...,"sequences":...}
std::string LineOf(const Results& results);

// One line for each sequence, one for the mean; one for each video.
std::string TableOf(const Results& results);

// As a JSON string, quotes and all. Bytes that are no UTF-8 become the replacement character.
std::string Quoted(const std::string& text);

}  // namespace Accuracy
