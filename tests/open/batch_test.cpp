// Batches of LAPACK, and of products with a diagonal matrix, beside a loop over their problems. The others of
// BLAS are compared with single calls through its C interface.
#include "core.hpp"

#include <cstring>

namespace qnm::test {
namespace {

constexpr core_int room = 80, problems = 5, groups = 3; // a group has less than no problem
enum Place : core_int { factors, plain, inverse, product, right, other, tall, least, places };

// All matrices, whose sizes are those of their groups, or of the first one; pivots and INFO in any width.
template <class T, class I = core_int>
struct Problems {
    std::vector<I> n{3, 7, 4}, ld{8, 7, 9}, ld_other{6, 7, 8}, inc{2, 1, -3}, sizes{2, -1, 3};
    const char* side = "LLR";
    std::vector<T> numbers;
    std::vector<I> pivots = std::vector<I>(problems * room), infos = pivots;

    T* at(Place place, core_int p = 0)
    {
        return &numbers[static_cast<std::size_t>(place * problems + p) * room];
    }
    I* pivots_of(core_int p) { return &pivots[static_cast<std::size_t>(p * room)]; }
    I* infos_of(core_int routine) { return &infos[static_cast<std::size_t>(routine * problems)]; }
    std::vector<const void*> all(Place place)
    {
        std::vector<const void*> addresses;
        for (core_int p = 0; p < problems; ++p)
            addresses.push_back(place == places ? static_cast<const void*>(pivots_of(p)) : at(place, p));
        return addresses;
    }
};

template <class T>
void one_by_one(Problems<T>& x, bool strided)
{
    const std::vector<core_int> none{1, 2, 3, 4};
    std::vector<T> work(room);
    for (core_int p = 0; p < problems; ++p) {
        const std::size_t g = strided || p < 2 ? 0 : 2;
        const core_int n = x.n[g], ld = x.ld[g], ld_other = x.ld_other[g], inc = x.inc[g], nrhs = 2;
        x.infos_of(0)[p] = lapack<T>("?getrf", n, n, x.at(factors, p), ld, x.pivots_of(p));
        x.infos_of(1)[p] = lapack<T>("qnm_?getrfnp", n, n, x.at(plain, p), ld);
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < n; ++i) {
                const core_int at = x.side[g] == 'L' ? i : j;
                x.at(inverse, p)[i + j * ld_other] = x.at(factors, p)[i + j * ld];
                x.at(product, p)[i + j * ld_other] =
                    x.at(right, p)[inc > 0 ? at * inc : (at - n + 1) * inc] * x.at(tall, p)[i + j * ld];
            }
        x.infos_of(2)[p] = lapack<T>("?getri", n, x.at(inverse, p), ld_other, x.pivots_of(p), work, room);
        if (!strided)
            continue;
        x.infos_of(3)[p] =
            lapack<T>("?getrs", 'T', n, nrhs, x.at(factors, p), ld, x.pivots_of(p), x.at(right, p), ld_other);
        x.infos_of(4)[p] =
            lapack<T>("?getrs", 'T', n, nrhs, x.at(plain, p), ld, none, x.at(other, p), ld_other);
        x.infos_of(5)[p] =
            lapack<T>("?gels", 'N', n + 1, n, nrhs, x.at(tall, p), ld, x.at(least, p), ld_other, work, room);
    }
}

template <class T, class I>
void in_groups(Problems<T, I>& x)
{
    const I count = groups;
    const auto call = [&](const std::string& name, std::vector<const void*> arguments, I* infos) {
        arguments.insert(arguments.end(), {&count, x.sizes.data()});
        if (infos != nullptr)
            arguments.push_back(infos);
        arguments.push_back(reinterpret_cast<const void*>(sizeof(I) == 4)); // by value
        by_pointers(named<T>(infos != nullptr ? "lapack" : "blas", name + "_batch"), arguments);
    };
    const I *const n = x.n.data(), *const ld = x.ld.data(), *const ld_other = x.ld_other.data();
    const auto lu = x.all(factors), np = x.all(plain), inverses = x.all(inverse), pivots = x.all(places),
               a = x.all(tall), d = x.all(right), c = x.all(product);
    call("?getrf", {n, n, lu.data(), ld, pivots.data()}, x.infos_of(0));
    call("?getrfnp", {n, n, np.data(), ld}, x.infos_of(1));
    call("?getri_oop", {n, lu.data(), ld, pivots.data(), inverses.data(), ld_other}, x.infos_of(2));
    call("?dgmm", {x.side, n, n, a.data(), ld, d.data(), x.inc.data(), c.data(), ld_other}, nullptr);
}

template <class T>
void strided(Problems<T>& x)
{
    const auto call = [&](const std::string& name, const auto&... arguments) {
        by_reference(named<T>(name == "?dgmm" ? "blas" : "lapack", name + "_batch_strided"), arguments...);
    };
    const core_int n = x.n[0], ld = x.ld[0], ld_other = x.ld_other[0], nrhs = 2, query = -1;
    core_int* const pivots = x.pivots.data();
    std::vector<T> work(room);
    call("?getrf", n, n, x.at(factors), ld, room, pivots, room, problems, x.infos_of(0));
    call("?getrfnp", n, n, x.at(plain), ld, room, problems, x.infos_of(1));
    call("?getri_oop", n, x.at(factors), ld, room, pivots, room, x.at(inverse), ld_other, room, problems,
         x.infos_of(2));
    call("?dgmm", 'L', n, n, x.at(tall), ld, room, x.at(right), x.inc[0], room, x.at(product), ld_other, room,
         problems);
    call("?getrs", 'T', n, nrhs, x.at(factors), ld, room, pivots, room, x.at(right), ld_other, room, problems,
         x.infos_of(3));
    call("?getrsnp", 'T', n, nrhs, x.at(plain), ld, room, x.at(other), ld_other, room, problems,
         x.infos_of(4));
    for (const core_int lwork : {query, room})
        call("?gels", 'N', n + 1, n, nrhs, x.at(tall), ld, room, x.at(least), ld_other, room, problems, work,
             lwork, x.infos_of(5));
}

QNM_TYPED(Batches, EqualALoopOverTheirProblems)
{
    const auto before = random_vector<T>(places * problems * room);
    const auto compare = [&](auto batch, bool is_strided, auto call) {
        Problems<T> expected;
        batch.numbers = expected.numbers = before;
        one_by_one(expected, is_strided);
        call(batch);
        EXPECT_EQ(std::memcmp(batch.numbers.data(), expected.numbers.data(), before.size() * sizeof(T)), 0);
        EXPECT_TRUE(std::ranges::equal(batch.pivots, expected.pivots));
        EXPECT_TRUE(std::ranges::equal(batch.infos, expected.infos));
    };
    compare(Problems<T, std::int32_t>(), false, in_groups<T, std::int32_t>);
    compare(Problems<T>(), false, in_groups<T, core_int>);
    compare(Problems<T>(), true, strided<T>);
}

TEST(Batches, NoGroupReadsNoArray)
{
    const std::int32_t none = 0;
    const void* null = nullptr;
    by_value("qnm_blas_dcopy_batch", null, null, null, null, null, &none, null, 1);
}

} // namespace
} // namespace qnm::test
