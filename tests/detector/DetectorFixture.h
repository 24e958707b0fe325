// How does a test feed a detector and look at its blocks?  Frames that own their planes, a detector whose frame-skip
// phase is fixed, block masks written and read as small pictures, the wording of a failed assertion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "coreMD.h"
#include "detector/MotionDetector.h"

// The statement ends the process with the C library's assertion message for exactly this condition text.
#define EXPECT_ASSERTION(statement, text) EXPECT_DEATH(statement, DetectorKit::AssertionMessage(text))
// The same, reported as the detector's own, in this operation, wherever the condition lives.
#define EXPECT_DETECTOR_ASSERTION(statement, operation, text) \
    EXPECT_DEATH(statement, DetectorKit::DetectorAssertionMessage(operation, text))

namespace DetectorKit {

inline constexpr std::int64_t second = 10'000'000;  // ticks

// Extended regular expression that matches `text` itself.
inline std::string Literally(std::string_view text) {
    std::string pattern;
    for (const char c : text) {
        if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos) pattern += '\\';
        pattern += c;
    }
    return pattern;
}

inline std::string AssertionMessage(std::string_view text) {
    return Literally("Assertion `" + std::string(text) + "' failed");
}

inline std::string DetectorAssertionMessage(std::string_view operation, std::string_view text) {
    return ": MotionDetector\\.cpp:[0-9]+: " + Literally("void MD::MotionDetector::" + std::string(operation) + ": ") +
           AssertionMessage(text);
}

// One frame: its record and the planes that the record points to.
class Frame {
public:
    explicit Frame(int columns, int rows, std::uint8_t luma = 100, std::uint8_t cb = 128, std::uint8_t cr = 128)
        : _blocks(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)), _planes(_blocks * 3) {
        info.width = columns;
        info.height = rows;
        info.bgr24stride = columns * 3;
        info.fps = 10.0;
        info.isIFrame = 1;
        info.bgr24ForEachBlock = &_pixel;
        info.ycbcrForEachBlock = _planes.data();
        Fill(luma, cb, cr);
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    void Fill(std::uint8_t luma, std::uint8_t cb = 128, std::uint8_t cr = 128) {
        for (std::size_t i = 0; i < _blocks; ++i) {
            Y()[i] = luma;
            Cb()[i] = cb;
            Cr()[i] = cr;
        }
    }

    // The record, stamped.
    DetectionInfo* At(std::int64_t ticks) {
        info.timestamp = ticks;
        return &info;
    }

    std::uint8_t* Y() { return _planes.data(); }
    std::uint8_t* Cb() { return _planes.data() + _blocks; }
    std::uint8_t* Cr() { return _planes.data() + 2 * _blocks; }

    DetectionInfo info{};

private:
    std::size_t _blocks;
    std::vector<std::uint8_t> _planes;
    std::uint8_t _pixel = 0;  // the BGR picture is never read
};

using Picture = std::vector<std::string>;  // one string per block row, one character per block

// Mask bytes of a picture: '.' is 0, everything else `set`.
inline std::vector<std::uint8_t> MaskOf(const Picture& picture, std::uint8_t set = 255) {
    std::vector<std::uint8_t> mask;
    for (const std::string& row : picture)
        for (const char c : row) mask.push_back(c == '.' ? std::uint8_t{0} : set);
    return mask;
}

inline void Paint(std::uint8_t* plane, const Picture& picture, std::uint8_t set = 255) {
    const std::vector<std::uint8_t> mask = MaskOf(picture, set);
    for (std::size_t i = 0; i < mask.size(); ++i) plane[i] = mask[i];
}

// What a plane of small numbers holds: '.' for 0, a digit up to 9, '#' beyond.
template <class T>
Picture PictureOf(const T* plane, int columns, int rows) {
    Picture picture;
    for (int y = 0; y < rows; ++y) {
        std::string row;
        for (int x = 0; x < columns; ++x) {
            const int value = static_cast<int>(plane[static_cast<std::ptrdiff_t>(y) * columns + x]);
            row += value == 0 ? '.' : value <= 9 ? static_cast<char>('0' + value) : '#';
        }
        picture.push_back(row);
    }
    return picture;
}

template <class T>
std::vector<T> Copied(const T* plane, int count) {
    return std::vector<T>(plane, plane + count);
}

// A detector in skip phase 0: it lets every frame through for the first 65 updates, whatever rand() drew.
class DetectorTest : public testing::Test {
protected:
    DetectorTest() { detector._skipPhase = 0; }

    // A zone with the picture as its mask, at the picture's own resolution.
    void AddZone(const Picture& picture, float minWidth = 0.0f, float minHeight = 0.0f) {
        std::vector<std::uint8_t> mask = MaskOf(picture, 1);
        MDZoneInfo zone{.mask = mask.data(),
                        .maskWidth = static_cast<int>(picture.front().size()),
                        .maskHeight = static_cast<int>(picture.size()),
                        .zoneValue = 0.0f,
                        .minObjectWidth = minWidth,
                        .minObjectHeight = minHeight};
        detector.AddMDZone(&zone);
    }

    void AddFullZone(float minWidth = 0.0f, float minHeight = 0.0f) { AddZone({"#"}, minWidth, minHeight); }

    void Feed(Frame& frame, std::int64_t ticks) { detector.Detect(frame.At(ticks), true); }

    // `count` times the same frame, `step` ticks apart. Returns the time of the last one.
    std::int64_t Feed(Frame& frame, std::int64_t first, std::int64_t step, int count) {
        for (int i = 0; i < count; ++i) Feed(frame, first + i * step);
        return first + (count - 1) * step;
    }

    // Eleven times the same frame at time 0: the ring is just filled, every timer stands at 0.
    void FillRing(Frame& frame) {
        if (!detector._zones._first) AddFullZone();
        Feed(frame, 0, 0, 11);
    }

    Picture Labels() const { return PictureOf(detector._objectsMap, detector.blockCountX, detector.blockCountY); }

    MD::MotionDetector detector;
};

}  // namespace DetectorKit
