// Batches of BLAS and LAPACK, in both shapes, against a loop over the plain routine.
#include "core.hpp"

#include <cstring>

namespace qnm::test {
namespace {

constexpr core_int room = 64; // elements of one array of one problem
constexpr core_int sizes[] = {2, -1, 3, 1}, groups = 4, total = 6;

// The plain routine for batches whose root has none: arguments of one problem, and its INFO.
template <class T>
using Plain = void (*)(const std::vector<void*>& p, core_int* info);

core_int integer(const void* place)
{
    return *static_cast<const core_int*>(place);
}

template <class T>
void dgmm(const std::vector<void*>& p, core_int*) // side m n a lda x incx c ldc
{
    const bool left = *static_cast<const char*>(p[0]) == 'L';
    const core_int m = integer(p[1]), n = integer(p[2]), inc = integer(p[6]), last = (left ? m : n) - 1;
    for (core_int j = 0; j < n; ++j)
        for (core_int i = 0; i < m; ++i)
            static_cast<T*>(p[7])[i + j * integer(p[8])] =
                static_cast<T*>(p[5])[((left ? i : j) - (inc < 0 ? last : 0)) * inc] *
                static_cast<T*>(p[3])[i + j * integer(p[4])];
}
template <class T>
void getrfnp(const std::vector<void*>& p, core_int* info) // m n a lda
{
    by_pointers("qnm_lapack_qnm_" + letter<T>() + "getrfnp", {p[0], p[1], p[2], p[3], info});
}
template <class T>
void getri_oop(const std::vector<void*>& p, core_int* info) // n a lda ipiv ainv ldainv
{
    const core_int n = integer(p[0]);
    for (core_int j = 0; j < n; ++j)
        std::copy_n(static_cast<T*>(p[1]) + j * integer(p[2]), n, static_cast<T*>(p[4]) + j * integer(p[5]));
    std::vector<T> work(room);
    by_pointers("qnm_lapack_" + letter<T>() + "getri", {p[0], p[4], p[5], p[3], work.data(), &room, info});
}
template <class T>
void getrsnp(const std::vector<void*>& p, core_int* info) // trans n nrhs a lda b ldb
{
    const core_int none[] = {1, 2, 3, 4, 5, 6, 7, 8};
    by_pointers("qnm_lapack_" + letter<T>() + "getrs",
                {p[0], p[1], p[2], p[3], p[4], none, p[5], p[6], info});
}
template <class T>
void gels(const std::vector<void*>& p, core_int* info)
{
    std::vector<T> work(room);
    by_pointers("qnm_lapack_" + letter<T>() + "gels",
                {p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], work.data(), &room, info});
}

// A routine's arguments, a letter each: s side, u uplo, t trans, d diag; n size, l leading dimension,
// i increment; a scalar; x array, p pivots.
template <class T>
struct Routine {
    std::string name, arguments;
    Plain<T> own = nullptr;
    bool lapack = false, has_groups = true, has_work = false;
};
template <class T>
std::vector<Routine<T>> routines()
{
    std::vector<Routine<T>> all{
        {"gemm", "ttnnnaxlxlaxl"},
        {"gemv", "tnnaxlxiaxi"},
        {"dgmm", "snnxlxixl", dgmm<T>},
        {"syrk", "utnnaxlaxl"},
        {"trsm", "sutdnnaxlxl"},
        {"axpy", "naxixi"},
        {"copy", "nxixi"},
        {"getrf", "nnxlp", nullptr, true},
        {"getrfnp", "nnxl", getrfnp<T>, true},
        {"getri_oop", "nxlpxl", getri_oop<T>, true},
        {"getrs", "tnnxlpxl", nullptr, true, false},
        {"getrsnp", "tnnxlxl", getrsnp<T>, true, false},
        {"gels", "tnnnxlxl", gels<T>, true, false, true},
    };
    if constexpr (is_complex<T>)
        all.push_back({"gemm3m", all[0].arguments});
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
    std::vector<void*> arrays;

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
    void* at(std::size_t g)
    {
        return kind == 'a'                           ? static_cast<void*>(&scalars[g])
               : std::strchr("nli", kind) != nullptr ? static_cast<void*>(&wide[g])
                                                     : &letters[g];
    }
    void* all(bool as_narrow)
    {
        return is_array() ? arrays.data() : as_narrow && at(0) == wide.data() ? narrow.data() : at(0);
    }
};

// What a batch leaves behind, pivots and INFO as the core's integers.
template <class T>
struct Left {
    std::vector<T> data;
    std::vector<core_int> pivots = {}, infos = std::vector<core_int>(total + 1, 0);
};

template <class T>
class Problems {
public:
    explicit Problems(const Routine<T>& routine)
        : routine_(routine),
          batch_(std::string(routine.lapack ? "qnm_lapack_" : "qnm_blas_") + letter<T>() + routine.name)
    {
        core_int arrays = 0;
        for (const char kind : routine.arguments)
            arrays += arguments_.emplace_back(kind).is_array() ? 1 : 0;
        data_ = random_vector<T>(arrays * room * total);
        for (std::size_t i = 0; i < data_.size(); ++i)
            if (i % room % 9 == 0 || i % room % 10 == 0)
                data_[i] = T(1); // a triangle can be solved
    }

    // The plain routine, problem by problem; the values of the first group for all, or each group's own.
    Left<T> looped(bool first_group)
    {
        Left<T> left = placed<core_int>();
        std::size_t problem = 0;
        for (std::size_t g = 0; g < groups; ++g)
            for (core_int last = sizes[g]; last > 0; --last, ++problem) {
                std::vector<void*> given;
                for (auto& x : arguments_)
                    given.push_back(x.is_array() ? x.arrays[problem] : x.at(first_group ? 0 : g));
                given.push_back(&left.infos[problem]);
                if (routine_.own != nullptr)
                    routine_.own(given, &left.infos[problem]);
                else
                    by_pointers(batch_, {given.begin(), given.end()});
            }
        return read<core_int>(left);
    }
    template <class I>
    Left<T> grouped()
    {
        constexpr bool narrow = sizeof(I) == 4;
        Left<T> left = placed<I>();
        std::vector<const void*> given;
        for (auto& x : arguments_)
            given.push_back(x.all(narrow));
        const I count = groups;
        const std::vector<I> counts(std::begin(sizes), std::end(sizes));
        std::vector<I> infos(total + 1, 0);
        given.insert(given.end(), {&count, counts.data()});
        if (routine_.lapack)
            given.push_back(infos.data());
        given.push_back(reinterpret_cast<const void*>(narrow));
        by_pointers(batch_ + "_batch", given);
        left.infos.assign(infos.begin(), infos.end());
        return read<I>(left);
    }
    Left<T> strided()
    {
        Left<T> left = placed<core_int>();
        std::vector<const void*> given;
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            given.push_back(arguments_[i].is_array() ? arguments_[i].arrays[0] : arguments_[i].at(0));
            if (arguments_[i].kind == 'p' || (i > 0 && arguments_[i - 1].kind == 'x'))
                given.push_back(&room);
        }
        given.push_back(&total);
        std::vector<T> work(room);
        if (routine_.has_work) {
            const core_int query = -1;
            std::vector<const void*> asking = given;
            asking.insert(asking.end(), {work.data(), &query, left.infos.data()});
            by_pointers(batch_ + "_batch_strided", asking);
            EXPECT_GE(std::real(work[0]), 6);
            given.insert(given.end(), {work.data(), &room});
        }
        given.push_back(left.infos.data());
        by_pointers(batch_ + "_batch_strided", given);
        return read<core_int>(left);
    }

private:
    // A copy of the data, which the arguments point into. Pivots exchange rows of matrices of three and more.
    template <class I>
    Left<T> placed()
    {
        Left<T> left{data_};
        pivots_.resize(room * total);
        T* next = left.data.data();
        I* pivot = reinterpret_cast<I*>(pivots_.data());
        for (auto& x : arguments_)
            for (x.arrays.clear(); x.is_array() && x.arrays.size() < total; next += room) {
                x.arrays.push_back(x.kind == 'x' ? static_cast<void*>(next) : pivot);
                for (I i = 0; x.kind == 'p' && i < room; ++i)
                    *pivot++ = i < 2 ? i + 2 : i + 1;
            }
        return left;
    }
    template <class I>
    Left<T> read(Left<T> left) const
    {
        const I* const pivot = reinterpret_cast<const I*>(pivots_.data());
        left.pivots.assign(pivot, pivot + room * total);
        return left;
    }

    Routine<T> routine_;
    std::string batch_;
    std::vector<Argument<T>> arguments_;
    std::vector<T> data_;
    std::vector<core_int> pivots_;
};

template <class T>
void expect_same(const Left<T>& found, const Left<T>& expected)
{
    expect_near(found.data, expected.data);
    EXPECT_EQ(found.pivots, expected.pivots);
    EXPECT_EQ(found.infos, expected.infos);
}

template <class T>
class Batches : public testing::Test {
};
TYPED_TEST_SUITE(Batches, Types);

TYPED_TEST(Batches, EqualALoopOverThePlainRoutine)
{
    for (const auto& routine : routines<TypeParam>()) {
        SCOPED_TRACE(letter<TypeParam>() + routine.name);
        Problems<TypeParam> problems(routine);
        const auto of_first = problems.looped(true);
        expect_same(problems.strided(), of_first);
        if (!routine.has_groups)
            continue;
        const auto expected = problems.looped(false);
        expect_same(problems.template grouped<std::int32_t>(), expected);
        expect_same(problems.template grouped<core_int>(), expected);
        EXPECT_NE(of_first.data, expected.data); // groups differ, or the test would see nothing
    }
}

TYPED_TEST(Batches, NoGroupReadsNoArray)
{
    const std::int32_t none = 0;
    const void* null = nullptr;
    by_value<void>("qnm_blas_" + letter<TypeParam>() + "copy_batch", null, null, null, null, null, &none,
                   null, 1);
}

} // namespace
} // namespace qnm::test
