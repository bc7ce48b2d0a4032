// Matrix copies, transpositions and sums beside a plain model: whole arrays are compared, so that what lies
// between the lines has to stay as it was.
#include "core.hpp"

#include "open/transpose.hpp"

#include <cstring>

namespace qnm::test {
namespace {

/// Where elements of a matrix stand.
struct Layout {
    char ordering = 'C';
    core_int ld = 1, stride = 1;
    core_int at(core_int i, core_int j) const
    {
        return ordering == 'R' ? i * ld + j * stride : i * stride + j * ld;
    }
};

bool turns(char trans)
{
    return trans == 'T' || trans == 'C';
}

template <class T>
class MatrixCopy : public testing::Test {
protected:
    const std::string l = letter<T>();

    static T changed(char trans, T alpha, T x)
    {
        return alpha * (trans == 'R' || trans == 'C' ? conjugate(x) : x);
    }
    static auto scalar(const T& x)
    {
        if constexpr (is_complex<T>)
            return &x;
        else
            return x;
    }
    static char pick(const std::string& letters)
    {
        return letters[static_cast<std::size_t>(random_integer(0, static_cast<int>(letters.size()) - 1))];
    }
    static char in_any_case(char upper)
    {
        return static_cast<char>(pick("ul") == 'u' ? upper : upper + ('a' - 'A'));
    }
    /// A matrix of rows by cols with room to spare.
    static Layout layout(char ordering, core_int rows, core_int cols, core_int stride = 1)
    {
        return {ordering, ((ordering == 'R' ? cols : rows) - 1) * stride + 1 + random_integer(0, 9), stride};
    }
    static std::vector<T> room(const Layout& x, core_int rows, core_int cols)
    {
        return random_vector<T>(x.at(rows - 1, cols - 1) + 10);
    }
    static void expect_copy(std::vector<T>& b, const Layout& to, const std::vector<T>& a, const Layout& from,
                            char trans, core_int rows, core_int cols, T alpha)
    {
        for (core_int i = 0; i < rows; ++i)
            for (core_int j = 0; j < cols; ++j)
                b[static_cast<std::size_t>(turns(trans) ? to.at(j, i) : to.at(i, j))] =
                    changed(trans, alpha, a[static_cast<std::size_t>(from.at(i, j))]);
    }
    /// Sizes on both sides of what kernels and blocks take.
    static core_int any_size()
    {
        return random_integer(0, 3) == 0 ? random_integer(60, 300) : random_integer(1, 40);
    }
};
TYPED_TEST_SUITE(MatrixCopy, Types);

TYPED_TEST(MatrixCopy, OutOfPlaceIsTheModel)
{
    using T = TypeParam;
    for (int round = 0; round < 400; ++round) {
        const char ordering = this->pick("RC"), trans = this->pick("NRTC");
        const core_int rows = this->any_size(), cols = this->any_size();
        const bool strided = round % 4 == 0;
        const T alpha = round % 2 == 0 ? T(1) : random_value<T>();
        const core_int m = turns(trans) ? cols : rows, n = turns(trans) ? rows : cols;
        const Layout from = this->layout(ordering, rows, cols, strided ? random_integer(1, 3) : 1);
        const Layout to = this->layout(ordering, m, n, strided ? random_integer(1, 3) : 1);
        const std::vector<T> a = this->room(from, rows, cols);
        std::vector<T> b = this->room(to, m, n), expected = b;
        this->expect_copy(expected, to, a, from, trans, rows, cols, alpha);
        const char o = this->in_any_case(ordering), t = this->in_any_case(trans);
        if (strided)
            by_value<void>("qnm_trans_qnm_" + this->l + "omatcopy2", o, t, rows, cols, this->scalar(alpha),
                           a.data(), from.ld, from.stride, b.data(), to.ld, to.stride);
        else
            by_value<void>("qnm_trans_qnm_" + this->l + "omatcopy", o, t, rows, cols, this->scalar(alpha),
                           a.data(), from.ld, b.data(), to.ld);
        ASSERT_TRUE(b == expected) << o << t << ' ' << rows << " by " << cols << ", ld " << from.ld << ' '
                                   << to.ld;
    }
}

TYPED_TEST(MatrixCopy, InPlaceIsTheModel)
{
    using T = TypeParam;
    for (int round = 0; round < 400; ++round) {
        const char ordering = this->pick("RC"), trans = this->pick("NRTC");
        const core_int rows = this->any_size(), cols = round % 3 == 0 ? rows : this->any_size();
        const T alpha = round % 2 == 0 ? T(1) : random_value<T>();
        const core_int m = turns(trans) ? cols : rows, n = turns(trans) ? rows : cols;
        const Layout from = this->layout(ordering, rows, cols);
        Layout to = this->layout(ordering, m, n);
        if (round % 3 == 0 && round % 2 == 0)
            to = from;
        const core_int length = std::max(from.at(rows - 1, cols - 1), to.at(m - 1, n - 1)) + 5;
        std::vector<T> ab = random_vector<T>(length), expected = ab;
        // What lies between the lines of the matrix as it was may stay or not; what lies outside both may
        // not.
        this->expect_copy(expected, to, ab, from, trans, rows, cols, alpha);
        const char o = this->in_any_case(ordering), t = this->in_any_case(trans);
        by_value<void>("qnm_trans_qnm_" + this->l + "imatcopy", o, t, rows, cols, this->scalar(alpha),
                       ab.data(), from.ld, to.ld);
        std::vector<bool> was(ab.size());
        for (core_int i = 0; i < rows; ++i)
            for (core_int j = 0; j < cols; ++j)
                was[static_cast<std::size_t>(from.at(i, j))] = true;
        for (core_int i = 0; i < m; ++i)
            for (core_int j = 0; j < n; ++j)
                was[static_cast<std::size_t>(to.at(i, j))] = false;
        for (std::size_t k = 0; k < ab.size(); ++k)
            ASSERT_TRUE(was[k] || ab[k] == expected[k]) << o << t << ' ' << rows << " by " << cols << ", ld "
                                                        << from.ld << ' ' << to.ld << ", element " << k;
    }
}

TYPED_TEST(MatrixCopy, SumsAreTheModel)
{
    using T = TypeParam;
    for (int round = 0; round < 200; ++round) {
        const char ordering = this->pick("RC"), transa = this->pick("NRTC"), transb = this->pick("NRTC");
        const core_int rows = random_integer(1, 50), cols = random_integer(1, 50);
        const T alpha = random_value<T>(), beta = random_value<T>();
        const Layout la =
            turns(transa) ? this->layout(ordering, cols, rows) : this->layout(ordering, rows, cols);
        const Layout lb =
            turns(transb) ? this->layout(ordering, cols, rows) : this->layout(ordering, rows, cols);
        const Layout lc = this->layout(ordering, rows, cols);
        const std::vector<T> a = random_vector<T>(la.ld * 51 + 5), b = random_vector<T>(lb.ld * 51 + 5);
        std::vector<T> c = this->room(lc, rows, cols), expected = c;
        for (core_int i = 0; i < rows; ++i)
            for (core_int j = 0; j < cols; ++j)
                expected[static_cast<std::size_t>(lc.at(i, j))] =
                    this->changed(transa, alpha,
                                  a[static_cast<std::size_t>(turns(transa) ? la.at(j, i) : la.at(i, j))]) +
                    this->changed(transb, beta,
                                  b[static_cast<std::size_t>(turns(transb) ? lb.at(j, i) : lb.at(i, j))]);
        by_value<void>("qnm_trans_qnm_" + this->l + "omatadd", ordering, transa, transb, rows, cols,
                       this->scalar(alpha), a.data(), la.ld, this->scalar(beta), b.data(), lb.ld, c.data(),
                       lc.ld);
        ASSERT_TRUE(c == expected) << ordering << transa << transb << ' ' << rows << " by " << cols;
    }
}

TYPED_TEST(MatrixCopy, BatchesAreTheSingleCalls)
{
    using T = TypeParam;
    const std::string stem = "qnm_trans_qnm_" + this->l;
    const std::string trans = "NTC";
    const std::vector<core_int> rows{3, 4, 2}, cols{5, 4, 7}, lda{6, 5, 8}, ldb{5, 6, 9}, size{2, 0, 3};
    const std::vector<T> alpha{T(1), T(2), T(-3)};
    constexpr core_int distance = 80;
    for (const char layout : {'R', 'C'}) {
        std::vector<core_int> ld = lda;
        if (layout == 'R')
            ld = {7, 7, 8};
        const std::vector<T> a = random_vector<T>(5 * distance);
        std::vector<T> b = random_vector<T>(5 * distance), in_place = a, expected = b, expected_in_place = a;
        std::vector<const T*> from;
        std::vector<T*> to, both;
        for (core_int p = 0, g = 0; p < 5; ++p) {
            g = p < 2 ? 0 : 2;
            const auto k = static_cast<std::size_t>(g);
            from.push_back(a.data() + p * distance);
            to.push_back(b.data() + p * distance);
            both.push_back(in_place.data() + p * distance);
            by_value<void>(stem + "omatcopy", layout, trans[k], rows[k], cols[k], this->scalar(alpha[k]),
                           from.back(), ld[k], expected.data() + p * distance, ldb[k]);
            by_value<void>(stem + "imatcopy", layout, trans[k], rows[k], cols[k], this->scalar(alpha[k]),
                           expected_in_place.data() + p * distance, ld[k], ldb[k]);
        }
        by_value<void>(stem + "omatcopy_batch", layout, trans.data(), rows.data(), cols.data(), alpha.data(),
                       from.data(), ld.data(), to.data(), ldb.data(), core_int{3}, size.data());
        by_value<void>(stem + "imatcopy_batch", layout, trans.data(), rows.data(), cols.data(), alpha.data(),
                       both.data(), ld.data(), ldb.data(), core_int{3}, size.data());
        EXPECT_TRUE(b == expected) << layout;
        EXPECT_TRUE(in_place == expected_in_place) << layout;

        // Strided: four problems of the first shape, read 60 apart.
        std::vector<T> c = b, sum = b;
        expected = c;
        in_place = expected_in_place = a;
        std::vector<T> expected_sum = sum;
        const T two = T(2), three = T(3);
        for (core_int p = 0; p < 4; ++p) {
            by_value<void>(stem + "omatcopy", layout, 'C', core_int{3}, core_int{5}, this->scalar(two),
                           a.data() + 60 * p, core_int{7}, expected.data() + p * distance, core_int{6});
            by_value<void>(stem + "imatcopy", layout, 'C', core_int{3}, core_int{5}, this->scalar(two),
                           expected_in_place.data() + p * distance, core_int{7}, core_int{6});
            by_value<void>(stem + "omatadd", layout, 'T', 'N', core_int{3}, core_int{5}, this->scalar(two),
                           a.data() + 60 * p, core_int{7}, this->scalar(three), a.data() + 50 * p,
                           core_int{5}, expected_sum.data() + p * distance, core_int{6});
        }
        by_value<void>(stem + "omatcopy_batch_strided", layout, 'C', core_int{3}, core_int{5},
                       this->scalar(two), a.data(), core_int{7}, core_int{60}, c.data(), core_int{6},
                       distance, core_int{4});
        by_value<void>(stem + "imatcopy_batch_strided", layout, 'C', core_int{3}, core_int{5},
                       this->scalar(two), in_place.data(), core_int{7}, core_int{6}, distance, core_int{4});
        by_value<void>(stem + "omatadd_batch_strided", layout, 'T', 'N', core_int{3}, core_int{5},
                       this->scalar(two), a.data(), core_int{7}, core_int{60}, this->scalar(three), a.data(),
                       core_int{5}, core_int{50}, sum.data(), core_int{6}, distance, core_int{4});
        EXPECT_TRUE(c == expected) << layout;
        EXPECT_TRUE(in_place == expected_in_place) << layout;
        EXPECT_TRUE(sum == expected_sum) << layout;
    }
}

TYPED_TEST(MatrixCopy, NothingToDoTouchesNothing)
{
    const TypeParam one(1);
    for (const char trans : {'N', 'T'})
        for (const auto& [rows, cols] : {std::pair<core_int, core_int>{0, 3}, {3, 0}}) {
            by_value<void>("qnm_trans_qnm_" + this->l + "omatcopy", 'C', trans, rows, cols, this->scalar(one),
                           static_cast<TypeParam*>(nullptr), core_int{3}, static_cast<TypeParam*>(nullptr),
                           core_int{3});
            by_value<void>("qnm_trans_qnm_" + this->l + "imatcopy", 'R', trans, rows, cols, this->scalar(one),
                           static_cast<TypeParam*>(nullptr), core_int{3}, core_int{3});
        }
}

/// The kernels of every instruction set that this processor has, on arrays that begin anywhere in a line of
/// cache.
template <class Element>
void expect_transposed(core::Transpose* kernel)
{
    for (const core_int m : {1, 7, 16, 31, 33, 100, 128})
        for (const core_int n : {1, 15, 16, 24, 65, 130})
            for (const core_int spare : {0, 5, 128})
                for (const core_int skew : {0, 3}) {
                    const core_int lda = (spare == 128 ? 0 : m) + spare, ldb = (spare == 128 ? 0 : n) + spare;
                    if (lda < m || ldb < n)
                        continue;
                    std::vector<Element> a(static_cast<std::size_t>(skew + lda * n)),
                        b(static_cast<std::size_t>(skew + ldb * m)), expected;
                    for (std::size_t i = 0; i < a.size(); ++i)
                        std::memset(static_cast<void*>(&a[i]), static_cast<int>(i * 7 % 251 + 1),
                                    sizeof(Element));
                    expected = b;
                    for (core_int i = 0; i < m; ++i)
                        for (core_int j = 0; j < n; ++j)
                            expected[static_cast<std::size_t>(skew + j + i * ldb)] =
                                a[static_cast<std::size_t>(skew + i + j * lda)];
                    kernel(m, n, a.data() + skew, lda, b.data() + skew, ldb);
                    ASSERT_TRUE(b == expected)
                        << sizeof(Element) << " bytes, " << m << " by " << n << ", ld " << lda;
                }
}

TEST(TransposeKernels, OfEveryInstructionSetMoveAll)
{
    std::vector<const core::Transposes*> sets{&core::transposes_sse2};
    if (__builtin_cpu_supports("avx2") != 0)
        sets.push_back(&core::transposes_avx2);
    if (__builtin_cpu_supports("avx512f") != 0)
        sets.push_back(&core::transposes_avx512);
    for (const core::Transposes* set : sets) {
        expect_transposed<float>(set->of4);
        expect_transposed<double>(set->of8);
        expect_transposed<cdouble>(set->of16);
    }
    EXPECT_EQ(&core::transposes(), sets.back());
}

} // namespace
} // namespace qnm::test
