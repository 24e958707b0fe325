// What do letters look like in a picture of few dots?  A font of its own, so that labels need no file.
#pragma once

namespace Video {

inline constexpr int letterColumns = 5;  // dots
inline constexpr int letterRows = 8;     // dots

// Is this dot of the letter set?  ASCII; anything else is an empty frame.
bool HasDot(char letter, int column, int row);

}  // namespace Video
