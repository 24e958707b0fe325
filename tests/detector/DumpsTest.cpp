// What do the text dumps of block arrays look like?
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#include "DetectorFixture.h"

namespace {

class DumpsTest : public DetectorKit::DetectorTest {
protected:
    DumpsTest() { UseGrid(4, 2); }
    ~DumpsTest() override { std::remove(path.c_str()); }

    void UseGrid(int columns, int rows) {
        detector.blockCountX = columns;
        detector.blockCountY = rows;
        detector.blockCount = columns * rows;
    }

    template <class T>
    std::string Dumped(std::vector<T> blocks, int unused = 0) {
        detector.SaveBlocksArray(blocks.data(), unused, path.data());
        return Content();
    }

    std::string DumpedValues(std::vector<std::uint8_t> blocks, int unused = 0) {
        detector.SaveBlocksArrayV(blocks.data(), unused, path.data());
        return Content();
    }

    std::string Content() const {
        std::ifstream file(path, std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "no file";
    }

    std::string path = testing::TempDir() + "coremd_dump_" + std::to_string(getpid()) + ".txt";
};

using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;

TEST_F(DumpsTest, MaskDumpHoldsZerosAndOnes) {
    EXPECT_EQ(Dumped(Bytes{0, 1, 255, 0, 0, 0, 0, 0}), "0110\n0000\n");
    EXPECT_EQ(Dumped(Bytes{7, 0, 0, 0, 0, 0, 0, 128}), "1000\n0001\n");
}

TEST_F(DumpsTest, ValueDumpHoldsThreeDigitsAndABlank) {
    EXPECT_EQ(DumpedValues({0, 255, 255, 0, 7, 10, 99, 100}), "000 255 255 000 \n007 010 099 100 \n");
}

TEST_F(DumpsTest, FloatDumpHoldsOneDecimalAndABlank) {
    EXPECT_EQ(Dumped(Floats{21.04f, 0.0f, -0.5f, 12.0f, 1.96f, 255.0f, -123.44f, 100000.0f}),
              "21.0 0.0 -0.5 12.0 \n2.0 255.0 -123.4 100000.0 \n");
}

TEST_F(DumpsTest, NumberArgumentIsIgnored) {
    for (const int unused : {-1, 0, 1, 1000000}) {
        EXPECT_EQ(Dumped(Bytes{0, 1, 1, 0, 0, 0, 0, 0}, unused), "0110\n0000\n");
        EXPECT_EQ(DumpedValues(Bytes(8, 1), unused), "001 001 001 001 \n001 001 001 001 \n");
        EXPECT_EQ(Dumped(Floats(8, 1.0f), unused), "1.0 1.0 1.0 1.0 \n1.0 1.0 1.0 1.0 \n");
    }
}

TEST_F(DumpsTest, RowsOfNoBlocksAreEmptyLines) {
    UseGrid(0, 3);
    EXPECT_EQ(Dumped(Bytes{}), "\n\n\n");
    EXPECT_EQ(DumpedValues({}), "\n\n\n");
    EXPECT_EQ(Dumped(Floats{}), "\n\n\n");
}

TEST_F(DumpsTest, NoRowsGiveAnEmptyFile) {
    for (const int rows : {0, -1}) {
        UseGrid(4, rows);
        std::remove(path.c_str());
        EXPECT_EQ(Dumped(Bytes{}), "");
        EXPECT_EQ(DumpedValues({}), "");
        EXPECT_EQ(Dumped(Floats{}), "");
    }
}

TEST_F(DumpsTest, EarlierContentIsReplaced) {
    DumpedValues(Bytes(8, 200));
    UseGrid(1, 1);
    EXPECT_EQ(Dumped(Bytes{5}), "1\n");
}

TEST_F(DumpsTest, FileThatCannotBeOpenedIsSkipped) {
    path += "/missing/dump.txt";
    EXPECT_EQ(Dumped(Bytes(8, 1)), "no file");
    EXPECT_EQ(DumpedValues(Bytes(8, 1)), "no file");
    EXPECT_EQ(Dumped(Floats(8, 1.0f)), "no file");
}

TEST_F(DumpsTest, GridOfTheFrameIsUsed) {
    DetectorKit::Frame frame(3, 2);
    AddFullZone();
    Feed(frame, 0);
    detector._backgroundY[5] = 42;
    detector.SaveBlocksArrayV(detector._backgroundY, 0, path.data());
    EXPECT_EQ(Content(), "000 000 000 \n000 000 042 \n");
    detector.SaveBlocksArray(detector._noiseLevel, 0, path.data());
    EXPECT_EQ(Content(), "21.0 21.0 21.0 \n21.0 21.0 21.0 \n");
}

}  // namespace
