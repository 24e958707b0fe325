// Is the picture in the file the picture that was given?
#include "video/files/PngFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include <png.h>

#include "FolderFixture.h"
#include "video/base/BgrPicture.h"
#include "video/base/Failure.h"
#include "video/files/AtomicFile.h"

namespace Video {
namespace {

const BgrPicture twoByOne{2, 1, {1, 2, 3, 4, 5, 6}};

TEST(PngFile, EnlargedRepeatsPixelsAndCutsTheRest) {
    const BgrPicture large = Enlarged(twoByOne, 2, 3, 2);
    EXPECT_EQ(large.width, 3);
    EXPECT_EQ(large.height, 2);
    EXPECT_EQ(large.pixels, (std::vector<std::uint8_t>{1, 2, 3, 1, 2, 3, 4, 5, 6, 1, 2, 3, 1, 2, 3, 4, 5, 6}));
}

class PngFileTest : public Kit::FolderFixture {};

TEST_F(PngFileTest, WhatIsWrittenIsRead) {
    const std::string path = In("two.png");
    AtomicFile file(path, "");
    WritePng(twoByOne, file);
    file.Keep();

    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, path.c_str())) << image.message;
    EXPECT_EQ(image.width, 2u);
    EXPECT_EQ(image.height, 1u);
    image.format = PNG_FORMAT_BGR;
    std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) << image.message;
    EXPECT_EQ(pixels, twoByOne.pixels);
}

TEST(PngFile, OtherNamesAreRefused) {
    for (const char* name : {"", "a.png", "a.PNG", "a", "folder.jpg/a", ".png"}) {
        EXPECT_NO_THROW(RefuseUnlessPng("--heatmap", name)) << name;
    }
    for (const char* name : {"a.jpg", "a.png.jpg", "a.gif", "a.pn"}) {
        try {
            RefuseUnlessPng("--heatmap", name);
            ADD_FAILURE() << name;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Code(), exitUsage);
            EXPECT_EQ(failure.what(), "--heatmap writes PNG: " + std::string(name) + " must end in .png");
        }
    }
}

}  // namespace
}  // namespace Video
