// How are figures told: as JSON, and as a table for readers?
#pragma once

#include <map>
#include <string>

#include "Score.h"

namespace Accuracy {

// {"f":0.6702,"precision":...,"recall":...,"missed":...,"false":...}
std::string JsonOf(const Figures& figures);

// {"sequences":{"name":{...},...},"mean":{...}}
std::string JsonOf(const std::map<std::string, Score>& sequences);

// One line for each sequence, one for the mean.
std::string TableOf(const std::map<std::string, Score>& sequences);

// As a JSON string, quotes and all. Bytes that are no UTF-8 become the replacement character.
std::string Quoted(const std::string& text);

}  // namespace Accuracy
