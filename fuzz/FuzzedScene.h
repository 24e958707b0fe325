// What does the fuzzed camera see?  Three block planes that byte-coded strokes change: flat grounds, rectangles, stripes,
// noise, raw bytes.  Used by DetectFuzz; a few bytes of input make a picture in which things move.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ByteSource.h"

namespace Fuzz {

class FuzzedScene {
public:
    void Resize(int columns, int rows) {
        _columns = columns;
        _rows = rows;
        _planes.assign(3 * Blocks(), 100);
    }

    std::size_t Blocks() const { return static_cast<std::size_t>(_columns) * static_cast<std::size_t>(_rows); }
    const std::vector<std::uint8_t>& Planes() const { return _planes; }

    void Stroke(ByteSource& bytes) {
        switch (bytes.Byte() % 6) {
            case 0: Flat(bytes); break;
            case 1: Rectangle(bytes, [value = bytes.Byte()](std::uint8_t) { return value; }); break;
            case 2:
                Rectangle(bytes, [by = bytes.Byte()](std::uint8_t old) -> std::uint8_t { return (old + by) & 255; });
                break;
            case 3: Stripes(bytes); break;
            case 4: Noise(bytes); break;
            case 5: RawBytes(bytes); break;
        }
    }

    // The luma moves by whole blocks and wraps: something moves everywhere.
    void Shift(int distance) {
        if (const std::size_t by = static_cast<std::size_t>(distance) % Blocks(); by != 0)
            std::rotate(_planes.begin(), _planes.begin() + static_cast<std::ptrdiff_t>(by),
                        _planes.begin() + static_cast<std::ptrdiff_t>(Blocks()));
    }

private:
    std::uint8_t* Plane(ByteSource& bytes) {
        const std::uint8_t code = bytes.Byte();  // luma three times out of four
        return _planes.data() + (code % 8 < 6 ? 0 : static_cast<std::size_t>(code % 8 - 5)) * Blocks();
    }

    void Flat(ByteSource& bytes) {
        std::uint8_t* const plane = Plane(bytes);
        std::fill_n(plane, Blocks(), bytes.Byte());
    }

    template <class Change>
    void Rectangle(ByteSource& bytes, Change change) {
        std::uint8_t* const plane = Plane(bytes);
        const int left = bytes.Between(0, _columns - 1), top = bytes.Between(0, _rows - 1);
        const int right = std::min(_columns, left + bytes.Between(1, 24));
        const int bottom = std::min(_rows, top + bytes.Between(1, 24));
        for (int y = top; y < bottom; ++y) {
            std::uint8_t* const row = plane + static_cast<std::ptrdiff_t>(y) * _columns;
            std::transform(row + left, row + right, row + left, change);
        }
    }

    // Every n-th block: many small objects.
    void Stripes(ByteSource& bytes) {
        std::uint8_t* const plane = Plane(bytes);
        const std::uint8_t value = bytes.Byte();
        const auto period = static_cast<std::size_t>(bytes.Between(1, 64));
        for (std::size_t i = static_cast<std::size_t>(bytes.Between(0, 63)); i < Blocks(); i += period) plane[i] = value;
    }

    void Noise(ByteSource& bytes) {
        std::uint8_t* const plane = Plane(bytes);
        std::uint32_t state = bytes.Byte() * 2654435761u + 1;
        const std::uint8_t mask = bytes.Byte();
        for (std::size_t i = 0; i < Blocks(); ++i) {
            state = state * 1664525u + 1013904223u;
            plane[i] = static_cast<std::uint8_t>(plane[i] ^ ((state >> 24) & mask));
        }
    }

    void RawBytes(ByteSource& bytes) {
        std::uint8_t* const plane = Plane(bytes);
        const std::size_t start = static_cast<std::size_t>(bytes.Byte()) * Blocks() / 256;
        const std::size_t end = std::min(Blocks(), start + static_cast<std::size_t>(bytes.Between(1, 64)));
        for (std::size_t i = start; i < end; ++i) plane[i] = bytes.Byte();
    }

    int _columns = 0, _rows = 0;
    std::vector<std::uint8_t> _planes;  // Y, Cb, Cr: 3 * [block]
};

}  // namespace Fuzz
