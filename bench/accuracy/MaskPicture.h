// What do the masks look like?  A row for each sequence: its labels in blocks, and what each subject makes of the same
// picture. The picture itself is not drawn: footage may have owners.
#pragma once

#include <string>
#include <vector>

#include "FolderRun.h"
#include "LabelledFolder.h"
#include "video/base/BgrPicture.h"

namespace Accuracy {

// Of the picture in which the first subject has the most blocks wrong, of those that all have answered. White: found, and
// moving; red: found, and still; blue: moving, and not found; grey: unknown. Empty where none was answered by all.
// Throws Video::Failure.
Video::BgrPicture MaskRow(const LabelledFolder& folder, const std::vector<Outcome>& outcomes);

// One below the other, on black.
Video::BgrPicture Stacked(const std::vector<Video::BgrPicture>& rows);

// As a PNG file. Throws Video::Failure.
void WriteMaskPicture(const Video::BgrPicture& picture, const std::string& path);

}  // namespace Accuracy
