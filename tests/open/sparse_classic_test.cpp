// Classic sparse routines beside dense matrices: formats are written here by hand, and read back by products.
#include "sparse.hpp"

#include <cmath>
#include <cstring>

namespace qnm::test {
namespace {

using Ints = std::vector<int>;
using Pointers = std::vector<const void*>;

template <class T>
constexpr T not_a_number = T(std::numeric_limits<real_t<T>>::quiet_NaN());
constexpr int junk = -1000000; // an index that nobody may follow

template <class T>
void call(const std::string& name, const Pointers& arguments)
{
    by_pointers(named<T>("spblas_lp64", name), arguments);
}
Pointers operator+(Pointers some, const Pointers& more)
{
    some.insert(some.end(), more.begin(), more.end());
    return some;
}

/// A matrix in one of the formats, and what a routine is told of it.
template <class T>
struct Stored {
    Ints first, second, third;
    std::vector<T> values;
    int ld = 0, count = 0;
    Pointers told;

    Stored(const std::string& format, const Elements<T>& all, int base, int block, bool upper, bool simple)
    {
        const Matrix<T> a = dense(all);
        const core_int m = a.rows, n = a.columns;
        if (format == "csr" || format == "csc") {
            Compressed<T, int> lines(all, base, format == "csc");
            first = lines.start, second = lines.end, third = lines.index, values = lines.value;
            if (simple)
                first.push_back(base + static_cast<int>(values.size()));
            for (std::size_t k = first.size(); !simple && k-- > 0;) { // gaps, and counts from anywhere
                third.insert(third.begin() + second[k] - base, junk);
                values.insert(values.begin() + second[k] - base, not_a_number<T>);
                first[k] += static_cast<int>(k) + 5;
                second[k] += static_cast<int>(k) + 5;
            }
        } else if (format == "coo") {
            count = static_cast<int>(all.value.size());
            for (std::size_t p = 0; p < all.value.size(); ++p) {
                first.push_back(static_cast<int>(all.row[p]) + base);
                third.push_back(static_cast<int>(all.column[p]) + base);
            }
            values = all.value;
        } else if (format == "bsr") { // whole, from right to left
            for (core_int i = 0; i < m; i += block) {
                first.push_back(base + static_cast<int>(third.size()));
                for (core_int j = n - block; j >= 0; j -= block) {
                    third.push_back(static_cast<int>(j / block) + base);
                    for (core_int p = 0; p < core_int{block} * block; ++p)
                        values.push_back(base == 0 ? a(i + p / block, j + p % block)
                                                   : a(i + p % block, j + p / block));
                }
                second.push_back(base + static_cast<int>(third.size()));
            }
            if (simple)
                first.push_back(base + static_cast<int>(third.size()));
        } else if (format == "dia") { // all, from right to left
            ld = static_cast<int>(m) + 2;
            for (core_int d = n - 1; d > -m; --d, ++count) {
                third.push_back(static_cast<int>(d));
                for (core_int i = 0; i < ld; ++i)
                    values.push_back(i < m && i + d >= 0 && i + d < n ? a(i, i + d) : not_a_number<T>);
            }
        } else { // skyline
            first.push_back(base);
            for (core_int k = 0; k < m; ++k) {
                core_int from = 0;
                while (from < k && (upper ? a(from, k) : a(k, from)) == T{})
                    ++from;
                for (; from <= k; ++from)
                    values.push_back(upper ? a(from, k) : a(k, from));
                first.push_back(base + static_cast<int>(values.size()));
            }
        }
        told = {values.data()};
        if (format == "coo")
            told = told + Pointers{first.data(), third.data(), &count};
        else if (format == "dia")
            told = told + Pointers{&ld, third.data(), &count};
        else if (format == "sky")
            told.push_back(first.data());
        else if (simple)
            told = told + Pointers{first.data(), third.data()};
        else
            told = told + Pointers{third.data(), first.data(), second.data()};
    }
    Stored(const Stored&) = delete;
};

Descriptor described(const std::string& letters)
{
    const std::string types = "GSHTD";
    const std::size_t type = types.find(core::upper_case(letters[0]));
    return {type == std::string::npos ? sparse::Type::skew : static_cast<sparse::Type>(20 + type),
            core::same_letter(letters[1], 'U') ? sparse::Mode::upper : sparse::Mode::lower,
            core::same_letter(letters[2], 'U') ? sparse::Diag::unit : sparse::Diag::stored};
}

template <class T>
Matrix<T> turned(const Matrix<T>& x)
{
    return Matrix<T>(x.columns, x.rows).take('T', x);
}

const std::string formats[] = {"csr", "csc", "bsr", "coo", "dia", "sky"};

// Solves get the product of a known result.
QNM_TYPED(SparseClassic, ProductsAndSolves)
{
    for (int repeat = 0; repeat < 1500; ++repeat) {
        const std::string format = formats[random_integer(0, 5)];
        const bool solves = random_integer(0, 2) == 0, is_sky = format == "sky",
                   simple = format != "csc" && !is_sky && random_integer(0, 2) == 0,
                   several = !simple && random_integer(0, 1) == 0;
        const int base = simple && format == "dia" ? 1 : random_integer(0, 1);
        const int block = format == "bsr" ? random_integer(1, 3) : 1;
        char trans = pick("NTC");
        std::string descr{pick(solves   ? "TD"
                               : is_sky ? "SHTAD"
                                        : "GSHTAD"),
                          pick("UL"), pick("UN"), base == 0 ? 'C' : 'f'};
        if (simple)
            descr[0] = solves ? 'T' : pick("GS");
        const bool symv = simple && core::same_letter(descr[0], 'S');
        if (symv) {
            trans = 'n';
            descr[2] = 'N';
        }
        const bool square = simple || solves || is_sky || std::strchr("SHAsha", descr[0]) != nullptr;
        const int m = random_integer(0, 17 / block), k = square ? m : random_integer(0, 17 / block);
        const int n = several ? random_integer(0, 9) : 1;
        Elements<T> elements = random_elements<T>(m * block, k * block);
        for (core_int i = 0; solves && i < elements.rows; ++i) // a power of two
            elements.add(
                i, i, T(static_cast<real_t<T>>(random_integer(0, 1) == 0 ? -1 : 2)) - dense(elements)(i, i));
        const Matrix<T> whole = dense(elements, described(descr));
        const Stored<T> stored(format, elements, base, block, core::same_letter(descr[1], 'U'), simple);

        const T alpha = simple ? T(1) : any_factor<T>(), beta = simple || solves ? T(0) : any_factor<T>();
        const core_int outputs = turns(trans) ? whole.columns : whole.rows,
                       inputs = turns(trans) ? whole.rows : whole.columns;
        Matrix<T> x(inputs, n), y(outputs, n), expected(outputs, n);
        for (core_int c = 0; c < n; ++c)
            for (core_int i = 0; i < outputs; ++i) {
                T sum{};
                for (core_int j = 0; j < inputs; ++j)
                    sum += whole.op(trans, i, j) * (solves ? y : x)(j, c);
                expected(i, c) =
                    solves ? alpha * y(i, c) : alpha * sum + (beta == T{} ? T{} : beta * y(i, c));
                if (solves)
                    x(i, c) = sum;
            }
        if (beta == T{})
            y.spoil();
        if (base == 0 && several) {
            x = turned(x);
            y = turned(y);
        }
        const int ldx = static_cast<int>(x.ld), ldy = static_cast<int>(y.ld);
        const Pointers size = block > 1 || format == "bsr" ? Pointers{&block} : Pointers{};
        std::string name = (simple && base == 0 ? "qnm_cspblas_?" : "qnm_?") + format;
        Pointers told;
        if (simple) {
            name += solves ? "trsv" : symv ? "symv" : "gemv";
            told = solves ? Pointers{&descr[1], &trans, &descr[2]} : Pointers{symv ? &descr[1] : &trans};
            told = told + Pointers{&m} + size + stored.told + Pointers{x.data.data(), y.data.data()};
        } else {
            name += std::string(solves ? "s" : "m") + (several ? "m" : "v");
            told = Pointers{&trans, &m} + (several ? Pointers{&n} : Pointers{}) +
                   (solves ? Pointers{} : Pointers{&k});
            told = told + size + Pointers{&alpha, descr.data()} + stored.told + Pointers{x.data.data()};
            told = told + (several ? Pointers{&ldx} : Pointers{}) + (solves ? Pointers{} : Pointers{&beta});
            told = told + Pointers{y.data.data()} + (several ? Pointers{&ldy} : Pointers{});
        }
        call<T>(name, told);
        const Matrix<T> found = base == 0 && several ? turned(y) : y;
        for (core_int c = 0; c < n; ++c)
            for (core_int i = 0; i < outputs; ++i)
                ASSERT_EQ(found(i, c), expected(i, c))
                    << name << " " << trans << " " << descr << " " << m << "x" << k << " block " << block
                    << " at " << i << "," << c << " alpha " << alpha << " beta " << beta;
    }
}

// ---- what makes matrices

/// A dense matrix's elements, by rows if it counts from 0.
template <class T>
std::vector<T> listed(const Matrix<T>& a, int base)
{
    std::vector<T> all;
    for (core_int line = 0; line < (base == 0 ? a.rows : a.columns); ++line)
        for (core_int other = 0; other < (base == 0 ? a.columns : a.rows); ++other)
            all.push_back(base == 0 ? a(line, other) : a(other, line));
    return all;
}
template <class T>
std::vector<T> image(Elements<T> all, int n, int base)
{
    all.rows = all.columns = n;
    return listed(dense(all), base);
}

/// The same of what is stored, m by k blocks, by its product with the unit matrix.
template <class T>
std::vector<T> read(const std::string& format, int m, int k, int base, const Pointers& arrays, int block = 1,
                    const std::string& type = "GLN")
{
    const std::string descr = type + (base == 0 ? 'C' : 'F');
    const int n = k * block, ldc = base == 0 ? n : m * block;
    const T one = 1, zero = 0;
    std::vector<T> unit(static_cast<std::size_t>(n * n)), found(static_cast<std::size_t>(m * block * n));
    for (int i = 0; i < n; ++i)
        unit[static_cast<std::size_t>(i * n + i)] = one;
    call<T>("qnm_?" + format + "mm",
            Pointers{"N", &m, &n, &k} + (format == "bsr" ? Pointers{&block} : Pointers{}) +
                Pointers{&one, descr.data()} + arrays + Pointers{unit.data(), &n, &zero, found.data(), &ldc});
    return found;
}

/// Three arrays of a compressed matrix, in the order in which conversions take them.
template <class T>
struct Arrays {
    Ints start, index;
    std::vector<T> values;

    Arrays(core_int lines, core_int room)
        : start(static_cast<std::size_t>(lines) + 1, junk),
          index(static_cast<std::size_t>(room), junk),
          values(static_cast<std::size_t>(room), not_a_number<T>)
    {
    }
    Arrays(const Elements<T>& all, int base, bool by_columns = false) : Arrays(0, 0)
    {
        Compressed<T, int> lines(all, base, by_columns);
        start = lines.start, index = lines.index, values = lines.value;
        start.push_back(base + static_cast<int>(values.size()));
    }
    Pointers told() const { return {values.data(), index.data(), start.data()}; }
    Pointers general() const { return told() + Pointers{start.data() + 1}; }
};

template <class T>
int convert(const std::string& name, const Ints& job, const Pointers& told)
{
    int info = -9;
    call<T>("qnm_?" + name, Pointers{job.data()} + told + Pointers{&info});
    return info;
}

// There and back: what is there is read by products.
QNM_TYPED(SparseClassic, Conversions)
{
    for (int repeat = 0; repeat < 200; ++repeat) {
        const int n = random_integer(0, 12), b1 = random_integer(0, 1), b2 = random_integer(0, 1);
        const Elements<T> all = random_elements<T>(n, n);
        const Arrays<T> rows(all, b1);
        const int nnz = rows.start.back() - b1, block = random_integer(1, 3),
                  blocks = (n + block - 1) / block, area = block * block, padded = blocks * block;
        const auto there = image(all, n, b2), here = image(all, n, b1);
        Arrays<T> back(padded, nnz * area + n * n), other(n, nnz + n * n * area);
        const auto expect_back = [&](const std::vector<T>& expected) {
            EXPECT_EQ((read<T>("csr", n, n, b1, back.general())), expected);
        };

        const auto good = [](const std::string& name, const Ints& job, const Pointers& told) {
            EXPECT_EQ(convert<T>(name, job, told), 0) << name;
        };

        // Columns
        good("csrcsc", {0, b1, b2, 0, 0, 1}, Pointers{&n} + rows.told() + other.told());
        EXPECT_EQ(read<T>("csc", n, n, b2, other.general()), there);
        good("csrcsc", {1, b1, b2, 0, 0, 1}, Pointers{&n} + back.told() + other.told());
        expect_back(here);

        // Coordinates, back in one step and in two, and sorted
        Ints row(static_cast<std::size_t>(nnz));
        const Pointers coordinates{other.values.data(), row.data(), other.index.data()};
        int found = -9;
        good("csrcoo", {0, b1, b2, 0, nnz, 3}, Pointers{&n, &found} + rows.told() + coordinates);
        EXPECT_EQ(found, nnz);
        Ints rows_alone(row.size(), junk), both = rows_alone;
        for (const int filled : {1, 2}) // rows, and columns
            good("csrcoo", {0, b1, b2, 0, nnz, filled},
                 Pointers{&n, &found} + rows.told() +
                     Pointers{nullptr, rows_alone.data(), filled == 1 ? nullptr : both.data()});
        EXPECT_EQ(rows_alone, row);
        EXPECT_TRUE(std::equal(both.begin(), both.end(), other.index.begin()));
        EXPECT_EQ(read<T>("coo", n, n, b2, coordinates + Pointers{&found}), there);
        for (const auto& [direction, filled] : {std::pair{1, 1}, {1, 2}, {1, 0}, {2, 0}}) {
            good("csrcoo", {direction, b1, b2, 0, 0, filled}, Pointers{&n, &nnz} + back.told() + coordinates);
            if (filled != 1)
                expect_back(here);
        }
        for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i)
            EXPECT_TRUE(std::is_sorted(back.index.begin() + back.start[i] - b1,
                                       back.index.begin() + back.start[i + 1] - b1));

        // Blocks
        good("csrbsr", {0, b1, b2, 0, 0, 1}, Pointers{&n, &block, &area} + rows.told() + other.told());
        EXPECT_EQ(read<T>("bsr", blocks, blocks, b2, other.general(), block), image(all, padded, b2));
        good("csrbsr", {1, b1, b2, 0, 0, 1}, Pointers{&blocks, &block, &area} + back.told() + other.told());
        EXPECT_EQ(read<T>("csr", padded, padded, b1, back.general()), image(all, padded, b1));

        // Triangles, by skylines and from dense ones
        for (const int upper : {0, 1}) {
            Elements<T> half{n, n, {}, {}, {}};
            for (std::size_t p = 0; p < all.value.size(); ++p)
                if (upper != 0 ? all.row[p] <= all.column[p] : all.row[p] >= all.column[p])
                    half.add(all.row[p], all.column[p], all.value[p]);
            const Pointers told =
                Pointers{&n} + rows.told() + Pointers{other.values.data(), other.start.data()};
            good("csrsky", {0, b1, b2, upper, n * n, 1}, told);
            EXPECT_EQ(read<T>("sky", n, n, b2, {other.values.data(), other.start.data()}, 1,
                              upper != 0 ? "TUN" : "TLN"),
                      image(half, n, b2));
            good("csrsky", {1, b1, b2, upper, 0, 1},
                 Pointers{&n} + back.told() + Pointers{other.values.data(), other.start.data()});
            expect_back(image(half, n, b1));
            good("dnscsr", {0, b2, b1, upper, n * n, 1}, Pointers{&n, &n, there.data(), &n} + back.told());
            expect_back(image(half, n, b1));
        }
        std::vector<T> full(there.size(), not_a_number<T>);
        good("dnscsr", {1, b2, b1, 2, 0, 0}, Pointers{&n, &n, full.data(), &n} + rows.told());
        EXPECT_EQ(full, there);

        // Diagonals and the rest
        for (const int chosen : {0, 10}) {
            int diagonals = random_integer(0, 2 * n);
            const int ld = n + 1;
            Ints distance;
            for (int d = 0; d < diagonals; ++d)
                distance.push_back(d % 2 == 0 ? d / 2 : -(d / 2 + 1));
            std::vector<T> dia(static_cast<std::size_t>(ld * diagonals), not_a_number<T>);
            const Pointers told{dia.data(), &ld, distance.data(), &diagonals};
            good("csrdia", {0, b1, b2, 0, 0, chosen + 1}, Pointers{&n} + rows.told() + told + other.told());
            auto sum = read<T>("dia", n, n, b1, told);
            good("csrdia", {1, b1, b2, 0, 0, 0}, Pointers{&n} + back.told() + told + other.told());
            const auto zeros = std::count(sum.begin(), sum.end(), T{});
            EXPECT_EQ(back.start[static_cast<std::size_t>(n)] - b1, n * n - static_cast<int>(zeros));
            expect_back(sum);
            const auto rest = read<T>("csr", n, n, b1, other.general());
            std::transform(sum.begin(), sum.end(), rest.begin(), sum.begin(), std::plus<>());
            EXPECT_EQ(sum, here);
        }
        if (testing::Test::HasFailure())
            FAIL() << n << " " << b1 << b2 << " block " << block;
    }
}

// The fullest diagonals are chosen; what has no more room is told, and where.
TEST(SparseClassic, ChoiceAndRoom)
{
    const int n = 3, ld = 3;
    int diagonals = 2;
    Elements<double> all{3, 3, {0, 2, 0, 2, 1, 0}, {0, 0, 1, 1, 2, 2}, {1, 2, 3, 4, 5, 6}};
    const Arrays<double> rows(all, 1);
    Arrays<double> other(n, 6);
    Ints distance(2);
    const Pointers coordinates{other.values.data(), other.index.data(), other.index.data()};
    EXPECT_EQ(convert<double>("csrdia", {0, 1, 1, 0, 0, 10},
                              Pointers{&n} + rows.told() +
                                  Pointers{other.values.data(), &ld, distance.data(), &diagonals} +
                                  rows.told()),
              0);
    EXPECT_EQ(distance, (Ints{0, 1}));
    const std::vector<double> whole = image(all, n, 1);
    other = Arrays<double>(n, 6);
    EXPECT_EQ(
        convert<double>("dnscsr", {0, 1, 0, 2, 3, 1}, Pointers{&n, &n, whole.data(), &n} + other.told()), 2);
    EXPECT_EQ(
        convert<double>("csrcoo", {0, 1, 1, 0, 5, 3}, Pointers{&n, &diagonals} + rows.told() + coordinates),
        1);
    EXPECT_EQ(convert<double>("csrsky", {0, 1, 1, 1, 5, 1},
                              Pointers{&n} + rows.told() + Pointers{other.values.data(), other.start.data()}),
              1);
    EXPECT_EQ(std::count(other.index.begin(), other.index.end(), junk), 6);
}

// In one step, in two, and without room; operands are sorted where that is asked for.
QNM_TYPED(SparseClassic, SumsAndProducts)
{
    for (int repeat = 0; repeat < 300; ++repeat) {
        const bool adds = random_integer(0, 1) == 0;
        const char trans = pick("NTC");
        const int m = random_integer(0, 9), n = random_integer(0, 9), k = adds ? n : random_integer(0, 9);
        const int rows = !adds && turns(trans) ? n : m, inner = rows == m ? n : m;
        const Elements<T> first = random_elements<T>(m, n),
                          second = !adds          ? random_elements<T>(turns(trans) ? m : n, k)
                                   : turns(trans) ? random_elements<T>(n, m)
                                                  : random_elements<T>(m, n);
        const Matrix<T> x = dense(first), y = dense(second);
        Matrix<T> expected(rows, k);
        const T beta = any_factor<T>();
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < k; ++j) {
                expected(i, j) = adds ? x(i, j) + beta * y.op(trans, i, j) : T{};
                for (int l = 0; !adds && l < (turns(trans) ? m : n); ++l)
                    expected(i, j) += x.op(trans, i, l) * y(l, j);
            }

        const Arrays<T> a(first, 1), b(second, 1);
        const Arrays<T> untouched(rows, rows * k);
        const std::string name = adds ? "qnm_?csradd" : "qnm_?csrmultcsr";
        const auto make = [&](int request, int sort, int room, const Arrays<T>& c) {
            int info = -9;
            call<T>(name, Pointers{&trans, &request, &sort, &m, &n} + (adds ? Pointers{} : Pointers{&k}) +
                              a.told() + (adds ? Pointers{&beta} : Pointers{}) + b.told() + c.told() +
                              Pointers{&room, &info});
            return info;
        };
        Arrays<T> c = untouched;
        const Ints order = a.index;
        EXPECT_EQ(make(1, 3, 0, c), 0);
        EXPECT_EQ(c.index, untouched.index);
        EXPECT_EQ(a.index, order);
        const int nnz = c.start.back() - 1, sort = random_integer(0, 7);
        EXPECT_EQ(make(2, 0, 0, c), 0);
        EXPECT_EQ(read<T>("csr", rows, k, 1, c.general()), listed(expected, 1));
        Arrays<T> at_once = untouched;
        EXPECT_EQ(make(0, sort, nnz, at_once), 0);
        EXPECT_EQ(at_once.start, c.start);
        EXPECT_EQ(at_once.index, c.index);
        EXPECT_EQ(read<T>("csr", rows, k, 1, at_once.general()), listed(expected, 1));
        const auto ascends = [](const Arrays<T>& lines) {
            bool all = true;
            for (std::size_t i = 0; i + 1 < lines.start.size(); ++i)
                all = all && std::is_sorted(lines.index.begin() + lines.start[i] - 1,
                                            lines.index.begin() + lines.start[i + 1] - 1);
            return all;
        };
        EXPECT_TRUE(ascends(c));
        EXPECT_TRUE(sort % 7 != 0 || a.index == order);
        EXPECT_TRUE(sort == 7 || ((ascends(a) || (sort & 1) == 0) && (ascends(b) || (sort & 2) == 0)));
        if (nnz > 0) { // the row that has the last one
            const auto full = std::find(c.start.begin(), c.start.end(), nnz + 1) - c.start.begin();
            EXPECT_EQ(make(0, 0, nnz - 1, at_once), full);
        }
        if (!adds) {
            Matrix<T> d(rows, k);
            const int ldc = static_cast<int>(d.ld);
            call<T>("qnm_?csrmultd",
                    Pointers{&trans, &m, &n, &k} + a.told() + b.told() + Pointers{d.data.data(), &ldc});
            EXPECT_EQ(listed(d, 1), listed(expected, 1));
        }
        if (testing::Test::HasFailure())
            FAIL() << name << " " << trans << " " << m << " " << n << " " << k << " " << inner << " sort "
                   << sort;
    }
}

// Sums run along a line, whoever asks for them.
QNM_TYPED(SparseClassic, BitsAreThoseOfHandles)
{
    const int n = 40;
    Elements<T> all = random_elements<T>(n, n);
    for (core_int i = 0; i < n; ++i)
        all.add(i, i, T(20));
    std::vector<T> x = random_vector<T>(n), y(x.size()), expected(x.size());
    for (T& uneven : x)
        uneven /= T(3);
    for (T& uneven : all.value)
        uneven /= T(7);
    const Arrays<T> rows(all, 1);
    const auto handle_call = [](const std::string& name, const auto&... told) {
        EXPECT_EQ((by_value<int>(named<T>("sparse", name), told...)), 0) << name;
    };
    const Descriptor lower{sparse::Type::triangular, sparse::Mode::lower, sparse::Diag::stored};
    void* handle = nullptr;
    handle_call("?_create_csr_i4", &handle, 1, n, n, rows.start.data(), rows.start.data() + 1,
                rows.index.data(), rows.values.data());
    for (const auto& [trans, operation] : {std::pair{'N', 10}, {'T', 11}, {'C', 12}}) {
        handle_call("?_mv_i4", operation, T(1), handle, sparse::general, x.data(), T(0), expected.data());
        call<T>("qnm_?csrgemv", Pointers{&trans, &n, rows.values.data(), rows.start.data(), rows.index.data(),
                                         x.data(), y.data()});
        EXPECT_EQ(y, expected) << trans;
        handle_call("?_trsv_i4", operation, T(1), handle, lower, x.data(), expected.data());
        call<T>("qnm_?csrtrsv", Pointers{"L", &trans, "N", &n, rows.values.data(), rows.start.data(),
                                         rows.index.data(), x.data(), y.data()});
        EXPECT_EQ(y, expected) << trans;
    }
    handle_call("destroy_i4", handle);
}

// ---- failures

TEST(SparseClassic, UnknownOptionsLeaveOutputsAlone)
{
    const int n = 1, k = 2, one = 1;
    Ints index(9, 1), before = index;
    std::vector<double> values(9, 1.0), untouched = values;
    int info = -9;
    const double* const v = values.data();
    const int* const i = index.data();
    const auto told = [&](const std::string& name, const Pointers& arguments) {
        testing::internal::CaptureStderr();
        call<double>("qnm_" + name, arguments);
        return testing::internal::GetCapturedStderr();
    };
    const auto product = [&](const std::string& name, const char* descr, const int& columns) {
        return told(name, {"N", &n, &columns, v, descr, v, i, i, i, v, v, v});
    };
    for (const char* descr : {"XLNF", "TXNF", "SLXF", "GLNX", "H   ", "AXNF", "DLXF"})
        EXPECT_EQ(product("dcsrmv", descr, n), "QNM ERROR: QNM_DCSRMV: unknown matdescra.\n") << descr;
    EXPECT_EQ(product("dcoomv", "SLNF", k), "QNM ERROR: QNM_DCOOMV: unknown matdescra.\n");
    EXPECT_EQ(told("dskymv", {"N", &n, &n, v, "GLNF", v, i, v, v, v}),
              "QNM ERROR: QNM_DSKYMV: unknown matdescra.\n");
    EXPECT_EQ(told("ddiasv", {"N", &n, v, "SLNF", v, i, i, i, v, v}),
              "QNM ERROR: QNM_DDIASV: unknown matdescra.\n");
    const int three = 3;
    EXPECT_EQ(told("dcsradd", {"N", &three, &one, &n, &n, v, i, i, v, v, i, i, v, i, i, i, &info}),
              "QNM ERROR: QNM_DCSRADD: unknown request.\n");
    for (const Ints& job :
         {Ints{2, 0, 0, 2, 9, 1}, {0, 2, 0, 2, 9, 1}, {0, 0, -1, 2, 9, 1}, {0, 0, 0, 3, 9, 1}})
        EXPECT_EQ(told("ddnscsr", {job.data(), &n, &n, v, &one, v, i, i, &info}),
                  "QNM ERROR: QNM_DDNSCSR: unknown job.\n");
    EXPECT_EQ(info, -9);
    EXPECT_EQ(index, before);
    EXPECT_EQ(values, untouched);
}

// With less memory than it takes, a routine tells so, changes nothing and loses nothing.
TEST(SparseClassic, MemoryThatFails)
{
    constexpr int n = 40, most = n * n;
    Elements<double> all = random_elements<double>(n, n);
    for (core_int i = 0; i < n; ++i)
        all.add(i, i, 100);
    const Arrays<double> rows(all, 1);
    const Stored<double> coo("coo", all, 1, 1, false, false);
    const int request = 0, sort = 0, block = 2, area = 4, ld = n, diagonals = 1, distance = 0;
    const Ints job{0, 1, 1, 0, 0, 0};
    const double one = 1;
    Arrays<double> out(n, most);
    int info = -9;
    const Pointers size{&n}, sizes{"T", &request, &sort, &n, &n}, made = out.told() + Pointers{&most, &info},
                                                                  changed{&diagonals, &distance};
    const std::pair<const char*, Pointers> calls[] = {
        {"csradd", sizes + rows.told() + Pointers{&one} + rows.told() + made},
        {"csrmultcsr", sizes + size + rows.told() + rows.told() + made},
        {"csrbsr", Pointers{job.data(), &n, &block, &area} + rows.told() + out.told() + Pointers{&info}},
        {"csrdia", Pointers{job.data(), &n} + rows.told() +
                       Pointers{out.values.data(), &ld, &distance, &diagonals} + out.told() +
                       Pointers{&info}},
        {"coosv",
         Pointers{"N", &n, &one, "TLNF"} + coo.told + Pointers{rows.values.data(), out.values.data()}},
    };
    for (const auto& [name, arguments] : calls) {
        const Use before = in_use();
        const Arrays<double> untouched(n, most);
        out.start = untouched.start, out.index = untouched.index, out.values = untouched.values;
        const auto is_untouched = [&] {
            return out.start == untouched.start && out.index == untouched.index && std::isnan(out.values[0]);
        };
        std::string upper = name;
        std::ranges::transform(upper, upper.begin(), core::upper_case);
        int failed = 0;
        for (std::size_t more = 1; is_untouched() && more < 1U << 20; more *= 2, ++failed) {
            const Reports reports;
            info = -9;
            service("set_memory_limit", 1, static_cast<std::size_t>(before.first) + more);
            call<double>("qnm_d" + std::string(name), arguments);
            service("set_memory_limit", 1, std::size_t{0});
            EXPECT_EQ(in_use(), before) << name;
            if (!is_untouched())
                break;
            EXPECT_EQ(Reports::told, std::vector<std::string>{"QNM_D" + upper + " 1000"});
            EXPECT_EQ(info, std::string(name) == "coosv" ? -9 : -1000) << name;
        }
        EXPECT_GT(failed, 5) << name;
        EXPECT_LT(failed, 20) << name;
    }
}

} // namespace
} // namespace qnm::test
