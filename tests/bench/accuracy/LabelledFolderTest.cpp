// Are labelled folders read as they come, and refused with a reason?
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "FolderFixture.h"
#include "FolderRun.h"
#include "LabelledFolder.h"
#include "MaskPicture.h"
#include "PictureFile.h"
#include "video/base/BgrPicture.h"
#include "video/base/Failure.h"
#include "video/files/PngFile.h"
#include "video/media/Libav.h"

namespace Accuracy {
namespace {

namespace fs = std::filesystem;

std::string GreyPng(int width, int height, std::uint8_t value) {
    const auto bytes = static_cast<std::size_t>(3 * width * height);
    return Video::PngBytes({width, height, std::vector<std::uint8_t>(bytes, value)});
}

class LabelledFolders : public Kit::FolderFixture {
protected:
    void SetUp() override {
        Video::CollectComplaints();
        fs::create_directories(In("walk/input"));
        fs::create_directories(In("walk/groundtruth"));
    }

    // Listing decodes nothing.
    void WriteEmpty(const std::string& name) const { Write("walk/" + name, ""); }

    LabelledFolder Open() const { return OpenLabelledFolder(In("walk")); }

    std::string Complaint() const {
        try {
            Open();
        } catch (const Video::Failure& failure) {
            EXPECT_EQ(failure.Code(), Video::exitFailed);
            return failure.what();
        }
        return "none";
    }

    std::vector<std::int64_t> Scored() const {
        std::vector<std::int64_t> numbers;
        for (const LabelledPicture& picture : Open().pictures) {
            if (!picture.labels.empty()) numbers.push_back(picture.number);
        }
        return numbers;
    }
};

TEST_F(LabelledFolders, PicturesComeByTheirNumbersWhateverTheirNames) {
    for (const char* name : {"frame 10.JPG", "in0009.png", "x2-0011.bmp", "8.jpeg", "Thumbs.db", "notes.txt", "cover.jpg"}) {
        WriteEmpty(std::string("input/") + name);
    }
    for (const char* name : {"gt000008.png", "gt9.bmp", "label_11.png"}) {
        WriteEmpty(std::string("groundtruth/") + name);
    }
    const LabelledFolder folder = Open();
    EXPECT_EQ(folder.name, "walk");
    ASSERT_EQ(folder.pictures.size(), 4u);
    EXPECT_EQ(folder.pictures[0].file, In("walk/input/8.jpeg"));
    EXPECT_EQ(folder.pictures[1].file, In("walk/input/in0009.png"));
    EXPECT_EQ(folder.pictures[2].file, In("walk/input/frame 10.JPG"));
    EXPECT_EQ(folder.pictures[3].file, In("walk/input/x2-0011.bmp"));
    EXPECT_EQ(folder.pictures[3].number, 11);
    EXPECT_EQ(folder.pictures[2].labels, "") << "number 10 has none";
    EXPECT_EQ(folder.pictures[3].labels, In("walk/groundtruth/label_11.png"));
    EXPECT_EQ(OpenLabelledFolder(In("walk/")).name, "walk");
}

TEST_F(LabelledFolders, TemporalRoiSpeaksOfNumbers) {
    for (int number = 100; number < 110; ++number) {
        WriteEmpty("input/in" + std::to_string(number) + ".jpg");
        WriteEmpty("groundtruth/gt" + std::to_string(number) + ".png");
    }
    Write("walk/temporalROI.txt", "103 105\n");
    EXPECT_EQ(Scored(), (std::vector<std::int64_t>{103, 104, 105}));
    Write("walk/temporalROI.txt", "103");
    EXPECT_EQ(Complaint(), In("walk/temporalROI.txt") + ": does not hold a first and a last number");
    Write("walk/temporalROI.txt", "500 600");
    EXPECT_EQ(Complaint(), In("walk") + ": no picture to score has labels of its number");
}

TEST_F(LabelledFolders, WithoutTemporalRoiAThirdAtMostAHundredIsLeftOut) {
    EXPECT_EQ(FirstScored(9), 3u);
    EXPECT_EQ(FirstScored(299), 99u);
    EXPECT_EQ(FirstScored(300), 100u);
    EXPECT_EQ(FirstScored(5000), 100u);
    for (int number = 7; number < 13; ++number) {
        WriteEmpty("input/in" + std::to_string(number) + ".jpg");
        WriteEmpty("groundtruth/gt" + std::to_string(number) + ".png");
    }
    EXPECT_EQ(Scored(), (std::vector<std::int64_t>{9, 10, 11, 12}));
}

TEST_F(LabelledFolders, WhatIsNoLabelledFolderIsRefusedWithAReason) {
    EXPECT_EQ(Complaint(), In("walk/input") + ": no numbered pictures (jpg, png or bmp)");
    WriteEmpty("input/1.jpg");
    EXPECT_EQ(Complaint(), In("walk/groundtruth") + ": no numbered pictures (jpg, png or bmp)");
    WriteEmpty("input/01.png");
    EXPECT_EQ(Complaint(), In("walk/input") + ": two pictures have the number 1");
    fs::remove_all(In("walk/groundtruth"));
    EXPECT_EQ(Complaint(), In("walk") + ": no labelled folder, it has no folder groundtruth");
    fs::remove_all(In("walk"));
    EXPECT_EQ(Complaint(), In("walk") + ": no labelled folder, it has no folder input");
}

TEST_F(LabelledFolders, LabelsAreReadFromColoursPalettesAndGrey) {
    Video::BgrPicture colours{4, 1, {0, 0, 0, 50, 50, 50, 170, 170, 170, 255, 255, 255}};
    Write("colours.png", Video::PngBytes(colours));
    EXPECT_EQ(ReadLabels(In("colours.png")).values, (std::vector<std::uint8_t>{0, 50, 170, 255}));
    // A bitmap of 4x1 pixels with a palette of four: the indices in the wrong order.
    std::string bmp("BM\x4A\0\0\0\0\0\0\0\x46\0\0\0", 14);
    bmp += std::string("\x28\0\0\0\x04\0\0\0\x01\0\0\0\x01\0\x08\0\0\0\0\0\x04\0\0\0\0\0\0\0\0\0\0\0\x04\0\0\0\0\0\0\0", 40);
    bmp += std::string("\xFF\xFF\xFF\0\xAA\xAA\xAA\0\x32\x32\x32\0\0\0\0\0", 16) + std::string("\x03\x02\x01\x00", 4);
    Write("palette.bmp", bmp);
    EXPECT_EQ(ReadLabels(In("palette.bmp")).values, (std::vector<std::uint8_t>{0, 50, 170, 255}));
    Write("text.png", "no picture");
    EXPECT_THROW(ReadLabels(In("text.png")), Video::Failure);
    Write("broken.png", Video::PngBytes(colours).substr(0, 40));
    EXPECT_THROW(ReadPicture(In("broken.png")), Video::Failure);
}

// Says that everything moves, so many pictures later, and the rest at the end.
class LateSubject : public Subject {
public:
    LateSubject(int delay, OnMask onMask) : _delay(delay), _onMask(std::move(onMask)) {}

    void Show(const AVFrame& picture, Video::Ticks time) override {
        _owed.push_back({time, Mask{picture.width, picture.height, std::max(picture.width, picture.height), {1}}});
        if (static_cast<int>(_owed.size()) > _delay) Tell();
    }
    void End() override {
        while (!_owed.empty()) Tell();
    }

private:
    void Tell() {
        _onMask(_owed.front().first, _owed.front().second);
        _owed.erase(_owed.begin());
    }

    const int _delay;
    const OnMask _onMask;
    std::vector<std::pair<Video::Ticks, Mask>> _owed;
};

Candidate Late(int delay) {
    return {"late", {0.25}, [delay](Video::Ticks, const OnMask& onMask) {
                return std::make_unique<LateSubject>(delay, onMask);
            }};
}

TEST_F(LabelledFolders, AMaskThatComesLateIsScoredByItsOwnPicture) {
    for (int number = 0; number < 12; ++number) {
        Write("walk/input/" + std::to_string(number) + ".png", GreyPng(20, 12, 90));
        Write("walk/groundtruth/" + std::to_string(number) + ".png", GreyPng(20, 12, number >= 8 ? 255 : 0));
    }
    const std::vector<Outcome> outcomes = Judge(Open(), {Late(0), Late(5), Late(100)});
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(outcome.analysed, 12);
        EXPECT_EQ(outcome.scores[0].Moving(), 4);
        EXPECT_EQ(outcome.scores[0].Still(), 4);
        EXPECT_DOUBLE_EQ(outcome.scores[0].Of().precision, 0.5);
        EXPECT_DOUBLE_EQ(outcome.scores[0].Of().recall, 1);
        EXPECT_EQ(outcome.found.size(), 8u);
    }
}

using Pixel = std::vector<std::uint8_t>;

Pixel PixelOf(const Video::BgrPicture& picture, int x, int y) {
    const auto begin = picture.pixels.begin() + 3 * (y * picture.width + x);
    return {begin, begin + 3};
}

TEST_F(LabelledFolders, MasksAreDrawnBesideTheLabels) {
    for (int number = 0; number < 6; ++number) {
        Write("walk/input/" + std::to_string(number) + ".png", GreyPng(21, 13, static_cast<std::uint8_t>(100 + number)));
        Write("walk/groundtruth/" + std::to_string(number) + ".png", GreyPng(21, 13, number == 4 ? 0 : 255));
    }
    const LabelledFolder folder = Open();
    const Video::BgrPicture row = MaskRow(folder, Judge(folder, {Late(0), Late(2)}));
    ASSERT_EQ(row.width, 3 * 21 + 2 * 4) << "the labels, two masks";
    ASSERT_EQ(row.height, 13);
    EXPECT_EQ(PixelOf(row, 20, 12), Pixel(3, 0)) << "the one in which all is wrong: nothing moves";
    EXPECT_GT(PixelOf(row, 25, 0)[2], 200) << "found, and still: red";
    EXPECT_GT(PixelOf(row, 70, 12)[2], 200);
    EXPECT_LT(PixelOf(row, 70, 12)[0], 100);
    const Video::BgrPicture both = Stacked({row, row});
    EXPECT_EQ(both.width, row.width);
    EXPECT_EQ(both.height, 2 * 13 + 4);
    EXPECT_EQ(PixelOf(both, 45, 29), PixelOf(row, 45, 12));
    WriteMaskPicture(both, In("masks.png"));
    EXPECT_EQ(Video::ReadPngBytes(Read("masks.png")).height, both.height);
    EXPECT_THROW(WriteMaskPicture({}, In("none.png")), Video::Failure);
}

TEST_F(LabelledFolders, PicturesOfAnotherSizeAreRefused) {
    for (int number = 0; number < 3; ++number) {
        Write("walk/input/" + std::to_string(number) + ".png", GreyPng(20, 12, 90));
        Write("walk/groundtruth/" + std::to_string(number) + ".png", GreyPng(20, number == 2 ? 13 : 12, 0));
    }
    EXPECT_THROW(Judge(Open(), {Late(0)}), Video::Failure);
    Write("walk/groundtruth/2.png", GreyPng(20, 12, 0));
    EXPECT_NO_THROW(Judge(Open(), {Late(0)}));
    Write("walk/input/2.png", GreyPng(21, 12, 90));
    EXPECT_THROW(Judge(Open(), {Late(0)}), Video::Failure);
}

}  // namespace
}  // namespace Accuracy
