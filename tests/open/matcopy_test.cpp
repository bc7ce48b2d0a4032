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
void copy(const std::string& form, const auto&... arguments)
{
    by_value(named<T>("trans", "qnm_?" + form), arguments...);
}
template <class T>
auto scalar(const T& x)
{
    if constexpr (is_complex<T>)
        return &x;
    else
        return x;
}
/// In either case.
char pick(const std::string& letters)
{
    const auto at = static_cast<std::size_t>(random_integer(0, static_cast<int>(letters.size()) - 1));
    return static_cast<char>(letters[at] + random_integer(0, 1) * ('a' - 'A'));
}
/// Sizes on both sides of what kernels and blocks take.
core_int any_size()
{
    const int kind = random_integer(0, 3);
    return kind == 0 ? random_integer(60, 300) : random_integer(1, kind == 1 ? 3 : 40);
}
/// By rows, what stands in memory is the transpose.
struct Order {
    char letter = pick("RC"), trans = core::upper_case(pick("NRTC"));
    core_int m = any_size(), n = any_size();
    bool by_rows = core::same_letter(letter, 'R');
    core_int rows = by_rows ? n : m, cols = by_rows ? m : n;
    std::string told = std::string{letter, trans, ' '} + std::to_string(m) + " by " + std::to_string(n);
};
template <class T>
T any_factor()
{
    return random_integer(0, 1) == 0 ? T(1) : random_vector<T>(1)[0];
}
template <class T>
Matrix<T> place(char trans, core_int m, core_int n, int most_inc = 1)
{
    return stored<T>(trans, m, n, random_integer(0, 9), random_integer(1, most_inc));
}

TEST(MatrixCopy, OutOfPlaceIsTheModel)
{
    each_type([]<class T>(T) {
        for (int round = 0; round < 400; ++round) {
            const Order o;
            const T alpha = any_factor<T>();
            const int most_inc = round % 4 == 0 ? 3 : 1;
            const auto a = place<T>('N', o.m, o.n, most_inc);
            auto b = place<T>(o.trans, o.m, o.n, most_inc), expected = b;
            expected.take(o.trans, a, alpha);
            if (most_inc > 1)
                copy<T>("omatcopy2", o.letter, o.trans, o.rows, o.cols, scalar(alpha), a, a.inc, b, b.inc);
            else
                copy<T>("omatcopy", o.letter, pick({o.trans}), o.rows, o.cols, scalar(alpha), a, b);
            ASSERT_TRUE(b.data == expected.data) << o.told << ", ld " << a.ld << ' ' << b.ld;
        }
    });
}

TEST(MatrixCopy, InPlaceIsTheModel)
{
    each_type([]<class T>(T) {
        for (int round = 0; round < 400; ++round) {
            Order o;
            if (round % 3 == 0)
                o.n = o.m = o.rows = o.cols;
            const T alpha = any_factor<T>(), any(55);
            auto a = place<T>('N', o.m, o.n), b = place<T>(o.trans, o.m, o.n);
            if (round % 6 == 0)
                b.ld = a.ld;
            b.data = a.data =
                random_vector<T>(static_cast<core_int>(std::max(a.data.size(), b.data.size())) + 5);
            b.take(o.trans, a, alpha);
            // What the matrix was may stay or not where the result is not; what lies outside both may not
            // change.
            for (core_int j = 0; j < o.n; ++j)
                for (core_int i = 0; i < o.m; ++i) {
                    const core_int at = i + j * a.ld;
                    if (at % b.ld >= b.rows || at / b.ld >= b.columns)
                        b.data[a.at(i, j)] = any;
                }
            copy<T>("imatcopy", o.letter, o.trans, o.rows, o.cols, scalar(alpha), a, b.ld);
            for (std::size_t k = 0; k < a.data.size(); ++k)
                ASSERT_TRUE(b.data[k] == any || a.data[k] == b.data[k])
                    << o.told << ", ld " << a.ld << ' ' << b.ld << ", element " << k;
        }
    });
}

TEST(MatrixCopy, SumsAreTheModel)
{
    each_type([]<class T>(T) {
        for (int round = 0; round < 200; ++round) {
            const Order o;
            const char transb = core::upper_case(pick("NRTC"));
            const T alpha = any_factor<T>(), beta = any_factor<T>();
            const auto a = place<T>(o.trans, o.m, o.n), b = place<T>(transb, o.m, o.n);
            auto c = place<T>('N', o.m, o.n), expected = c;
            expected.take(o.trans, a, alpha).take(transb, b, beta, T(1));
            copy<T>("omatadd", o.letter, o.trans, transb, o.rows, o.cols, scalar(alpha), a, scalar(beta), b,
                    c);
            ASSERT_TRUE(c.data == expected.data) << o.told << ' ' << transb;
        }
    });
}

TEST(MatrixCopy, BatchesAreTheSingleCalls)
{
    each_type([]<class T>(T) {
        const std::string trans = "NTC";
        const std::vector<core_int> rows{3, 4, 2}, cols{5, 4, 7}, lda{7, 6, 8}, ldb{5, 6, 9}, size{2, 0, 3};
        const std::vector<T> alpha{T(1), T(2), T(-3)};
        constexpr core_int distance = 80, near = 60, groups = 3, problems = 5;
        const auto a = random_vector<T>(problems * distance), b = random_vector<T>(problems * distance);
        for (const char layout : {'R', 'C'}) {
            auto out = b, in = a, sum = b, out_of_group = b, in_group = a;
            auto expected_out = b, expected_in = a, expected_sum = b, expected_of_group = b,
                 expected_in_group = a;
            std::vector<const T*> from;
            std::vector<T*> to, both;
            for (core_int p = 0; p < problems; ++p) {
                const std::size_t g = p < 2 ? 0 : 2;
                const core_int at = p * distance;
                from.push_back(&a[at]);
                to.push_back(&out_of_group[at]);
                both.push_back(&in_group[at]);
                copy<T>("omatcopy", layout, trans[g], rows[g], cols[g], scalar(alpha[g]), &a[at], lda[g],
                        &expected_of_group[at], ldb[g]);
                copy<T>("imatcopy", layout, trans[g], rows[g], cols[g], scalar(alpha[g]),
                        &expected_in_group[at], lda[g], ldb[g]);
                // Strided: problems of the first shape
                copy<T>("omatcopy", layout, 'C', rows[0], cols[0], scalar(alpha[1]), &a[near * p], lda[0],
                        &expected_out[at], ldb[1]);
                copy<T>("imatcopy", layout, 'C', rows[0], cols[0], scalar(alpha[1]), &expected_in[at], lda[0],
                        ldb[1]);
                copy<T>("omatadd", layout, 'T', 'N', rows[0], cols[0], scalar(alpha[1]), &a[near * p], lda[0],
                        scalar(alpha[2]), &b[50 * p], cols[0], &expected_sum[at], ldb[1]);
            }
            copy<T>("omatcopy_batch", layout, &trans[0], rows, cols, alpha, from, lda, to, ldb, groups, size);
            copy<T>("imatcopy_batch", layout, &trans[0], rows, cols, alpha, both, lda, ldb, groups, size);
            copy<T>("omatcopy_batch_strided", layout, 'C', rows[0], cols[0], scalar(alpha[1]), a, lda[0],
                    near, out, ldb[1], distance, problems);
            copy<T>("imatcopy_batch_strided", layout, 'C', rows[0], cols[0], scalar(alpha[1]), in, lda[0],
                    ldb[1], distance, problems);
            copy<T>("omatadd_batch_strided", layout, 'T', 'N', rows[0], cols[0], scalar(alpha[1]), a, lda[0],
                    near, scalar(alpha[2]), b, cols[0], core_int{50}, sum, ldb[1], distance, problems);
            EXPECT_TRUE(out_of_group == expected_of_group && in_group == expected_in_group) << layout;
            EXPECT_TRUE(out == expected_out && in == expected_in && sum == expected_sum) << layout;
        }
    });
}

TEST(MatrixCopy, NothingToDoTouchesNothing)
{
    each_type([]<class T>(T) {
        const T one(1);
        for (const char trans : {'N', 'T'})
            for (const auto& [rows, cols] : {std::pair<core_int, core_int>{0, 3}, {3, 0}}) {
                copy<T>("omatcopy", 'C', trans, rows, cols, scalar(one), nullptr, rows, nullptr, cols);
                copy<T>("imatcopy", 'R', trans, rows, cols, scalar(one), nullptr, rows, cols);
            }
    });
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
                    Matrix<T> a(m, n, spare(m)), expected(n, m, spare(n)), before = expected;
                    expected.take('T', a);
                    // `skew` elements behind the beginning of a line
                    const auto placed = [skew](std::vector<T>& room, const Matrix<T>& x) {
                        room.resize(x.data.size() + 64 / sizeof(T) + skew);
                        const auto past = reinterpret_cast<std::uintptr_t>(room.data()) % 64;
                        return std::copy(x.data.begin(), x.data.end(),
                                         room.begin() + static_cast<std::ptrdiff_t>(
                                                            (64 - past) % 64 / sizeof(T) + skew)) -
                               static_cast<std::ptrdiff_t>(x.data.size());
                    };
                    std::vector<T> room_a, room_b;
                    const auto from = placed(room_a, a);
                    for (const core::Transposes* set : sets)
                        for (core::Transpose* kernel : set->*of) {
                            const auto to = placed(room_b, before);
                            kernel(m, n, &*from, a.ld, &*to, before.ld);
                            ASSERT_TRUE(std::equal(expected.data.begin(), expected.data.end(), to))
                                << sizeof(T) << " bytes, " << m << " by " << n << ", ld " << a.ld << ", "
                                << before.ld;
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
