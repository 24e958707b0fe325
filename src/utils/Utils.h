// What happens to every element of a per-block array?  Called by the frame statistics and by the background picture.
// Arrays are packed and do not overlap; an accumulator is the second array. Nothing here allocates.
// Every function returns 0, or a negative status with nothing written.
#pragma once

#include "coreMD.h"

namespace Utils {

inline constexpr int statusNullPointer = -8;  // an array is null
// Deliberate: a row step is looked at before a size, and the packed arrays' row step is their length or width: one of 0 or
// less is a step error (UtilsTest, LengthBelowOneIsAStepErrorAndWritesNothing).
inline constexpr int statusBadStep = -16;        // a row step is not positive
inline constexpr int statusBadColourStep = -14;  // the same, in the colour conversion
inline constexpr int statusBadSize = -6;         // a width or height is not positive

COREMD_API int ImageClear(float* buffer, int len);
COREMD_API int ImageClear(unsigned char* buffer, int len);
COREMD_API int ImageClear(unsigned char* buffer, int len, unsigned char value);

// accumulator[i] += source[i], in single precision; ImageAddSquare squares in integers first.
COREMD_API int ImageAddFloat(float* source, float* accumulator, int len);
COREMD_API int ImageAdd(unsigned char* source, float* accumulator, int len);
COREMD_API int ImageAddSquare(unsigned char* source, float* accumulator, int len);

// accumulator[i] = the larger, the smaller of accumulator[i] and source[i].
COREMD_API int ImageMax(unsigned char* source, unsigned char* accumulator, int len);
COREMD_API int ImageMin(unsigned char* source, unsigned char* accumulator, int len);

// destination[i] = 255 - source[i]: a mask to be inverted holds 0 and 255, not 0 and 1.
COREMD_API int InvertMask(unsigned char* source, unsigned char* destination, int len);
// destination[i] = source[i].
COREMD_API int ConvertByteMaskToInt(unsigned char* source, int* destination, int len);

// Paints the pixels of a picture whose mask byte is not 0. `step` is bytes per picture row, the mask is packed.
// Deliberate: the colour bytes are stored in reverse order, c first (UtilsTest, ColourBytesAreStoredInReverse).
COREMD_API int SetDefaultColor(unsigned char* image, int width, int height, int step, unsigned char a, unsigned char b,
                               unsigned char c, unsigned char* mask);

// Full-range planes (packed) to a BGR picture of `step` bytes per row: ITU-T T.871 in 16-bit fixed point.
COREMD_API int YCbCrToBGR(unsigned char* y, unsigned char* cb, unsigned char* cr, unsigned char* bgr, int width, int height,
                          int step);

}  // namespace Utils
