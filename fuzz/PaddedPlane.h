// Does a reader stay within the samples of a picture?  A plane with bytes between its rows that nobody may touch: under
// AddressSanitizer reading them is an error.  Used by BlockReducerFuzz.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ByteSource.h"

#if defined(__SANITIZE_ADDRESS__)
#define FUZZ_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FUZZ_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef FUZZ_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace Fuzz {

class PaddedPlane {
public:
    // rowBytes, rows: at least 1. padding: bytes behind each row. bottomUp: the top row comes last in memory.
    PaddedPlane(std::size_t rowBytes, std::size_t rows, std::size_t padding, bool bottomUp)
        : _rowBytes(rowBytes),
          _rows(rows),
          _distance(rowBytes + padding),
          _bottomUp(bottomUp),
          _memory((rows - 1) * _distance + rowBytes) {
        Guard();
    }
    ~PaddedPlane() { Unguard(); }
    PaddedPlane(const PaddedPlane&) = delete;
    PaddedPlane& operator=(const PaddedPlane&) = delete;

    const std::uint8_t* TopRow() const { return _memory.data() + (_bottomUp ? (_rows - 1) * _distance : 0); }
    std::ptrdiff_t Stride() const {
        const auto distance = static_cast<std::ptrdiff_t>(_distance);
        return _bottomUp ? -distance : distance;
    }
    std::uint8_t At(std::size_t column, std::size_t row) const {
        return TopRow()[static_cast<std::ptrdiff_t>(row) * Stride() + static_cast<std::ptrdiff_t>(column)];
    }

    // All samples alike, a ramp, noise, or noise that starts with bytes of the input.
    void Paint(ByteSource& bytes) {
        const std::uint8_t kind = bytes.Byte(), value = bytes.Byte();
        std::uint32_t state = value * 2654435761u + 1;
        for (std::size_t row = 0; row < _rows; ++row)
            for (std::size_t column = 0; column < _rowBytes; ++column) {
                state = state * 1664525u + 1013904223u;
                const auto noise = static_cast<std::uint8_t>(state >> 24);
                const auto ramp = static_cast<std::uint8_t>(value * column + row);
                const std::uint8_t drawn = kind % 4 == 3 && !bytes.AtEnd() ? bytes.Byte() : noise;
                _memory[row * _distance + column] = kind % 4 == 0 ? value : kind % 4 == 1 ? ramp : drawn;
            }
    }

private:
#ifdef FUZZ_ADDRESS_SANITIZER
    void Guard() {
        for (std::size_t row = 0; row + 1 < _rows; ++row)
            __asan_poison_memory_region(_memory.data() + row * _distance + _rowBytes, _distance - _rowBytes);
    }
    void Unguard() { __asan_unpoison_memory_region(_memory.data(), _memory.size()); }
#else
    void Guard() {}
    void Unguard() {}
#endif

    std::size_t _rowBytes, _rows, _distance;
    bool _bottomUp;
    std::vector<std::uint8_t> _memory;
};

}  // namespace Fuzz
