// What does everything that moved look like, one after another?  Joins clips into one video, with a chapter for each.
#pragma once

#include <string>
#include <vector>

#include "video/files/AtomicFile.h"

namespace Video {

struct JoinPart {
    std::string clip;   // path of a video
    std::string title;  // its chapter's
};

// Throws Failure where no video can be joined into a file of this name: chapters want MP4, QuickTime or Matroska.
void CheckJoins(const std::string& path);

// parts: at least one, in their order. Pictures are copied as they are stored where all clips are of one kind and the file's
// container takes it, else they are encoded anew, the smaller ones in the middle of the largest. The file is complete, but
// not yet kept. Throws Failure.
void JoinClips(const std::vector<JoinPart>& parts, const AtomicFile& file);

}  // namespace Video
