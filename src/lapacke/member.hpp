// From a plan to its members. A plan is a struct of templates over element and integer, with a static
// function for each level, and a macro for each level's list of parameters, PLAN_work and PLAN_high.
// Parameters are referred to: the Fortran routine gets the addresses at which the caller left them.
#pragma once

#include <utility>

#include "frame/types.hpp"

namespace qnm::lapacke {

template <class R, class Positions>
struct FortranOf;
template <std::size_t>
using Place = const void*;
template <class R, std::size_t... position>
struct FortranOf<R, std::index_sequence<position...>> {
    using type = R(Place<position>...);
};

/// A routine that takes everything by address.
template <class R, std::size_t arguments>
using Fortran = typename FortranOf<R, std::make_index_sequence<arguments>>::type;

} // namespace qnm::lapacke

// A level's first parameter, which not all plans need; and what becomes of the parameters in a list.
#define QNM_NAME [[maybe_unused]] const char* entry
#define QNM_TYPED(TYPE, NAME) TYPE NAME
#define QNM_NAMED(TYPE, NAME) NAME
#define QNM_REFERENCE(TYPE, NAME) TYPE& NAME

/// The work level of a member, which calls the Fortran routine. A member takes in all that it calls, so
/// nothing in this family needs a word of its own for that.
#define QNM_WORK(NAME, PLAN, T, I, ROUTINE)                                                                  \
    extern "C" PLAN<T, I>::Routine ROUTINE;                                                                  \
    extern "C" QNM_EXPORT [[gnu::flatten]] PLAN<T, I>::Result NAME(PLAN##_work(QNM_TYPED, T, I))             \
    {                                                                                                        \
        return PLAN<T, I>::work(#NAME, ROUTINE, PLAN##_work(QNM_NAMED, T, I));                               \
    }
/// The high level, which calls the work level through the dynamic symbol table.
#define QNM_HIGH(NAME, PLAN, T, I, WORK)                                                                     \
    extern "C" QNM_EXPORT [[gnu::flatten]] PLAN<T, I>::Result NAME(PLAN##_high(QNM_TYPED, T, I))             \
    {                                                                                                        \
        return PLAN<T, I>::high(#NAME, WORK, PLAN##_high(QNM_NAMED, T, I));                                  \
    }
