// Interleaved batches, against the plain routine on each matrix.
#include "core.hpp"

namespace qnm::test {
namespace {

constexpr core_int row_major = 101, column_major = 102, nm = 9;

template <class T>
using Matrices = std::vector<Matrix<T>>;

// Matrices of one size, packed here: in the place of an element there is a vector of it from some matrices,
// for complex types one of real parts, then one of imaginary parts.
template <class T>
struct Interleaved {
    core_int layout, format, rows, columns, ld, lines, lanes = format / core_int{sizeof(real_t<T>)};
    std::vector<real_t<T>> data;

    // A column is dense, others have room to spare. Spare lanes repeat the last matrix.
    Interleaved(core_int order, core_int bytes, const Matrices<T>& matrices)
        : layout(order),
          format(bytes),
          rows(matrices[0].rows),
          columns(matrices[0].columns),
          ld((layout == row_major ? columns : rows) + (columns > 1 ? 2 : 0)),
          lines(layout == row_major ? rows : columns)
    {
        constexpr core_int parts = is_complex<T> ? 2 : 1;
        const core_int whole = (nm + lanes - 1) / lanes * lanes;
        data.assign(static_cast<std::size_t>(whole * parts * ld * lines), -99);
        for (core_int p = 0; p < whole; ++p)
            for (core_int i = 0; i < rows; ++i)
                for (core_int j = 0; j < columns; ++j) {
                    const T x = matrices[static_cast<std::size_t>(std::min(p, nm - 1))](i, j);
                    const core_int place = layout == row_major ? i * ld + j : i + j * ld;
                    auto* const to = &data[static_cast<std::size_t>(
                        (p / lanes * ld * lines + place) * lanes * parts + p % lanes)];
                    to[0] = std::real(x);
                    if constexpr (is_complex<T>)
                        to[lanes] = x.imag();
                }
    }
    // By the core, from matrices in its layout or to them.
    void move(const std::string& routine, Matrices<T>& matrices)
    {
        std::vector<T*> places;
        for (Matrix<T>& a : matrices)
            places.push_back(a.data.data());
        by_value("qnm_blas_" + letter<T> + routine, layout, rows, columns, places, matrices[0].ld, *this,
                 format, nm);
    }
};

template <class T>
Matrices<T> any(char trans, core_int rows, core_int columns, real_t<T> diagonal = 0)
{
    Matrices<T> all;
    for (core_int p = 0; p < nm; ++p) {
        all.push_back(stored<T>(trans, rows, columns));
        if (diagonal != 0)
            all.back().fill_diagonal(T(diagonal + static_cast<real_t<T>>(p)));
    }
    return all;
}

// For all layouts and formats: `compact` gets the packs of all operands, `plain` the operands of one problem,
// and both come to the same. What lies between the matrices stays.
template <class T>
void expect_plain(const std::vector<Matrices<T>>& before, auto compact, auto plain)
{
    auto expected = before;
    for (std::size_t p = 0; p < nm; ++p) {
        std::vector<Matrix<T>*> one;
        for (auto& each : expected)
            one.push_back(&each[p]);
        plain(one);
    }
    for (const core_int layout : {row_major, column_major})
        for (const core_int format : {16, 32, 64}) {
            SCOPED_TRACE(testing::Message() << layout << ' ' << format);
            std::vector<Interleaved<T>> packs;
            for (const auto& each : before)
                packs.emplace_back(layout, format, each);
            compact(packs);
            for (std::size_t i = 0; i < packs.size(); ++i)
                expect_near(packs[i].data, Interleaved<T>(layout, format, expected[i]).data);
        }
}

QNM_TYPED(Compact, PackAndUnpack)
{
    for (const core_int layout : {row_major, column_major}) {
        const auto matrices = any<T>('N', 3, 2);
        auto laid = any<T>(layout == row_major ? 'T' : 'N', 3, 2), spoilt = laid;
        for (std::size_t p = 0; p < nm; ++p)
            laid[p].take(layout == row_major ? 'T' : 'N', matrices[p]);
        Interleaved<T> expected(layout, 32, matrices), found(layout, 32, any<T>('N', 3, 2));
        found.move("gepack_compact", laid);
        EXPECT_EQ(found.data, expected.data);
        found.move("geunpack_compact", spoilt);
        for (std::size_t p = 0; p < nm; ++p)
            EXPECT_EQ(spoilt[p].take('N', laid[p]).data, spoilt[p].data);
    }
}

template <class T>
void compact(const std::string& name, const std::vector<Interleaved<T>>& x, const auto&... arguments)
{
    by_value(named<T>("blas", name + "_compact"), x[0].layout, arguments..., x[0].format, nm);
}
template <class T>
core_int compact_info(const std::string& name, const std::vector<Interleaved<T>>& x, const auto&... arguments)
{
    core_int info = -99;
    by_reference(named<T>("lapack", "qnm_?" + name + "_compact"), x[0].layout, arguments..., &info,
                 x[0].format, nm);
    return info;
}
core_int code(core_int first, const std::string& letters, char chosen)
{
    return first + static_cast<core_int>(letters.find(core::upper_case(chosen)));
}
constexpr core_int m = 4, n = 3, k = 5;

QNM_TYPED(Compact, ProductsAndSolutions)
{
    for (int round = 0; round < 24; ++round) {
        const char transa = pick("NTC"), transb = pick("NTC"), side = pick("LR"), uplo = pick("UL"),
                   diag = pick("NU");
        const T alpha = T(2), beta = any_factor<T>();
        auto c = any<T>('N', m, n);
        for (Matrix<T>& each : c)
            if (beta == T(0)) // then C may hold anything
                each.spoil();
        expect_plain<T>(
            {any<T>(transa, m, k), any<T>(transb, k, n), c},
            [&](auto& x) {
                compact("?gemm", x, code(111, "NTC", transa), code(111, "NTC", transb), m, n, k, &alpha, x[0],
                        x[1], &beta, x[2]);
            },
            [&](auto& x) { blas<T>("?gemm", transa, transb, m, n, k, alpha, *x[0], *x[1], beta, *x[2]); });
        const core_int order = code(0, "LR", side) == 0 ? m : n;
        expect_plain<T>(
            {any<T>('N', order, order, 1), any<T>('N', m, n)},
            [&](auto& x) {
                compact("?trsm", x, code(141, "LR", side), code(121, "UL", uplo), code(111, "NTC", transa),
                        code(131, "NU", diag), m, n, &alpha, x[0], x[1]);
            },
            [&](auto& x) { blas<T>("?trsm", side, uplo, transa, diag, m, n, alpha, *x[0], *x[1]); });
    }
}

QNM_TYPED(Compact, Factorisations)
{
    constexpr core_int big = 64, query = -1;
    std::vector<real_t<T>> room(big);
    std::vector<T> work(big);
    const std::vector<Matrices<T>> square{any<T>('N', n, n, 20)};
    const auto sound = [](core_int info) { EXPECT_EQ(info, 0); };
    expect_plain<T>(
        square, [&](auto& x) { sound(compact_info("getrfnp", x, n, n, x[0])); },
        [&](auto& x) { lapack<T>("qnm_?getrfnp", n, n, *x[0]); });
    for (const char uplo : {'U', 'L'})
        expect_plain<T>(
            square, [&](auto& x) { sound(compact_info("potrf", x, code(121, "UL", uplo), n, x[0])); },
            [&](auto& x) { lapack<T>("?potrf", uplo, n, *x[0]); });
    expect_plain<T>(
        square, [&](auto& x) { sound(compact_info("getrinp", x, n, x[0], room, big)); },
        [&](auto& x) { lapack<T>("qnm_?getrinp", n, *x[0], work, big); });
    expect_plain<T>(
        {any<T>('N', m, n, 20), any<T>('N', n, 1)},
        [&](auto& x) { sound(compact_info("geqrf", x, m, n, x[0], x[1].data, room, big)); },
        [&](auto& x) { lapack<T>("?geqrf", m, n, *x[0], x[1]->data, work, big); });

    std::vector x{Interleaved<T>(row_major, 32, square[0])};
    sound(compact_info("getrinp", x, n, x[0], room, query));
    EXPECT_EQ(room[0], 1);
    auto singular = square[0];
    singular[2].take('N', singular[2], T(0));
    x[0] = Interleaved<T>(row_major, 32, singular);
    EXPECT_EQ(compact_info("getrfnp", x, n, n, x[0]), 1); // the first that is not 0
    x[0].format = 24;
    const Reports reports;
    EXPECT_EQ(compact_info("getrfnp", x, n, n, x[0]), -7);
    compact("?trsm", x, 141, 121, 111, 131, n, n, &room, x[0], x[0]);
    reports.expect<T>({"QNM_?GETRFNP_COMPACT 7", "QNM_?TRSM_COMPACT 13"});
    const int length = by_value<int>("qnm_blas_get_format_compact");
    EXPECT_TRUE(length == 16 || length == 32 || length == 64);
}

} // namespace
} // namespace qnm::test
