// Handles of sparse matrices: what is made of them, by dense matrices; and what is refused, kept and given
// back.
#include "sparse.hpp"

#include <cmath>
#include <functional>
#include <memory>
#include <thread>

namespace qnm::test {
namespace {

using sparse::Layout, sparse::Mode, sparse::Operation, sparse::Type;
using Handle = void*;
constexpr Descriptor general = sparse::general;
constexpr auto plain = Operation::plain;

template <class I>
const std::string width{sizeof(I) == 4 ? "_i4" : "_i8"};

/// A call by name; integers of the width are to be of it already.
template <class T, class I, class... A>
int call(const std::string& name, const A&... arguments)
{
    return by_value<int>(named<T>("sparse", name) + width<I>, arguments...);
}

// A test for each letter and width.
template <class T, class I>
struct Of {
    using Element = T;
    using Integer = I;
};
#define QNM_SPARSE_TYPED(name)                                                                               \
    template <class T, class I>                                                                              \
    void Sparse_##name();                                                                                    \
    TEST(Sparse, name)                                                                                       \
    {                                                                                                        \
        const auto each = []<class T, class I>(Of<T, I>) {                                                   \
            SCOPED_TRACE(letter<T> + width<I>);                                                              \
            Sparse_##name<T, I>();                                                                           \
        };                                                                                                   \
        const auto both = [&]<class T>(T) {                                                                  \
            each(Of<T, int>());                                                                              \
            each(Of<T, core_int>());                                                                         \
        };                                                                                                   \
        both(0.0F), both(0.0), both(cfloat()), both(cdouble());                                              \
    }                                                                                                        \
    template <class T, class I>                                                                              \
    void Sparse_##name()

core_int small_size()
{
    return random_integer(0, 3) == 0 ? random_integer(0, 17) : random_integer(0, 3) * 2;
}
Layout any_layout()
{
    return random_integer(0, 1) != 0 ? Layout::by_rows : Layout::by_columns;
}

enum Format { csr, csc, coo, bsr };

/// A handle and the arrays that it is of.
template <class T, class I>
struct Made {
    Elements<T> elements;
    core_int block = 1;
    std::vector<I> start{}, end{}, index{};
    std::vector<T> value{};
    Handle handle = nullptr;

    Made(Elements<T> all, Format format, int base = random_integer(0, 1), core_int block_size = 1)
        : elements(std::move(all)), block(block_size)
    {
        const I m = static_cast<I>(elements.rows), n = static_cast<I>(elements.columns);
        const I first = static_cast<I>(base), b = static_cast<I>(block);
        int status = -1;
        if (format == coo) {
            for (const core_int i : elements.row)
                start.push_back(static_cast<I>(i) + first);
            for (const core_int j : elements.column)
                index.push_back(static_cast<I>(j) + first);
            value = elements.value;
            status = call<T, I>("?_create_coo", &handle, base, m, n, static_cast<I>(value.size()), start,
                                index, value);
        } else if (format != bsr) {
            Compressed<T, I> lines(elements, first, format == csc);
            start = lines.start, end = lines.end, index = lines.index, value = lines.value;
            status = call<T, I>(format == csr ? "?_create_csr" : "?_create_csc", &handle, base, m, n, start,
                                end, index, value);
        } else {
            const Layout layout = any_layout();
            fill_blocks(layout, first);
            status =
                call<T, I>("?_create_bsr", &handle, base, layout, m / b, n / b, b, start, end, index, value);
        }
        EXPECT_EQ(status, 0);
    }
    ~Made() { EXPECT_EQ((call<T, I>("destroy", handle)), 0); }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;

private:
    void fill_blocks(Layout layout, I base)
    {
        for (core_int row = 0; row < elements.rows / block; ++row) {
            const std::size_t first = index.size();
            start.push_back(static_cast<I>(first) + base);
            for (std::size_t k = 0; k < elements.row.size(); ++k) {
                if (elements.row[k] / block != row)
                    continue;
                const I at = static_cast<I>(elements.column[k] / block) + base;
                const auto found =
                    std::find(index.begin() + static_cast<std::ptrdiff_t>(first), index.end(), at);
                const core_int b = found - index.begin();
                if (found == index.end()) {
                    index.push_back(at);
                    value.resize(value.size() + static_cast<std::size_t>(block * block));
                }
                const core_int r = elements.row[k] % block, c = elements.column[k] % block;
                const core_int place = layout == Layout::by_rows ? r * block + c : c * block + r;
                value[static_cast<std::size_t>(b * block * block + place)] += elements.value[k];
            }
            end.push_back(static_cast<I>(index.size()) + base);
        }
    }
};

/// Rows of it as they are stored, whichever the layout.
template <class T>
struct Vectors {
    Layout layout;
    Matrix<T> all;
    Vectors(Layout stored, core_int rows, core_int columns)
        : layout(stored), all(stored == Layout::by_rows ? Matrix<T>(columns, rows) : Matrix<T>(rows, columns))
    {
    }
    T& operator()(core_int i, core_int c) { return layout == Layout::by_rows ? all(c, i) : all(i, c); }
};

constexpr char letter_of(Operation op)
{
    return "NTC"[static_cast<int>(op) - 10];
}
Operation any_operation()
{
    return static_cast<Operation>(random_integer(10, 12));
}

/// A random matrix in a random format, laid out or not.
template <class T, class I>
std::unique_ptr<Made<T, I>> any_made(core_int m, core_int n, T diagonal = T(0))
{
    const auto format = static_cast<Format>(random_integer(0, 3));
    core_int block = format == bsr ? random_integer(1, 3) : 1;
    if (m % block != 0 || n % block != 0)
        block = 1;
    Elements<T> all = random_elements<T>(m, n);
    for (core_int i = 0; diagonal != T(0) && i < std::min(m, n); ++i)
        all.add(i, i, diagonal);
    auto made = std::make_unique<Made<T, I>>(std::move(all), format, random_integer(0, 1), block);
    if (random_integer(0, 1) != 0) {
        EXPECT_EQ((call<T, I>("set_mv_hint", made->handle, any_operation(), general, I(3))), 0);
        EXPECT_EQ((call<T, I>("optimize", made->handle)), 0);
    }
    return made;
}

QNM_SPARSE_TYPED(Products)
{
    for (int round = 0; round < 300; ++round) {
        const Descriptor d{static_cast<Type>(random_integer(20, 26)),
                           static_cast<Mode>(random_integer(40, 41)),
                           static_cast<sparse::Diag>(random_integer(50, 51))};
        const core_int m0 = small_size(), n0 = sparse::is_mirrored(d.type) ? m0 : small_size();
        const auto a = any_made<T, I>(m0, n0);
        const Matrix<T> full = dense(a->elements, d, a->block);
        const Operation op = any_operation();
        const core_int in = op == plain ? full.columns : full.rows,
                       out = op == plain ? full.rows : full.columns;
        const bool one = random_integer(0, 2) == 0, dotted = one && random_integer(0, 1) != 0;
        const core_int columns = one ? 1 : random_integer(0, 9);
        const Layout layout = one ? Layout::by_columns : any_layout();
        Vectors<T> x(layout, in, columns), y(layout, out, columns);
        Vectors<T> before = y;
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        if (beta == T(0))
            y.all.spoil();
        T dot{};
        int status = -1;
        if (dotted)
            status = call<T, I>("?_dotmv", op, alpha, a->handle, d, x.all.data, beta, y.all.data, &dot);
        else if (one)
            status = call<T, I>("?_mv", op, alpha, a->handle, d, x.all.data, beta, y.all.data);
        else
            status =
                call<T, I>("?_mm", op, alpha, a->handle, d, x.layout, x.all.data, static_cast<I>(columns),
                           static_cast<I>(x.all.ld), beta, y.all.data, static_cast<I>(y.all.ld));
        ASSERT_EQ(status, 0);
        T expected_dot{};
        for (core_int i = 0; i < out; ++i)
            for (core_int c = 0; c < columns; ++c) {
                T sum{};
                for (core_int j = 0; j < in; ++j)
                    sum += full.op(letter_of(op), i, j) * x(j, c);
                ASSERT_EQ(y(i, c), alpha * sum + (beta == T(0) ? T(0) : beta * before(i, c)))
                    << static_cast<int>(d.type) << letter_of(op) << i;
                expected_dot += i < in ? conjugate(x(i, c)) * y(i, c) : T(0);
            }
        ASSERT_EQ(dot, dotted ? expected_dot : T(0));
    }
}

QNM_SPARSE_TYPED(SolvesUndoTheTrianglesProduct)
{
    for (int round = 0; round < 100; ++round) {
        const Descriptor d{static_cast<Type>(random_integer(23, 24)),
                           static_cast<Mode>(random_integer(40, 41)),
                           static_cast<sparse::Diag>(random_integer(50, 51))};
        const core_int size = random_integer(0, 17);
        const auto a = any_made<T, I>(size, size, T(64));
        const Matrix<T> full = dense(a->elements, d);
        const core_int n = full.rows, columns = random_integer(1, 6);
        const Operation op = any_operation();
        const Layout layout = columns == 1 ? Layout::by_columns : any_layout();
        Vectors<T> x(layout, n, columns), y(layout, n, columns), right = x;
        Vectors<T>& to = random_integer(0, 1) != 0 ? x : y; // in place as well
        const T alpha = any_factor<T>();
        const I ld = static_cast<I>(x.all.ld);
        const int status = columns == 1
                               ? call<T, I>("?_trsv", op, alpha, a->handle, d, x.all.data, to.all.data)
                               : call<T, I>("?_trsm", op, alpha, a->handle, d, layout, x.all.data,
                                            static_cast<I>(columns), ld, to.all.data, ld);
        ASSERT_EQ(status, 0);
        for (core_int i = 0; i < n; ++i)
            for (core_int c = 0; c < columns; ++c) {
                T sum{};
                real_t<T> size_of_sum = 1;
                for (core_int j = 0; j < n; ++j) {
                    const T term = full.op(letter_of(op), i, j) * to(j, c);
                    sum += term;
                    size_of_sum += std::abs(term);
                }
                ASSERT_LE(std::abs(sum - alpha * right(i, c)),
                          100 * size_of_sum * std::numeric_limits<real_t<T>>::epsilon());
            }
    }
}

/// All that a handle exports, as a dense matrix, and what is told of it.
template <class T, class I>
struct Shown {
    int base = -1;
    Layout layout{};
    I rows = 0, columns = 0, block = 1, *start = nullptr, *end = nullptr, *index = nullptr;
    T* value = nullptr;

    Shown(Handle handle, Format format)
    {
        const std::string name = format == csr   ? "?_export_csr"
                                 : format == csc ? "?_export_csc"
                                                 : "?_export_bsr";
        const int status =
            format == bsr ? call<T, I>(name, handle, &base, &layout, &rows, &columns, &block, &start, &end,
                                       &index, &value)
                          : call<T, I>(name, handle, &base, &rows, &columns, &start, &end, &index, &value);
        EXPECT_EQ(status, 0);
    }
    Matrix<T> full(bool turned = false) const
    {
        const core_int lines = turned ? columns : rows;
        Elements<T> all{rows * block, columns * block, {}, {}, {}};
        for (core_int k = 0; k < lines; ++k)
            for (core_int p = start[k] - base; p < end[k] - base; ++p)
                for (core_int r = 0; r < block; ++r)
                    for (core_int c = 0; c < block; ++c) {
                        const core_int at = p * block * block +
                                            (layout == Layout::by_columns ? c * block + r : r * block + c);
                        const core_int i = k * block + r, j = (index[p] - base) * block + c;
                        all.add(turned ? j : i, turned ? i : j, value[at]);
                    }
        return dense(all);
    }
};

template <class T>
void expect_same(const Matrix<T>& found, const Matrix<T>& expected)
{
    ASSERT_EQ(std::pair(found.rows, found.columns), std::pair(expected.rows, expected.columns));
    for (core_int i = 0; i < found.rows; ++i)
        for (core_int j = 0; j < found.columns; ++j)
            ASSERT_EQ(found(i, j), expected(i, j)) << i << " " << j;
}
template <class T>
Matrix<T> turned(Operation op, const Matrix<T>& a)
{
    Matrix<T> made(op == plain ? a.rows : a.columns, op == plain ? a.columns : a.rows);
    return made.take(letter_of(op), a);
}

QNM_SPARSE_TYPED(ConversionsAndCopies)
{
    for (int round = 0; round < 60; ++round) {
        const auto a = any_made<T, I>(small_size(), small_size());
        const Matrix<T> full = dense(a->elements);
        const Operation op = any_operation();
        Handle rows = nullptr, blocks = nullptr, copied = nullptr;
        ASSERT_EQ((call<T, I>("convert_csr", a->handle, op, &rows)), 0);
        expect_same(Shown<T, I>(rows, csr).full(), turned(op, full));
        int sorted = 0;
        EXPECT_EQ((call<T, I>("get_sorted_property", rows, &sorted)), 0);
        EXPECT_EQ(sorted, 1);
        // A block that does not divide the sizes is refused.
        const I block = static_cast<I>(random_integer(1, 3));
        const int status = call<T, I>("convert_bsr", rows, block, any_layout(), op, &blocks);
        EXPECT_EQ(status, full.rows % block != 0 || full.columns % block != 0 ? 3 : 0);
        if (status == 0) {
            const Shown<T, I> shown(blocks, bsr);
            EXPECT_EQ(shown.block, block);
            expect_same(shown.full(), turned(op, turned(op, full)));
            EXPECT_EQ((call<T, I>("copy", blocks, general, &copied)), 0);
            EXPECT_EQ((call<T, I>("destroy", blocks)), 0);
            expect_same(Shown<T, I>(copied, bsr).full(), turned(op, turned(op, full)));
            EXPECT_EQ((call<T, I>("destroy", copied)), 0);
        }
        // A copy does not hang on the arrays, and neither does its order.
        ASSERT_EQ((call<T, I>("copy", a->handle, general, &copied)), 0);
        std::ranges::fill(a->value, T(77));
        EXPECT_EQ((call<T, I>("order", copied)), 0);
        EXPECT_EQ((call<T, I>("get_sorted_property", copied, &sorted)), 0);
        EXPECT_EQ(sorted, 1);
        Handle again = nullptr;
        ASSERT_EQ((call<T, I>("convert_csr", copied, plain, &again)), 0);
        expect_same(Shown<T, I>(again, csr).full(), full);
        for (const Handle handle : {rows, copied, again})
            EXPECT_EQ((call<T, I>("destroy", handle)), 0);
    }
}

// An element that is given a value has it, in each format; values in place are seen until `optimize`.
QNM_SPARSE_TYPED(ValuesThatChange)
{
    for (const Format format : {csr, csc, coo, bsr})
        for (const int base : {0, 1}) {
            const auto i = [&](core_int x) { return static_cast<I>(x + base); };
            Elements<T> all{4, 6, {0, 3, 3, 0, 0, 1}, {5, 2, 0, 5, 1, 1}, {}};
            all.value = {T(1), T(2), T(3), T(4), T(5), T(6)};
            Made<T, I> a(all, format, base, format == bsr ? 2 : 1);
            const auto full = [&] {
                Matrix<T> x(6, 6, 0), y(4, 6, 0);
                x.take('N', x, T(0)).fill_diagonal(T(1));
                EXPECT_EQ((call<T, I>("?_mm", plain, T(1), a.handle, general, Layout::by_columns, x.data,
                                      I(6), I(6), T(0), y.data, I(4))),
                          0);
                return y;
            };
            EXPECT_EQ(full()(0, 5), T(5));
            EXPECT_EQ((call<T, I>("?_set_value", a.handle, i(0), i(5), T(8))), 0);
            EXPECT_EQ(full()(0, 5), T(8));
            EXPECT_EQ((call<T, I>("?_set_value", a.handle, i(2), i(5), T(8))), 3);
            EXPECT_EQ((call<T, I>("?_set_value", a.handle, i(4), i(5), T(8))), 3);
            EXPECT_EQ((call<T, I>("?_set_value", a.handle, i(-1), i(5), T(8))), 3);
            std::vector<I> row{i(1), i(3)}, column{i(1), i(2)};
            std::vector<T> value{T(9), T(10)};
            EXPECT_EQ((call<T, I>("?_update_values", a.handle, I(2), row, column, value)), 0);
            EXPECT_EQ(full()(1, 1), T(9));
            EXPECT_EQ(full()(3, 2), T(10));
            row[1] = i(2), value = {T(11), T(11)}; // where nothing is: none is changed
            EXPECT_EQ((call<T, I>("?_update_values", a.handle, I(2), row, column, value)),
                      format == bsr ? 0 : 3);
            EXPECT_EQ(full()(1, 1), format == bsr ? T(11) : T(9));
            EXPECT_EQ((call<T, I>("optimize", a.handle)), 0);
            std::vector<T> doubled = a.value;
            for (T& v : doubled)
                v *= T(2);
            const T before = full()(3, 0), *const none = nullptr;
            const I* const nowhere = nullptr;
            EXPECT_EQ((call<T, I>("?_update_values", a.handle, static_cast<I>(doubled.size()), nowhere,
                                  nowhere, doubled)),
                      0);
            EXPECT_EQ(full()(3, 0), T(2) * before);
            EXPECT_EQ((call<T, I>("?_update_values", a.handle, I(1), nowhere, nowhere, none)), 3);
            EXPECT_EQ((call<T, I>("?_update_values", a.handle, I(1), nowhere, nowhere, doubled)), 3);
            a.value.assign(a.value.size(), T(0));
            EXPECT_EQ((call<T, I>("optimize", a.handle)), 0);
            EXPECT_EQ(full()(3, 0), T(0));
        }
}

template <class T>
Matrix<T> product(const Matrix<T>& a, const Matrix<T>& b)
{
    Matrix<T> c(a.rows, b.columns);
    c.take('N', c, T(0));
    for (core_int i = 0; i < a.rows; ++i)
        for (core_int j = 0; j < b.columns; ++j)
            for (core_int k = 0; k < a.columns; ++k)
                c(i, j) += a(i, k) * b(k, j);
    return c;
}

/// A handle that a call has made.
template <class T, class I>
struct Result {
    Handle handle = nullptr;
    ~Result()
    {
        if (handle != nullptr) {
            EXPECT_EQ((call<T, I>("destroy", handle)), 0);
        }
    }
    void expect(const Matrix<T>& expected, bool upper = false) const
    {
        Matrix<T> wanted = expected;
        for (core_int i = 0; i < wanted.rows; ++i)
            for (core_int j = 0; upper && j < std::min(i, wanted.columns); ++j)
                wanted(i, j) = T(0);
        expect_same(Shown<T, I>(handle, csr).full(), wanted);
    }
};

/// Calls into a dense matrix, of which the upper triangle alone may be written.
template <class T, class I, class Call>
void expect_dense(const Matrix<T>& expected, T alpha, T beta, bool upper, const Call& write)
{
    Vectors<T> c(any_layout(), expected.rows, expected.columns);
    Vectors<T> before = c;
    for (core_int i = 0; beta == T(0) && i < expected.rows; ++i)
        for (core_int j = upper ? i : 0; j < expected.columns; ++j)
            c(i, j) = T(std::numeric_limits<real_t<T>>::quiet_NaN());
    ASSERT_EQ(write(c.layout, c.all.data.data(), static_cast<I>(c.all.ld)), 0);
    for (core_int i = 0; i < expected.rows; ++i)
        for (core_int j = 0; j < expected.columns; ++j)
            ASSERT_EQ(c(i, j), upper && j < i
                                   ? before(i, j)
                                   : alpha * expected(i, j) + (beta == T(0) ? T(0) : beta * before(i, j)));
}

Descriptor any_descriptor(bool square)
{
    return {static_cast<Type>(square ? random_integer(20, 24) : random_integer(0, 1) * 3 + 20),
            static_cast<Mode>(random_integer(40, 41)), static_cast<sparse::Diag>(random_integer(50, 51))};
}

QNM_SPARSE_TYPED(SumsAndProductsOfTwo)
{
    enum Request { whole = 90, count, finish, structure, places };
    for (int round = 0; round < 60; ++round) {
        const core_int m = small_size(), k = small_size(), n = random_integer(0, 2) == 0 ? k : small_size();
        const Operation op = any_operation(), op_b = any_operation();
        const auto a = op == plain ? any_made<T, I>(m, k) : any_made<T, I>(k, m);
        const auto b = op_b == plain ? any_made<T, I>(k, n) : any_made<T, I>(n, k);
        const Descriptor d = any_descriptor(m == k), d_b = any_descriptor(n == k);
        const Matrix<T> left = turned(op, dense(a->elements)), right = dense(b->elements);
        const Matrix<T> both =
            product(turned(op, dense(a->elements, d)), turned(op_b, dense(b->elements, d_b)));
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        {
            Result<T, I> at_once, in_stages;
            ASSERT_EQ((call<T, I>("sp2m", op, d, a->handle, op_b, d_b, b->handle, whole, &at_once.handle)),
                      0);
            at_once.expect(both);
            for (const std::vector<Request>& stages :
                 {std::vector{count, finish}, {structure, finish}, {count, places, finish, finish}}) {
                for (const Request stage : stages) {
                    ASSERT_EQ((call<T, I>("?_do_sp2m", op, d, a->handle, op_b, d_b, b->handle, stage,
                                          &in_stages.handle)),
                              0);
                    const Shown<T, I> shown(in_stages.handle, csr);
                    EXPECT_EQ(shown.index == nullptr, stage == count);
                    EXPECT_EQ(shown.value == nullptr, stage != finish);
                    Handle none = nullptr;
                    EXPECT_EQ((call<T, I>("convert_csr", in_stages.handle, plain, &none)),
                              3 * (stage != finish));
                    if (none != nullptr) {
                        EXPECT_EQ((call<T, I>("destroy", none)), 0);
                    }
                }
                in_stages.expect(both);
                EXPECT_EQ((call<T, I>("destroy", std::exchange(in_stages.handle, nullptr))), 0);
            }
            expect_dense<T, I>(both, alpha, beta, false, [&](Layout layout, T* c, I ld) {
                return call<T, I>("?_sp2md", op, d, a->handle, op_b, d_b, b->handle, alpha, beta, c, layout,
                                  ld);
            });
        }
        Result<T, I> ab, sum, square, around;
        const int unfit = right.rows == k ? 0 : 3;
        ASSERT_EQ((call<T, I>("spmm", op, a->handle, b->handle, &ab.handle)), unfit);
        if (unfit == 0) {
            ab.expect(product(left, right));
            expect_dense<T, I>(product(left, right), T(1), T(0), false, [&](Layout layout, T* c, I ld) {
                return call<T, I>("?_spmmd", op, a->handle, b->handle, layout, c, ld);
            });
        }
        const auto addend = any_made<T, I>(m, k);
        ASSERT_EQ((call<T, I>("?_add", op, a->handle, alpha, addend->handle, &sum.handle)), 0);
        Matrix<T> total = dense(addend->elements);
        sum.expect(total.take('N', left, alpha, T(1)));

        const Matrix<T> adjoint = turned(Operation::conjugated, left), squared = product(left, adjoint);
        ASSERT_EQ((call<T, I>("syrk", op, a->handle, &square.handle)), 0);
        square.expect(squared, true);
        expect_dense<T, I>(squared, alpha, beta, true, [&](Layout layout, T* c, I ld) {
            return call<T, I>("?_syrkd", op, a->handle, alpha, beta, c, layout, ld);
        });
        const auto middle = any_made<T, I>(k, k);
        const Descriptor mirrored{static_cast<Type>(random_integer(21, 22)), d.mode, d.diag};
        const Matrix<T> inner = dense(middle->elements, mirrored),
                        outer = product(product(left, inner), adjoint);
        for (const Request stage : {count, finish})
            ASSERT_EQ((call<T, I>("sypr", op, a->handle, middle->handle, mirrored, &around.handle, stage)),
                      0);
        around.expect(outer, true);
        expect_dense<T, I>(outer, alpha, beta, true, [&](Layout layout, T* c, I ld) {
            return call<T, I>("?_syprd", op, a->handle, inner.data, Layout::by_columns,
                              static_cast<I>(inner.ld), alpha, beta, c, layout, ld);
        });
    }
}

// Formats, widths, bases and the number of columns change no bit of a product whose rows are read from left
// to right.
QNM_TYPED(Sparse, BitsOfAProduct)
{
    const core_int m = 40, n = 30;
    Elements<T> all{m, n, {}, {}, {}};
    const auto uneven = [] { return static_cast<real_t<T>>(random_integer(1, 1000)) / 7; };
    const auto any = [&] {
        T v = uneven();
        if constexpr (is_complex<T>)
            v.imag(uneven());
        return v;
    };
    for (core_int i = 0; i < m; ++i)
        for (core_int j = i % 3; j < n; j += random_integer(1, 4))
            all.add(i, j, any());
    std::vector<T> x(static_cast<std::size_t>(n * 5)), first(static_cast<std::size_t>(m)),
        y = first, many(5 * first.size());
    for (T& xi : x)
        xi = any();
    const T alpha = any();
    const Made<T, int> narrow(all, csr, 0), blocks(all, bsr, 1, 1), columns(all, csc, 1), places(all, coo, 0);
    const Made<T, core_int> wide(all, csr, 1);
    const auto product = [&](Handle handle, T* to) {
        return call<T, int>("?_mv", plain, alpha, handle, general, x, T(0), to);
    };
    ASSERT_EQ(product(narrow.handle, first.data()), 0);
    for (const Handle laid_out : {columns.handle, places.handle})
        EXPECT_EQ((call<T, int>("optimize", laid_out)), 0);
    for (const Handle other : {wide.handle, blocks.handle, columns.handle, places.handle}) {
        ASSERT_EQ(product(other, y.data()), 0);
        EXPECT_EQ(y, first);
    }
    ASSERT_EQ((call<T, core_int>("?_mm", plain, alpha, wide.handle, general, Layout::by_columns, x,
                                 core_int(5), n, T(0), many, m)),
              0);
    for (core_int c = 0; c < 5; ++c) {
        ASSERT_EQ((call<T, int>("?_mv", plain, alpha, narrow.handle, general, x.data() + c * n, T(0), y)), 0);
        EXPECT_TRUE(std::equal(y.begin(), y.end(), many.begin() + c * m)) << c;
    }
    // One handle that several threads read.
    std::vector<std::thread> threads;
    std::vector<int> differences(3);
    for (int& different : differences)
        threads.emplace_back([&] {
            std::vector<T> own(first.size());
            for (int round = 0; round < 100; ++round)
                different += product(places.handle, own.data()) != 0 || own != first ? 1 : 0;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(differences, (std::vector<int>(3)));
}

QNM_SPARSE_TYPED(Refusals)
{
    const Made<T, I> a(Elements<T>{2, 3, {0, 1}, {1, 2}, {T(1), T(2)}}, csr, 0),
        square(Elements<T>{3, 3, {0}, {1}, {T(1)}}, coo, 0);
    const Made<float, core_int> other(Elements<float>{3, 3, {0}, {0}, {1.0F}}, csr, 0);
    const Handle none = nullptr;
    const T one(1);
    std::vector<T> x(9), y(9, T(7));
    const std::vector<T> untouched = y;
    const T* const no_x = nullptr;
    T* const no_y = nullptr;
    const auto mv = [&](Operation op, Handle handle, Descriptor d, const T* from, T* to) {
        return call<T, I>("?_mv", op, one, handle, d, from, one, to);
    };
    const Descriptor symmetric{Type::symmetric, Mode::lower, sparse::Diag::stored};
    const auto with = [](int type, int mode, int diag) {
        return Descriptor{static_cast<Type>(type), static_cast<Mode>(mode), static_cast<sparse::Diag>(diag)};
    };
    EXPECT_EQ(mv(plain, none, general, x.data(), y.data()), 1);
    for (const int op : {0, 9, 13})
        EXPECT_EQ(mv(static_cast<Operation>(op), a.handle, general, x.data(), y.data()), 3);
    for (const Descriptor d :
         {with(19, 40, 50), with(27, 40, 50), with(23, 42, 50), with(23, 40, 52), symmetric})
        EXPECT_EQ(mv(plain, a.handle, d, x.data(), y.data()), 3);
    EXPECT_EQ(mv(plain, a.handle, general, no_x, y.data()), 3);
    EXPECT_EQ(mv(plain, a.handle, general, x.data(), no_y), 3);
    EXPECT_EQ((call<T, I>("?_dotmv", plain, one, a.handle, general, x, one, y, no_y)), 3);
    const Handle of_letter = std::is_same_v<T, float> ? none : other.handle;
    EXPECT_EQ(mv(plain, of_letter, general, x.data(), y.data()), of_letter == none ? 1 : 3);
    for (const auto& [layout, columns, ldx, ldy, answer] : {std::tuple{100, 2, 3, 3, 3},
                                                            {103, 2, 3, 3, 3},
                                                            {101, -1, 3, 3, 3},
                                                            {101, 2, 1, 3, 3},
                                                            {101, 2, 3, 1, 3},
                                                            {102, 2, 2, 3, 3},
                                                            {102, 2, 3, 1, 3},
                                                            {102, 2, -1, 3, 3},
                                                            {102, 0, 3, 2, 0}})
        EXPECT_EQ((call<T, I>("?_mm", plain, one, a.handle, general, layout, x, static_cast<I>(columns),
                              static_cast<I>(ldx), one, y, static_cast<I>(ldy))),
                  answer);
    const auto trsv = [&](Handle handle, Descriptor d) {
        return call<T, I>("?_trsv", plain, one, handle, d, x, y);
    };
    EXPECT_EQ(trsv(none, general), 1);
    EXPECT_EQ(trsv(a.handle, with(23, 40, 50)), 3);
    EXPECT_EQ(trsv(square.handle, with(25, 40, 50)), 6);
    EXPECT_EQ((call<T, I>("?_symgs", plain, a.handle, general, one, x, y)), 3);
    EXPECT_EQ((call<T, I>("?_symgs", plain, square.handle, general, one, x, no_y)), 3);
    EXPECT_EQ((call<T, I>("?_sorv", 113, general, square.handle, one, one, y, x)), 3);
    EXPECT_EQ((call<T, I>("?_lu_smoother", plain, square.handle, general, x, no_x, y, x)), 3);
    EXPECT_EQ(y, untouched);

    // Of creation: base, sizes, arrays; of everything else that hands something out: nothing is written.
    I starts[] = {0, 1, 1}, index[] = {0}, *const no_ints = nullptr;
    int something = 0;
    const Handle untouched_handle = &something;
    Handle made = untouched_handle;
    const auto create = [&](Handle* to, int base, int m, int n, I* start, I* indices, T* values) {
        return call<T, I>("?_create_csr", to, base, static_cast<I>(m), static_cast<I>(n), start, starts + 1,
                          indices, values);
    };
    Handle* const nowhere = nullptr;
    for (const int status :
         {create(nowhere, 0, 2, 1, starts, index, x.data()), create(&made, 2, 2, 1, starts, index, x.data()),
          create(&made, 0, -1, 1, starts, index, x.data()), create(&made, 0, 2, -1, starts, index, x.data()),
          create(&made, 0, 2, 1, no_ints, index, x.data()), create(&made, 0, 2, 1, starts, no_ints, x.data()),
          create(&made, 0, 2, 1, starts, index, no_y)})
        EXPECT_EQ(status, 3);
    EXPECT_EQ((call<T, I>("?_create_coo", &made, 0, I(2), I(2), I(-1), index, index, x)), 3);
    EXPECT_EQ((call<T, I>("?_create_coo", &made, 0, I(2), I(2), I(1), index, no_ints, x)), 3);
    EXPECT_EQ((call<T, I>("?_create_bsr", &made, 0, 100, I(2), I(1), I(1), starts, starts + 1, index, x)), 3);
    EXPECT_EQ((call<T, I>("?_create_bsr", &made, 0, 101, I(2), I(1), I(0), starts, starts + 1, index, x)), 3);
    EXPECT_EQ((call<T, I>("convert_csr", none, plain, &made)), 1);
    EXPECT_EQ((call<T, I>("convert_csr", a.handle, 13, &made)), 3);
    EXPECT_EQ((call<T, I>("convert_bsr", square.handle, I(0), 101, plain, &made)), 3);
    EXPECT_EQ((call<T, I>("copy", a.handle, symmetric, &made)), 3);
    EXPECT_EQ((call<T, I>("spmm", plain, a.handle, none, &made)), 1);
    EXPECT_EQ((call<T, I>("spmm", plain, a.handle, a.handle, &made)), 3);
    EXPECT_EQ((call<T, I>("spmm", plain, a.handle, square.handle, nowhere)), 3);
    EXPECT_EQ((call<T, I>("sp2m", plain, general, a.handle, plain, general, square.handle, 95, &made)), 3);
    EXPECT_EQ((call<T, I>("?_add", plain, a.handle, one, square.handle, &made)), 3);
    if (!std::is_same_v<T, float> || sizeof(I) == 4) {
        EXPECT_EQ((call<T, I>("spmm", plain, square.handle, other.handle, &made)), 3);
    }
    EXPECT_EQ((call<T, I>("?_do_sp2m_allocate_C_handle", plain, a.handle, plain, square.handle, &made)), 6);
    EXPECT_EQ(made, untouched_handle);
    // Integers of the other width would be misread.
    using Other = std::conditional_t<sizeof(I) == 4, core_int, int>;
    EXPECT_EQ((call<T, Other>("?_set_value", a.handle, Other(0), Other(1), one)), 3);
    EXPECT_EQ((call<T, Other>("?_update_values", a.handle, Other(0), no_ints, no_ints, x)), 3);
    int base = 7;
    EXPECT_EQ((call<T, Other>("?_export_csr", a.handle, &base, index, index, &made, &made, &made, &made)), 3);
    EXPECT_EQ((call<T, I>("?_export_csc", a.handle, &base, index, index, &made, &made, &made, &made)), 3);
    EXPECT_EQ(base, 7);
    // Choices, of which nothing comes.
    for (const auto& [name, good, bad] :
         {std::tuple{"set_memory_hint", 81, 82}, {"set_inplace_copy", 1, -1}}) {
        EXPECT_EQ((call<T, I>(name, a.handle, good)), 0);
        EXPECT_EQ((call<T, I>(name, a.handle, bad)), bad == 82 ? 3 : 0);
        EXPECT_EQ((call<T, I>(name, none, good)), 1);
    }
    EXPECT_EQ((call<T, I>("set_verbose_mode", 69)), 3);
    EXPECT_EQ((call<T, I>("set_mm_hint", a.handle, plain, general, 103, I(1), I(1))), 3);
    EXPECT_EQ((call<T, I>("set_mv_hint", a.handle, plain, general, I(-1))), 3);
    EXPECT_EQ((call<T, I>("destroy", none)), 1);
}

// The limit of memory is lifted step by step: each block fails once, nothing is lost, and nothing is written.
QNM_SPARSE_TYPED(MemoryThatFails)
{
    const core_int n = 24;
    Elements<T> all = random_elements<T>(n, n);
    for (core_int i = 0; i < n; ++i)
        all.add(i, i, T(8));
    all.add(0, 1, T(1)); // behind its place
    const Made<T, I> a(all, coo, 1), b(all, csr, 1);
    const Descriptor lower{Type::triangular, Mode::lower, sparse::Diag::stored},
        mirrored{Type::hermitian, Mode::lower, sparse::Diag::stored};
    std::vector<T> x = random_vector<T>(n), dense(static_cast<std::size_t>(n * n));
    const std::vector<T> before = x;
    const I ld = static_cast<I>(n), two = 2;
    Handle made = nullptr;
    const std::vector<std::function<int()>> operations{
        [&] { return call<T, I>("copy", a.handle, general, &made); },
        [&] { return call<T, I>("convert_csr", a.handle, plain, &made); },
        [&] { return call<T, I>("convert_bsr", a.handle, two, 101, plain, &made); },
        [&] { return call<T, I>("spmm", Operation::transposed, b.handle, b.handle, &made); },
        [&] { return call<T, I>("?_add", plain, a.handle, T(2), b.handle, &made); },
        [&] { return call<T, I>("syrk", plain, a.handle, &made); },
        [&] { return call<T, I>("sypr", plain, a.handle, b.handle, mirrored, &made, 90); },
        [&] { return call<T, I>("?_syprd", plain, a.handle, dense, 101, ld, T(1), T(1), dense, 101, ld); },
        [&] { return call<T, I>("?_trsv", plain, T(1), a.handle, lower, x, x); },
        [&] { return call<T, I>("?_symgs", plain, a.handle, general, T(1), x, x); },
        [&] { return call<T, I>("?_lu_smoother", plain, a.handle, general, x, x, x, x); },
        [&] { return call<T, I>("order", a.handle); },
        [&] { return call<T, I>("optimize", a.handle); },
    };
    for (const auto& operation : operations) {
        int failures = 0;
        for (std::size_t limit = 1;; limit += 64, ++failures) {
            const Use use = in_use();
            service("set_memory_limit", 1, static_cast<std::size_t>(use.first) + limit);
            const int status = operation();
            service("set_memory_limit", 1, std::size_t{0});
            if (status == 0)
                break;
            ASSERT_EQ(status, 2);
            ASSERT_EQ(in_use(), use);
            ASSERT_EQ(made, nullptr);
            ASSERT_EQ(x, before);
        }
        EXPECT_GT(failures, 1) << &operation - operations.data();
        x = before;
        if (made != nullptr) {
            EXPECT_EQ((call<T, I>("destroy", std::exchange(made, nullptr))), 0);
        }
    }
}

/// One sweep over all rows of a dense matrix.
template <class T>
void swept(const Matrix<T>& a, T omega, const std::vector<T>& b, std::vector<T>& x, bool forwards)
{
    const core_int n = a.rows;
    for (core_int step = 0; step < n; ++step) {
        const core_int i = forwards ? step : n - 1 - step;
        T sum = b[static_cast<std::size_t>(i)];
        for (core_int j = 0; j < n; ++j)
            sum -= j == i ? T(0) : a(i, j) * x[static_cast<std::size_t>(j)];
        T& xi = x[static_cast<std::size_t>(i)];
        xi += omega * (sum / a(i, i) - xi);
    }
}

QNM_SPARSE_TYPED(Smoothers)
{
    for (int round = 0; round < 60; ++round) {
        const core_int n = small_size();
        const auto a = any_made<T, I>(n, n, T(40)); // so that all is of the size of one
        const Descriptor mirrored{Type::hermitian, Mode::lower, sparse::Diag::stored};
        const Descriptor d = random_integer(0, 1) != 0 ? general : mirrored;
        if (random_integer(0, 1) != 0) {
            const Descriptor hinted = random_integer(0, 1) != 0 ? mirrored : general; // which need not come
            EXPECT_EQ((call<T, I>("set_symgs_hint", a->handle, plain, hinted, I(2))), 0);
            EXPECT_EQ((call<T, I>("optimize", a->handle)), 0);
        }
        const Operation op = any_operation();
        const Matrix<T> full = dense(a->elements, d), as_used = turned(op, full);
        const T alpha = any_factor<T>(), omega = T(real_t<T>(0.75));
        const std::vector<T> b = random_vector<T>(n), start = random_vector<T>(n);
        const auto scaled = [&] {
            std::vector<T> x = start;
            for (T& xi : x)
                xi *= alpha;
            return x;
        };
        std::vector<T> x = start, expected = scaled(), y(static_cast<std::size_t>(n)), ax = y;
        ASSERT_EQ((call<T, I>("?_symgs_mv", op, a->handle, d, alpha, b, x, y)), 0);
        swept(as_used, T(1), b, expected, true);
        swept(as_used, T(1), b, expected, false);
        expect_near(x, expected);
        for (core_int i = 0; i < n; ++i)
            for (core_int j = 0; j < n; ++j)
                ax[static_cast<std::size_t>(i)] += as_used(i, j) * expected[static_cast<std::size_t>(j)];
        expect_near(y, ax);
        std::vector<T> alone = start;
        ASSERT_EQ((call<T, I>("?_symgs", op, a->handle, d, alpha, b, alone)), 0);
        EXPECT_EQ(alone, x);
        for (const int kind : {110, 111, 112}) {
            x = start, expected = scaled();
            ASSERT_EQ((call<T, I>("?_sorv", kind, d, a->handle, omega, alpha, x, b)), 0);
            if (kind != 111)
                swept(full, omega, b, expected, true);
            if (kind != 110)
                swept(full, omega, b, expected, false);
            expect_near(x, expected);
        }
        // With the diagonal itself, from zero: a forward sweep and a backward one.
        std::vector<T> diagonal, inverse;
        for (core_int i = 0; i < n; ++i) {
            diagonal.push_back(as_used(i, i));
            inverse.push_back(T(1) / as_used(i, i));
        }
        x.assign(x.size(), T(0)), expected = x;
        ASSERT_EQ((call<T, I>("?_lu_smoother", op, a->handle, d, diagonal, inverse, x, b)), 0);
        swept(as_used, T(1), b, expected, true);
        swept(as_used, T(1), b, expected, false);
        expect_near(x, expected);
        // And from where all is solved it does not move.
        for (core_int i = 0; i < n; ++i) {
            ax[static_cast<std::size_t>(i)] = T(0);
            for (core_int j = 0; j < n; ++j)
                ax[static_cast<std::size_t>(i)] += as_used(i, j) * start[static_cast<std::size_t>(j)];
        }
        x = start;
        ASSERT_EQ((call<T, I>("?_lu_smoother", op, a->handle, d, diagonal, inverse, x, ax)), 0);
        expect_near(x, start);
    }
}

// Least squares: what is left over stands at right angles to all columns.
QNM_TYPED_OF(Sparse, LeastSquares, float, double)
{
    using I = int;
    for (int round = 0; round < 20; ++round) {
        const core_int n = random_integer(1, 9), m = n + random_integer(0, 8);
        const auto a = any_made<T, I>(m, n, T(20));
        const core_int columns = random_integer(1, 3);
        const Matrix<T> full = dense(a->elements);
        const Layout layout = any_layout();
        Vectors<T> b(layout, m, columns), x(layout, n, columns), q(layout, m, columns), again = q;
        const I c = static_cast<I>(columns);
        const auto ld = [](const Vectors<T>& v) { return static_cast<I>(v.all.ld); };
        const T* const same = nullptr;
        EXPECT_EQ((call<T, I>("?_qr_solve", plain, a->handle, same, layout, c, x.all.data, ld(x), b.all.data,
                              ld(b))),
                  1);
        ASSERT_EQ((call<T, I>("qr_reorder", a->handle, general)), 0);
        ASSERT_EQ((call<T, I>("?_qr_factorize", a->handle, same)), 0);
        ASSERT_EQ((call<T, I>("?_qr_solve", plain, a->handle, same, layout, c, x.all.data, ld(x), b.all.data,
                              ld(b))),
                  0);
        const auto expect_orthogonal = [&](T scale) {
            for (core_int k = 0; k < columns; ++k)
                for (core_int j = 0; j < n; ++j) {
                    T sum{};
                    for (core_int i = 0; i < m; ++i) {
                        T left = b(i, k);
                        for (core_int l = 0; l < n; ++l)
                            left -= scale * full(i, l) * x(l, k);
                        sum += full(i, j) * left;
                    }
                    EXPECT_NEAR(sum, 0, 2e4 * std::numeric_limits<T>::epsilon());
                }
        };
        expect_orthogonal(T(1));
        // The same in steps, and Q undone.
        ASSERT_EQ((call<T, I>("?_qr_qmult", Operation::transposed, a->handle, layout, c, q.all.data, ld(q),
                              b.all.data, ld(b))),
                  0);
        Vectors<T> in_steps(layout, n, columns), of_q(layout, n, columns);
        for (core_int i = 0; i < n; ++i)
            for (core_int k = 0; k < columns; ++k)
                of_q(i, k) = q(i, k);
        ASSERT_EQ((call<T, I>("?_qr_rsolve", plain, a->handle, layout, c, in_steps.all.data, ld(in_steps),
                              of_q.all.data, ld(of_q))),
                  0);
        ASSERT_EQ((call<T, I>("?_qr_qmult", plain, a->handle, layout, c, again.all.data, ld(again),
                              q.all.data, ld(q))),
                  0);
        for (core_int k = 0; k < columns; ++k) {
            for (core_int i = 0; i < n; ++i)
                EXPECT_EQ(in_steps(i, k), x(i, k));
            for (core_int i = 0; i < m; ++i)
                EXPECT_NEAR(again(i, k), b(i, k), 200 * std::numeric_limits<T>::epsilon());
        }
        std::vector<T> twice = a->value;
        for (T& v : twice)
            v *= T(2);
        ASSERT_EQ((call<T, I>("?_qr_solve", plain, a->handle, twice, layout, c, x.all.data, ld(x), b.all.data,
                              ld(b))),
                  0);
        expect_orthogonal(T(2));
        ASSERT_EQ(
            (call<T, I>("?_qr", plain, a->handle, general, layout, c, x.all.data, ld(x), b.all.data, ld(b))),
            0);
        expect_orthogonal(T(1));
    }
    Made<T, I> wide(random_elements<T>(2, 3), csr), singular(Elements<T>{3, 2, {0}, {0}, {T(1)}}, csr);
    EXPECT_EQ((call<T, I>("qr_reorder", wide.handle, general)), 6);
    std::vector<T> b(3), x(2);
    EXPECT_EQ(
        (call<T, I>("?_qr", plain, singular.handle, general, Layout::by_columns, I(1), x, I(2), b, I(3))), 4);
}

// The grid's Laplacian has eigenvalues that a formula tells; half the unit matrix beside it doubles them.
QNM_TYPED_OF(Sparse, EigenvaluesOfTheGrid, float, double)
{
    using I = int;
    for (const core_int side : {5, 12}) {     // as a dense matrix, and by iteration
        const core_int n = side * (side + 1); // no two alike: an iteration would find one of them
        Elements<T> grid{n, n, {}, {}, {}}, scaled = grid;
        for (core_int i = 0; i < n; ++i) {
            grid.add(i, i, T(4));
            scaled.add(i, i, T(0.5));
            for (const core_int j : {i - side, i - 1, i + 1, i + side})
                if (j >= 0 && j < n && (std::abs(j - i) == side || j / side == i / side))
                    grid.add(i, j, T(-1));
        }
        std::vector<double> exact;
        for (core_int p = 1; p <= side; ++p)
            for (core_int q = 1; q <= side + 1; ++q) {
                const auto part = [](core_int k, core_int points) {
                    return std::pow(
                        std::sin(M_PI * static_cast<double>(k) / 2 / static_cast<double>(points + 1)), 2);
                };
                exact.push_back(4 * (part(p, side) + part(q, side + 1)));
            }
        std::ranges::sort(exact);
        Made<T, I> a(grid, csr), half(scaled, coo);
        std::vector<I> pm(128, -7);
        ASSERT_EQ((call<T, I>("ee_init", pm)), 0);
        const I wanted = 4;
        const T bound = std::is_same_v<T, float> ? T(2e-4) : T(1e-5);
        for (const char* which : {"L", "s"}) {
            const Descriptor d =
                *which == 'L' ? general : Descriptor{Type::symmetric, Mode::upper, sparse::Diag::stored};
            I found = 0;
            std::vector<T> values(4), left(4), vectors(static_cast<std::size_t>(4 * n)), other = vectors;
            const auto expect_values = [&](const auto& of) {
                EXPECT_EQ(found, wanted);
                for (std::size_t i = 0; i < 4; ++i) {
                    EXPECT_NEAR(values[i], of(*which == 'L' ? exact[exact.size() - 1 - i] : exact[i]), bound);
                    EXPECT_LE(left[i], 40 * bound);
                }
            };
            ASSERT_EQ((call<T, I>("?_ev", which, pm, a.handle, d, wanted, &found, values, vectors, left)), 0);
            expect_values([](double x) { return x; });
            for (core_int i = 0; i < 4; ++i) { // what is told of residuals is true
                const T* const x = vectors.data() + i * n;
                std::vector<T> ax(static_cast<std::size_t>(n));
                EXPECT_EQ((call<T, I>("?_mv", plain, T(1), a.handle, general, x, T(0), ax)), 0);
                T sum{}, norm{};
                for (core_int j = 0; j < n; ++j) {
                    sum += std::pow(
                        ax[static_cast<std::size_t>(j)] - values[static_cast<std::size_t>(i)] * x[j], T(2));
                    norm += x[j] * x[j];
                }
                EXPECT_NEAR(std::sqrt(sum), left[static_cast<std::size_t>(i)],
                            1e-6 + left[static_cast<std::size_t>(i)] / 10);
                EXPECT_NEAR(norm, 1, 1e-4);
            }
            ASSERT_EQ((call<T, I>("?_gv", which, pm, a.handle, d, half.handle, general, wanted, &found,
                                  values, vectors, left)),
                      0);
            expect_values([](double x) { return 2 * x; });
            ASSERT_EQ((call<T, I>("?_svd", which, "B", pm, a.handle, general, wanted, &found, values, vectors,
                                  other, left)),
                      0);
            expect_values([](double x) { return x; });
            for (std::size_t j = 0; j < vectors.size();
                 ++j) // symmetric and positive: both sides are the same
                EXPECT_NEAR(vectors[j], other[j], 0.05);
        }
        std::vector<T> values(4), vectors(static_cast<std::size_t>(4 * n)), left(4);
        I found = 0;
        const Descriptor negative{Type::symmetric, Mode::upper, sparse::Diag::stored};
        Made<T, I> indefinite(Elements<T>{n, n, {0}, {0}, {T(-1)}}, csr);
        EXPECT_EQ((call<T, I>("?_gv", "L", pm, a.handle, negative, indefinite.handle, general, wanted, &found,
                              values, vectors, left)),
                  4);
        pm[4] = 1; // one iteration is too few
        EXPECT_EQ((call<T, I>("?_ev", "S", pm, a.handle, general, wanted, &found, values, vectors, left)),
                  side == 5 ? 0 : 4);
        EXPECT_EQ((call<T, I>("?_ev", "X", pm, a.handle, general, wanted, &found, values, vectors, left)), 3);
        EXPECT_EQ((call<T, I>("?_ev", "L", pm, a.handle, general, static_cast<I>(n + 1), &found, values,
                              vectors, left)),
                  3);
    }
}
} // namespace
} // namespace qnm::test
