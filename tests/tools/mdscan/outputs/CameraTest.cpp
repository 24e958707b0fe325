// Which inputs belong together, however a recorder's folders are laid out?
#include "outputs/Camera.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "FolderFixture.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

class CameraTest : public Kit::FolderFixture {
protected:
    void TearDown() override {
        fs::current_path(_before);
        FolderFixture::TearDown();
    }

private:
    const fs::path _before = fs::current_path();
};

TEST(Camera, AFilesCameraIsItsFolder) {
    EXPECT_EQ(CameraOf("recordings/gate/1.mp4"), "recordings/gate");
    EXPECT_EQ(CameraOf("1.mp4"), ".");
    EXPECT_EQ(CameraOf("/1.mp4"), "/");
}

TEST(Camera, WhateverIsNoFileIsACameraOfItsOwn) {
    for (const char* input : {"-", "rtsp://camera/stream", "rtsp://camera/2026/03/01/stream", "/dev/null"}) {
        EXPECT_EQ(CameraOf(input), input);
        EXPECT_EQ(WholeCameraOf(input), input);
    }
}

TEST(Camera, FoldersOfDaysAreNone) {
    for (const char* input :
         {"cam1/2026/03/01/07-59-00.mp4", "cam1/2026-03-01/1.mp4", "cam1/20260301/1.mp4", "cam1/2026/03/01/07/59.mp4",
          "cam1/2026-03/01/1.mp4", "cam1/2026_03_01_07/1.mp4", "cam1/2026030107/1.mp4", "cam1/01.03.2026/1.mp4",
          "cam1/2026/03/1.mp4", "cam1/2026/1.mp4", "cam1/2026-03/1.mp4", "cam1/202603/1.mp4", "2026-03-01/cam1/1.mp4",
          "2026-03-01/07/cam1/59.00.mp4", "2026/03/01/cam1/1.mp4", "2026-03-01/cam1/07-59-00.mp4", "cam1/1.mp4"}) {
        EXPECT_EQ(CameraOf(input), "cam1") << input;
    }
    EXPECT_EQ(CameraOf("/rec/2026-03-01/a/1.mp4"), "/rec/a");
    EXPECT_EQ(CameraOf("2026/03/01/1.mp4"), ".");
}

TEST(Camera, NumbersThatAreNoDaysAre) {
    for (const char* folder : {"cam1/2026/13", "cam1/12", "cam1/03/01", "cam1/2026/02/30", "cam1/20261301", "1999-12-31",
                               "cam1/2026/gate", "cam1/2026-03/gate", "cam1/2026-03-01x", "cam1/2026-0301"}) {
        EXPECT_EQ(CameraOf(std::string(folder) + "/1.mp4"), folder);
    }
}

TEST_F(CameraTest, FoldersAboveThoseThatAreNamedCount) {
    fs::create_directories(In("cam1/2026/03/01"));
    fs::current_path(In("cam1/2026"));
    const std::string whole = (fs::current_path().parent_path()).string();
    EXPECT_EQ(CameraOf("03/01/1.mp4"), whole);
    EXPECT_EQ(CameraOf("../2026/03/01/1.mp4"), whole);
    fs::current_path(In("cam1"));
    EXPECT_EQ(CameraOf("2026/03/01/1.mp4"), ".");
    EXPECT_EQ(ShortNameOf(CameraOf("2026/03/01/1.mp4")), "cam1");
    EXPECT_EQ(WholeCameraOf("2026/03/01/1.mp4"), whole);
    fs::create_directory_symlink(In("cam1"), In("link"));
    EXPECT_EQ(WholeCameraOf(In("link/2026/03/01/1.mp4")), whole);
}

TEST(Camera, ShortNamesArePartsOfFileNames) {
    EXPECT_EQ(ShortNameOf("a/gate"), "gate");
    EXPECT_EQ(ShortNameOf("a/gate/"), "gate");
    EXPECT_EQ(ShortNameOf("rtsp://host/live?a=b/c"), "c");
    EXPECT_EQ(ShortNameOf("-"), "stdin");
}

}  // namespace
}  // namespace Scan
