// How arguments of a matrix copy travel. Check and core take values, complex scalars by address; the kind of
// a parameter says how its form brings the value.
//   const char*, const int*, const float*, const double*  a scalar of the Fortran form, by reference
//   char, size, float, double                             the same of the C form, by value
//   const void*                                           matrices, complex scalars and arrays of scalars, by
//   address
#pragma once

#include "frame/complex.hpp"
#include "frame/kinds.hpp"
#include "frame/scratch.hpp"
#include "trans/check.hpp"

namespace qnm::trans {

template <class C>
QNM_INLINE const void* address(const C& by_value)
{
    return &by_value;
}

/// One letter for each group.
struct Letters {
    const char* array;
};
/// One size for each group, of the C form.
struct Sizes {
    const core_int* array;
};
/// The same of the Fortran form: the core gets a 64-bit copy.
struct NarrowSizes {
    const int* array;
};
/// How many groups there are, in the Fortran form.
struct GroupCount {
    const int* place;
};

/// 64-bit copies of the arrays of a Fortran form, for the length of the call: on the stack for few groups.
template <std::size_t arrays>
class Widened {
public:
    explicit Widened(core_int groups) : groups_(larger<core_int>(groups, 0))
    {
        if (many())
            copies_.take(static_cast<core_int>(arrays * sizeof(core_int)) * groups_);
        next_ = copies_.place;
    }
    Widened(const Widened&) = delete;
    Widened& operator=(const Widened&) = delete;
    ~Widened()
    {
        if (many() && !failed())
            copies_.release();
    }

    bool failed() const { return copies_.place == nullptr; }

    const core_int* widen(const int* array)
    {
        core_int* const copy = next_;
        for (core_int g = 0; g < groups_; ++g) // there are few: one by one
            copy[g] = array[g];
        next_ += groups_;
        return copy;
    }

private:
    bool many() const { return groups_ > stack_elements; }

    core_int groups_;
    core_int stack_[stack_elements * arrays];
    Copies<Allocated<128>> copies_{stack_};
    core_int* next_;
};

/// For members without such arrays.
template <>
class Widened<0> {
public:
    explicit Widened(core_int /*groups*/) {}
    static bool failed() { return false; }
};

template <class... A>
inline constexpr std::size_t narrow_arrays = (std::size_t{0} + ... +
                                              (std::is_same_v<A, NarrowSizes> ? 1 : 0));

/// The number of groups, or 0 where arrays need no copies.
template <class A>
QNM_INLINE core_int groups_of(A argument)
{
    if constexpr (std::is_same_v<A, GroupCount>)
        return *argument.place;
    else
        return 0;
}

/// Narrow arrays as their 64-bit copies, everything else as it is.
template <class Room, class A>
QNM_INLINE A& wide_arrays(Room& /*room*/, A& argument)
{
    return argument;
}
template <class Room>
QNM_INLINE Sizes wide_arrays(Room& room, NarrowSizes argument)
{
    return {room.widen(argument.array)};
}

/// What check and core get.
template <class A>
QNM_INLINE auto value(A argument)
{
    if constexpr (std::is_same_v<A, const char*> || std::is_same_v<A, const float*> ||
                  std::is_same_v<A, const double*>)
        return *argument;
    else if constexpr (std::is_same_v<A, const int*>)
        return core_int{*argument};
    else if constexpr (std::is_same_v<A, GroupCount>)
        return core_int{*argument.place};
    else if constexpr (std::is_same_v<A, size>)
        return static_cast<core_int>(argument);
    else if constexpr (std::is_same_v<A, Letters> || std::is_same_v<A, Sizes>)
        return argument.array;
    else
        return argument;
}

/// What the line shows.
template <class A>
QNM_INLINE auto shown(A argument)
{
    if constexpr (std::is_same_v<A, GroupCount>)
        return *argument.place;
    else
        return qnm::shown<false>(argument);
}

} // namespace qnm::trans
