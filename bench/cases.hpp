// What is measured: the routines, their sizes, and the aims.
#pragma once

#include <span>
#include <string>

namespace qnm::bench {

/// Calls `function` with one set of arguments, `times` times over.
using Loop = void(void* function, long times);

/// Instructions of the layer's own for one call; 0 where none is set.
struct Aim {
    int narrow = 0;
    int wide = 0;
    bool plus_decision = false; // the choice between two kernels comes on top
    double ratio = 0;           // longest time relative to the direct call; 0 where none is set
};

struct Case {
    const char* routine;
    const char* size;
    Loop* narrow; // 32-bit integers
    Loop* wide;   // 64-bit integers, null if the family has no such member
    Loop* direct; // as the core takes it
    const char* core;
    const char* engine; // null if the engine has no such routine
    Aim aim;
    Loop* engine_loop = nullptr; // where the engine's routine is not called as the core's
};

std::span<const Case> cases();

/// What a part of the instruction count is called.
inline std::string label(const Case& what, bool wide)
{
    return std::string(what.routine) + (wide ? "_64 " : " ") + what.size;
}

} // namespace qnm::bench
