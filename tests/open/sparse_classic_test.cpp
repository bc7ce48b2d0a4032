// Classic sparse routines beside dense matrices: formats are written here by hand, and read back by products.
#include "sparse.hpp"

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

} // namespace
} // namespace qnm::test
