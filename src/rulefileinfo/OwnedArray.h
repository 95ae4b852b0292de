#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

// The rule file info objects keep their children as plain arrays made with array new (the
// public layout fixes that); these helpers make such arrays without leaking on a throw.
namespace rulefileinfo {

/// n default elements, or null for 0.
template <typename T> T* newArray(size_t n) { return n == 0 ? nullptr : new T[n]; }

/// A new array holding copies of the n elements at src, or null for 0.
template <typename T> T* copyArray(const T* src, size_t n) {
    if (n == 0)
        return nullptr;
    std::unique_ptr<T[]> copy(new T[n]);
    std::copy(src, src + n, copy.get());
    return copy.release();
}

/// Element i of an array of n, or null when i is out of range.
template <typename T> const T* elementAt(const T* array, size_t n, size_t i) {
    return i < n ? array + i : nullptr;
}

} // namespace rulefileinfo
