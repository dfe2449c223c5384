// LookupTable: an array of constants that is filled by a constexpr function. Indexed by plain ints,
// which debug builds check. Any thread may read.
#pragma once

#include <cassert>

template <typename T, int SIZE>
struct LookupTable {
    T entry[SIZE];

    // Requires: 0 <= i < SIZE.
    constexpr T& operator[](int i) {
        assert(i >= 0 && i < SIZE);
        return entry[i];
    }
    constexpr const T& operator[](int i) const {
        assert(i >= 0 && i < SIZE);
        return entry[i];
    }
    constexpr const T* begin() const { return entry; }
    constexpr const T* end() const { return entry + SIZE; }
};
