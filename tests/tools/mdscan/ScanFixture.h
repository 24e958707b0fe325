// What do all tests of the built program share?  A folder for clips and results, and the one event they expect.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "FolderFixture.h"
#include "ScanRun.h"
#include "TestClip.h"

namespace Scan {

class ScanFixture : public Kit::FolderFixture {
protected:
    // Overwrites part of a file with bytes that mean nothing.
    void Damage(const std::string& name, std::uintmax_t from, std::uintmax_t length) const {
        std::fstream file(In(name), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(from));
        for (std::uintmax_t i = 0; i < length; ++i) {
            file.put(static_cast<char>(i * 37 + 11));
        }
    }

    // The scene as a raw clip, made once per test.
    std::string RawClip(const Video::SquareScene& scene) const {
        Video::WriteY4m(scene, In("clip.y4m"));
        return In("clip.y4m");
    }
};

// The one event of a scene that begins `offset` seconds into the video: it starts and ends with the square, and its largest
// box at the peak holds the square.
void ExpectTheSquare(const nlohmann::json& event, const Video::SquareScene& scene, double offset = 0);

}  // namespace Scan
