// Kernels that make coefficients: of a piece, powers of the distance from its left point (Subbotin's: from
// the point in it). Unknowns are slopes, which wait for their piece in its second coefficient.
//
// C. de Boor, A Practical Guide to Splines (2001): conditions at ends, three-point slopes. S. B. Stechkin,
// Yu. N. Subbotin, Splines in Numerical Mathematics (1976): quadratic pieces around points. H. Akima, J. ACM
// 17 (1970). J. M. Hyman, SIAM J. Sci. Stat. Comput. 4 (1983): slopes that keep data monotone.
#include "task.hpp"

#include <algorithm>
#include <cmath>

namespace qnm::df {
namespace {

enum EndType : Int {
    own_ends = 0,
    not_a_knot = 1,
    free_ends = 2,
    first_left = 4,
    first_right = 8,
    second_left = 0x10,
    second_right = 0x20,
    periodic = 0x40,
    middle_value = 0x80,
};

/// What is known at an end.
enum class Known : std::uint8_t { nothing, smooth, slope, bend, period, middle };
template <class T>
struct End {
    Known known;
    T value;
};
template <class T>
struct Ends {
    End<T> left, right;
    bool are(Known known) const { return left.known == known && right.known == known; }
};

template <class T>
int read_ends(const Task& task, Int function, Ends<T>& ends)
{
    constexpr Int one_side = first_left | first_right | second_left | second_right;
    const Int type = task.end_type, both = type & ~one_side;
    Known known = Known::nothing;
    switch (both) {
    case own_ends:
        break;
    case not_a_knot:
        known = Known::smooth;
        break;
    case free_ends:
        known = Known::bend;
        break;
    case periodic:
        known = Known::period;
        break;
    case middle_value:
        known = Known::middle;
        break;
    default:
        return bad_end_type;
    }
    if ((type & one_side) != 0 && (known == Known::period || known == Known::middle))
        return bad_end_type;
    ends = {{known, T(0)}, {known, T(0)}};
    const auto* given = static_cast<const T*>(task.array(ends_of, function));
    if (((type & one_side) != 0 || known == Known::middle) && given == nullptr)
        return null_ends;
    if (known == Known::middle)
        ends.left.value = *given;
    const auto read = [&](Int first, Int second, End<T>& end) {
        if ((type & first) != 0 && (type & second) != 0)
            return false;
        if ((type & (first | second)) != 0)
            end = {(type & first) != 0 ? Known::slope : Known::bend, *given++};
        return true;
    };
    return read(first_left, second_left, ends.left) && read(first_right, second_right, ends.right)
               ? ok
               : bad_end_type;
}

/// One function, and where its coefficients go.
template <class T>
class Function {
public:
    Function(const Task& task, Int j)
        : x(task),
          n(task.nx),
          order(task.order),
          c(static_cast<T*>(const_cast<void*>(task.array(coefficients_of, j)))),
          values_(static_cast<const T*>(task.array(values_of, j))),
          step_(task.y_hint == by_columns ? task.ny : 1)
    {
    }
    bool has_values() const { return values_ != nullptr; }
    T y(Int i) const { return values_[i * step_]; }
    T width(Int i) const { return x[i + 1] - x[i]; }
    T chord(Int i) const { return (y(i + 1) - y(i)) / width(i); }
    T* piece(Int i) const { return c + i * order; }

    const Points<T> x;
    const Int n, order;
    T* const c;

private:
    const T* values_;
    Int step_;
};

/// Unknowns, one more than pieces: the last has no piece.
template <class T>
struct Unknowns {
    const Function<T>& f;
    Int pieces;
    T last{};
    T get(Int i) const { return i < pieces ? f.piece(i)[1] : last; }
    void set(Int i, T value)
    {
        if (i < pieces)
            f.piece(i)[1] = value;
        else
            last = value;
    }
};

template <class T>
struct Row {
    T below, diagonal, above, right;
};

/// Solves a tridiagonal system whose rows are asked for in order. What elimination leaves above the diagonal
/// waits in the third coefficients.
template <class T, class Rows>
void solve(Unknowns<T>& unknowns, Rows row)
{
    T above = 0, value = 0;
    for (Int i = 0; i <= unknowns.pieces; ++i) {
        const Row<T> r = row(i);
        const T pivot = r.diagonal - r.below * above;
        value = (r.right - r.below * value) / pivot;
        above = r.above / pivot;
        unknowns.set(i, value);
        if (i < unknowns.pieces)
            unknowns.f.piece(i)[2] = above;
    }
    for (Int i = unknowns.pieces; i-- > 0;) {
        value = unknowns.get(i) - unknowns.f.piece(i)[2] * value;
        unknowns.set(i, value);
    }
}

template <class T>
Row<T> inner_row(const Function<T>& f, Int i)
{
    const T before = f.width(i - 1), behind = f.width(i);
    return {behind, 2 * (before + behind), before, 3 * (behind * f.chord(i - 1) + before * f.chord(i))};
}

/// The condition of an end: of the slope there and the next one. `direction` is -1 at the right.
template <class T>
Row<T> end_row(End<T> end, T width, T chord, T next_width, T next_chord, int direction)
{
    switch (end.known) {
    case Known::slope:
        return {0, 1, 0, end.value};
    case Known::bend:
        return {0, 2, 1, 3 * chord - static_cast<T>(direction) * width * end.value / 2};
    default: {
        const T both = width + next_width;
        return {0, next_width, both,
                ((width + 2 * both) * next_width * chord + width * width * next_chord) / both};
    }
    }
}
template <class T>
Row<T> left_row(const Function<T>& f, End<T> end)
{
    const Int next = f.n > 2 ? 1 : 0;
    return end_row(end, f.width(0), f.chord(0), f.width(next), f.chord(next), 1);
}
template <class T>
Row<T> right_row(const Function<T>& f, End<T> end)
{
    const Int last = f.n - 2, next = f.n > 2 ? last - 1 : last;
    const Row<T> row = end_row(end, f.width(last), f.chord(last), f.width(next), f.chord(next), -1);
    return {row.above, row.diagonal, 0, row.right};
}

/// The slope at x[i] of the parabola through it and two of its neighbours.
template <class T>
T three_point(T before, T behind, T chord_before, T chord_behind)
{
    return (behind * chord_before + before * chord_behind) / (before + behind);
}
template <class T>
T parabola_end(T width, T chord, T next_width, T next_chord)
{
    return chord + (chord - next_chord) * width / (width + next_width);
}

/// Slopes whose bend is continuous and of one period: a cyclic system, whose first unknown comes last. What
/// the other unknowns owe to it waits in the fourth coefficients.
template <class T>
void solve_periodic(const Function<T>& f, Unknowns<T>& slopes)
{
    const Int m = f.n - 1; // slope m is slope 0
    const T before = f.width(m - 1), behind = f.width(0);
    const T right = 3 * (behind * f.chord(m - 1) + before * f.chord(0));
    if (m == 1) {
        slopes.set(0, f.chord(0));
    } else {
        // slope i = value i - share i * slope 0
        T above = 0, value = 0, share = 0;
        for (Int i = 1; i < m; ++i) {
            Row<T> r = inner_row(f, i);
            T owed = 0;
            if (i == 1)
                owed += r.below, r.below = 0;
            if (i == m - 1)
                owed += r.above, r.above = 0;
            const T pivot = r.diagonal - r.below * above;
            value = (r.right - r.below * value) / pivot;
            share = (owed - r.below * share) / pivot;
            above = r.above / pivot;
            T* const c = f.piece(i);
            c[1] = value, c[2] = above, c[3] = share;
        }
        for (Int i = m - 2; i > 0; --i) {
            T* const c = f.piece(i);
            value = c[1] -= c[2] * value;
            share = c[3] -= c[2] * share;
        }
        const T *const next = f.piece(1), *const previous = f.piece(m - 1);
        const T first = (right - behind * previous[1] - before * next[1]) /
                        (2 * (before + behind) - behind * previous[3] - before * next[3]);
        slopes.set(0, first);
        for (Int i = 1; i < m; ++i)
            f.piece(i)[1] -= f.piece(i)[3] * first;
    }
    slopes.last = slopes.get(0);
}

/// Slopes whose bend is continuous.
template <class T>
void smooth_slopes(const Function<T>& f, const Ends<T>& ends, Unknowns<T>& slopes)
{
    if (ends.are(Known::period)) {
        solve_periodic(f, slopes);
    } else if (ends.are(Known::smooth) && f.n == 3) {
        const T slope = three_point(f.width(0), f.width(1), f.chord(0), f.chord(1));
        slopes.set(0, parabola_end(f.width(0), f.chord(0), f.width(1), f.chord(1)));
        slopes.set(1, slope);
        slopes.set(2, parabola_end(f.width(1), f.chord(1), f.width(0), f.chord(0)));
    } else {
        const auto known = [&](End<T> end) {
            // Two points have no inner one that could be left out.
            return f.n == 2 && end.known == Known::smooth ? End<T>{Known::slope, f.chord(0)} : end;
        };
        solve(slopes, [&](Int i) {
            if (i == 0)
                return left_row(f, known(ends.left));
            return i == f.n - 1 ? right_row(f, known(ends.right)) : inner_row(f, i);
        });
    }
}

template <class T>
void cubic_pieces(const Function<T>& f, const Unknowns<T>& slopes)
{
    for (Int i = 0; i + 1 < f.n; ++i) {
        T* const c = f.piece(i);
        const T h = f.width(i), chord = f.chord(i), slope = slopes.get(i), next = slopes.get(i + 1);
        c[0] = f.y(i);
        c[1] = slope;
        c[2] = (3 * chord - 2 * slope - next) / h;
        c[3] = (slope + next - 2 * chord) / (h * h);
    }
}

/// A slope at an end, from the next ones (`following` is behind the next) and what is known.
template <class T>
T end_slope(End<T> end, T own, T width, T chord, T next, T next_width, T next_chord, T following,
            int direction)
{
    switch (end.known) {
    case Known::slope:
        return end.value;
    case Known::bend:
        return (3 * chord - next) / 2 - static_cast<T>(direction) * width * end.value / 4;
    case Known::smooth: {
        const T ratio = width / next_width;
        return 2 * chord - next + ratio * ratio * (next + following - 2 * next_chord);
    }
    default:
        return own;
    }
}

/// Slopes by a rule that looks at a few neighbours. A rule has at(i) for inner points, `period` for the ends
/// of a period, and left and right where nothing is known of ends.
template <class T, class Rule>
int slopes_by_rule(const Function<T>& f, const Ends<T>& ends, const Rule& rule, Unknowns<T>& slopes)
{
    const Int last = f.n - 1;
    for (Int i = 1; i < last; ++i)
        slopes.set(i, rule.at(i));
    if (ends.are(Known::period)) {
        slopes.set(0, f.n == 2 ? f.chord(0) : rule.period());
        slopes.set(last, slopes.get(0));
    } else if (f.n == 2) {
        // Both slopes are asked for at once; a known one is what the other end's is made of.
        const auto left = [&](T next) {
            return end_slope(ends.left, f.chord(0), f.width(0), f.chord(0), next, f.width(0), f.chord(0),
                             next, 1);
        };
        const auto right = [&](T next) {
            return end_slope(ends.right, f.chord(0), f.width(0), f.chord(0), next, f.width(0), f.chord(0),
                             next, -1);
        };
        if (ends.are(Known::bend)) {
            const T h = f.width(0), a = ends.left.value, b = ends.right.value;
            slopes.set(0, f.chord(0) - h * (2 * a + b) / 6);
            slopes.set(1, f.chord(0) + h * (a + 2 * b) / 6);
        } else if (ends.left.known == Known::bend) {
            slopes.set(1, right(f.chord(0)));
            slopes.set(0, left(slopes.get(1)));
        } else {
            slopes.set(0, ends.left.known == Known::smooth ? f.chord(0) : left(f.chord(0)));
            slopes.set(1, ends.right.known == Known::smooth ? f.chord(0) : right(slopes.get(0)));
        }
    } else {
        // Of three points both ends would wait for each other.
        const bool waits = f.n == 3;
        const T own_left = waits && ends.left.known == Known::smooth
                               ? parabola_end(f.width(0), f.chord(0), f.width(1), f.chord(1))
                               : rule.left();
        const T own_right =
            waits && ends.right.known == Known::smooth
                ? parabola_end(f.width(last - 1), f.chord(last - 1), f.width(last - 2), f.chord(last - 2))
                : rule.right();
        const auto known = [&](End<T> end) {
            return waits && end.known == Known::smooth ? End<T>{Known::nothing, T(0)} : end;
        };
        slopes.set(0, end_slope(known(ends.left), own_left, f.width(0), f.chord(0), slopes.get(1), f.width(1),
                                f.chord(1), slopes.get(2), 1));
        slopes.set(last, end_slope(known(ends.right), own_right, f.width(last - 1), f.chord(last - 1),
                                   slopes.get(last - 1), f.width(last - 2), f.chord(last - 2),
                                   slopes.get(last - 2), -1));
    }
    return ok;
}

template <class T>
struct Bessel {
    const Function<T>& f;
    T between(Int i, Int j) const { return three_point(f.width(i), f.width(j), f.chord(i), f.chord(j)); }
    T at(Int i) const { return between(i - 1, i); }
    T period() const { return between(f.n - 2, 0); }
    T left() const { return parabola_end(f.width(0), f.chord(0), f.width(1), f.chord(1)); }
    T right() const
    {
        const Int i = f.n - 2;
        return parabola_end(f.width(i), f.chord(i), f.width(i - 1), f.chord(i - 1));
    }
};

template <class T>
struct Akima {
    const Function<T>& f;
    bool wraps;
    // Chords go on beyond the ends, as the first and last two of them do.
    T chord(Int i) const
    {
        const Int m = f.n - 1;
        if (i >= 0 && i < m)
            return f.chord(i);
        if (wraps)
            return f.chord((i + 2 * m) % m);
        if (m == 1)
            return f.chord(0);
        const Int end = i < 0 ? 0 : m - 1, next = i < 0 ? 1 : m - 2, steps = i < 0 ? -i : i - end;
        return f.chord(end) + static_cast<T>(steps) * (f.chord(end) - f.chord(next));
    }
    T at(Int i) const
    {
        const T first = chord(i - 2), before = chord(i - 1), behind = chord(i), last = chord(i + 1);
        const T of_before = std::fabs(last - behind), of_behind = std::fabs(before - first);
        const T sum = of_before + of_behind;
        return sum > 0 ? (of_before * before + of_behind * behind) / sum : (before + behind) / 2;
    }
    T period() const { return at(0); }
    T left() const { return at(0); }
    T right() const { return at(f.n - 1); }
};

template <class T>
struct Given {
    const Function<T>& f;
    const T* slopes; // of inner points
    T at(Int i) const { return slopes[i - 1]; }
    T period() const { return Bessel<T>{f}.period(); }
    T left() const { return Bessel<T>{f}.left(); }
    T right() const { return Bessel<T>{f}.right(); }
};

/// The slope nearest to one with which the pieces on both sides stay monotone.
template <class T>
T monotone(T slope, T before, T behind)
{
    if (!(before * behind > 0) || !(slope * before > 0))
        return 0;
    return std::copysign(std::min(std::fabs(slope), 3 * std::min(std::fabs(before), std::fabs(behind))),
                         slope);
}

int no_conditions_inside(const Task& task)
{
    return task.inner_type == no_inner ? ok : bad_inner_type;
}

/// Cubic pieces by a rule, all functions alike.
template <class T, class MakeRule>
int by_rule(const Task& task, Int j, MakeRule rule)
{
    const Function<T> f(task, j);
    Ends<T> ends;
    if (const int status = read_ends(task, j, ends); status != ok)
        return status;
    if (ends.are(Known::middle))
        return bad_end_type;
    Unknowns<T> slopes{f, f.n - 1};
    const int status = slopes_by_rule(f, ends, rule(f, ends), slopes);
    if (task.type == hyman) {
        const Int last = f.n - 1;
        for (Int i = 1; i < last; ++i)
            slopes.set(i, monotone(slopes.get(i), f.chord(i - 1), f.chord(i)));
        const T before = ends.are(Known::period) ? f.chord(last - 1) : f.chord(0);
        slopes.set(0, monotone(slopes.get(0), before, f.chord(0)));
        const T behind = ends.are(Known::period) ? f.chord(0) : f.chord(last - 1);
        slopes.set(last, monotone(slopes.get(last), f.chord(last - 1), behind));
    }
    cubic_pieces(f, slopes);
    return status;
}

template <class T>
int bessel_cubic(const Task& task, Int j)
{
    if (const int status = no_conditions_inside(task); status != ok)
        return status;
    return by_rule<T>(task, j, [](const Function<T>& f, const Ends<T>&) { return Bessel<T>{f}; });
}
template <class T>
int akima_cubic(const Task& task, Int j)
{
    if (const int status = no_conditions_inside(task); status != ok)
        return status;
    return by_rule<T>(task, j, [](const Function<T>& f, const Ends<T>& ends) {
        return Akima<T>{f, ends.are(Known::period)};
    });
}
template <class T>
int hermite_cubic(const Task& task, Int j)
{
    if (task.inner_type != first_inner)
        return bad_inner_type;
    const auto* const given = static_cast<const T*>(task.array(inner_of, j));
    if (given == nullptr && task.nx > 2)
        return null_inner;
    return by_rule<T>(task, j, [given](const Function<T>& f, const Ends<T>&) { return Given<T>{f, given}; });
}

/// Pieces whose bends at inner points are given.
template <class T>
int by_bends(const Task& task, Int j)
{
    const auto* const given = static_cast<const T*>(task.array(inner_of, j));
    if (given == nullptr && task.nx > 2)
        return null_inner;
    const Function<T> f(task, j);
    Ends<T> ends;
    if (const int status = read_ends(task, j, ends); status != ok)
        return status;
    if (ends.are(Known::middle) || ends.are(Known::period))
        return bad_end_type;
    const Int last = f.n - 1;
    const auto inner = [&](Int i) { return given != nullptr && i > 0 && i < last ? given[i - 1] : T(0); };
    // Of a slope at an end; where nothing is known the bend goes on as it comes.
    const auto bend = [&](End<T> end, Int piece, Int next, Int following, int direction) {
        if (end.known == Known::slope)
            return 3 * static_cast<T>(direction) * (f.chord(piece) - end.value) / f.width(piece) -
                   inner(next) / 2;
        if (end.known == Known::bend)
            return end.value;
        if (f.n < 4)
            return inner(next);
        const T next_width = f.width(direction > 0 ? next : following);
        return inner(next) + (inner(next) - inner(following)) * f.width(piece) / next_width;
    };
    T left = bend(ends.left, 0, 1, 2, 1), right = bend(ends.right, last - 1, last - 1, last - 2, -1);
    if (f.n == 2) { // each end's condition holds the other end's bend
        const T h = f.width(0), chord = f.chord(0);
        const bool slope_left = ends.left.known == Known::slope,
                   slope_right = ends.right.known == Known::slope;
        const T of_left = 6 * (chord - ends.left.value) / h, of_right = 6 * (ends.right.value - chord) / h;
        if (slope_left && slope_right) {
            left = (2 * of_left - of_right) / 3;
            right = (2 * of_right - of_left) / 3;
        } else if (slope_left) {
            left = (of_left - right) / 2;
        } else if (slope_right) {
            right = (of_right - left) / 2;
        }
    }
    for (Int i = 0; i < last; ++i) {
        T* const c = f.piece(i);
        const T h = f.width(i), here = i == 0 ? left : inner(i), next = i == last - 1 ? right : inner(i + 1);
        c[0] = f.y(i);
        c[1] = f.chord(i) - h * (2 * here + next) / 6;
        c[2] = here / 2;
        c[3] = (next - here) / (6 * h);
    }
    return ok;
}

template <class T>
int smooth_cubic(const Task& task, Int j, End<T> own)
{
    const Function<T> f(task, j);
    Ends<T> ends;
    if (const int status = read_ends(task, j, ends); status != ok)
        return status;
    if (ends.are(Known::middle))
        return bad_end_type;
    for (End<T>* const end : {&ends.left, &ends.right})
        if (end->known == Known::nothing)
            *end = own;
    Unknowns<T> slopes{f, f.n - 1};
    smooth_slopes(f, ends, slopes);
    cubic_pieces(f, slopes);
    return ok;
}
template <class T>
int default_cubic(const Task& task, Int j)
{
    switch (task.inner_type) {
    case no_inner:
        return smooth_cubic<T>(task, j, {Known::smooth, T(0)});
    case first_inner:
        return hermite_cubic<T>(task, j);
    case second_inner:
        return by_bends<T>(task, j);
    default:
        return bad_inner_type;
    }
}
template <class T>
int natural_cubic(const Task& task, Int j)
{
    if (const int status = no_conditions_inside(task); status != ok)
        return status;
    return smooth_cubic<T>(task, j, {Known::bend, T(0)});
}

template <class T>
int linear_pieces(const Task& task, Int j)
{
    if (const int status = no_conditions_inside(task); status != ok)
        return status;
    const Function<T> f(task, j);
    for (Int i = 0; i + 1 < f.n; ++i) {
        T* const c = f.piece(i);
        c[0] = f.y(i);
        c[1] = f.chord(i);
    }
    return ok;
}

/// Quadratic pieces between points: one condition, from which slopes go on to both sides.
template <class T>
int quadratic_pieces(const Task& task, Int j)
{
    if (const int status = no_conditions_inside(task); status != ok)
        return status;
    const Function<T> f(task, j);
    Ends<T> ends;
    if (const int status = read_ends(task, j, ends); status != ok)
        return status;
    const Int last = f.n - 1;
    Unknowns<T> slopes{f, last};
    const bool from_right = (task.end_type & (first_right | second_right)) != 0;
    if (from_right && (task.end_type & (first_left | second_left)) != 0)
        return bad_end_type; // there is one slope to choose
    const End<T> end = from_right ? ends.right : ends.left;
    const T chord = f.chord(from_right ? last - 1 : 0), width = f.width(from_right ? last - 1 : 0);
    T slope = chord;
    switch (end.known) {
    case Known::slope:
        slope = end.value;
        break;
    case Known::bend:
        slope = chord - (from_right ? -width : width) * end.value / 2;
        break;
    case Known::middle:
        slope = 4 * (end.value - f.y(0)) / width - chord;
        break;
    case Known::smooth:
        if (f.n > 2)
            slope = parabola_end(width, chord, f.width(1), f.chord(1));
        break;
    case Known::period: {
        if (last % 2 == 0) // slopes come back to any first one, or to none
            return bad_end_type;
        T sum = 0;
        for (Int i = 0; i < last; ++i)
            sum = 2 * f.chord(i) - sum;
        slope = sum / 2;
        break;
    }
    case Known::nothing:
        break;
    }
    if (from_right) {
        slopes.set(last, slope);
        for (Int i = last - 1; i >= 0; --i)
            slopes.set(i, 2 * f.chord(i) - slopes.get(i + 1));
    } else {
        slopes.set(0, slope);
        for (Int i = 0; i < last; ++i)
            slopes.set(i + 1, 2 * f.chord(i) - slopes.get(i));
    }
    for (Int i = 0; i < last; ++i) {
        T* const c = f.piece(i);
        c[0] = f.y(i);
        c[2] = (slopes.get(i + 1) - c[1]) / (2 * f.width(i));
    }
    return ok;
}

/// Quadratic pieces around points, with knots between them. Unknowns are slopes at knots.
template <class T>
int quadratic_around_points(const Task& task, Int j)
{
    if (task.inner_type != no_inner && task.inner_type != inner_knots)
        return bad_inner_type;
    const T* const given = given_knots<T>(task);
    if (task.inner_type == inner_knots && given == nullptr)
        return null_inner;
    const Function<T> f(task, j);
    Ends<T> ends;
    if (const int status = read_ends(task, j, ends); status != ok)
        return status;
    for (const End<T>& end : {ends.left, ends.right})
        if (end.known == Known::smooth || end.known == Known::period || end.known == Known::middle)
            return bad_end_type;
    const auto border = [&](Int i) { return knot(f.x, given, i); };
    struct Piece {
        T before, behind, width; // of the point
    };
    const auto piece = [&](Int i) {
        return Piece{f.x[i] - border(i), border(i + 1) - f.x[i], border(i + 1) - border(i)};
    };
    Unknowns<T> slopes{f, f.n};
    solve(slopes, [&](Int i) -> Row<T> {
        if (i == 0 || i == f.n) {
            const End<T> end = i == 0 ? ends.left : ends.right;
            const Piece p = piece(i == 0 ? 0 : f.n - 1);
            const Row<T> row = end.known == Known::slope ? Row<T>{0, p.behind, p.before, end.value * p.width}
                                                         : Row<T>{0, -1, 1, end.value * p.width};
            return i == 0 ? row : Row<T>{row.diagonal, row.above, 0, row.right};
        }
        const Piece p = piece(i - 1), q = piece(i);
        return {p.behind * p.behind / p.width,
                p.behind * (1 + p.before / p.width) + q.before * (1 + q.behind / q.width),
                q.before * q.before / q.width, 2 * (f.y(i) - f.y(i - 1))};
    });
    for (Int i = 0; i < f.n; ++i) {
        const Piece p = piece(i);
        T* const c = f.piece(i);
        const T left = slopes.get(i), right = slopes.get(i + 1);
        c[0] = f.y(i);
        c[1] = (left * p.behind + right * p.before) / p.width;
        c[2] = (right - left) / (2 * p.width);
    }
    return ok;
}
template <class T>
int quadratic(const Task& task, Int j)
{
    return task.has_knots() ? quadratic_around_points<T>(task, j) : quadratic_pieces<T>(task, j);
}

template <class T>
int construct(const Task* task, Int format, Int method, Threader* threader, int (*make)(const Task&, Int))
{
    if (task == nullptr)
        return null_task;
    if (format != 0 || method != 0)
        return bad_method;
    if (task->ny < 1)
        return bad_function_count;
    for (Int j = 0; j < task->ny; ++j) {
        if (task->array(coefficients_of, j) == nullptr)
            return null_coefficients;
        if (task->array(values_of, j) == nullptr)
            return null_function;
    }
    constexpr Int enough = 10000; // points that are worth a thread
    return each(threader, task->ny, task->nx > enough / task->ny, [=](Int j) { return make(*task, j); });
}

} // namespace
} // namespace qnm::df

using namespace qnm::df;

#define QNM_SPLINE(Name, make)                                                                               \
    QNM_FITTING int qnm_df_kernel_s##Name(const Task* task, Int format, Int method, Threader* threader)      \
    {                                                                                                        \
        return construct<float>(task, format, method, threader, make<float>);                                \
    }                                                                                                        \
    QNM_FITTING int qnm_df_kernel_d##Name(const Task* task, Int format, Int method, Threader* threader)      \
    {                                                                                                        \
        return construct<double>(task, format, method, threader, make<double>);                              \
    }
QNM_SPLINE(DFLinearSpline1D, linear_pieces)
QNM_SPLINE(DFQuadraticSpline1D, quadratic)
QNM_SPLINE(DFDefaultCubicSpline1D, default_cubic)
QNM_SPLINE(DFNaturalCubicSpline1D, natural_cubic)
QNM_SPLINE(DFHermiteCubicSpline1D, hermite_cubic)
QNM_SPLINE(DFBesselCubicSpline1D, bessel_cubic)
QNM_SPLINE(DFAkimaCubicSpline1D, akima_cubic)
QNM_SPLINE(DFHymanCubicSpline1D, bessel_cubic)
