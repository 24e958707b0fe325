// What does the camera see?  Pictures of blocks to draw on, and the records in which a host would hand them over.
// Used by whole-scene tests and by the stream of StreamDigest. Whole numbers and a seed only: the same everywhere.
//
//     Picture ground = Texture(32, 24, random, 60, 120), frame = ground;
//     Fill(frame, {.left = 4, .top = 3, .width = 6, .height = 4}, 200);
//     FrameFeed feed(InputKind::Standard, oneSecond / 5);
//     DetectionInfo info = feed.Next(frame);                  // valid until the next frame of this feed
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "SeededRandom.h"
#include "coreMD.h"

namespace Kit {

inline constexpr std::int64_t oneSecond = 10000000;  // ticks

struct Rectangle {
    int left, top, width, height;

    bool Contains(int x, int y) const { return x >= left && x < left + width && y >= top && y < top + height; }
};

// One frame: Y, Cb and Cr of every block.
class Picture {
public:
    Picture(int columns, int rows) : _columns(columns), _rows(rows), _planes(3 * Size(), 128) {}

    int Columns() const { return _columns; }
    int Rows() const { return _rows; }
    std::size_t Size() const { return static_cast<std::size_t>(_columns) * static_cast<std::size_t>(_rows); }
    std::uint8_t& Y(int x, int y) { return _planes[IndexOf(x, y)]; }
    std::uint8_t& Cb(int x, int y) { return _planes[Size() + IndexOf(x, y)]; }
    std::uint8_t& Cr(int x, int y) { return _planes[2 * Size() + IndexOf(x, y)]; }
    std::uint8_t Y(int x, int y) const { return _planes[IndexOf(x, y)]; }
    std::uint8_t Cb(int x, int y) const { return _planes[Size() + IndexOf(x, y)]; }
    std::uint8_t Cr(int x, int y) const { return _planes[2 * Size() + IndexOf(x, y)]; }
    std::vector<std::uint8_t>& Planes() { return _planes; }
    const std::vector<std::uint8_t>& Planes() const { return _planes; }
    std::size_t IndexOf(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(_columns) + static_cast<std::size_t>(x);
    }
    Rectangle Whole() const { return {0, 0, _columns, _rows}; }

private:
    int _columns, _rows;
    std::vector<std::uint8_t> _planes;
};

// visit(x, y) for the blocks of the rectangle that lie in the picture.
template <class Visit>
void ForEachBlock(const Picture& picture, Rectangle r, Visit visit) {
    for (int y = std::max(r.top, 0); y < std::min(r.top + r.height, picture.Rows()); ++y)
        for (int x = std::max(r.left, 0); x < std::min(r.left + r.width, picture.Columns()); ++x) visit(x, y);
}

inline std::uint8_t AsByte(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

// ---- Grounds -------------------------------------------------------------------------------------------------------

// Every block its own luma and its own, nearly grey, colour.
inline Picture Texture(int columns, int rows, SeededRandom& random, int darkest, int brightest) {
    Picture picture(columns, rows);
    ForEachBlock(picture, picture.Whole(), [&](int x, int y) {
        picture.Y(x, y) = AsByte(random.Between(darkest, brightest));
        picture.Cb(x, y) = AsByte(random.Between(118, 138));
        picture.Cr(x, y) = AsByte(random.Between(118, 138));
    });
    return picture;
}

inline Picture Checkerboard(int columns, int rows, int dark, int bright) {
    Picture picture(columns, rows);
    ForEachBlock(picture, picture.Whole(), [&](int x, int y) { picture.Y(x, y) = AsByte((x + y) % 2 ? dark : bright); });
    return picture;
}

// Lines `period` blocks apart.
inline Picture Lattice(int columns, int rows, int period, int line, int between) {
    Picture picture(columns, rows);
    ForEachBlock(picture, picture.Whole(),
                 [&](int x, int y) { picture.Y(x, y) = AsByte(x % period == 0 || y % period == 0 ? line : between); });
    return picture;
}

// ---- What happens on them -------------------------------------------------------------------------------------------

inline void Fill(Picture& picture, Rectangle r, int luma, int cb = 128, int cr = 128) {
    ForEachBlock(picture, r, [&](int x, int y) {
        picture.Y(x, y) = AsByte(luma);
        picture.Cb(x, y) = AsByte(cb);
        picture.Cr(x, y) = AsByte(cr);
    });
}

// A shadow: `percent` of the light is left, the colour stays.
inline void Darken(Picture& picture, Rectangle r, int percent) {
    ForEachBlock(picture, r, [&](int x, int y) { picture.Y(x, y) = AsByte(picture.Y(x, y) * percent / 100); });
}

inline void Brighten(Picture& picture, Rectangle r, int greyLevels) {
    ForEachBlock(picture, r, [&](int x, int y) { picture.Y(x, y) = AsByte(picture.Y(x, y) + greyLevels); });
}

// One luma in `every` off by up to `amplitude`.
inline void AddNoise(Picture& picture, SeededRandom& random, int amplitude, int every = 1) {
    if (amplitude == 0) return;
    ForEachBlock(picture, picture.Whole(), [&](int x, int y) {
        if (random.OneIn(every)) picture.Y(x, y) = AsByte(picture.Y(x, y) + random.Between(-amplitude, amplitude));
    });
}

// ---- Handing over ---------------------------------------------------------------------------------------------------

enum class InputKind { Standard, MPEG4, PartlyH264, StandardWithShadows };

// For the names of tests that run once per kind: TestParamInfo or what else has the kind as `param`.
template <class Test>
std::string NameOfKind(const Test& test) {
    constexpr const char* names[] = {"Standard", "MPEG4", "PartlyH264", "StandardWithShadows"};
    return names[static_cast<int>(test.param)];
}

// Frame after frame, `interval` ticks apart, in records that point into the feed.
class FrameFeed {
public:
    FrameFeed(InputKind inputKind, std::int64_t ticksBetweenFrames, std::int64_t firstTime = 0)
        : kind(inputKind), interval(ticksBetweenFrames), nextTime(firstTime) {}

    InputKind kind;
    std::int64_t interval;
    std::int64_t nextTime;
    double fps = 25.0;
    bool isIFrame = true;  // MPEG-4: a complete picture; partly decoded H.264: an I-frame
    bool passThroughFlag = false;
    std::vector<std::uint8_t> referenceLuma;  // MPEG-4; empty: none is handed over

    DetectionInfo Next(const Picture& picture) {
        _planes = picture.Planes();
        _bgr.assign(3 * picture.Size(), 0);
        DetectionInfo info{};
        info.width = picture.Columns();
        info.height = picture.Rows();
        info.bgr24stride = 3 * picture.Columns();
        info.timestamp = nextTime;
        info.bgr24ForEachBlock = _bgr.data();
        info.ycbcrForEachBlock = _planes.data();
        info.mpeg4ReferenceLuma = referenceLuma.empty() ? nullptr : referenceLuma.data();
        info.fps = fps;
        info.passThroughFlag = passThroughFlag;
        info.detectShadow = kind == InputKind::StandardWithShadows;
        info.isMPEG4 = kind == InputKind::MPEG4;
        info.isH264Partly = kind == InputKind::PartlyH264;
        info.isIFrame = kind == InputKind::PartlyH264 ? 0 : isIFrame;
        info.isH264PartlyIFrame = kind == InputKind::PartlyH264 && isIFrame;
        nextTime += interval;
        return info;
    }

    // The luma of a picture as the decoder's reference.
    void Refer(const Picture& picture) {
        referenceLuma.assign(picture.Planes().begin(),
                             picture.Planes().begin() + static_cast<std::ptrdiff_t>(picture.Size()));
    }

private:
    std::vector<std::uint8_t> _planes, _bgr;
};

}  // namespace Kit
