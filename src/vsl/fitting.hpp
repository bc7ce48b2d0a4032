// Entries of data fitting that look at a task and their arguments, and choose a kernel.
#pragma once

#include "frame/check.hpp"
#include "vsl/named.hpp"

extern "C" {
// Kernels get its address. It is weak, so that a core without it can still be loaded.
[[gnu::weak]] void qnm_df_serv_threader_for();
}

namespace qnm::vsl {

using qnm_df_callback_t = const void*;
using qnm_df_integral_t = const void*;
using qnm_df_search_t = const void*;

/// A task's record.
struct Fitting {
    const void* unread[2];
    core_int nx;
    const void* x;
    core_int xhint;
    core_int functions; // how many
    const void* y;
    core_int yhint;
    core_int order;
    core_int type;
    const void* conditions[4];
    const void* const* coefficients; // of each function
    core_int coefficient_hint;
    int trusted; // arguments are not looked at
};
static_assert(offsetof(Fitting, functions) == 40 && offsetof(Fitting, order) == 64 &&
              offsetof(Fitting, type) == 72 && offsetof(Fitting, coefficients) == 112 &&
              offsetof(Fitting, trusted) == 128);

enum Status : int {
    null_task = -1000,
    bad_method = -1002,
    no_operation = -1003,
    bad_order = -1010,
    bad_type = -1011,
    null_coefficients = -1016,
    bad_site_count = -1021,
    null_sites = -1022,
    bad_site_hint = -1023,
    bad_derivative_count = -1024,
    unlisted_derivatives = -1025,
    null_results = -1027,
    null_cells = -1029,
    bad_limit_count = -1030,
    null_left_limits = -1031,
    null_right_limits = -1032,
    null_integrals = -1033
};

// A task and an integer as they came: by value, and by reference, where an integer may be left out.
QNM_INLINE const Fitting* task_of(void* task)
{
    return static_cast<const Fitting*>(task);
}
QNM_INLINE const Fitting* task_of(void* const* task)
{
    return static_cast<const Fitting*>(*task);
}
QNM_INLINE core_int or_zero(int value)
{
    return value;
}

/// An argument, or one that stays on the caller's stack until it is asked for.
template <class V>
QNM_INLINE V value(V argument)
{
    return argument;
}
template <class V>
QNM_INLINE V value(In<V> argument)
{
    return argument;
}
template <class V>
QNM_INLINE const void* as_it_is(In<V> argument)
{
    return value(argument);
}
template <class V>
QNM_INLINE core_int or_zero(In<V> argument)
{
    return or_zero(value(argument));
}

/// What the plain entries have in place of callbacks and of what these get.
struct Callbacks {
    const void *left = nullptr, *left_params = nullptr, *right = nullptr, *right_params = nullptr,
               *inner = nullptr, *inner_params = nullptr;
};
struct Search {
    const void *search = nullptr, *params = nullptr;
};

/// Look-up and step functions have no coefficients.
QNM_INLINE bool lacks_coefficients(const Fitting& task)
{
    if (task.type >= 6 && task.type <= 8)
        return false;
    if (task.coefficients == nullptr)
        return true;
    for (core_int i = 0; i < task.functions; ++i)
        if (unlikely(task.coefficients[i] == nullptr))
            return true;
    return false;
}

/// Sites, of a task that is not trusted.
QNM_INLINE int tested_sites(core_int count, const void* sites, core_int hint)
{
    if (unlikely(sites == nullptr))
        return null_sites;
    if (unlikely(count < 1))
        return bad_site_count;
    if (unlikely(hint > 1))
        return hint == 4 || hint == 0x40 ? 0 : bad_site_hint;
    return 0;
}

/// The call of an entry's kernel, which gets the threader too.
template <class T, Text entry, Text name, class... P>
QNM_INLINE int run(P... arguments)
{
    return hand_on<Named<T, entry, "qnm_df_kernel_", name, int(P..., void (*)())>>(arguments...,
                                                                                   qnm_df_serv_threader_for);
}

template <class T, Text entry>
QNM_INLINE int search(const Fitting* task, core_int method, core_int count, const void* sites, core_int hint,
                      const void* datahint, const void* cells, Search told)
{
    return run<T, entry, "DFSearch1D">(task, method, count, sites, hint, datahint, cells, told.search,
                                       told.params);
}

template <class T, Text entry, class N, class List, class Hint, class R, class Cells>
QNM_INLINE int interpolate(const Fitting* task, core_int type, core_int method, core_int count,
                           const void* sites, core_int hint, N derivatives, List list, Hint datahint, R r,
                           N rhint, Cells cells, Callbacks callbacks, Search told)
{
    constexpr core_int values = 1, found = 2, at_given = 4;
    if (unlikely(task == nullptr))
        return null_task;
    const bool trusted = task->trusted != 0;
    if (!trusted) {
        if (unlikely((type & (values | found | at_given)) == 0))
            return no_operation;
        if (unlikely(method != 1))
            return bad_method;
        if (const int status = tested_sites(count, sites, hint); unlikely(status != 0))
            return status;
    }
    if ((type & (values | at_given)) != 0) {
        if (unlikely(lacks_coefficients(*task)))
            return null_coefficients;
        if (unlikely(value(r) == nullptr))
            return null_results;
        if (value(list) != nullptr) {
            if (unlikely(or_zero(derivatives) < 1))
                return bad_derivative_count;
        } else if (unlikely(or_zero(derivatives) != 0)) {
            return unlisted_derivatives;
        }
        if (unlikely((type & found) != 0 && !trusted && value(cells) == nullptr))
            return null_cells;
        if (unlikely((type & at_given) != 0))
            type = at_given;
        return run<T, entry, "DFInterpolate1D">(
            task, type, method, count, sites, hint, or_zero(derivatives), as_it_is(list), as_it_is(datahint),
            as_it_is(r), or_zero(rhint), as_it_is(cells), callbacks.left, callbacks.left_params,
            callbacks.right, callbacks.right_params, callbacks.inner, callbacks.inner_params, told.search,
            told.params);
    }
    if (unlikely((type & found) == 0))
        return no_operation;
    if (unlikely(!trusted && value(cells) == nullptr))
        return null_cells;
    return search<T, entry>(task, method, count, sites, hint, as_it_is(datahint), as_it_is(cells), told);
}

template <class T, Text entry>
QNM_INLINE int integrate(const Fitting* task, core_int method, core_int count, const void* left,
                         core_int lefthint, const void* right, core_int righthint, const void* left_datahint,
                         const void* right_datahint, const void* r, core_int rhint, Callbacks callbacks,
                         Search told)
{
    if (unlikely(task == nullptr))
        return null_task;
    if (task->trusted == 0) {
        if (unlikely(left == nullptr))
            return null_left_limits;
        if (unlikely(right == nullptr))
            return null_right_limits;
        if (unlikely(count < 1))
            return bad_limit_count;
    }
    if (unlikely(lacks_coefficients(*task)))
        return null_coefficients;
    if (unlikely(r == nullptr))
        return null_integrals;
    return run<T, entry, "DFIntegrate1D">(task, method, count, left, lefthint, right, righthint,
                                          left_datahint, right_datahint, r, rhint, callbacks.left,
                                          callbacks.left_params, callbacks.right, callbacks.right_params,
                                          callbacks.inner, callbacks.inner_params, told.search, told.params);
}

template <class T, Text entry>
QNM_INLINE int search_cells(const Fitting* task, core_int method, core_int count, const void* sites,
                            core_int hint, const void* datahint, const void* cells, Search told)
{
    if (unlikely(task == nullptr))
        return null_task;
    if (task->trusted == 0) {
        if (unlikely(method != 0 && method != 1))
            return bad_method;
        if (const int status = tested_sites(count, sites, hint); unlikely(status != 0))
            return status;
        if (unlikely(cells == nullptr))
            return null_cells;
    }
    return search<T, entry>(task, method, count, sites, hint, datahint, cells, told);
}

/// The type of a spline tells the kernel, and the order that it must have.
template <class T>
int construct(const Fitting* task, core_int format, core_int method)
{
    if (unlikely(task == nullptr))
        return null_task;
    if (unlikely(lacks_coefficients(*task)))
        return null_coefficients;
    const auto made = [&]<Text kernel>() { return run<T, "Construct1D", kernel>(task, format, method); };
    const auto of_order = [&]<Text kernel>(core_int order) {
        return task->order == order ? made.template operator()<kernel>() : int{bad_order};
    };
    switch (task->type) {
    case 0:
        switch (task->order) {
        case 2:
            return made.template operator()<"DFLinearSpline1D">();
        case 3:
            return made.template operator()<"DFQuadraticSpline1D">();
        default:
            return of_order.template operator()<"DFDefaultCubicSpline1D">(4);
        }
    case 1:
        return of_order.template operator()<"DFQuadraticSpline1D">(3);
    case 2:
        return of_order.template operator()<"DFNaturalCubicSpline1D">(4);
    case 3:
        return of_order.template operator()<"DFHermiteCubicSpline1D">(4);
    case 4:
        return of_order.template operator()<"DFBesselCubicSpline1D">(4);
    case 5:
        return of_order.template operator()<"DFAkimaCubicSpline1D">(4);
    case 6:
    case 7:
    case 8:
        return 0; // nothing is made of them ahead
    case 9:
        return of_order.template operator()<"DFHymanCubicSpline1D">(4);
    default:
        return bad_type;
    }
}

// The entries, by value and by reference.

template <class T, class I, class Task, class N>
QNM_INLINE int Construct1D(Task task, N format, N method)
{
    return construct<T>(task_of(task), or_zero(format), or_zero(method));
}

template <class T, class I, class Task, class N>
QNM_INLINE int Interpolate1D(Task task, N type, N method, N count, const T* sites, N hint, N& derivatives,
                             const int*& list, const T*& datahint, T*& r, N& rhint, int*& cells)
{
    return interpolate<T, "Interpolate1D">(task_of(task), or_zero(type), or_zero(method), or_zero(count),
                                           sites, or_zero(hint), In<N>{derivatives}, In<const int*>{list},
                                           In<const T*>{datahint}, In<T*>{r}, In<N>{rhint}, In<int*>{cells},
                                           {}, {});
}
template <class T, class I, class Task, class N>
QNM_INLINE int InterpolateEx1D(Task task, N type, N method, N count, const T* sites, N hint, N& derivatives,
                               const int*& list, const T*& datahint, T*& r, N& rhint, int*& cells,
                               const void* left, const void* left_params, const void* right,
                               const void* right_params, const void* inner, const void* inner_params,
                               const void* search, const void* params)
{
    return interpolate<T, "InterpolateEx1D">(
        task_of(task), or_zero(type), or_zero(method), or_zero(count), sites, or_zero(hint),
        In<N>{derivatives}, In<const int*>{list}, In<const T*>{datahint}, In<T*>{r}, In<N>{rhint},
        In<int*>{cells}, {left, left_params, right, right_params, inner, inner_params}, {search, params});
}

template <class T, class I, class Task, class N>
QNM_INLINE int Integrate1D(Task task, N method, N count, const T* left, N lefthint, const T* right,
                           N righthint, const T* left_datahint, const T* right_datahint, T* r, N rhint)
{
    return integrate<T, "Integrate1D">(task_of(task), or_zero(method), or_zero(count), left,
                                       or_zero(lefthint), right, or_zero(righthint), left_datahint,
                                       right_datahint, r, or_zero(rhint), {}, {});
}
template <class T, class I, class Task, class N>
QNM_INLINE int IntegrateEx1D(Task task, N method, N count, const T* left, N lefthint, const T* right,
                             N righthint, const T* left_datahint, const T* right_datahint, T* r, N rhint,
                             const void* left_cb, const void* left_params, const void* right_cb,
                             const void* right_params, const void* inner, const void* inner_params,
                             const void* search, const void* params)
{
    return integrate<T, "IntegrateEx1D">(
        task_of(task), or_zero(method), or_zero(count), left, or_zero(lefthint), right, or_zero(righthint),
        left_datahint, right_datahint, r, or_zero(rhint),
        {left_cb, left_params, right_cb, right_params, inner, inner_params}, {search, params});
}

template <class T, class I, class Task, class N>
QNM_INLINE int SearchCells1D(Task task, N method, N count, const T* sites, N hint, const T* datahint,
                             int* cells)
{
    return search_cells<T, "SearchCells1D">(task_of(task), or_zero(method), or_zero(count), sites,
                                            or_zero(hint), datahint, cells, {});
}
template <class T, class I, class Task, class N>
QNM_INLINE int SearchCellsEx1D(Task task, N method, N count, const T* sites, N hint, const T* datahint,
                               int* cells, const void* search, const void* params)
{
    return search_cells<T, "SearchCellsEx1D">(task_of(task), or_zero(method), or_zero(count), sites,
                                              or_zero(hint), datahint, cells, {search, params});
}

} // namespace qnm::vsl
