// The codes of a layout, as C interfaces take them.
#pragma once

#include "frame/types.hpp"

namespace qnm {

inline constexpr int row_major = 101;
inline constexpr int column_major = 102;

QNM_INLINE bool is_layout(int layout)
{
    return layout == row_major || layout == column_major;
}

} // namespace qnm
