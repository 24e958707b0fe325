// Where does a loop leave something else than its rule?  Collects what a kernel test compares and names the first
// difference:
//
//     3 of 1332 comparisons differ, the first: isObject, case random, length 257, start 3, block 256: got 17, expected 0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "KernelCases.h"

namespace Kit {

// A case of a kernel that works on a whole grid.
struct GridCase {
    int columns;
    int rows;
    const char* fill;

    std::string Text() const {
        return std::string("case ") + fill + ", " + std::to_string(columns) + " x " + std::to_string(rows) + " blocks";
    }
};

class KernelComparison {
public:
    // One array of a case, from block 0 to the end. Numbers are compared as bytes: 0 and -0 differ.
    template <class Case, class T>
    void Compare(const Case& c, const char* what, const T* got, const T* expected, std::size_t count) {
        for (std::size_t block = 0; block < count; ++block)
            if (!AreSame(got[block], expected[block])) {
                Differ(c, what, "block " + std::to_string(block), got[block], expected[block]);
                return;
            }
        ++_comparisons;
    }
    template <class Case, class T>
    void Compare(const Case& c, const char* what, const std::vector<T>& got, const std::vector<T>& expected) {
        if (got.size() != expected.size()) Differ(c, what, "size", got.size(), expected.size());
        else Compare(c, what, got.data(), expected.data(), got.size());
    }
    template <class T>
    void Compare(const KernelCase& c, const char* what, KernelPlane<T>& got, const std::vector<T>& expected) {
        Compare(c, what, got.Copy(c), expected);
    }
    // What a kernel returns for all blocks of a case.
    template <class Case, class T>
    void CompareValue(const Case& c, const char* what, const T& got, const T& expected) {
        if (AreSame(got, expected)) ++_comparisons;
        else Differ(c, what, "all blocks", got, expected);
    }

    // A success if something was compared and everything was equal.
    testing::AssertionResult Result() const {
        const int all = _comparisons + _differences;
        if (all == 0) return testing::AssertionFailure() << "nothing was compared";
        if (_differences == 0) return testing::AssertionSuccess() << all << " comparisons without a difference";
        return testing::AssertionFailure() << _differences << " of " << all << " comparisons differ, the first: " << _first;
    }

private:
    template <class T>
    static bool AreSame(const T& a, const T& b) {
        if constexpr (std::is_arithmetic_v<T>) return std::memcmp(&a, &b, sizeof(T)) == 0;
        else return a == b;
    }
    template <class T>
    static std::string TextOf(const T& value) {
        std::ostringstream text;
        text.precision(9);
        if constexpr (std::is_integral_v<T>) text << +value;  // bytes are numbers
        else if constexpr (std::is_floating_point_v<T>) text << value;
        else text << testing::PrintToString(value);
        return text.str();
    }
    template <class Case, class T>
    void Differ(const Case& c, const char* what, const std::string& where, const T& got, const T& expected) {
        if (_differences++ == 0)
            _first = std::string(what) + ", " + c.Text() + ", " + where + ": got " + TextOf(got) + ", expected " +
                     TextOf(expected);
    }

    int _comparisons = 0;  // without a difference
    int _differences = 0;
    std::string _first;
};

}  // namespace Kit
