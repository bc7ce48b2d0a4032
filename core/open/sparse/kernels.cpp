// Products with sparse matrices, and solves: one loop over lines for all of them.
#include "view.hpp"

namespace qnm::core::sparse {
namespace {

/// work(0) to work(count - 1), written out: what is kept for a column stays in its register.
template <core_int count, class Work>
[[gnu::always_inline]] inline void over_columns(const Work& work)
{
    [&]<core_int... c>(std::integer_sequence<core_int, c...>)
    {
        (work(c), ...);
    }
    (std::make_integer_sequence<core_int, count>());
}

/// Elements as they are, or conjugated.
template <class T>
struct Read {
    real_t<T> imaginary; // 1 or -1
    explicit Read(bool conjugated) : imaginary(conjugated ? real_t<T>(-1) : real_t<T>(1)) {}
    [[gnu::always_inline]] T operator()(T v) const
    {
        if constexpr (is_complex<T>)
            return {v.real(), imaginary * v.imag()};
        else
            return v;
    }
};

enum class Kind { whole, part, mirrored };

template <class T>
struct Product {
    Dense<const T> x;
    Dense<T> y;
    core_int inputs, outputs;
    T alpha, mirror_alpha, beta;
    Read<T> read, read_mirror; // an element, and its mirror image, as op(A) has them
    Part part;
    bool unit, real_diagonal;

    /// What a sum is added to.
    [[gnu::always_inline]] T start(const T* xs, core_int at, T yi, core_int i) const
    {
        const T scaled = beta == T{} ? T{} : times(beta, yi);
        return unit && i < inputs ? scaled + times(alpha, xs[at]) : scaled;
    }
};

/// Where the elements of a block of vectors are.
template <bool by_rows>
struct Steps {
    core_int ld;
    core_int row() const { return by_rows ? ld : 1; }
    core_int column() const { return by_rows ? 1 : ld; }
};

// Gathering: a line of op(A) is a row. Else it is a column, and goes to all of y. Mirrored does both at once.
template <core_int width, bool by_rows, Kind kind, bool gathers, class View, class T>
void multiply_columns(const View& a, const Product<T>& task, const T* x, T* y)
{
    constexpr bool mirrors = kind == Kind::mirrored;
    const Steps<by_rows> in{task.x.ld}, out{task.y.ld};
    constexpr bool at_once = gathers && View::once && !mirrors; // a sum is all that comes to its element
    const bool empty = a.count == 0 || a.others == 0;           // and perhaps there is no x
    if (!at_once || empty)
        for (core_int i = 0; i < task.outputs; ++i)
            over_columns<width>([&](core_int c) {
                T& yi = y[i * out.row() + c * out.column()];
                yi = task.start(x, i * in.row() + c * in.column(), yi, i);
            });
    if (empty)
        return;
    const T* const from = x - a.base * in.row();
    T* const to = y - a.base * out.row();
    const Read<T> read = task.read, read_mirror = task.read_mirror;
    for (core_int k = 0; k < a.count; ++k) {
        const core_int line = a.line(k);
        [[maybe_unused]] T sum[width]{}, spread[width];
        if constexpr (!gathers || mirrors)
            over_columns<width>([&](core_int c) {
                spread[c] =
                    times(mirrors ? task.mirror_alpha : task.alpha, x[line * in.row() + c * in.column()]);
            });
        [[maybe_unused]] Part::Bounds bounds{};
        if constexpr (kind != Kind::whole)
            bounds = task.part.of(line, a.base);
        a.each(k, [&](core_int other, T v) {
            if constexpr (kind != Kind::whole)
                if (!bounds.hold(other))
                    return;
            if constexpr (mirrors) {
                if (other - a.base == line) {
                    if constexpr (is_complex<T>)
                        v.imag(task.real_diagonal ? 0 : v.imag());
                } else {
                    const T image = read_mirror(v);
                    over_columns<width>([&](core_int c) {
                        to[other * out.row() + c * out.column()] += times(image, spread[c]);
                    });
                }
            }
            const T element = read(v);
            over_columns<width>([&](core_int c) {
                if constexpr (gathers)
                    sum[c] += times(element, from[other * in.row() + c * in.column()]);
                else
                    to[other * out.row() + c * out.column()] += times(element, spread[c]);
            });
        });
        if constexpr (gathers)
            over_columns<width>([&](core_int c) {
                T& yi = y[line * out.row() + c * out.column()];
                if constexpr (at_once)
                    yi = task.start(x, line * in.row() + c * in.column(), yi, line);
                yi += times(task.alpha, sum[c]);
            });
    }
}

/// How many columns of a block by rows are taken at once. Others of the formats are not worth the code.
template <class View>
constexpr core_int widest = 4;
template <class T, class I>
constexpr core_int widest<Lines<T, I>> = 8; // a cache line of doubles

/// Calls work<width, by_rows>(x, y) for some columns after the others.
template <core_int widest_by_rows, class T, class Work>
void by_columns(const Dense<const T>& x, const Dense<T>& y, const Work& work)
{
    const auto all = [&]<bool by_rows>(std::bool_constant<by_rows>) {
        core_int c = 0;
        const auto some = [&]<core_int width>(std::integral_constant<core_int, width>) {
            for (; c + width <= x.columns; c += width)
                work.template operator()<width, by_rows>(
                    x.at + (c == 0 ? 0 : c * Steps<by_rows>{x.ld}.column()),
                    y.at + (c == 0 ? 0 : c * Steps<by_rows>{y.ld}.column()));
        };
        if constexpr (by_rows && widest_by_rows > 4)
            some(std::integral_constant<core_int, widest_by_rows>());
        some(std::integral_constant<core_int, 4>());
        some(std::integral_constant<core_int, 1>());
    };
    if (x.layout == Layout::by_rows)
        all(std::true_type());
    else
        all(std::false_type());
}

} // namespace

template <class View, class T>
void multiply(const View& a, Operation op, Descriptor d, T alpha, Dense<const T> x, T beta, Dense<T> y)
{
    const bool turns = op != Operation::plain, conjugates = op == Operation::conjugated;
    const bool hermitian = d.type == Type::hermitian, mirrored = is_mirrored(d.type);
    const bool gathers = a.turned == turns;
    // A line that is a row of op(A) holds its elements, else their images.
    const bool read_conjugated = conjugates != (hermitian && mirrored && !gathers);
    Product<T> task{x,
                    y,
                    columns_of(a),
                    rows_of(a),
                    alpha,
                    alpha,
                    beta,
                    Read<T>(read_conjugated),
                    Read<T>(read_conjugated != hermitian),
                    part_of(d, a.turned, a.block),
                    d.diag == Diag::unit && d.type != Type::general && d.type != Type::skew,
                    hermitian};
    if (turns)
        std::swap(task.inputs, task.outputs);
    if (d.type == Type::skew)
        (gathers ? task.mirror_alpha : task.alpha) = -alpha;
    const auto run = [&]<Kind kind, bool gathering>(std::integral_constant<Kind, kind>,
                                                    std::bool_constant<gathering>) {
        by_columns<widest<View>>(x, y, [&]<core_int width, bool by_rows>(const T* xs, T* ys) {
            multiply_columns<width, by_rows, kind, gathering>(a, task, xs, ys);
        });
    };
    const std::integral_constant<Kind, Kind::whole> whole;
    const std::integral_constant<Kind, Kind::part> part;
    if (mirrored)
        run(std::integral_constant<Kind, Kind::mirrored>(), std::true_type());
    else if (d.type == Type::general)
        gathers ? run(whole, std::true_type()) : run(whole, std::false_type());
    else
        gathers ? run(part, std::true_type()) : run(part, std::false_type());
}

namespace {

template <class T>
struct Solve {
    Dense<const T> x;
    Dense<T> y;
    T alpha;
    Read<T> read;
    Part part; // without the diagonal
    bool unit, gathers;
};

template <core_int width, bool by_rows, class View, class T>
void solve_columns(const View& a, const Solve<T>& task, const T* x, T* y)
{
    const Steps<by_rows> in{task.x.ld}, out{task.y.ld};
    for (core_int i = 0; i < a.count; ++i)
        over_columns<width>([&](core_int c) {
            y[i * out.row() + c * out.column()] = times(task.alpha, x[i * in.row() + c * in.column()]);
        });
    // What a line needs, or gives to, comes behind it on the way.
    const bool forwards = task.gathers == task.part.ahead;
    for (core_int step = 0; step < a.count; ++step) {
        const core_int line = forwards ? step : a.count - 1 - step;
        T diagonal{}, sum[width]{};
        T* const own = y + line * out.row();
        const Part::Bounds bounds = task.part.of(line, 0);
        a.each(line, [&](core_int other_from_base, T v) {
            const core_int other = other_from_base - a.base;
            if (other == line)
                diagonal += v;
            else if (task.gathers && bounds.hold(other))
                over_columns<width>([&](core_int c) {
                    sum[c] += times(task.read(v), y[other * out.row() + c * out.column()]);
                });
        });
        diagonal = task.unit ? T(1) : task.read(diagonal);
        over_columns<width>([&](core_int c) {
            own[c * out.column()] -= sum[c];
            if (!task.unit)
                own[c * out.column()] /= diagonal;
        });
        if (!task.gathers)
            a.each(line, [&](core_int other_from_base, T v) {
                const core_int other = other_from_base - a.base;
                if (bounds.hold(other))
                    over_columns<width>([&](core_int c) {
                        y[other * out.row() + c * out.column()] -= times(task.read(v), own[c * out.column()]);
                    });
            });
    }
}

} // namespace

template <class View, class T>
void solve(const View& a, Operation op, Descriptor d, T alpha, Dense<const T> x, Dense<T> y)
{
    Solve<T> task{x,
                  y,
                  alpha,
                  Read<T>(op == Operation::conjugated),
                  part_of(d, a.turned, a.block),
                  d.diag == Diag::unit,
                  a.turned == (op != Operation::plain)};
    task.part.on = false;
    by_columns<4>(x, y, [&]<core_int width, bool by_rows>(const T* xs, T* ys) {
        solve_columns<width, by_rows>(a, task, xs, ys);
    });
}

#define QNM_SPARSE_HERE(l, L, T) QNM_SPARSE_KERNELS(, T)
QNM_ALL_LETTERS(QNM_SPARSE_HERE)

} // namespace qnm::core::sparse
