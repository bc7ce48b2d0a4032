// Batches, in both shapes, against a loop over the plain routine.
#include "core.hpp"

#include <cstring>

namespace qnm::test {
namespace {

// A routine's arguments, a letter each: s side, u uplo, t trans, d diag; n size, l leading dimension,
// i increment; a scalar; x array.
struct Routine {
    const char* name;
    const char* arguments;
};
constexpr Routine gemm3m{"gemm3m", "ttnnnaxlxlaxl"};
constexpr Routine routines[] = {
    {"gemm", gemm3m.arguments}, {"gemv", "tnnaxlxiaxi"}, {"dgmm", "snnxlxixl"}, {"syrk", "utnnaxlaxl"},
    {"trsm", "sutdnnaxlxl"},    {"axpy", "naxixi"},      {"copy", "nxixi"},
};

enum class Kind { letter, integer, scalar, array };
Kind kind_of(char argument)
{
    return argument == 'x'                           ? Kind::array
           : argument == 'a'                         ? Kind::scalar
           : std::strchr("nli", argument) != nullptr ? Kind::integer
                                                     : Kind::letter;
}

constexpr core_int room = 64; // elements of one array of one problem
constexpr core_int ld = 8;

// The values of one group, by argument.
template <class T>
struct Group {
    std::vector<char> letters;
    std::vector<core_int> integers;
    std::vector<T> scalars;

    Group(std::string_view arguments, std::size_t g)
    {
        for (const char a : arguments) {
            const char* pair = a == 's' ? "LR" : a == 'u' ? "LU" : a == 'd' ? "NU" : "TN";
            letters.push_back(pair[g % 2]);
            integers.push_back(a == 'l' ? ld : a == 'i' ? 1 : 3 + static_cast<core_int>(g));
            scalars.push_back(static_cast<real_t<T>>(g + 2));
        }
    }
    const void* at(std::size_t i, Kind kind) const
    {
        return kind == Kind::letter    ? static_cast<const void*>(&letters[i])
               : kind == Kind::integer ? static_cast<const void*>(&integers[i])
                                       : &scalars[i];
    }
};

template <class T>
class Problems {
public:
    using Data = std::vector<std::vector<T>>; // one array of all problems for each x

    Problems(Routine routine, std::vector<core_int> sizes)
        : routine_(routine), list_(routine.arguments), sizes_(std::move(sizes))
    {
        for (std::size_t g = 0; g < sizes_.size(); ++g) {
            groups_.emplace_back(list_, g);
            total_ += sizes_[g];
        }
        for (const char a : list_)
            if (a == 'x')
                data_.push_back(random_vector<T>(room * total_));
        for (auto& array : data_)
            for (std::size_t i = 0; i < array.size(); ++i)
                if (i % room % (ld + 1) == 0)
                    array[i] = T(1); // a triangle can be solved
    }

    // The plain routine, problem by problem; the values of the first group for all, or each group's own.
    Data looped(bool first_group) const
    {
        Data data = data_;
        core_int problem = 0;
        for (std::size_t g = 0; g < sizes_.size(); ++g)
            for (core_int p = 0; p < sizes_[g]; ++p, ++problem) {
                const Group<T>& group = groups_[first_group ? 0 : g];
                std::vector<const void*> given;
                std::vector<T*> arrays;
                for (std::size_t i = 0; i < list_.size(); ++i) {
                    if (kind_of(list_[i]) == Kind::array)
                        given.push_back(arrays.emplace_back(data[arrays.size()].data() + room * problem));
                    else
                        given.push_back(group.at(i, kind_of(list_[i])));
                }
                if (routine_.name == std::string_view("dgmm")) // has no plain form
                    diagonal_product(group, arrays);
                else
                    call("", given);
            }
        return data;
    }

    template <class I>
    Data grouped() const
    {
        Data data = data_;
        std::vector<std::vector<char>> letters(list_.size());
        std::vector<std::vector<I>> integers(list_.size());
        std::vector<std::vector<T>> scalars(list_.size());
        std::vector<std::vector<T*>> pointers(list_.size());
        std::vector<const void*> given;
        std::size_t arrays = 0;
        for (std::size_t i = 0; i < list_.size(); ++i) {
            for (const Group<T>& group : groups_) {
                letters[i].push_back(group.letters[i]);
                integers[i].push_back(static_cast<I>(group.integers[i]));
                scalars[i].push_back(group.scalars[i]);
            }
            const Kind kind = kind_of(list_[i]);
            if (kind == Kind::array) {
                for (core_int p = 0; p < total_; ++p)
                    pointers[i].push_back(data[arrays].data() + room * p);
                ++arrays;
            }
            given.push_back(kind == Kind::letter    ? static_cast<const void*>(letters[i].data())
                            : kind == Kind::integer ? static_cast<const void*>(integers[i].data())
                            : kind == Kind::scalar  ? static_cast<const void*>(scalars[i].data())
                                                    : pointers[i].data());
        }
        const auto count = static_cast<I>(sizes_.size());
        const std::vector<I> sizes(sizes_.begin(), sizes_.end());
        given.insert(given.end(), {&count, sizes.data(), reinterpret_cast<const void*>(sizeof(I) == 4)});
        call("_batch", given);
        return data;
    }

    Data strided() const
    {
        Data data = data_;
        std::vector<const void*> given;
        std::size_t arrays = 0;
        for (std::size_t i = 0; i < list_.size(); ++i) {
            const Kind kind = kind_of(list_[i]);
            given.push_back(kind == Kind::array ? data[arrays++].data() : groups_[0].at(i, kind));
            if (i > 0 && list_[i - 1] == 'x')
                given.push_back(&room);
        }
        given.push_back(&total_);
        call("_batch_strided", given);
        return data;
    }

private:
    void call(const std::string& form, const std::vector<const void*>& given) const
    {
        blas_pointers(letter<T>() + routine_.name + form, given);
    }
    static void diagonal_product(const Group<T>& group, const std::vector<T*>& arrays)
    {
        for (core_int j = 0; j < group.integers[2]; ++j)
            for (core_int i = 0; i < group.integers[1]; ++i)
                arrays[2][i + j * ld] = arrays[1][group.letters[0] == 'L' ? i : j] * arrays[0][i + j * ld];
    }

    Routine routine_;
    std::string_view list_;
    std::vector<core_int> sizes_;
    core_int total_ = 0;
    std::vector<Group<T>> groups_;
    Data data_;
};

template <class T>
void compare(Routine routine)
{
    SCOPED_TRACE(letter<T>() + routine.name);
    const Problems<T> problems(routine, {2, 0, 3, 1});
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
