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
    bool few = false; // as many as have kernels of their own
    char letter = pick("RC"), trans = core::upper_case(pick("NRTC"));
    core_int m = few ? random_integer(1, 9) : any_size(), n = few ? random_integer(1, 9) : any_size();
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

QNM_TYPED(MatrixCopy, OutOfPlaceIsTheModel)
{
    for (int round = 0; round < 600; ++round) {
        const Order o{round % 2 == 0};
        const T alpha = any_factor<T>();
        const int most_inc = round % 3 == 0 ? 3 : 1;
        const auto a = place<T>('N', o.m, o.n, most_inc);
        auto b = place<T>(o.trans, o.m, o.n, most_inc), expected = b;
        expected.take(o.trans, a, alpha);
        if (most_inc > 1)
            copy<T>("omatcopy2", o.letter, o.trans, o.rows, o.cols, scalar(alpha), a, a.inc, b, b.inc);
        else
            copy<T>("omatcopy", o.letter, pick({o.trans}), o.rows, o.cols, scalar(alpha), a, b);
        ASSERT_TRUE(b.data == expected.data) << o.told << ", ld " << a.ld << ' ' << b.ld;
    }
}

QNM_TYPED(MatrixCopy, InPlaceIsTheModel)
{
    for (int round = 0; round < 400; ++round) {
        Order o;
        if (round % 3 == 0)
            o.n = o.m = o.rows = o.cols;
        const T alpha = any_factor<T>(), any(55);
        auto a = place<T>('N', o.m, o.n), b = place<T>(o.trans, o.m, o.n);
        if (round % 6 == 0)
            b.ld = a.ld;
        b.data = a.data = random_vector<T>(static_cast<core_int>(std::max(a.data.size(), b.data.size())) + 5);
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
}

QNM_TYPED(MatrixCopy, SumsAreTheModel)
{
    for (int round = 0; round < 200; ++round) {
        const Order o;
        const char transb = core::upper_case(pick("NRTC"));
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        const auto a = place<T>(o.trans, o.m, o.n), b = place<T>(transb, o.m, o.n);
        auto c = place<T>('N', o.m, o.n), expected = c;
        expected.take(o.trans, a, alpha).take(transb, b, beta, T(1));
        copy<T>("omatadd", o.letter, o.trans, transb, o.rows, o.cols, scalar(alpha), a, scalar(beta), b, c);
        ASSERT_TRUE(c.data == expected.data) << o.told << ' ' << transb;
    }
}

QNM_TYPED(MatrixCopy, BatchesAreTheSingleCalls)
{
    const std::string trans = "NTC";
    const std::vector<core_int> rows{3, 4, 2}, cols{5, 4, 7}, lda{7, 6, 8}, ldb{5, 6, 9}, size{2, 0, 3};
    const std::vector<T> alpha{T(1), T(2), T(-3)};
    constexpr core_int distance = 80, near = 60, nearer = 50, groups = 3, problems = 5;
    const auto a = random_vector<T>(problems * distance), b = random_vector<T>(problems * distance);
    const auto two = scalar(alpha[1]), three = scalar(alpha[2]);
    for (const char layout : {'R', 'C'}) {
        // Out of place, in place and sums: in groups, and strided with problems of the first shape
        std::vector<std::vector<T>> found{b, a, b, a, b}, expected = found;
        std::vector<const T*> from;
        std::vector<T*> to, both;
        for (core_int p = 0; p < problems; ++p) {
            const std::size_t g = p < 2 ? 0 : 2;
            const core_int at = p * distance;
            from.push_back(&a[at]);
            to.push_back(&found[0][at]);
            both.push_back(&found[1][at]);
            copy<T>("omatcopy", layout, trans[g], rows[g], cols[g], scalar(alpha[g]), &a[at], lda[g],
                    &expected[0][at], ldb[g]);
            copy<T>("imatcopy", layout, trans[g], rows[g], cols[g], scalar(alpha[g]), &expected[1][at],
                    lda[g], ldb[g]);
            copy<T>("omatcopy", layout, 'C', rows[0], cols[0], two, &a[near * p], lda[0], &expected[2][at],
                    ldb[1]);
            copy<T>("imatcopy", layout, 'C', rows[0], cols[0], two, &expected[3][at], lda[0], ldb[1]);
            copy<T>("omatadd", layout, 'T', 'N', rows[0], cols[0], two, &a[near * p], lda[0], three,
                    &b[nearer * p], cols[0], &expected[4][at], ldb[1]);
        }
        copy<T>("omatcopy_batch", layout, &trans[0], rows, cols, alpha, from, lda, to, ldb, groups, size);
        copy<T>("imatcopy_batch", layout, &trans[0], rows, cols, alpha, both, lda, ldb, groups, size);
        copy<T>("omatcopy_batch_strided", layout, 'C', rows[0], cols[0], two, a, lda[0], near, found[2],
                ldb[1], distance, problems);
        copy<T>("imatcopy_batch_strided", layout, 'C', rows[0], cols[0], two, found[3], lda[0], ldb[1],
                distance, problems);
        copy<T>("omatadd_batch_strided", layout, 'T', 'N', rows[0], cols[0], two, a, lda[0], near, three, b,
                cols[0], nearer, found[4], ldb[1], distance, problems);
        for (std::size_t k = 0; k < found.size(); ++k)
            EXPECT_TRUE(found[k] == expected[k]) << layout << k;
    }
}

QNM_TYPED(MatrixCopy, NothingToDoTouchesNothing)
{
    const T one(1);
    for (const char trans : {'N', 'T'})
        for (const auto& [rows, cols] : {std::pair<core_int, core_int>{0, 3}, {3, 0}}) {
            copy<T>("omatcopy", 'C', trans, rows, cols, scalar(one), nullptr, rows, nullptr, cols);
            copy<T>("imatcopy", 'R', trans, rows, cols, scalar(one), nullptr, rows, cols);
        }
}

/// Every way of every instruction set that this processor has, on arrays that begin a line of cache and
/// others, with leading dimensions that are whole lines of it, share few sets of it (512), or neither.
QNM_TYPED_OF(TransposeKernels, OfEveryInstructionSetMoveAll, float, double, cdouble)
{
    std::vector<const core::Transposes*> sets{&core::transposes_sse2};
    if (__builtin_cpu_supports("avx2") != 0)
        sets.push_back(&core::transposes_avx2);
    if (__builtin_cpu_supports("avx512f") != 0)
        sets.push_back(&core::transposes_avx512);
    EXPECT_EQ(&core::transposes(), sets.back());
    const auto of = sizeof(T) == 4   ? &core::Transposes::of4
                    : sizeof(T) == 8 ? &core::Transposes::of8
                                     : &core::Transposes::of16;
    for (int round = 0; round < 400; ++round) {
        const core_int m = any_size(), n = any_size(), skew = random_integer(0, 1) * 3;
        const auto spare = [=](core_int length) {
            return round % 4 < 2 ? random_integer(0, 5) : -length & (round % 4 == 2 ? 15 : 511);
        };
        const Matrix<T> a(m, n, spare(m)), before(n, m, spare(n));
        const Matrix<T> expected = Matrix<T>(before).take('T', a);
        std::vector<T> rooms[2];
        const auto placed = [skew](std::vector<T>& room, const Matrix<T>& x) {
            room.resize(x.data.size() + 64 / sizeof(T) + 3);
            const auto past = reinterpret_cast<std::uintptr_t>(room.data()) % 64;
            return std::copy(x.data.begin(), x.data.end(), &room[(64 - past) % 64 / sizeof(T)] + skew) -
                   static_cast<std::ptrdiff_t>(x.data.size());
        };
        const T* const from = placed(rooms[0], a);
        for (const core::Transposes* set : sets)
            for (core::Transpose* kernel : set->*of) {
                T* const to = placed(rooms[1], before);
                kernel(m, n, from, a.ld, to, before.ld);
                ASSERT_TRUE(std::equal(expected.data.begin(), expected.data.end(), to))
                    << m << " by " << n << ", ld " << a.ld << ", " << before.ld;
            }
    }
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
