// What really moved in a labelled sequence?  Numbered pictures and label pictures as the change detection benchmarks publish
// them: input/in000001.jpg, groundtruth/gt000001.png, temporalROI.txt with the first and last number to score.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "BlockReducer.h"
#include "video/media/Libav.h"

namespace Bench {

// Of one block of a label picture.
enum class Truth : std::uint8_t { Still, Moving, Unknown };

// One picture with its labels in blocks of one size. Decoded once, shown to many detectors.
struct LabelledPicture {
    int columns = 0;
    int rows = 0;
    std::vector<std::uint8_t> ycbcr;  // 3 * [block]
    std::vector<Truth> truth;         // [block]
    bool scored = false;

    bool Moves() const;  // any block of it
};

// Throws Video::Failure where a picture is missing or of another size than its labels.
std::vector<LabelledPicture> ReadLabelledVideo(const std::string& folder, int blockSize);

// 255 is moving, 0 and 50 (shadow) are still, others unknown. A block moves where at least a quarter of its known pixels do,
// and is unknown where fewer than half of its pixels are known.
Truth TruthOfBlock(int pixels, int known, int moving);

}  // namespace Bench
