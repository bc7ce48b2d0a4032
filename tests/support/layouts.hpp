// The codes of the two layouts.
#pragma once

namespace qnm::tests {

inline constexpr int row_major = 101;
inline constexpr int column_major = 102;

} // namespace qnm::tests
