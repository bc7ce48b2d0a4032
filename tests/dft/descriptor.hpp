// A descriptor of the test's own, whose operations write down what they take, and answer as told.
#pragma once

#include "qnm/core/dft.h"
#include "support/invoke.hpp"
#include "support/recorded.hpp"

namespace qnm::tests {

using support::Word;
using Integers = std::vector<std::int64_t>;

struct Descriptor : dft_descriptor {
    explicit Descriptor(std::uint32_t forward_domain = 32, int dimensions = 1,
                        std::uint32_t its_precision = 36);

    std::int64_t status = 0; // of each operation
    Integers lengths, input_strides, output_strides, forward_strides, backward_strides;
    Integers input_distance{0}, output_distance{0}, forward_distance{0}, backward_distance{0};
    Integers transforms{1}, limit{0}, told_rank;
    std::string name; // as it was set, with the pad character behind it
    double scales[2]{1, 1};
    Descriptor* made = nullptr; // by a copy
    std::string story;          // commit, copy, release, free, and computing with its arrays
};

/// Whether it is as an integer leaves it that was set, or refused.
bool is_uncommitted(const dft_descriptor& d);

support::Returned call(const std::string& name, const std::vector<Word>& words,
                       const std::vector<support::Real>& reals = {});

/// Addresses of integers that live as long as the test program: arguments by reference, in 64 bits and in 32.
const std::int64_t* at(std::int64_t value);
const int* at32(int value);

} // namespace qnm::tests
