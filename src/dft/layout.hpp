// How a descriptor lays out its data, as far as a line tells it.
#pragma once

#include "dft/descriptor.hpp"

namespace qnm::dft {

/// Lengths and strides with the fastest dimension first; strides have the offset of the first element in
/// front.
struct Side {
    std::int64_t strides[most_dimensions + 2] = {};
    std::int64_t distance = 0;
};

struct Layout {
    int rank = 0;
    std::int64_t lengths[most_dimensions + 1] = {};
    Side in, out;
    std::int64_t transforms = 0;
    bool in_place = false;

    bool is_batch() const { return transforms >= 2; }
};

/// What of the layout a line shows: strides with the lengths; of a batch distances, or that its transforms
/// lie one within the other.
struct Shown {
    bool strides = false;
    bool distances = false;
    bool interleaved = false;
};

Shown shown_of_complex(const Layout& layout);
/// `real` and `conjugate_even` are the two sides of the layout.
Shown shown_of_real(const Layout& layout, const Side& real, const Side& conjugate_even);

} // namespace qnm::dft
