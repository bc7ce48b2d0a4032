// Buffers that programs fill.
#pragma once

#include "stream.hpp"

namespace qnm::vsl {

/// A program's buffer, gone through as a ring. The callback puts new numbers behind `index`, at least `least`
/// and at most `most` of them, and returns how many.
template <class T>
struct Buffer {
    using Refill = int(Stream* stream, int* n, T* buffer, int* least, int* most, int* index);
    T* numbers;
    Refill* refill;
    double low, high; // of the numbers
    std::int32_t n;
    std::int32_t at;   // the next number
    std::int32_t left; // numbers that are not given out yet
};

} // namespace qnm::vsl
