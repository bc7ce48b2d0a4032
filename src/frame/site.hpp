// What the templates know of one entry, and what stands for the tests of an entry that has none.
#pragma once

#include "frame/trace.hpp"

namespace qnm {

/// The statics and fixed texts of one entry.
struct Site {
    Cell* cell;
    const char* format;
    const char* name; // as reported, padded
    int length;
};

/// For entries that register and trace, and leave all checking to the core.
struct NoTests {
    template <class I, class... A>
    QNM_INLINE static int code(A... /*arguments*/)
    {
        return 0;
    }
};

} // namespace qnm
