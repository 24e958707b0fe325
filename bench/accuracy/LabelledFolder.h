// Which pictures of a labelled sequence are shown, and which are scored by which labels?
//
//     input/            numbered pictures, jpg, png or bmp: any name that has a number before its ending
//     groundtruth/      label pictures of the same numbers; a picture without one is shown, not scored
//     temporalROI.txt   first and last number to score; without it, pictures from the 101st on are scored, or from a third
//                       of the sequence on where it is shorter than 300
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "video/time/TickTime.h"

namespace Accuracy {

inline constexpr Video::Ticks pictureInterval = Video::oneSecond / 25;  // such recordings carry no rate of their own

struct LabelledPicture {
    std::int64_t number = 0;
    std::string file;
    std::string labels;  // file; empty: the picture is not scored
};

struct LabelledFolder {
    std::string name;                       // the folder's
    std::vector<LabelledPicture> pictures;  // by number
};

// Files by number: jpg, png or bmp with a number before the ending. Throws Video::Failure where the folder cannot be read,
// has no such file, or has two of one number.
std::map<std::int64_t, std::string> NumberedPictures(const std::string& folder);

// Throws Video::Failure where it is no such folder, or nothing in it can be scored.
LabelledFolder OpenLabelledFolder(const std::string& folder);

// The first place, from 0, that is scored without temporalROI.txt.
constexpr std::size_t FirstScored(std::size_t pictures) { return pictures / 3 < 100 ? pictures / 3 : 100; }

}  // namespace Accuracy
