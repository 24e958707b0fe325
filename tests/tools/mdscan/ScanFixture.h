// What do all tests of the built program share?  A folder for clips and results, and the one event they expect.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanRun.h"
#include "TestClip.h"

namespace Scan {

// A folder of its own for every test, gone afterwards.
class ScanFixture : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(_folder); }
    void TearDown() override { std::filesystem::remove_all(_folder); }

    std::string In(const std::string& name) const { return (_folder / name).string(); }

    std::vector<std::string> FilesInFolder() const {
        std::vector<std::string> names;
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(_folder)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    void Write(const std::string& name, const std::string& content) const {
        std::ofstream(In(name), std::ios::binary) << content;
    }

    std::string Read(const std::string& name) const {
        std::ifstream file(In(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Overwrites part of a file with bytes that mean nothing.
    void Damage(const std::string& name, std::uintmax_t from, std::uintmax_t length) const {
        std::fstream file(In(name), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(from));
        for (std::uintmax_t i = 0; i < length; ++i) {
            file.put(static_cast<char>(i * 37 + 11));
        }
    }

    // The scene as a raw clip, made once per test.
    std::string RawClip(const SquareScene& scene) const {
        WriteY4m(scene, In("clip.y4m"));
        return In("clip.y4m");
    }

private:
    const std::filesystem::path _folder = std::filesystem::path(testing::TempDir()) / ("mdscan." + std::to_string(ProcessId()));
};

// The one event of a scene that begins `offset` seconds into the video: it starts and ends with the square, and its largest
// box at the peak holds the square.
void ExpectTheSquare(const nlohmann::json& event, const SquareScene& scene, double offset = 0);

}  // namespace Scan
