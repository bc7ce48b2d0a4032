// The processes that work on a system: this one alone.
#pragma once

#include "open/solvers/controls.hpp"

extern "C" void SCOTCH_randomReset(void);

namespace qnm::core::solvers {

class Processes {
public:
    static constexpr bool are_several = false;
    static constexpr int nested_dissection = 3; // as the engine numbers Scotch
    static constexpr int engines_communicator = -987654;

    /// Orders, and so bits, do not depend on what was ordered before.
    static void begin_engine() { SCOTCH_randomReset(); }

    static Processes kept() { return {}; }
    static int communicator() { return engines_communicator; }
    static bool is_first() { return true; }
    static bool are_same(const Processes& /*of*/) { return true; }
    static bool have_in_common(core_int /*number*/) { return true; }
    static bool all(bool here) { return here; }
    template <class Work>
    static Error agreed(const Work& work)
    {
        return work();
    }
    template <class X>
    static void hand_out(X* /*x*/, core_int /*count*/)
    {
    }
    template <class X>
    static void add_up(X* /*x*/, core_int /*count*/)
    {
    }
};

} // namespace qnm::core::solvers
