// Where does a test of videos put its clips, and how does it spoil them?  A folder of its own.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include "FolderFixture.h"
#include "TestClip.h"

namespace Video {

class ClipFixture : public Kit::FolderFixture {
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
    std::string RawClip(const SquareScene& scene) const {
        WriteY4m(scene, In("clip.y4m"));
        return In("clip.y4m");
    }
};

}  // namespace Video
