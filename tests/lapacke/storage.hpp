// Which elements of a matrix a storage form holds, and where they stand in either layout: a plain model, one
// loop.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace qnm::tests {

inline constexpr int row_major = 101;
inline constexpr int column_major = 102;

/// A form with its options as numbers and letters, for instance tr(U,N,n) or gb(m,n,kl,ku).
struct Storage {
    std::string form;
    std::string letters;
    std::int64_t m = 0; // of square forms n
    std::int64_t n = 0;
    std::int64_t kl = 0;
    std::int64_t ku = 0;
};

/// Calls `visit` with the offsets of each held element in row-major, with that leading dimension, and in
/// column-major.
void for_each_element(const Storage& storage, std::int64_t row_ld, std::int64_t column_ld,
                      const std::function<void(std::int64_t row_major, std::int64_t column_major)>& visit);

} // namespace qnm::tests
