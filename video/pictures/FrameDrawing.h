// How is something drawn into a decoded picture?  Boxes, tints and labels in frames of YUV 4:2:0.
//
// All of it takes pixels of the picture; what lies outside is cut off.
#pragma once

#include <cstdint>
#include <string>

#include "video/base/Box.h"

struct AVFrame;

namespace Video {

struct Colour {
    std::uint8_t y, cb, cr;
};

void Fill(AVFrame& frame, const Box& box, Colour colour);

// Mixes the colour into what is there. percent: of the colour.
void Tint(AVFrame& frame, const Box& box, Colour colour, int percent);

// The outline of a box.
void DrawBox(AVFrame& frame, const Box& box);

// A line of text on a dark ground, its upper left corner at x, y; moved into the picture as far as it fits. Letters grow
// with the picture's height. A letter that is not ASCII is an empty frame.
void DrawLabel(AVFrame& frame, int x, int y, const std::string& text);

// Pixels that a label is high.
int LabelHeight(const AVFrame& frame);

}  // namespace Video
