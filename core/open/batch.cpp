// Batches: a loop over a plain routine, in two shapes that follow from the routine's own argument list.
//
// group:   every argument is an array; letters, integers and scalars have one element per group, matrices and
//          vectors one pointer per problem. Behind them group_count, group_size and, by value, whether the
//          caller's integers are 32-bit.
// strided: the routine's arguments, with one stride behind each array's leading dimension or increment, and
//          batch_size at the end.
#include "engine.hpp"
#include "integers.hpp"

#include <array>

namespace qnm::core {
namespace {

enum class Kind { letter, integer, scalar, array };
constexpr Kind letter = Kind::letter, integer = Kind::integer, scalar = Kind::scalar, array = Kind::array;

template <class... P, std::size_t... i>
void call(void (*routine)(P...), void* const* argument, std::index_sequence<i...>)
{
    routine(static_cast<P>(argument[i])...);
}
template <class... P>
void call(void (*routine)(P...), void* const* argument)
{
    call(routine, argument, std::index_sequence_for<P...>{});
}

template <class T, auto routine, Kind... kinds>
struct Batch {
    static constexpr std::size_t count = sizeof...(kinds);
    static constexpr std::array<Kind, count> kind{kinds...};

    static void group(void* const* given, bool narrow)
    {
        const core_int groups = Integers(given[count], narrow)[0];
        const Integers sizes(given[count + 1], narrow);
        core_int first = 0; // of this group's problems among all
        for (core_int g = 0; g < groups; first += std::max<core_int>(sizes[g], 0), ++g) {
            std::array<core_int, count> integers{};
            std::array<void*, count> argument{};
            for (std::size_t i = 0; i < count; ++i) {
                if (kind[i] == letter)
                    argument[i] = static_cast<char*>(given[i]) + g;
                else if (kind[i] == scalar)
                    argument[i] = static_cast<T*>(given[i]) + g;
                else if (kind[i] == integer) {
                    integers[i] = Integers(given[i], narrow)[g];
                    argument[i] = &integers[i];
                }
            }
            for (core_int problem = first; problem < first + sizes[g]; ++problem) {
                for (std::size_t i = 0; i < count; ++i)
                    if (kind[i] == array)
                        argument[i] = static_cast<void**>(given[i])[problem];
                call(routine, argument.data());
            }
        }
    }

    static void strided(void* const* given)
    {
        std::array<void*, count> argument{};
        std::array<core_int, count> stride{}; // zero where the argument is no array
        std::size_t at = 0;
        for (std::size_t i = 0; i < count; ++i) {
            argument[i] = given[at++];
            if (i > 0 && kind[i - 1] == array)
                stride[i - 1] = *static_cast<core_int*>(given[at++]);
        }
        const core_int problems = *static_cast<core_int*>(given[at]);
        for (core_int problem = 0; problem < problems; ++problem) {
            call(routine, argument.data());
            for (std::size_t i = 0; i < count; ++i)
                if (kind[i] == array)
                    argument[i] = static_cast<T*>(argument[i]) + stride[i];
        }
    }
};

// C := diag(x) * A (side L) or A * diag(x) (side R).
template <class T>
void dgmm(const char* side, const core_int* m, const core_int* n, const T* a, const core_int* lda, const T* x,
          const core_int* incx, T* c, const core_int* ldc)
{
    const bool left = is_letter(side, 'L');
    x += vector_start(left ? *m : *n, *incx);
    for (core_int j = 0; j < *n; ++j)
        for (core_int i = 0; i < *m; ++i)
            c[i + j * *ldc] = x[(left ? i : j) * *incx] * a[i + j * *lda];
}

template <class T, auto gemm>
using Gemm = Batch<T, gemm, letter, letter, integer, integer, integer, scalar, array, integer, array, integer,
                   scalar, array, integer>;
template <class T>
using Gemv = Batch<T, Engine<T>::gemv, letter, integer, integer, scalar, array, integer, array, integer,
                   scalar, array, integer>;
template <class T>
using Dgmm = Batch<T, dgmm<T>, letter, integer, integer, array, integer, array, integer, array, integer>;
template <class T>
using Syrk = Batch<T, Engine<T>::syrk, letter, letter, integer, integer, scalar, array, integer, scalar,
                   array, integer>;
template <class T>
using Trsm = Batch<T, Engine<T>::trsm, letter, letter, letter, letter, integer, integer, scalar, array,
                   integer, array, integer>;
template <class T>
using Axpy = Batch<T, Engine<T>::axpy, integer, scalar, array, integer, array, integer>;
template <class T>
using Copy = Batch<T, Engine<T>::copy, integer, array, integer, array, integer>;

} // namespace
} // namespace qnm::core

// Entries differ only in their number of pointers: POINTERS_n declares n of them, NAMES_n passes them on.
#define POINTERS_7 void *p1, void *p2, void *p3, void *p4, void *p5, void *p6, void *p7
#define POINTERS_8 POINTERS_7, void* p8
#define POINTERS_9 POINTERS_8, void* p9
#define POINTERS_11 POINTERS_9, void *p10, void *p11
#define POINTERS_12 POINTERS_11, void* p12
#define POINTERS_13 POINTERS_12, void* p13
#define POINTERS_14 POINTERS_13, void* p14
#define POINTERS_15 POINTERS_14, void* p15
#define POINTERS_17 POINTERS_15, void *p16, void *p17
#define NAMES_7 p1, p2, p3, p4, p5, p6, p7
#define NAMES_8 NAMES_7, p8
#define NAMES_9 NAMES_8, p9
#define NAMES_11 NAMES_9, p10, p11
#define NAMES_12 NAMES_11, p12
#define NAMES_13 NAMES_12, p13
#define NAMES_14 NAMES_13, p14
#define NAMES_15 NAMES_14, p15
#define NAMES_17 NAMES_15, p16, p17

#define QNM_BATCH(name, grouped, strided_, ...)                                                              \
    QNM_CORE void qnm_blas_##name##_batch(POINTERS_##grouped, int narrow)                                    \
    {                                                                                                        \
        void* given[] = {NAMES_##grouped};                                                                   \
        qnm::core::__VA_ARGS__::group(given, narrow != 0);                                                   \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##name##_batch_strided(POINTERS_##strided_)                                       \
    {                                                                                                        \
        void* given[] = {NAMES_##strided_};                                                                  \
        qnm::core::__VA_ARGS__::strided(given);                                                              \
    }

#define QNM_BATCHES(l, L, T)                                                                                 \
    QNM_BATCH(l##gemm, 15, 17, Gemm<T, qnm::core::Engine<T>::gemm>)                                          \
    QNM_BATCH(l##gemv, 13, 15, Gemv<T>)                                                                      \
    QNM_BATCH(l##dgmm, 11, 13, Dgmm<T>)                                                                      \
    QNM_BATCH(l##syrk, 12, 13, Syrk<T>)                                                                      \
    QNM_BATCH(l##trsm, 13, 14, Trsm<T>)                                                                      \
    QNM_BATCH(l##axpy, 8, 9, Axpy<T>)                                                                        \
    QNM_BATCH(l##copy, 7, 8, Copy<T>)
QNM_ALL_LETTERS(QNM_BATCHES)

#define QNM_BATCHES_3M(l, L, T) QNM_BATCH(l##gemm3m, 15, 17, Gemm<T, l##gemm3m_>)
QNM_COMPLEX_LETTERS(QNM_BATCHES_3M)
