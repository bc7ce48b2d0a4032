// Batches, in both shapes, against a loop over the plain routine.
#include "core.hpp"

#include <cstring>

namespace qnm::test {
namespace {

// A routine's arguments, a letter each: s side, u uplo, t trans, d diag; n size, l leading dimension,
// i increment; a scalar; x array.
struct Routine {
    std::string name, arguments;
};
const Routine gemm3m{"gemm3m", "ttnnnaxlxlaxl"};
const Routine routines[] = {
    {"gemm", gemm3m.arguments}, {"gemv", "tnnaxlxiaxi"}, {"dgmm", "snnxlxixl"}, {"syrk", "utnnaxlaxl"},
    {"trsm", "sutdnnaxlxl"},    {"axpy", "naxixi"},      {"copy", "nxixi"},
};

constexpr core_int room = 64; // elements of one array of one problem
constexpr core_int sizes[] = {2, -1, 3, 1}, groups = 4, total = 6;

// An argument of all groups: what its letter tells, or an array for each problem.
template <class T>
struct Argument {
    char kind;
    std::string letters;
    std::vector<core_int> wide;
    std::vector<std::int32_t> narrow;
    std::vector<T> scalars;
    std::vector<T*> arrays;

    explicit Argument(char k) : kind(k)
    {
        const char* pair = kind == 's' ? "LR" : kind == 'u' ? "LU" : kind == 'd' ? "NU" : "TN";
        for (int g = 0; g < groups; ++g) {
            letters += pair[g % 2];
            narrow.push_back(kind == 'l' ? 8 + g % 2 : kind == 'i' ? (g % 2 == 0 ? 1 : -2) : 3 + g);
            scalars.push_back(static_cast<real_t<T>>(g + 2));
        }
        wide.assign(narrow.begin(), narrow.end());
    }
    const void* at(std::size_t g) const
    {
        if (kind == 'a')
            return &scalars[g];
        return std::strchr("nli", kind) != nullptr ? static_cast<const void*>(&wide[g]) : &letters[g];
    }
    const void* all(bool as_narrow) const
    {
        return kind == 'x' ? arrays.data() : as_narrow && at(0) == wide.data() ? narrow.data() : at(0);
    }
};

template <class T>
class Problems {
public:
    using Data = std::vector<T>;

    explicit Problems(Routine routine) : routine_(std::move(routine))
    {
        for (const char kind : routine_.arguments) {
            arguments_.emplace_back(kind);
            if (kind == 'x')
                data_.resize(data_.size() + room * total);
        }
        data_ = random_vector<T>(static_cast<core_int>(data_.size()));
        for (std::size_t i = 0; i < data_.size(); ++i)
            if (i % room % 9 == 0 || i % room % 10 == 0)
                data_[i] = T(1); // a triangle can be solved
    }

    // The plain routine, problem by problem; the values of the first group for all, or each group's own.
    Data looped(bool first_group)
    {
        Data data = placed();
        std::size_t problem = 0;
        for (std::size_t g = 0; g < groups; ++g)
            for (core_int last = sizes[g]; last > 0; --last, ++problem) {
                std::vector<const void*> given;
                for (const auto& x : arguments_)
                    given.push_back(x.kind == 'x' ? x.arrays[problem] : x.at(first_group ? 0 : g));
                if (routine_.name == "dgmm") // has no plain form
                    diagonal_product(first_group ? 0 : g, problem);
                else
                    blas_pointers(letter<T>() + routine_.name, given);
            }
        return data;
    }
    template <class I>
    Data grouped()
    {
        Data data = placed();
        constexpr bool narrow = sizeof(I) == 4;
        std::vector<const void*> given;
        for (const auto& x : arguments_)
            given.push_back(x.all(narrow));
        const I count = groups;
        const std::vector<I> counts(std::begin(sizes), std::end(sizes));
        given.insert(given.end(), {&count, counts.data(), reinterpret_cast<const void*>(narrow)});
        blas_pointers(letter<T>() + routine_.name + "_batch", given);
        return data;
    }
    Data strided()
    {
        Data data = placed();
        std::vector<const void*> given;
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            given.push_back(arguments_[i].kind == 'x' ? arguments_[i].arrays[0] : arguments_[i].at(0));
            if (i > 0 && arguments_[i - 1].kind == 'x')
                given.push_back(&room);
        }
        given.push_back(&total);
        blas_pointers(letter<T>() + routine_.name + "_batch_strided", given);
        return data;
    }

private:
    // A copy of the data, which the arguments point into.
    Data placed()
    {
        Data data = data_;
        T* next = data.data();
        for (auto& x : arguments_)
            for (x.arrays.clear(); x.kind == 'x' && x.arrays.size() < total; next += room)
                x.arrays.push_back(next);
        return data;
    }
    void diagonal_product(std::size_t g, std::size_t problem) const
    {
        const auto& x = arguments_; // side m n a lda x incx c ldc
        const bool left = x[0].letters[g] == 'L';
        const core_int m = x[1].wide[g], n = x[2].wide[g], inc = x[6].wide[g], last = (left ? m : n) - 1;
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < m; ++i)
                x[7].arrays[problem][i + j * x[8].wide[g]] =
                    x[5].arrays[problem][((left ? i : j) - (inc < 0 ? last : 0)) * inc] *
                    x[3].arrays[problem][i + j * x[4].wide[g]];
    }

    Routine routine_;
    std::vector<Argument<T>> arguments_;
    Data data_;
};

template <class T>
void compare(const Routine& routine)
{
    SCOPED_TRACE(letter<T>() + routine.name);
    Problems<T> problems(routine);
    const auto expected = problems.looped(false);
    EXPECT_EQ(problems.template grouped<std::int32_t>(), expected);
    EXPECT_EQ(problems.template grouped<core_int>(), expected);
    EXPECT_EQ(problems.strided(), problems.looped(true));
    EXPECT_NE(problems.looped(true), expected); // groups differ, or the test would see nothing
}

template <class T>
class Batches : public testing::Test {
};
TYPED_TEST_SUITE(Batches, Types);

TYPED_TEST(Batches, EqualALoopOverThePlainRoutine)
{
    for (const Routine& routine : routines)
        compare<TypeParam>(routine);
    if constexpr (is_complex<TypeParam>)
        compare<TypeParam>(gemm3m);
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
