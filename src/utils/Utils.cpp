// What happens to every element of a per-block array?  One plain loop per primitive, after one look at the arguments.
#include "utils/Utils.h"

#include <cstddef>
#include <cstring>

#include "utils/Blocks.h"

namespace Utils {
namespace {

// Null pointers first, then the length, which stands for the row step of a one-row picture.
template <class... Pointers>
int CheckRow(int len, Pointers... pointers) {
    if ((!pointers || ...)) return statusNullPointer;
    return len > 0 ? 0 : statusBadStep;
}

// One primitive over `len` elements: rule(source element, destination element) is the new destination element.
template <class Source, class Destination, class Rule>
int ForEachElement(const Source* source, Destination* destination, int len, Rule rule) {
    if (const int status = CheckRow(len, source, destination)) return status;
    const std::size_t count = static_cast<std::size_t>(len);
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = 0; i < count; ++i) destination[i] = rule(source[i], destination[i]);
    return 0;
}

constexpr unsigned char Clamp(int value) { return static_cast<unsigned char>(value < 0 ? 0 : value > 255 ? 255 : value); }

// Contributions of one chroma value, 16 fractional bits: 1.402, 1.772, 0.34414 and 0.71414 times 65536, rounded.
// Shifts round towards minus infinity.
constexpr int RedFromCr(int cr) { return (91881 * (cr - 128) + 32768) >> 16; }
constexpr int BlueFromCb(int cb) { return (116130 * (cb - 128) + 32768) >> 16; }
constexpr int GreenFromChroma(int cb, int cr) { return ((-22554 * (cb - 128) + 32768) + (-46802 * (cr - 128))) >> 16; }

static_assert(BlueFromCb(0) == -227 && BlueFromCb(255) == 225);
static_assert(RedFromCr(0) == -179 && RedFromCr(255) == 178);

}  // namespace

int ImageClear(float* buffer, int len) {
    if (const int status = CheckRow(len, buffer)) return status;
    std::memset(buffer, 0, static_cast<std::size_t>(len) * sizeof(float));
    return 0;
}

int ImageClear(unsigned char* buffer, int len) { return ImageClear(buffer, len, 0); }

int ImageClear(unsigned char* buffer, int len, unsigned char value) {
    if (const int status = CheckRow(len, buffer)) return status;
    std::memset(buffer, value, static_cast<std::size_t>(len));
    return 0;
}

int ImageAddFloat(float* source, float* accumulator, int len) {
    return ForEachElement(source, accumulator, len, [](float value, float sum) { return sum + value; });
}

int ImageAdd(unsigned char* source, float* accumulator, int len) {
    return ForEachElement(source, accumulator, len,
                          [](unsigned char value, float sum) { return sum + static_cast<float>(value); });
}

int ImageAddSquare(unsigned char* source, float* accumulator, int len) {
    return ForEachElement(source, accumulator, len, [](unsigned char value, float sum) {
        const int square = value * value;
        return sum + static_cast<float>(square);
    });
}

int ImageMax(unsigned char* source, unsigned char* accumulator, int len) {
    return ForEachElement(source, accumulator, len,
                          [](unsigned char value, unsigned char largest) { return value > largest ? value : largest; });
}

int ImageMin(unsigned char* source, unsigned char* accumulator, int len) {
    return ForEachElement(source, accumulator, len,
                          [](unsigned char value, unsigned char smallest) { return value < smallest ? value : smallest; });
}

int InvertMask(unsigned char* source, unsigned char* destination, int len) {
    return ForEachElement(source, destination, len,
                          [](unsigned char value, unsigned char) { return static_cast<unsigned char>(255 - value); });
}

int ConvertByteMaskToInt(unsigned char* source, int* destination, int len) {
    return ForEachElement(source, destination, len, [](unsigned char value, int) { return static_cast<int>(value); });
}

int SetDefaultColor(unsigned char* image, int width, int height, int step, unsigned char a, unsigned char b, unsigned char c,
                    unsigned char* mask) {
    if (!image || !mask) return statusNullPointer;
    if (step <= 0 || width <= 0) return statusBadStep;  // the mask's row step is the width
    if (height <= 0) return statusBadSize;
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        unsigned char* pixel = image + y * step;
        const unsigned char* isPainted = mask + y * width;
        for (std::ptrdiff_t x = 0; x < width; ++x, pixel += 3) {
            if (!isPainted[x]) continue;
            pixel[0] = c;
            pixel[1] = b;
            pixel[2] = a;
        }
    }
    return 0;
}

int YCbCrToBGR(unsigned char* y, unsigned char* cb, unsigned char* cr, unsigned char* bgr, int width, int height, int step) {
    if (!y || !cb || !cr || !bgr) return statusNullPointer;
    if (step <= 0 || width <= 0) return statusBadColourStep;  // the planes' row step is the width
    if (height <= 0) return statusBadSize;
    for (std::ptrdiff_t row = 0; row < height; ++row) {
        unsigned char* pixel = bgr + row * step;
        for (std::ptrdiff_t i = row * width; i < (row + 1) * width; ++i, pixel += 3) {
            pixel[0] = Clamp(y[i] + BlueFromCb(cb[i]));
            pixel[1] = Clamp(y[i] + GreenFromChroma(cb[i], cr[i]));
            pixel[2] = Clamp(y[i] + RedFromCr(cr[i]));
        }
    }
    return 0;
}

}  // namespace Utils
