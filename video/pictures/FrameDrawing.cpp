// Which pixels of which plane?
#include "video/pictures/FrameDrawing.h"

#include <algorithm>
#include <cstddef>

#include "video/base/Box.h"
#include "video/media/Libav.h"
#include "video/pictures/LabelFont.h"

namespace Video {

namespace {

constexpr Colour boxColour = {210, 16, 146};      // yellow: seen on asphalt, grass and snow
constexpr Colour letterColour = {235, 128, 128};  // white
constexpr Colour groundColour = {24, 128, 128};   // of labels
constexpr int groundTint = 70;                    // percent
constexpr int lineDivisor = 240;                  // a line is picture height / this thick, at least 2 pixels

// Calls change(pixel, value of the colour) for every pixel of the box in all three planes.
template <typename Change>
void ChangePixels(AVFrame& frame, const Box& box, Colour colour, const Change& change) {
    const auto changePlane = [&](int plane, int shift, std::uint8_t value) {
        const int columns = (frame.width + shift) >> shift, rows = (frame.height + shift) >> shift;
        const int left = std::clamp(box.x >> shift, 0, columns);
        const int right = std::clamp((box.x + box.width + shift) >> shift, left, columns);
        const int top = std::clamp(box.y >> shift, 0, rows);
        const int bottom = std::clamp((box.y + box.height + shift) >> shift, top, rows);
        for (int y = top; y < bottom; ++y) {
            std::uint8_t* row = frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane];
            std::for_each(row + left, row + right, [&](std::uint8_t& pixel) { change(pixel, value); });
        }
    };
    changePlane(0, 0, colour.y);
    changePlane(1, 1, colour.cb);
    changePlane(2, 1, colour.cr);
}

// Pixels that a dot is wide and high.
int DotSize(const AVFrame& frame) { return std::max(1, (frame.height + lineDivisor / 2) / lineDivisor); }

// Letters, those of several bytes counted once.
std::string Letters(const std::string& text) {
    std::string letters;
    for (const char c : text) {
        const bool goesOn = (static_cast<unsigned char>(c) & 0xc0) == 0x80;
        if (!goesOn) {
            letters += c;
        }
    }
    return letters;
}

}  // namespace

void Fill(AVFrame& frame, const Box& box, Colour colour) {
    ChangePixels(frame, box, colour, [](std::uint8_t& pixel, std::uint8_t value) { pixel = value; });
}

void Tint(AVFrame& frame, const Box& box, Colour colour, int percent) {
    ChangePixels(frame, box, colour, [percent](std::uint8_t& pixel, std::uint8_t value) {
        pixel = static_cast<std::uint8_t>((pixel * (100 - percent) + value * percent) / 100);
    });
}

void DrawBox(AVFrame& frame, const Box& box) {
    const int line = std::max(2, frame.height / lineDivisor);
    const int right = box.x + box.width, bottom = box.y + box.height;
    Fill(frame, {box.x, box.y, box.width, line}, boxColour);
    Fill(frame, {box.x, bottom - line, box.width, line}, boxColour);
    Fill(frame, {box.x, box.y, line, box.height}, boxColour);
    Fill(frame, {right - line, box.y, line, box.height}, boxColour);
}

int LabelHeight(const AVFrame& frame) { return (letterRows + 2) * DotSize(frame); }

void DrawLabel(AVFrame& frame, int x, int y, const std::string& text) {
    const int dot = DotSize(frame);
    const std::string letters = Letters(text);
    const int width = (static_cast<int>(letters.size()) * (letterColumns + 1) + 1) * dot;
    const int left = std::max(0, std::min(x, frame.width - width)) & ~1;
    const int top = std::max(0, std::min(y, frame.height - LabelHeight(frame))) & ~1;
    Tint(frame, {left, top, width, LabelHeight(frame)}, groundColour, groundTint);
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const int begin = left + (static_cast<int>(i) * (letterColumns + 1) + 1) * dot;
        for (int row = 0; row < letterRows; ++row) {
            for (int column = 0; column < letterColumns; ++column) {
                if (HasDot(letters[i], column, row)) {
                    Fill(frame, {begin + column * dot, top + (row + 1) * dot, dot, dot}, letterColour);
                }
            }
        }
    }
}

}  // namespace Video
