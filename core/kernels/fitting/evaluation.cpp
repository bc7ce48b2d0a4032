// Kernels that look at splines: cells, values and derivatives, integrals. All functions, orders and layouts
// go through one evaluation of a block of sites.
#include "cells.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace qnm::df {
namespace {

constexpr Int part = 8192; // sites that are worth a thread

/// Asked for values at sites outside, or inside, the partition; for integrals; and for cells.
template <class T>
using Estimate = int(Int* n, Int* cell, T* site, T* r, const void* parameters, void* reserved);
template <class T>
using Integral = int(Int* n, Int* left_cell, T* left, Int* right_cell, T* right, T* r, const void* parameters,
                     void* reserved);
template <class T>
using Search = int(Int* n, T* site, Int* cell, int* found, const void* parameters, void* reserved);

template <class F>
struct Asked {
    F* function;
    const void* parameters;
    template <class... A>
    int operator()(A... arguments) const
    {
        return function(arguments..., parameters, nullptr);
    }
    explicit operator bool() const { return function != nullptr; }
};
template <class F>
struct Callbacks {
    Asked<F> left, right, inner;
    bool any() const { return left || right || inner; }
    const Asked<F>& of(Int cell, Int last) const
    {
        if (cell < 0)
            return left;
        return cell < last ? inner : right;
    }
};

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Memory = std::unique_ptr<T[], Free>;
template <class T>
Memory<T> allocated(Int count)
{
    return Memory<T>(static_cast<T*>(std::calloc(static_cast<std::size_t>(count), sizeof(T))));
}

/// Numbers, listed or even, in parts.
template <class T>
class Sites {
public:
    Sites(const T* site, Int n, Int hint) : all_(site, n, hint), hint_(hint) {}
    bool ascend() const { return hint_ == sorted || all_.are_even(); }
    Int size() const { return all_.size(); }
    /// From a place on; `made` is room for those that are not listed.
    const T* at(Int first, Int n, T* made) const
    {
        if (!all_.are_even())
            return all_.listed() + first;
        for (Int i = 0; i < n; ++i)
            made[i] = all_.even(first + i);
        return made;
    }
    T operator[](Int i) const { return all_[i]; }

private:
    Points<T> all_;
    Int hint_;
};

/// Finds cells, by the caller's function first.
template <class T>
class Finder {
public:
    Finder(const Task& task, bool ascending, Asked<Search<T>> search)
        : cells_(Points<T>(task), ascending), last_(task.nx), search_(search)
    {
    }
    int find(Int n, const T* site, Int* cell)
    {
        cells_.find(n, site, cell);
        if (!search_)
            return ok;
        T asked[block];
        Int answer[block], count = n;
        int found[block] = {};
        std::copy_n(site, n, asked);
        const int status = search_(&count, asked, answer, found);
        for (Int i = 0; i < n && status >= 0; ++i)
            if (found[i] != 0 && answer[i] >= 0 && answer[i] <= last_)
                cell[i] = answer[i] - 1;
        return status < 0 ? status : ok;
    }

private:
    Cells<T> cells_;
    Int last_;
    Asked<Search<T>> search_;
};

/// Calls body(first, n) for blocks of sites, on several threads if they may be called there.
template <class Body>
int in_blocks(Threader* threader, Int count, Int functions, bool anywhere, Body body)
{
    const Int parts = (count + part - 1) / part;
    const bool many = anywhere && count > 2 * part / (functions > 0 ? functions : 1);
    return each(many ? threader : nullptr, parts, many, [&](Int k) {
        auto run = body();
        const Int end = std::min((k + 1) * part, count);
        for (Int first = k * part; first < end; first += block)
            if (const int status = run(first, std::min(block, end - first)); status < 0)
                return status;
        return int{ok};
    });
}

// The k-th derivative of a piece of some order, by Horner's rule, at one distance or at several.
template <int order, int k, class T, class Distance>
Distance derivative(const T* c, Distance t)
{
    if constexpr (k >= order) {
        return Distance{};
    } else {
        constexpr auto factor = [](int power) {
            int product = 1;
            for (int i = 0; i < k; ++i)
                product *= power - i;
            return static_cast<T>(product);
        };
        Distance value = c[order - 1] * factor(order - 1) - Distance{};
        for (int power = order - 2; power >= k; --power)
            value = value * t + c[power] * factor(power);
        return value;
    }
}

/// Where a block's sites lie: a piece of each, and the distance from its point.
template <class T>
struct Places {
    Int n;
    Int piece[block];
    T distance[block];
};

template <int order, int k, class T>
void derivatives(const T* c, const Places<T>& at, T* r, Int step)
{
    const auto one = [&](Int i) {
        r[i * step] = derivative<order, k>(c + at.piece[i] * order, at.distance[i]);
    };
    Int i = 0;
    for (; i + group <= at.n; i += group) {
        if (!alike(at.piece + i)) {
            for (Int same = i; same < i + group; ++same)
                one(same);
            continue;
        }
        using Several = Vector<T>;
        T of_piece[order];
        std::copy_n(c + at.piece[i] * order, order, of_piece);
        for (Int end = i + group, from = i; from < end; from += Several::count) {
            const auto value = derivative<order, k>(of_piece, Several::at(at.distance + from));
            if (step == 1)
                Several::put(value, r + from);
            else
                for (Int of = 0; of < Several::count; ++of)
                    r[(from + of) * step] = value[of];
        }
    }
    for (; i < at.n; ++i)
        one(i);
}
template <int order, class T>
void derivatives(int k, const T* c, const Places<T>& at, T* r, Int step)
{
    switch (k) {
    case 0:
        return derivatives<order, 0>(c, at, r, step);
    case 1:
        return derivatives<order, 1>(c, at, r, step);
    case 2:
        return derivatives<order, 2>(c, at, r, step);
    case 3:
        return derivatives<order, 3>(c, at, r, step);
    default:
        return derivatives<order, order>(c, at, r, step);
    }
}

/// A task's functions, as pieces of polynomials or steps.
template <class T>
class Spline {
public:
    explicit Spline(const Task& task) : task_(task), x_(task) {}

    int status() const
    {
        if (has_steps())
            return task_.ny > 0 && std::any_of(task_.coefficients + values_of * task_.ny,
                                               task_.coefficients + (values_of + 1) * task_.ny,
                                               [](const void* y) { return y == nullptr; })
                       ? null_function
                       : ok;
        return task_.order >= 2 && task_.order <= 4 ? ok : bad_order;
    }
    bool has_steps() const { return task_.type >= look_up && task_.type <= steps_closed_right; }

    void place(Int n, const T* site, const Int* cell, Places<T>& at) const
    {
        const Int last = task_.nx - 1;
        at.n = n;
        if (has_steps()) {
            for (Int i = 0; i < n; ++i)
                at.piece[i] = step_at(site[i], cell[i]);
        } else if (task_.has_knots()) {
            for (Int i = 0; i < n; ++i) {
                Int piece = std::clamp(cell[i], Int{0}, last - 1);
                piece += site[i] >= border(piece + 1) ? 1 : 0;
                at.piece[i] = piece;
                at.distance[i] = site[i] - x_[piece];
            }
        } else {
            for (Int first = 0; first < n; first += group) {
                const Int end = std::min(first + group, n);
                const Int piece = std::clamp(cell[first], Int{0}, last - 1);
                const T point = x_[piece];
                if (end - first == group && alike(cell + first)) {
                    std::fill_n(at.piece + first, group, piece);
                    for (Int i = first; i < end; i += Vector<T>::count)
                        Vector<T>::put(Vector<T>::at(site + i) - point, at.distance + i);
                } else {
                    for (Int i = first; i < end; ++i) {
                        at.piece[i] = std::clamp(cell[i], Int{0}, last - 1);
                        at.distance[i] = site[i] - x_[at.piece[i]];
                    }
                }
            }
        }
    }

    void evaluate(Int j, int k, const Places<T>& at, T* r, Int step) const
    {
        if (has_steps()) {
            const auto* const y = static_cast<const T*>(task_.array(values_of, j));
            const Int y_step = task_.y_hint == by_columns ? task_.ny : 1;
            for (Int i = 0; i < at.n; ++i)
                r[i * step] = at.piece[i] < 0 ? std::numeric_limits<T>::quiet_NaN()
                              : k > 0         ? T(0)
                                              : y[at.piece[i] * y_step];
            return;
        }
        const auto* const c = static_cast<const T*>(task_.array(coefficients_of, j));
        switch (task_.order) {
        case 2:
            return derivatives<2>(k, c, at, r, step);
        case 3:
            return derivatives<3>(k, c, at, r, step);
        default:
            return derivatives<4>(k, c, at, r, step);
        }
    }

    /// From `left` to `right` in ascending order, of cells that are theirs.
    T integral(Int j, T left, Int left_cell, T right, Int right_cell) const
    {
        if (has_steps())
            return steps_integral(j, left, left_cell, right, right_cell);
        if (task_.has_knots())
            return knots_integral(j, left, left_cell, right, right_cell);
        const Int last = task_.nx - 2;
        const Int first = std::clamp(left_cell, Int{0}, last), end = std::clamp(right_cell, Int{0}, last);
        T sum = 0;
        for (Int i = first; i <= end; ++i)
            sum += piece_integral(j, i, i == first ? left : x_[i], i == end ? right : x_[i + 1]);
        return sum;
    }

private:
    // Whose value a step has; none between a table's points.
    Int step_at(T site, Int cell) const
    {
        const Int last = task_.nx - 1;
        const Int left = std::max(cell, Int{0}), right = std::min(cell + 1, last);
        const bool at_left = cell >= 0 && site == x_[std::min(left, last)], at_right = site == x_[right];
        switch (task_.type) {
        case look_up:
            if (at_left)
                return std::min(left, last);
            return at_right ? right : -1;
        case steps_closed_left:
            return at_right ? right : std::min(left, last);
        default:
            return at_left ? std::min(left, last) : right;
        }
    }

    T border(Int i) const { return knot(x_, given_knots<T>(task_), i); }

    T piece_integral(Int j, Int piece, T left, T right) const
    {
        const Int order = task_.order;
        const T* const c = static_cast<const T*>(task_.array(coefficients_of, j)) + piece * order;
        const T a = left - x_[piece], b = right - x_[piece];
        const auto primitive = [&](T t) {
            T value = c[order - 1] / static_cast<T>(order);
            for (Int power = order - 2; power >= 0; --power)
                value = value * t + c[power] / static_cast<T>(power + 1);
            return value * t;
        };
        return primitive(b) - primitive(a);
    }

    T knots_integral(Int j, T left, Int left_cell, T right, Int right_cell) const
    {
        const Int last = task_.nx - 1;
        const Int first = std::clamp(left_cell, Int{0}, last), end = std::clamp(right_cell + 1, Int{0}, last);
        T sum = 0;
        for (Int i = first; i <= end; ++i) {
            const T from = i == 0 ? left : std::max(left, border(i));
            const T to = i == last ? right : std::min(right, border(i + 1));
            if (from < to)
                sum += piece_integral(j, i, from, to);
        }
        return sum;
    }

    T steps_integral(Int j, T left, Int left_cell, T right, Int right_cell) const
    {
        const auto* const y = static_cast<const T*>(task_.array(values_of, j));
        const Int y_step = task_.y_hint == by_columns ? task_.ny : 1, last = task_.nx - 1;
        const bool of_left = task_.type == steps_closed_left;
        T sum = 0;
        for (Int i = left_cell; i <= right_cell; ++i) {
            const T from = i == left_cell ? left : x_[i], to = i == right_cell ? right : x_[i + 1];
            sum += (to - from) * y[std::clamp(of_left ? i : i + 1, Int{0}, last) * y_step];
        }
        return sum;
    }

    const Task& task_;
    Points<T> x_;
};

/// Results of a function: a matrix of sites and derivatives.
struct Layout {
    Int site_step, derivative_step, function_step;
    Layout(Int sites, Int derivatives, Int hint)
        : site_step(hint == by_columns ? 1 : derivatives),
          derivative_step(hint == by_columns ? sites : 1),
          function_step(sites * derivatives)
    {
    }
};

bool is_result_hint(Int hint)
{
    return hint == no_hint || hint == by_rows || hint == by_columns;
}

template <class T>
struct Interpolation {
    const Task& task;
    Sites<T> sites;
    Int orders; // how many stand in the list
    const std::int32_t* order;
    Int wanted; // of them
    T* r;
    Layout layout;
    std::int32_t* cell;
    bool takes_cells, gives_cells;
    Callbacks<Estimate<T>> callbacks;
    Asked<Search<T>> search;
    T* answer; // a callback's, for one site

    auto run() const
    {
        return [this, spline = Spline<T>(task), finder = Finder<T>(task, sites.ascend(), search),
                at = Places<T>(), made = std::array<T, block>()](Int first, Int n) mutable -> int {
            Int found[block];
            const T* const site = sites.at(first, n, made.data());
            if (takes_cells)
                for (Int i = 0; i < n; ++i)
                    found[i] = Int{cell[first + i]} - 1;
            else if (const int status = finder.find(n, site, found); status < 0)
                return status;
            if (gives_cells)
                for (Int i = 0; i < n; ++i)
                    cell[first + i] = static_cast<std::int32_t>(found[i] + 1);
            spline.place(n, site, found, at);
            for (Int j = 0; j < task.ny; ++j) {
                T* to = r + j * layout.function_step + first * layout.site_step;
                for (Int k = 0; k < orders; ++k)
                    if (order[k] != 0) {
                        spline.evaluate(j, static_cast<int>(std::min(k, Int{4})), at, to, layout.site_step);
                        to += layout.derivative_step;
                    }
            }
            return answer == nullptr ? int{ok} : ask(first, n, site, found);
        };
    }

    /// What callbacks know better.
    int ask(Int first, Int n, const T* site, const Int* found) const
    {
        for (Int i = 0; i < n; ++i) {
            const auto& callback = callbacks.of(found[i], task.nx - 1);
            if (!callback)
                continue;
            Int one = 1, number = found[i] + 1;
            T s = site[i];
            if (const int status = callback(&one, &number, &s, answer); status < 0)
                return status;
            for (Int j = 0; j < task.ny; ++j)
                for (Int k = 0; k < wanted; ++k)
                    r[j * layout.function_step + (first + i) * layout.site_step +
                      k * layout.derivative_step] = answer[j * wanted + k];
        }
        return ok;
    }
};

template <class T>
int interpolate(const Task* task, Int type, Int method, Int n, const T* site, Int hint, Int orders,
                const std::int32_t* order, T* r, Int r_hint, std::int32_t* cell,
                const Callbacks<Estimate<T>>& callbacks, Asked<Search<T>> search, Threader* threader)
{
    constexpr Int gives_cells = 2, takes_cells = 4;
    constexpr std::int32_t values = 1;
    if (task == nullptr)
        return null_task;
    if (method != 1)
        return bad_method;
    if (!is_result_hint(r_hint))
        return bad_result_hint;
    if (const int status = Spline<T>(*task).status(); status != ok)
        return status;
    if (order == nullptr) {
        orders = 1;
        order = &values;
    }
    const Int wanted = std::count_if(order, order + orders, [](std::int32_t k) { return k != 0; });
    Memory<T> answer;
    if (callbacks.any()) {
        answer = allocated<T>(task->ny * wanted + 1);
        if (answer == nullptr)
            return out_of_memory;
    }
    const Interpolation<T> all{*task,
                               Sites<T>(site, n, hint),
                               orders,
                               order,
                               wanted,
                               r,
                               Layout(n, wanted, r_hint),
                               cell,
                               (type & takes_cells) != 0,
                               (type & takes_cells) == 0 && (type & gives_cells) != 0,
                               callbacks,
                               search,
                               answer.get()};
    return in_blocks(threader, n, task->ny, !callbacks.any() && !search, [&] { return all.run(); });
}

template <class T>
int search_cells(const Task* task, Int n, const T* site, Int hint, std::int32_t* cell,
                 Asked<Search<T>> search, Threader* threader)
{
    if (task == nullptr)
        return null_task;
    const Sites<T> sites(site, n, hint);
    return in_blocks(threader, n, 1, !search, [&] {
        return [&, finder = Finder<T>(*task, sites.ascend(), search),
                made = std::array<T, block>()](Int first, Int count) mutable {
            Int found[block];
            const int status = finder.find(count, sites.at(first, count, made.data()), found);
            for (Int i = 0; i < count && status >= 0; ++i)
                cell[first + i] = static_cast<std::int32_t>(found[i] + 1);
            return status;
        };
    });
}

template <class T>
struct Integration {
    const Task& task;
    Sites<T> left, right;
    T* r;
    Int limit_step, function_step;
    Callbacks<Integral<T>> callbacks;
    Asked<Search<T>> search;
    T* answer;

    /// A stretch of the line on one side of the partition, or on it.
    int add(const Spline<T>& spline, const Asked<Integral<T>>& callback, T from, Int from_cell, T to,
            Int to_cell, T sign, T* sum) const
    {
        if (callback) {
            Int one = 1, first = from_cell + 1, last = to_cell + 1;
            if (const int status = callback(&one, &first, &from, &last, &to, answer); status < 0)
                return status;
            for (Int j = 0; j < task.ny; ++j)
                sum[j * function_step] += sign * answer[j];
        } else {
            for (Int j = 0; j < task.ny; ++j)
                sum[j * function_step] += sign * spline.integral(j, from, from_cell, to, to_cell);
        }
        return ok;
    }

    int pair(const Spline<T>& spline, T from, Int from_cell, T to, Int to_cell, T* sum) const
    {
        T sign = 1;
        if (to < from) {
            std::swap(from, to);
            std::swap(from_cell, to_cell);
            sign = -1;
        }
        for (Int j = 0; j < task.ny; ++j)
            sum[j * function_step] = std::isunordered(from, to) ? from + to : T(0);
        if (!callbacks.any())
            return add(spline, {}, from, from_cell, to, to_cell, sign, sum);
        // Each side of the partition has a callback of its own.
        const Points<T> x(task);
        const Int last = task.nx - 1;
        const T first_point = x.first(), last_point = x.last();
        if (from < first_point) {
            const T end = std::min(to, first_point);
            if (const int status = add(spline, callbacks.left, from, -1, end, -1, sign, sum); status < 0)
                return status;
        }
        if (from < last_point && to > first_point) {
            const Int begin = std::max(from_cell, Int{0}), end = std::min(to_cell, last - 1);
            if (const int status = add(spline, callbacks.inner, std::max(from, first_point), begin,
                                       std::min(to, last_point), end, sign, sum);
                status < 0)
                return status;
        }
        if (to > last_point)
            return add(spline, callbacks.right, std::max(from, last_point), last, to, last, sign, sum);
        return ok;
    }

    auto run() const
    {
        return [this, spline = Spline<T>(task), left_finder = Finder<T>(task, left.ascend(), search),
                right_finder = Finder<T>(task, right.ascend(), search), made_left = std::array<T, block>(),
                made_right = std::array<T, block>()](Int first, Int n) mutable -> int {
            Int left_cell[block], right_cell[block];
            const T *const from = left.at(first, n, made_left.data()), *const to = right.at(
                                                                           first, n, made_right.data());
            if (const int status = left_finder.find(n, from, left_cell); status < 0)
                return status;
            if (const int status = right_finder.find(n, to, right_cell); status < 0)
                return status;
            for (Int i = 0; i < n; ++i)
                if (const int status = pair(spline, from[i], left_cell[i], to[i], right_cell[i],
                                            r + (first + i) * limit_step);
                    status < 0)
                    return status;
            return ok;
        };
    }
};

template <class T>
int integrate(const Task* task, Int method, Int n, const T* left, Int left_hint, const T* right,
              Int right_hint, T* r, Int r_hint, const Callbacks<Integral<T>>& callbacks,
              Asked<Search<T>> search, Threader* threader)
{
    if (task == nullptr)
        return null_task;
    if (method != 0 && method != 1)
        return bad_method;
    if (!is_result_hint(r_hint))
        return bad_result_hint;
    if (const int status = Spline<T>(*task).status(); status != ok)
        return status;
    if (task->type == look_up)
        return bad_type; // a table says nothing of what lies between
    Memory<T> answer;
    if (callbacks.any()) {
        answer = allocated<T>(task->ny + 1);
        if (answer == nullptr)
            return out_of_memory;
    }
    const bool columns = r_hint == by_columns;
    const Integration<T> all{*task,
                             Sites<T>(left, n, left_hint),
                             Sites<T>(right, n, right_hint),
                             r,
                             columns ? task->ny : 1,
                             columns ? 1 : n,
                             callbacks,
                             search,
                             answer.get()};
    return in_blocks(threader, n, task->ny, !callbacks.any() && !search, [&] { return all.run(); });
}

} // namespace
} // namespace qnm::df

using namespace qnm::df;

#define QNM_EVALUATION(t, T)                                                                                 \
    QNM_FITTING int qnm_df_kernel_##t##DFInterpolate1D(                                                      \
        const Task* task, Int type, Int method, Int n, const T* site, Int hint, Int orders,                  \
        const std::int32_t* order, const T*, T* r, Int r_hint, std::int32_t* cell, Estimate<T>* left,        \
        const void* left_parameters, Estimate<T>* right, const void* right_parameters, Estimate<T>* inner,   \
        const void* inner_parameters, Search<T>* search, const void* parameters, Threader* threader)         \
    {                                                                                                        \
        return interpolate<T>(                                                                               \
            task, type, method, n, site, hint, orders, order, r, r_hint, cell,                               \
            {{left, left_parameters}, {right, right_parameters}, {inner, inner_parameters}},                 \
            {search, parameters}, threader);                                                                 \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_##t##DFIntegrate1D(                                                        \
        const Task* task, Int method, Int n, const T* from, Int from_hint, const T* to, Int to_hint,         \
        const T*, const T*, T* r, Int r_hint, Integral<T>* left, const void* left_parameters,                \
        Integral<T>* right, const void* right_parameters, Integral<T>* inner, const void* inner_parameters,  \
        Search<T>* search, const void* parameters, Threader* threader)                                       \
    {                                                                                                        \
        return integrate<T>(task, method, n, from, from_hint, to, to_hint, r, r_hint,                        \
                            {{left, left_parameters}, {right, right_parameters}, {inner, inner_parameters}}, \
                            {search, parameters}, threader);                                                 \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_##t##DFSearch1D(const Task* task, Int, Int n, const T* site, Int hint,     \
                                                  const T*, std::int32_t* cell, Search<T>* search,           \
                                                  const void* parameters, Threader* threader)                \
    {                                                                                                        \
        return search_cells<T>(task, n, site, hint, cell, {search, parameters}, threader);                   \
    }
QNM_EVALUATION(s, float)
QNM_EVALUATION(d, double)
