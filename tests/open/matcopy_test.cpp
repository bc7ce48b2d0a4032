// Matrix copies, transpositions and sums beside a plain model: whole arrays are compared, so that what lies
// between the lines has to stay as it was.
#include "core.hpp"

#include "open/transpose.hpp"
#include "open/trial.hpp"

#include <set>
#include <thread>

namespace qnm::test {
namespace {

template <class T>
class MatrixCopy : public testing::Test {
protected:
    static auto scalar(const T& x)
    {
        if constexpr (is_complex<T>)
            return &x;
        else
            return x;
    }
    template <class... A>
    static void call(const std::string& form, const A&... arguments)
    {
        by_value<void>("qnm_trans_qnm_" + letter<T>() + form, arguments...);
    }
    static char pick(const std::string& letters)
    {
        return letters[static_cast<std::size_t>(random_integer(0, static_cast<int>(letters.size()) - 1))];
    }
    static char in_any_case(char upper)
    {
        return static_cast<char>(upper + random_integer(0, 1) * ('a' - 'A'));
    }
    /// Sizes on both sides of what kernels and blocks take.
    static core_int any_size()
    {
        const int kind = random_integer(0, 3);
        return kind == 0 ? random_integer(60, 300) : random_integer(1, kind == 1 ? 3 : 40);
    }
    /// A place for op(X), X being m by n.
    static Matrix<T> place(char trans, core_int m, core_int n, core_int inc = 1)
    {
        return {turns(trans) ? n : m, turns(trans) ? m : n, random_integer(0, 9), inc};
    }
    /// By rows, what stands in memory is the transpose.
    static core_int rows_of(char ordering, const Matrix<T>& x)
    {
        return ordering == 'C' || ordering == 'c' ? x.rows : x.columns;
    }
    static core_int cols_of(char ordering, const Matrix<T>& x)
    {
        return x.rows + x.columns - rows_of(ordering, x);
    }
};
TYPED_TEST_SUITE(MatrixCopy, Types);

TYPED_TEST(MatrixCopy, OutOfPlaceIsTheModel)
{
    using T = TypeParam;
    for (int round = 0; round < 400; ++round) {
        const char ordering = this->pick("RC"), trans = this->pick("NRTC");
        const bool strided = round % 4 == 0;
        const T alpha = round % 2 == 0 ? T(1) : random_value<T>();
        const core_int m = this->any_size(), n = this->any_size();
        const auto a = this->place('N', m, n, strided ? random_integer(1, 3) : 1);
        auto b = this->place(trans, m, n, strided ? random_integer(1, 3) : 1), expected = b;
        expected.take(trans, a, alpha);
        const char o = this->in_any_case(ordering), t = this->in_any_case(trans);
        const core_int rows = this->rows_of(o, a), cols = this->cols_of(o, a);
        if (strided)
            this->call("omatcopy2", o, t, rows, cols, this->scalar(alpha), a, a.inc, b, b.inc);
        else
            this->call("omatcopy", o, t, rows, cols, this->scalar(alpha), a, b);
        ASSERT_TRUE(b.data == expected.data) << o << t << m << " by " << n << ", ld " << a.ld << ' ' << b.ld;
    }
}

TYPED_TEST(MatrixCopy, InPlaceIsTheModel)
{
    using T = TypeParam;
    const T any(55);
    for (int round = 0; round < 400; ++round) {
        const char ordering = this->pick("RC"), trans = this->pick("NRTC");
        const T alpha = round % 2 == 0 ? T(1) : random_value<T>();
        const core_int m = this->any_size(), n = round % 3 == 0 ? m : this->any_size();
        auto a = this->place('N', m, n), b = this->place(trans, m, n);
        if (round % 6 == 0)
            b.ld = a.ld;
        a.data = b.data = random_vector<T>(static_cast<core_int>(std::max(a.data.size(), b.data.size())) + 5);
        b.take(trans, a, alpha);
        // What the matrix was may stay or not where the result is not; what lies outside both may not change.
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < m; ++i) {
                const core_int at = i + j * a.ld;
                if (at % b.ld >= b.rows || at / b.ld >= b.columns)
                    b.data[a.at(i, j)] = any;
            }
        const char o = this->in_any_case(ordering), t = this->in_any_case(trans);
        this->call("imatcopy", o, t, this->rows_of(o, a), this->cols_of(o, a), this->scalar(alpha), a, b.ld);
        for (std::size_t k = 0; k < a.data.size(); ++k)
            ASSERT_TRUE(b.data[k] == any || a.data[k] == b.data[k])
                << o << t << m << " by " << n << ", ld " << a.ld << ' ' << b.ld << ", element " << k;
    }
}

TYPED_TEST(MatrixCopy, SumsAreTheModel)
{
    using T = TypeParam;
    for (int round = 0; round < 200; ++round) {
        const char ordering = this->pick("RC"), transa = this->pick("NRTC"), transb = this->pick("NRTC");
        const core_int m = random_integer(1, 50), n = random_integer(1, 50);
        const T alpha = random_value<T>(), beta = random_value<T>();
        const auto a = this->place(transa, m, n), b = this->place(transb, m, n);
        auto c = this->place('N', m, n), expected = c;
        expected.take(transa, a, alpha).take(transb, b, beta, T(1));
        this->call("omatadd", ordering, transa, transb, this->rows_of(ordering, c),
                   this->cols_of(ordering, c), this->scalar(alpha), a, this->scalar(beta), b, c);
        ASSERT_TRUE(c.data == expected.data) << ordering << transa << transb << ' ' << m << " by " << n;
    }
}

TYPED_TEST(MatrixCopy, BatchesAreTheSingleCalls)
{
    using T = TypeParam;
    const std::string trans = "NTC";
    const std::vector<core_int> rows{3, 4, 2}, cols{5, 4, 7}, lda{7, 6, 8}, ldb{5, 6, 9}, size{2, 0, 3};
    const std::vector<T> alpha{T(1), T(2), T(-3)};
    constexpr core_int distance = 80, near = 60, groups = 3, problems = 5;
    for (const char layout : {'R', 'C'}) {
        SCOPED_TRACE(layout);
        const std::vector<T> a = random_vector<T>(problems * distance),
                             b = random_vector<T>(problems * distance);
        std::vector<T> copies = b, in_place = a, expected = b, expected_in_place = a;
        std::vector<const T*> from;
        std::vector<T*> to, both;
        for (core_int p = 0; p < problems; ++p) {
            const std::size_t g = p < 2 ? 0 : 2;
            from.push_back(&a[p * distance]);
            to.push_back(&copies[p * distance]);
            both.push_back(&in_place[p * distance]);
            this->call("omatcopy", layout, trans[g], rows[g], cols[g], this->scalar(alpha[g]), from.back(),
                       lda[g], &expected[p * distance], ldb[g]);
            this->call("imatcopy", layout, trans[g], rows[g], cols[g], this->scalar(alpha[g]),
                       &expected_in_place[p * distance], lda[g], ldb[g]);
        }
        this->call("omatcopy_batch", layout, trans.data(), rows, cols, alpha, from, lda, to, ldb, groups,
                   size);
        this->call("imatcopy_batch", layout, trans.data(), rows, cols, alpha, both, lda, ldb, groups, size);
        EXPECT_TRUE(copies == expected);
        EXPECT_TRUE(in_place == expected_in_place);

        // Strided: problems of the first shape
        std::vector<T> sums = b, expected_sums = b;
        copies = expected = b;
        in_place = expected_in_place = a;
        const core_int m = rows[0], n = cols[0], ld = lda[0], to_ld = ldb[1], count = 4;
        const auto two = this->scalar(alpha[1]), three = this->scalar(alpha[2]);
        for (core_int p = 0; p < count; ++p) {
            this->call("omatcopy", layout, 'C', m, n, two, &a[near * p], ld, &expected[p * distance], to_ld);
            this->call("imatcopy", layout, 'C', m, n, two, &expected_in_place[p * distance], ld, to_ld);
            this->call("omatadd", layout, 'T', 'N', m, n, two, &a[near * p], ld, three, &b[50 * p], n,
                       &expected_sums[p * distance], to_ld);
        }
        this->call("omatcopy_batch_strided", layout, 'C', m, n, two, a, ld, near, copies, to_ld, distance,
                   count);
        this->call("imatcopy_batch_strided", layout, 'C', m, n, two, in_place, ld, to_ld, distance, count);
        this->call("omatadd_batch_strided", layout, 'T', 'N', m, n, two, a, ld, near, three, b, n,
                   core_int{50}, sums, to_ld, distance, count);
        EXPECT_TRUE(copies == expected);
        EXPECT_TRUE(in_place == expected_in_place);
        EXPECT_TRUE(sums == expected_sums);
    }
}

TYPED_TEST(MatrixCopy, NothingToDoTouchesNothing)
{
    const TypeParam one(1);
    TypeParam* const null = nullptr;
    const core_int none = 0, some = 3;
    for (const char trans : {'N', 'T'}) {
        this->call("omatcopy", 'C', trans, none, some, this->scalar(one), null, some, null, some);
        this->call("omatcopy", 'C', trans, some, none, this->scalar(one), null, some, null, some);
        this->call("imatcopy", 'R', trans, none, some, this->scalar(one), null, some, some);
        this->call("imatcopy", 'R', trans, some, none, this->scalar(one), null, some, some);
    }
}

using Sets = std::vector<const core::Transposes*>;

/// Every way of every instruction set that this processor has, on arrays that begin a line of cache and
/// others, with leading dimensions that are whole lines of it, share few sets of it (512), or neither.
template <class T>
void expect_transposed(const Sets& sets, core::Transposes::Ways core::Transposes::*of)
{
    for (const core_int m : {1, 7, 16, 31, 33, 100, 200})
        for (const core_int n : {1, 15, 16, 24, 65, 130})
            for (const core_int ld : {0, 5, 144, 512}) // none to spare, some
                for (const std::size_t skew : {0, 3}) {
                    const auto spare = [ld](core_int length) { return ld < length ? ld % 9 : ld - length; };
                    Matrix<T> a(m, n, spare(m)), b(n, m, spare(n)), expected = b;
                    expected.take('T', a);
                    const auto shifted = [skew](std::vector<T>& data) {
                        data.reserve(data.size() + 64 / sizeof(T) + skew);
                        const std::size_t past = reinterpret_cast<std::uintptr_t>(data.data()) % 64;
                        const std::size_t shift = (64 - past) % 64 / sizeof(T) + skew;
                        data.insert(data.begin(), shift, T(7));
                        return shift;
                    };
                    const T* const from = &a.data[shifted(a.data)];
                    const std::size_t shift = shifted(b.data);
                    expected.data.insert(expected.data.begin(), shift, T(7));
                    const std::vector<T> before = b.data;
                    for (const core::Transposes* set : sets)
                        for (core::Transpose* kernel : set->*of) {
                            std::copy(before.begin(), before.end(), b.data.begin());
                            kernel(m, n, from, a.ld, &b.data[shift], b.ld);
                            ASSERT_TRUE(b.data == expected.data)
                                << sizeof(T) << " bytes, " << m << " by " << n << ", ld " << a.ld << ", "
                                << b.ld << ", way "
                                << std::find(set->*of, std::end(set->*of), kernel) - set->*of;
                        }
                }
}

TEST(TransposeKernels, OfEveryInstructionSetMoveAll)
{
    Sets sets{&core::transposes_sse2};
    if (__builtin_cpu_supports("avx2") != 0)
        sets.push_back(&core::transposes_avx2);
    if (__builtin_cpu_supports("avx512f") != 0)
        sets.push_back(&core::transposes_avx512);
    expect_transposed<float>(sets, &core::Transposes::of4);
    expect_transposed<double>(sets, &core::Transposes::of8);
    expect_transposed<cdouble>(sets, &core::Transposes::of16);
    EXPECT_EQ(&core::transposes(), sets.back());
}

/// Two calls that differ and take turns must not make one way look quicker than another.
TEST(TransposeKernels, AllAreTriedAtEveryPlaceThenTheQuickestIsKept)
{
    using Trial = core::Trial<3>;
    Trial trial;
    std::set<std::pair<int, int>> tried;
    for (int turn = 0; turn < Trial::turns; ++turn)
        trial(1000, [&](int way) {
            for (const int period : {2, 3})
                tried.emplace(10 * period + turn % period, way);
            if (way != 1)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
    EXPECT_EQ(tried.size(), (2U + 3U) * 3U);
    for (int call = 0; call < 3; ++call)
        trial(1000, [](int way) { EXPECT_EQ(way, 1); });
}

} // namespace
} // namespace qnm::test
