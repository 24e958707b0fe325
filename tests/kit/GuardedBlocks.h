// Does the code under test stay inside its arrays?  An array of T that ends (or starts) exactly at an unreadable page:
// one element too far stops the test.  Used by the tests of every room, for kernels on plain pointers above all.
//
//     Kit::GuardedBlocks<std::uint8_t> luma(blockCount);                               // luma[blockCount] is a fault
//     Kit::GuardedBlocks<float> noise(blockCount, Kit::GuardedSide::Front);            // noise[-1] is a fault
//
// The other side has slack up to its own page border, filled with a pattern: SlackIsIntact() tells about writes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

#include "GuardedMemory.h"

namespace Kit {

enum class GuardedSide {
    End,   // the element after the last one lies on the unreadable page
    Front  // the element before the first one does
};

// An array of `count` elements, zero-filled, which keeps its address until it is destroyed.  Not copyable; moving hands the
// same memory on.  A count of 0 is allowed: data() then points at the border.
template <class T>
class GuardedBlocks {
    static_assert(std::is_trivially_copyable_v<T>, "elements are made of zero bytes and never destroyed");

public:
    explicit GuardedBlocks(std::size_t count, GuardedSide side = GuardedSide::End) : _count(count) {
        const std::size_t page = PageSize();
        const std::size_t used = count * sizeof(T);
        _openSize = (used + page - 1) / page * page;
        _mappedSize = page + _openSize + page;  // unreadable, open, unreadable
        _mapped = ReservePages(_mappedSize);
        if (!_mapped) throw std::bad_alloc();
        std::uint8_t* open = _mapped + page;
        if (_openSize > 0 && !OpenPages(open, _openSize)) {
            ReleasePages(_mapped, _mappedSize);
            throw std::bad_alloc();
        }
        const std::size_t slackSize = _openSize - used;
        const bool atEnd = side == GuardedSide::End;
        _slack = std::span(atEnd ? open : open + used, slackSize);
        // The page border is aligned for every T, and so is anything whole elements away from it.
        std::uint8_t* first = atEnd ? open + slackSize : open;
        _data = reinterpret_cast<T*>(first);
        std::fill(open, open + _openSize, slackPattern);
        std::fill(first, first + used, std::uint8_t{0});
    }

    explicit GuardedBlocks(std::span<const T> values, GuardedSide side = GuardedSide::End)
        : GuardedBlocks(values.size(), side) {
        std::copy(values.begin(), values.end(), _data);
    }

    GuardedBlocks(GuardedBlocks&& other) noexcept { Swap(other); }
    GuardedBlocks& operator=(GuardedBlocks&& other) noexcept {
        Swap(other);
        return *this;
    }
    GuardedBlocks(const GuardedBlocks&) = delete;
    GuardedBlocks& operator=(const GuardedBlocks&) = delete;

    ~GuardedBlocks() {
        if (_mapped) {
            ReleasePages(_mapped, _mappedSize);
        }
    }

    T* data() { return _data; }
    const T* data() const { return _data; }
    std::size_t size() const { return _count; }
    std::span<T> span() { return {_data, _count}; }
    std::span<const T> span() const { return {_data, _count}; }
    T* begin() { return _data; }
    T* end() { return _data + _count; }
    const T* begin() const { return _data; }
    const T* end() const { return _data + _count; }
    T& operator[](std::size_t index) { return _data[index]; }  // unchecked: the page is the check
    const T& operator[](std::size_t index) const { return _data[index]; }

    // True while nobody wrote into the slack of the side that is not guarded.
    bool SlackIsIntact() const {
        return std::all_of(_slack.begin(), _slack.end(), [](std::uint8_t byte) { return byte == slackPattern; });
    }

private:
    static constexpr std::uint8_t slackPattern = 0xA5;

    void Swap(GuardedBlocks& other) noexcept {
        std::swap(_data, other._data);
        std::swap(_count, other._count);
        std::swap(_mapped, other._mapped);
        std::swap(_mappedSize, other._mappedSize);
        std::swap(_openSize, other._openSize);
        std::swap(_slack, other._slack);
    }

    T* _data = nullptr;
    std::size_t _count = 0;           // elements
    std::uint8_t* _mapped = nullptr;  // owned; both border pages included
    std::size_t _mappedSize = 0;      // bytes
    std::size_t _openSize = 0;        // bytes between the border pages
    std::span<std::uint8_t> _slack;   // open bytes that are not elements
};

}  // namespace Kit
