// Batches of BLAS and LAPACK, in both shapes, against a loop over the plain routine.
#include "core.hpp"

#include <cstring>

namespace qnm::test {
namespace {

constexpr core_int room = 64; // elements of one array of one problem
constexpr core_int sizes[] = {2, -1, 3, 1}, groups = 4, total = 6;
using Pointers = std::vector<const void*>;

// Arguments a letter each: s side, u uplo, t trans, d diag; n size, l leading dimension, i increment; a
// scalar; x array, p pivots. Where no routine of that name is the plain one, `own` is given them, and INFO
// behind them.
template <class T>
struct Routine {
    std::string name, arguments;
    bool lapack = false, has_groups = true, has_work = false;
    void (*own)(Pointers p) = nullptr;
};

template <class X>
X* array(const void* p)
{
    return static_cast<X*>(const_cast<void*>(p));
}
core_int integer(const void* p)
{
    return *array<core_int>(p);
}
template <class T>
void dgmm(Pointers p) // side m n a lda x incx c ldc
{
    const core_int m = integer(p[1]), n = integer(p[2]), inc = integer(p[6]);
    const bool left = *array<char>(p[0]) == 'L';
    for (core_int j = 0; j < n; ++j)
        for (core_int i = 0; i < m; ++i)
            array<T>(p[7])[i + j * integer(p[8])] =
                array<T>(p[5])[((left ? i : j) - (inc < 0 ? (left ? m : n) - 1 : 0)) * inc] *
                array<T>(p[3])[i + j * integer(p[4])];
}
template <class T>
void getri_oop(Pointers p) // n a lda ipiv ainv ldainv
{
    std::vector<T> work(room);
    for (core_int j = 0; j < integer(p[0]); ++j)
        std::copy_n(array<T>(p[1]) + j * integer(p[2]), integer(p[0]), array<T>(p[4]) + j * integer(p[5]));
    by_pointers(named<T>("lapack", "?getri"), {p[0], p[4], p[5], p[3], work.data(), &room, p[6]});
}
template <class T>
void getrsnp(Pointers p) // trans n nrhs a lda b ldb
{
    const core_int pivots[] = {1, 2, 3, 4, 5, 6, 7, 8};
    p.insert(p.begin() + 5, pivots);
    by_pointers(named<T>("lapack", "?getrs"), p);
}
template <class T>
void getrfnp(Pointers p)
{
    by_pointers(named<T>("lapack", "qnm_?getrfnp"), p);
}

template <class T>
std::vector<Routine<T>> routines()
{
    std::vector<Routine<T>> all{
        {"?gemm", "ttnnnaxlxlaxl"},
        {"?gemv", "tnnaxlxiaxi"},
        {"?dgmm", "snnxlxixl", false, true, false, dgmm<T>},
        {"?syrk", "utnnaxlaxl"},
        {"?trsm", "sutdnnaxlxl"},
        {"?axpy", "naxixi"},
        {"?copy", "nxixi"},
        {"?getrf", "nnxlp", true},
        {"?getrfnp", "nnxl", true, true, false, getrfnp<T>},
        {"?getri_oop", "nxlpxl", true, true, false, getri_oop<T>},
        {"?getrs", "tnnxlpxl", true, false},
        {"?getrsnp", "tnnxlxl", true, false, false, getrsnp<T>},
        {"?gels", "tnnnxlxl", true, false, true},
    };
    if (is_complex<T>)
        all.push_back({"?gemm3m", all[0].arguments});
    return all;
}

// An argument of all groups: what its letter tells, or an array for each problem.
template <class T>
struct Argument {
    char kind;
    std::string letters;
    std::vector<core_int> wide;
    std::vector<std::int32_t> narrow;
    std::vector<T> scalars;
    Pointers arrays;

    explicit Argument(char k) : kind(k)
    {
        const char* pair = kind == 's' ? "LR" : kind == 'u' ? "LU" : kind == 'd' ? "NU" : "NT";
        for (int g = 0; g < groups; ++g) {
            letters += pair[g % 2];
            narrow.push_back(kind == 'l' ? 8 + g % 2 : kind == 'i' ? (g % 2 == 0 ? 1 : -2) : 3 + g);
            scalars.push_back(static_cast<real_t<T>>(g + 2));
        }
        wide.assign(narrow.begin(), narrow.end());
    }
    bool is_array() const { return kind == 'x' || kind == 'p'; }
    bool is_integer() const { return std::strchr("nli", kind) != nullptr; }
    const void* at(std::size_t g) const
    {
        const void* const letter_or_integer = is_integer() ? static_cast<const void*>(&wide[g]) : &letters[g];
        return kind == 'a' ? &scalars[g] : letter_or_integer;
    }
};

// What calls leave behind, pivots and INFO as the core's integers.
template <class T>
struct Left {
    std::vector<T> data;
    std::vector<core_int> pivots = {}, infos = std::vector<core_int>(total + 1, 0);

    void expect_same(const Left& expected) const
    {
        expect_near(data, expected.data);
        EXPECT_EQ(pivots, expected.pivots);
        EXPECT_EQ(infos, expected.infos);
    }
};

template <class T>
struct Problems {
    Routine<T> routine;
    std::string name = named<T>(routine.lapack ? "lapack" : "blas", routine.name);
    std::vector<Argument<T>> arguments{routine.arguments.begin(), routine.arguments.end()};
    std::vector<T> data =
        random_vector<T>(total * room * std::count_if(arguments.begin(), arguments.end(), [](const auto& x) {
                             return x.is_array();
                         }));
    // One problem's arguments ahead of INFO; `group` has the others.
    Left<T> looped(bool first_group)
    {
        return run<core_int>([&](Left<T>& left) {
            std::vector<T> work(room);
            std::size_t problem = 0;
            for (std::size_t g = 0; g < groups; ++g)
                for (core_int last = sizes[g]; last > 0; --last, ++problem) {
                    Pointers p;
                    for (auto& x : arguments)
                        p.push_back(x.is_array() ? x.arrays[problem] : x.at(first_group ? 0 : g));
                    if (routine.has_work)
                        p.insert(p.end(), {work.data(), &room});
                    p.push_back(&left.infos[problem]);
                    if (routine.own != nullptr)
                        routine.own(p);
                    else
                        by_pointers(name, p);
                }
        });
    }
    template <class I>
    Left<T> grouped()
    {
        return run<I>([&](Left<T>& left) {
            constexpr bool narrow = sizeof(I) == 4;
            Pointers p;
            for (auto& x : arguments)
                p.push_back(x.is_array()               ? x.arrays.data()
                            : narrow && x.is_integer() ? x.narrow.data()
                                                       : x.at(0));
            const I count = groups;
            const std::vector<I> counts(std::begin(sizes), std::end(sizes));
            std::vector<I> infos(total + 1, 0);
            p.insert(p.end(), {&count, counts.data()});
            if (routine.lapack)
                p.push_back(infos.data());
            p.push_back(reinterpret_cast<const void*>(narrow));
            by_pointers(name + "_batch", p);
            left.infos.assign(infos.begin(), infos.end());
        });
    }
    Left<T> strided()
    {
        return run<core_int>([&](Left<T>& left) {
            Pointers p;
            for (std::size_t i = 0; i < arguments.size(); ++i) {
                p.push_back(arguments[i].is_array() ? arguments[i].arrays[0] : arguments[i].at(0));
                if (arguments[i].kind == 'p' || (i > 0 && arguments[i - 1].kind == 'x'))
                    p.push_back(&room);
            }
            p.push_back(&total);
            std::vector<T> work(room);
            if (routine.has_work) {
                const core_int query = -1;
                Pointers asking = p;
                asking.insert(asking.end(), {work.data(), &query, left.infos.data()});
                by_pointers(name + "_batch_strided", asking);
                EXPECT_GE(std::real(work[0]), 6);
                p.insert(p.end(), {work.data(), &room});
            }
            p.push_back(left.infos.data());
            by_pointers(name + "_batch_strided", p);
        });
    }

private:
    // Calls on a copy of the data. Pivots exchange rows of matrices of three and more; triangles can be
    // solved.
    template <class I>
    Left<T> run(auto call)
    {
        Left<T> left{data};
        for (std::size_t i = 0; i < data.size(); ++i)
            if (i % room % 9 == 0 || i % room % 10 == 0)
                left.data[i] = T(1);
        std::vector<I> pivots(room * total);
        for (std::size_t i = 0; i < pivots.size(); ++i)
            pivots[i] = static_cast<I>(i % room + (i % room < 2 ? 2 : 1));
        const T* next = left.data.data();
        for (auto& x : arguments) {
            x.arrays.clear();
            for (core_int p = 0; x.is_array() && p < total; ++p, next += room)
                x.arrays.push_back(x.kind == 'x' ? static_cast<const void*>(next) : &pivots[p * room]);
        }
        call(left);
        left.pivots.assign(pivots.begin(), pivots.end());
        return left;
    }
};

QNM_TYPED(Batches, EqualALoopOverThePlainRoutine)
{
    for (const auto& routine : routines<T>()) {
        SCOPED_TRACE(routine.name);
        Problems<T> problems{routine};
        const auto of_first = problems.looped(true);
        problems.strided().expect_same(of_first);
        if (!routine.has_groups)
            continue;
        const auto expected = problems.looped(false);
        problems.template grouped<std::int32_t>().expect_same(expected);
        problems.template grouped<core_int>().expect_same(expected);
        EXPECT_NE(of_first.data, expected.data); // groups differ, or the test would see nothing
    }
}

TEST(Batches, NoGroupReadsNoArray)
{
    const std::int32_t none = 0;
    const void* null = nullptr;
    by_value("qnm_blas_dcopy_batch", null, null, null, null, null, &none, null, 1);
}

} // namespace
} // namespace qnm::test
