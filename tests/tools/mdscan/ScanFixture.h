// What do all tests of the built program share?  A folder for clips and results, and the one event they expect.
#pragma once

#include <nlohmann/json.hpp>

#include "ClipFixture.h"
#include "ScanRun.h"
#include "TestClip.h"

namespace Scan {

class ScanFixture : public Video::ClipFixture {};

// The one event of a scene that begins `offset` seconds into the video: it starts and ends with the square, and its largest
// box at the peak holds the square.
void ExpectTheSquare(const nlohmann::json& event, const Video::SquareScene& scene, double offset = 0);

}  // namespace Scan
