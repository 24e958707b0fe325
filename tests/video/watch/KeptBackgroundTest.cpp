// Does a camera's background come back from its file as it was, and nothing else from any other file?
#include "video/watch/KeptBackground.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "FolderFixture.h"
#include "video/base/Failure.h"
#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr PictureGrid grid{.pictureWidth = 64, .pictureHeight = 48, .blockSize = 4, .columns = 16, .rows = 12};
constexpr std::size_t blocks = std::size_t{16} * 12;

// The wall of a room: every block has values of its own.
std::vector<std::uint8_t> Wall(std::size_t count = blocks, int brighter = 0) {
    std::vector<std::uint8_t> planes(3 * count);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        planes[i] = static_cast<std::uint8_t>(40 + i * 7 % 150 + static_cast<std::size_t>(brighter));
    }
    return planes;
}

class KeptBackgroundTest : public Kit::FolderFixture {
protected:
    // A wall for so many pictures, one every `interval`; somebody passes, a column further in each.
    void Watch(KeptBackground& kept, int pictures, Ticks interval = 2 * oneSecond) {
        for (int picture = 0; picture < pictures; ++picture, _now += interval) {
            std::vector<std::uint8_t> planes = Wall();
            for (std::size_t row = 3; row < 9; ++row) {
                planes[row * 16 + static_cast<std::size_t>(picture) % 16] = 250;
            }
            kept.Add({planes.data()}, grid, _now);
        }
    }

    void SaveWall() {
        KeptBackground kept;
        Watch(kept, 20);
        kept.Save(In("wall.memory"));
    }

    // What is said of a file that is refused.
    std::string Refusal(const PictureGrid& wanted = grid) const {
        try {
            LoadBackground(In("wall.memory"), wanted);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Concerns(), Concern::Input) << "the next input may have another memory";
            return failure.what();
        }
        return "not refused";
    }

    void ExpectRefused(const std::string& reason, const PictureGrid& wanted = grid) const {
        const std::string refusal = Refusal(wanted);
        EXPECT_NE(refusal.find(In("wall.memory") + ": "), std::string::npos) << refusal;
        EXPECT_NE(refusal.find(reason), std::string::npos) << refusal;
    }

    Ticks _now = 0;
};

TEST_F(KeptBackgroundTest, WhatComesBackIsTheWallWithoutThePassers) {
    SaveWall();
    EXPECT_EQ(LoadBackground(In("wall.memory"), grid), Wall());
}

TEST_F(KeptBackgroundTest, WithoutAFileNothingIsKnown) { EXPECT_FALSE(LoadBackground(In("none.memory"), grid)); }

TEST_F(KeptBackgroundTest, WithoutAPictureThereIsNoFile) {
    KeptBackground kept;
    kept.Save(In("wall.memory"));
    EXPECT_TRUE(FilesInFolder().empty());
    SaveWall();
    const std::string before = Read("wall.memory");
    KeptBackground().Save(In("wall.memory"));
    EXPECT_EQ(Read("wall.memory"), before) << "what was known stays";
}

TEST_F(KeptBackgroundTest, APictureEveryTwoSecondsIsLookedAt) {
    KeptBackground kept;
    Watch(kept, 1);
    for (int i = 0; i < 20; ++i) {  // within less than two seconds of the first
        const std::vector<std::uint8_t> planes(3 * blocks, 9);
        kept.Add({planes.data()}, grid, 1 + i);
    }
    kept.Save(In("wall.memory"));
    std::vector<std::uint8_t> first = Wall();
    for (std::size_t row = 3; row < 9; ++row) {
        first[row * 16] = 250;
    }
    EXPECT_EQ(LoadBackground(In("wall.memory"), grid), first);
}

TEST_F(KeptBackgroundTest, TheLastMinutesCount) {
    KeptBackground kept;
    for (int i = 0; i < 2 * KeptBackground::mostPictures + 20; ++i) {
        const std::vector<std::uint8_t> planes = Wall(blocks, i < KeptBackground::mostPictures ? 0 : 30);
        kept.Add({planes.data()}, grid, i * KeptBackground::interval);
    }
    kept.Save(In("wall.memory"));
    EXPECT_EQ(LoadBackground(In("wall.memory"), grid), Wall(blocks, 30));
}

TEST_F(KeptBackgroundTest, AFewLastPicturesDoNotReplaceWhatIsSettled) {
    KeptBackground kept;
    Watch(kept, KeptBackground::mostPictures);
    for (int i = 0; i < 5; ++i, _now += KeptBackground::interval) {  // somebody stands before the lens
        const std::vector<std::uint8_t> planes(3 * blocks, 9);
        kept.Add({planes.data()}, grid, _now);
    }
    kept.Save(In("wall.memory"));
    EXPECT_EQ(LoadBackground(In("wall.memory"), grid), Wall());
}

TEST_F(KeptBackgroundTest, PicturesOfAnotherSizeMakeItBeginAnew) {
    for (const int before : {3, KeptBackground::mostPictures + 3}) {
        KeptBackground kept;
        Watch(kept, before);
        const PictureGrid small{.pictureWidth = 20, .pictureHeight = 8, .blockSize = 4, .columns = 5, .rows = 2};
        for (int i = 0; i < 3; ++i, _now += KeptBackground::interval) {
            const std::vector<std::uint8_t> planes = Wall(10);
            kept.Add({planes.data()}, small, _now);
        }
        kept.Save(In("wall.memory"));
        EXPECT_EQ(LoadBackground(In("wall.memory"), small), Wall(10)) << before;
        ExpectRefused("the memory is for a grid of 5x2 blocks, not 16x12");
    }
}

TEST_F(KeptBackgroundTest, ThatOfOtherPicturesIsRefused) {
    SaveWall();
    ExpectRefused("the memory is for a grid of 16x12 blocks, not 12x16", {48, 64, 4, 12, 16});
    ExpectRefused("the memory is for pictures of 64x48 pixels, not 63x48", {63, 48, 4, 16, 12});
}

TEST_F(KeptBackgroundTest, ADamagedOneIsRefused) {
    SaveWall();
    const std::string whole = Read("wall.memory");
    for (std::size_t at = 0; at < whole.size(); at += 11) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 16);
        Write("wall.memory", damaged);
        ExpectRefused("memory");
    }
}

TEST_F(KeptBackgroundTest, OneThatIsCutIsRefused) {
    SaveWall();
    const std::string whole = Read("wall.memory");
    for (std::size_t length = 0; length < whole.size(); length += 37) {
        Write("wall.memory", whole.substr(0, length));
        ExpectRefused(length == 0 ? "the memory is empty" : "memory");
    }
    Write("wall.memory", whole.substr(0, whole.size() - 1));
    ExpectRefused("the memory is cut off: " + std::to_string(whole.size() - 1) + " of " + std::to_string(whole.size()));
    Write("wall.memory", whole + "x");
    ExpectRefused("1 bytes behind its end");
}

TEST_F(KeptBackgroundTest, AFolderIsNoMemory) {
    std::filesystem::create_directory(In("wall.memory"));
    ExpectRefused("is not a plain file");
}

TEST_F(KeptBackgroundTest, WhatCannotBeWrittenLeavesNothingBehind) {
    std::filesystem::create_directories(In("wall.memory/within"));
    KeptBackground kept;
    Watch(kept, 3);
    try {
        kept.Save(In("wall.memory"));
        ADD_FAILURE() << "a folder was replaced";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Concerns(), Concern::Output);
        EXPECT_NE(std::string(failure.what()).find("cannot write " + In("wall.memory") + ": "), std::string::npos);
    }
    EXPECT_EQ(FilesInFolder(), std::vector<std::string>{"wall.memory"});
}

TEST_F(KeptBackgroundTest, AnOlderOneIsReplacedAsAWhole) {
    SaveWall();
    const std::filesystem::path older = In("older");
    std::filesystem::create_hard_link(In("wall.memory"), older);
    const std::string before = Read("older");
    KeptBackground kept;
    const std::vector<std::uint8_t> planes = Wall(blocks, 20);
    kept.Add({planes.data()}, grid, 0);
    kept.Save(In("wall.memory"));
    EXPECT_EQ(Read("older"), before) << "written over, not beside it";
    EXPECT_EQ(LoadBackground(In("wall.memory"), grid), planes);
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"older", "wall.memory"}));
}

}  // namespace
}  // namespace Video
