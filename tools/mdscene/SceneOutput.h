// How do frames and their truth reach files?  YUV4MPEG2 for video tools, JSON Lines for programs, PGM for eyes.
#pragma once

#include <ostream>

#include "Scene.h"

namespace MdScene {

// The line before the first frame.  Rates are written with up to three decimals: 12.5 becomes 25:2.
void WriteVideoHeader(const Settings& settings, std::ostream& out);
void WriteVideoFrame(const Frame& frame, std::ostream& out);

// One line: {"frame":96,"seconds":8.000,"things":[{"id":1,"kind":"person","box":[x,y,width,height],"shadow":[...]}]}
// "box" or "shadow" is absent when nothing of it is in the picture.  What disturbs comes last, where there is something:
// ,"disturbances":["rain"]
void WriteTruthLine(const Frame& frame, std::ostream& out);

// The mask as a grey picture.
void WriteMask(const Frame& frame, std::ostream& out);

}  // namespace MdScene
