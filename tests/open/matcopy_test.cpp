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
/// By rows, what stands in memory is the transpose.
struct Order {
    bool few = false; // as many as have kernels of their own
    char letter = pick("RC"), trans = pick("NRTC");
    core_int m = few ? random_integer(0, 9) : any_size(), n = few ? random_integer(0, 9) : any_size();
    bool by_rows = core::same_letter(letter, 'R');
    core_int rows = by_rows ? n : m, cols = by_rows ? m : n;
};
template <class T>
Matrix<T> place(char trans, core_int m, core_int n, int most_inc = 1)
{
    return stored<T>(trans, m, n, random_integer(m * n == 0 ? 9 : 0, 9), random_integer(1, most_inc));
}

QNM_TYPED(MatrixCopy, OutOfPlaceAndSumsAreTheModel)
{
    for (int round = 0; round < 600; ++round) {
        const Order o{round % 2 == 0};
        const char transb = pick("NRTC");
        SCOPED_TRACE(testing::Message() << o.letter << o.trans << transb << ' ' << o.m << " by " << o.n);
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        const int most_inc = round % 3 == 0 ? 3 : 1;
        const auto a = place<T>('N', o.m, o.n, most_inc), first = place<T>(o.trans, o.m, o.n),
                   second = place<T>(transb, o.m, o.n);
        auto b = place<T>(o.trans, o.m, o.n, most_inc), c = place<T>('N', o.m, o.n), copied = b, sum = c;
        copied.take(o.trans, a, alpha);
        sum.take(o.trans, first, alpha).take(transb, second, beta, T(1));
        if (most_inc > 1)
            copy<T>("omatcopy2", o.letter, o.trans, o.rows, o.cols, scalar(alpha), a, a.inc, b, b.inc);
        else
            copy<T>("omatcopy", o.letter, o.trans, o.rows, o.cols, scalar(alpha), a, b);
        copy<T>("omatadd", o.letter, o.trans, transb, o.rows, o.cols, scalar(alpha), first, scalar(beta),
                second, c);
        ASSERT_TRUE(b.data == copied.data && c.data == sum.data) << "ld " << a.ld << ' ' << b.ld;
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
                << o.letter << o.trans << ' ' << o.m << " by " << o.n << ", ld " << a.ld << ' ' << b.ld;
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
        const core_int m = any_size() + 1, n = any_size() + 1, skew = random_integer(0, 1) * 3;
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
