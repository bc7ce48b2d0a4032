// Changes of layout beside a copy of the same bytes, NaN checks beside a plain read of them, a row-major
// solver beside the column-major one: each pair is measured in turns, so that a neighbour's load meets both.
#include "open/transpose.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

extern "C" {
void LAPACKE_dge_trans(int layout, int m, int n, const double* in, int ldin, double* out, int ldout);
int LAPACKE_dge_nancheck(int layout, int m, int n, const double* a, int lda);
int LAPACKE_dgesv(int layout, int n, int nrhs, double* a, int lda, int* ipiv, double* b, int ldb);
void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb,
            int* info);
}

namespace {

constexpr int row_major = 101, column_major = 102;

/// Something that the compiler cannot look into.
template <class T>
void used(T value)
{
    asm volatile("" : : "r"(value) : "memory");
}

/// Reads all elements, as plainly as vectors do it.
void read(const double* a, std::size_t count)
{
    using Vector [[gnu::vector_size(16), gnu::aligned(8), gnu::may_alias]] = long long;
    Vector all[8] = {};
    for (std::size_t i = 0; i + 16 <= count; i += 16)
#pragma GCC unroll 8 // so that they stay in registers
        for (std::size_t k = 0; k < 8; ++k)
            all[k] |= *reinterpret_cast<const Vector*>(a + i + 2 * k);
#pragma GCC unroll 8
    for (std::size_t k = 1; k < 8; ++k)
        all[0] |= all[k];
    used(all[0][0] | all[0][1]);
}

template <class Work>
double microseconds(int calls, Work& work)
{
    using clock = std::chrono::steady_clock;
    const auto start = clock::now();
    for (int call = 0; call < calls; ++call)
        work();
    return std::chrono::duration<double, std::micro>(clock::now() - start).count() / calls;
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

/// Of the pairs the median ratio, of all the ratio of the least: what a neighbour's load lengthens is above.
template <class Plain, class Ours>
void compare(const std::string& name, int n, double aim, const char* beside, Plain plain, Ours ours)
{
    const int calls = n < 10 ? 5000 : n < 100 ? 200 : n < 1000 ? 10 : 1;
    constexpr int rounds = 101, first = 80; // in which changes of layout try their ways
    plain();
    for (int call = 0; call < first; ++call)
        ours();
    std::vector<double> plain_times, our_times, ratios;
    for (int round = 0; round < rounds; ++round) {
        plain_times.push_back(microseconds(calls, plain));
        our_times.push_back(microseconds(calls, ours));
        ratios.push_back(our_times.back() / plain_times.back());
    }
    const double least = *std::min_element(our_times.begin(), our_times.end()) /
                         *std::min_element(plain_times.begin(), plain_times.end());
    std::printf("%-22s %5d  %-8s %9.1f us  ours %9.1f us  ratio %5.2f  of the least %5.2f", name.c_str(), n,
                beside, median(plain_times), median(our_times), median(ratios), least);
    if (aim > 0)
        std::printf("  aim %4.2f", aim);
    std::puts("");
}

/// What the numbers depend on.
void print_processor()
{
    std::ifstream info("/proc/cpuinfo");
    std::string line, word;
    while (std::getline(info, line) && line.rfind("flags", 0) != 0) {
    }
    std::printf("processor: caches of %ld, %ld and %ld KiB;", sysconf(_SC_LEVEL1_DCACHE_SIZE) / 1024,
                sysconf(_SC_LEVEL2_CACHE_SIZE) / 1024, sysconf(_SC_LEVEL3_CACHE_SIZE) / 1024);
    for (std::istringstream flags(line); flags >> word;)
        for (const char* known : {"sse2", "avx", "avx2", "avx512f", "erms", "fsrm"})
            if (word == known)
                std::printf(" %s", known);
    std::puts("");
}

/// A well-conditioned system, made anew for each call, in both layouts: the matrix is symmetric.
void solve(int n, double aim)
{
    const auto order = static_cast<std::size_t>(n);
    std::vector<double> matrix(order * order), a(order * order), b(order);
    std::vector<int> ipiv(order);
    for (std::size_t i = 0; i < order; ++i)
        for (std::size_t j = 0; j < order; ++j)
            matrix[i * order + j] = i == j ? 2.0 * n : 1.0 / static_cast<double>(1 + i + j);
    const auto fresh = [&] {
        std::copy(matrix.begin(), matrix.end(), a.begin());
        std::fill(b.begin(), b.end(), 1.0);
    };
    compare(
        "LAPACKE_dgesv row", n, aim, "dgesv",
        [&] {
            fresh();
            const int one = 1;
            int info = 0;
            dgesv_(&n, &one, a.data(), &n, ipiv.data(), b.data(), &n, &info);
            used(info);
        },
        [&] {
            fresh();
            used(LAPACKE_dgesv(row_major, n, 1, a.data(), n, ipiv.data(), b.data(), 1));
        });
}

} // namespace

int main()
{
    print_processor();
    solve(4, 1.47);
    solve(64, 1.10);
    solve(500, 1.10);
    struct Aims {
        int n;
        double trans, nancheck;
    };
    for (const auto& [n, trans, nancheck] : {Aims{500, 1.08, 1.05}, {2000, 1.06, 1.03}}) {
        const std::size_t count = static_cast<std::size_t>(n) * static_cast<std::size_t>(n);
        const auto a = std::make_unique<double[]>(count), b = std::make_unique<double[]>(count);
        std::fill_n(a.get(), count, 1.0);
        std::fill_n(b.get(), count, 2.0);
        const auto beside_copy = [&](const char* name, double at_most, auto change) {
            compare(
                name, n, at_most, "memcpy",
                [&] {
                    std::memcpy(b.get(), a.get(), count * sizeof(double));
                    used(b.get());
                },
                change);
        };
        beside_copy("LAPACKE_dge_trans", trans,
                    [&] { LAPACKE_dge_trans(column_major, n, n, a.get(), n, b.get(), n); });
        using qnm::core::Transposes;
        for (const auto& [name, way] : {std::pair{"  ahead", Transposes::ahead},
                                        {"  plain", Transposes::plain},
                                        {"  past the cache", Transposes::past}})
            beside_copy(name, 0, [&] { qnm::core::transposes().of8[way](n, n, a.get(), n, b.get(), n); });
        compare(
            "LAPACKE_dge_nancheck", n, nancheck, "read", [&] { read(a.get(), count); },
            [&] { used(LAPACKE_dge_nancheck(column_major, n, n, a.get(), n)); });
    }
}
