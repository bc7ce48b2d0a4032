// What the core gets for the arrays of integers of a narrow LAPACK entry: 64-bit copies.
#pragma once

#include "frame/copy.hpp"
#include "lapack/rooms.hpp"

namespace qnm::lapack {

template <Way way, Extra extra, class H, class Returned>
struct Ground<Array<way, extra, H, Returned>> {
    QNM_INLINE Ground() {}
    core_int elements[stack_elements];
};

template <Way way, Extra extra, class H, class Returned>
struct Seat<Array<way, extra, H, Returned>> {
    using Given = Array<way, extra, H, Returned>;

    H caller;
    Extent extent;
    bool asked;
    Returned returned;
    Copies<Allocated<128>> copies;

    QNM_INLINE Seat(Given a, Ground<Given>&& ground)
        : caller(a.caller), extent(a.extent), asked(a.asked), returned(a.returned), copies{ground.elements}
    {
    }

    /// False if there is no memory; nothing is held then.
    QNM_INLINE bool prepare()
    {
        if (unlikely(extent.allocated()) && !copies.take(extent.bytes()))
            return false;
        if constexpr (extra == Extra::cleared) {
            if (extent.elements() > 0) // a bad size is left to the core
                __builtin_memset(copies.place, 0, static_cast<std::size_t>(extent.bytes()));
        }
        if constexpr (way == Way::in || way == Way::inout)
            widen(copies.place, pointer(caller), extent.elements());
        return true;
    }

    QNM_INLINE core_int* pass() { return extra == Extra::null_at_query && asked ? nullptr : copies.place; }

    /// Work comes back as far as it carries results, and at a query by its first element at most.
    QNM_INLINE core_int coming_back() const
    {
        if constexpr (requires { returned(); }) {
            constexpr bool first = requires
            {
                std::integral_constant<core_int, Returned{}()>::value;
            };
            return asked ? core_int{first ? 1 : 0} : smaller(returned(), extent.elements());
        } else if constexpr (std::is_same_v<Returned, AllOrFirst>) {
            return asked ? 1 : extent.elements();
        } else {
            return way == Way::work ? 0 : extent.elements();
        }
    }

    QNM_INLINE void bring_back()
    {
        if constexpr (way != Way::in && (way != Way::work || requires { returned(); }))
            narrow(pointer(caller), copies.place, coming_back());
    }

    QNM_INLINE void release()
    {
        if (unlikely(extent.allocated()))
            copies.release();
    }
};

} // namespace qnm::lapack
