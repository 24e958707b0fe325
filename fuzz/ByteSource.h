// Which choices does a fuzzer's input stand for?  Bytes are taken from the front, one decision after another; behind the
// end there are zeros, so that every input is a whole program and a shorter one does less.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Fuzz {

class ByteSource {
public:
    ByteSource(const std::uint8_t* data, std::size_t size) : _data(data), _size(size) {}

    bool AtEnd() const { return _next >= _size; }
    std::size_t Left() const { return _size - _next; }

    std::uint8_t Byte() { return AtEnd() ? std::uint8_t{0} : _data[_next++]; }
    bool Bool() { return (Byte() & 1) != 0; }

    // first to last, both included; one byte where that suffices.
    int Between(int first, int last) {
        const auto choices = static_cast<unsigned>(last - first) + 1;
        const unsigned drawn = choices <= 256 ? Byte() : Unsigned(4);
        return first + static_cast<int>(drawn % choices);
    }

    std::int32_t Int32() { return static_cast<std::int32_t>(Unsigned(4)); }
    std::int64_t Int64() {
        const std::uint64_t high = Unsigned(4);
        return static_cast<std::int64_t>(high << 32 | Unsigned(4));
    }
    float Float() { return std::bit_cast<float>(Unsigned(4)); }
    double Double() { return std::bit_cast<double>(Int64()); }

    // A boolean as hosts write it: mostly 0 or 1, now and then any other value.
    std::int32_t Flag() {
        const std::uint8_t code = Byte();
        return code < 240 ? code & 1 : static_cast<std::int32_t>(static_cast<std::uint32_t>(code) << (code & 31));
    }

    template <class T, std::size_t n>
    const T& Pick(const T (&choices)[n]) {
        static_assert(n <= 256);
        return choices[Byte() % n];
    }

    void Fill(std::vector<std::uint8_t>& bytes) {
        for (std::uint8_t& byte : bytes) byte = Byte();
    }

private:
    std::uint32_t Unsigned(int bytes) {
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) value = value << 8 | Byte();
        return value;
    }

    const std::uint8_t* _data;
    std::size_t _size;
    std::size_t _next = 0;
};

}  // namespace Fuzz
