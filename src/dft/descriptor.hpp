// A descriptor as the layer sees it: statuses, values of its fields, and how entries are spelled.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/types.hpp"
#include "qnm/core/dft.h"

/// A further name of an entry of this file.
#define QNM_TWIN(NAME, OF) [[gnu::alias(#OF), gnu::visibility("default")]] decltype(OF) NAME;

/// The further Fortran spellings of an entry.
#define QNM_FORTRAN(NAME, name)                                                                              \
    QNM_TWIN(NAME##_, NAME) QNM_TWIN(name, NAME) QNM_TWIN(name##_, NAME) QNM_TWIN(name##__, NAME)

namespace qnm::dft {

/// What an operation gives back is handed on, so a status may be any number.
using Status = std::int64_t;
constexpr int no_error = 0;
constexpr int invalid_configuration = 2;
constexpr int inconsistent_configuration = 3;
constexpr int bad_descriptor = 5;
constexpr int unimplemented = 6;
constexpr int internal_error = 7;

constexpr int committed = 30;
constexpr int uncommitted = 31;
constexpr int complex_domain = 32;
constexpr int real_domain = 33;
constexpr int single_precision = 35;
constexpr int double_precision = 36;
constexpr int complex_complex = 39;
constexpr int complex_real = 40;
constexpr int real_complex = 41;
constexpr int real_real = 42;
constexpr int in_place = 43;
constexpr int not_in_place = 44;
constexpr int ordered = 48;
constexpr int backward_scrambled = 49;
constexpr int forward_scrambled = 50;
constexpr int allow = 51;
constexpr int avoid = 52;
constexpr int ccs_format = 54;
constexpr int pack_format = 55;
constexpr int perm_format = 56;
constexpr int cce_format = 57;

QNM_INLINE bool is_valid(const dft_descriptor* d)
{
    return d != nullptr && d->magic == DFT_MAGIC;
}

/// Of arrays with one element for each dimension; strides have one more.
constexpr int most_dimensions = 7;

/// A core may say what it likes: nothing is indexed by a rank that cannot be.
QNM_INLINE int sound_rank(std::int64_t rank)
{
    return static_cast<int>(std::clamp<std::int64_t>(rank, 0, most_dimensions));
}

} // namespace qnm::dft
