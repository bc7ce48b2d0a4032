// Products and solves with six formats, where the caller has them.
#include "classic.hpp"
#include "rows.hpp"

#include <qnm/core/sparse.h>

namespace qnm::core::sparse {
namespace {

/// A matrix without its arrays; counts are those of elements.
struct Shape {
    core_int rows, columns, block;
    int base;
    bool upper;

    Layout layout() const { return base == 0 ? Layout::by_rows : Layout::by_columns; }
};

Shape shape(int m, int k, int block, int base = 1)
{
    return {core_int{m} * block, core_int{k} * block, block, base, false};
}

// A view for each format: of general routines, with starts and ends, and of simple ones, with starts alone.
struct csr {
    template <class T>
    static Lines<T, int> view(const Shape& s, const T* val, const int* indx, const int* pntrb,
                              const int* pntre)
    {
        return {s.rows, s.columns, pntrb, pntre, indx, val, s.rows > 0 ? *pntrb : 0, s.base};
    }
    template <class T>
    static Lines<T, int> view(const Shape& s, const T* a, const int* ia, const int* ja)
    {
        return {s.rows, s.columns, ia, ia + 1, ja, a, s.base, s.base};
    }
};
struct csc {
    template <class T>
    static Lines<T, int> view(const Shape& s, const T* val, const int* indx, const int* pntrb,
                              const int* pntre)
    {
        return {s.columns, s.rows, pntrb, pntre, indx, val, s.columns > 0 ? *pntrb : 0, s.base, true};
    }
};
struct bsr {
    template <class T>
    static Blocks<T, int> view(const Shape& s, const T* val, const int* indx, const int* pntrb,
                               const int* pntre)
    {
        return {s.rows, s.columns, s.block, pntrb, pntre, indx, val, s.rows > 0 ? *pntrb : 0,
                s.base, s.layout()};
    }
    template <class T>
    static Blocks<T, int> view(const Shape& s, const T* a, const int* ia, const int* ja)
    {
        return {s.rows, s.columns, s.block, ia, ia + 1, ja, a, s.base, s.base, s.layout()};
    }
};
struct coo {
    template <class T>
    static Coordinates<T, int> view(const Shape& s, const T* val, const int* rowind, const int* colind,
                                    const int* nnz)
    {
        return {s.rows, s.columns, *nnz, rowind, colind, val, s.base};
    }
};
struct dia {
    template <class T>
    static Diagonals<T, int> view(const Shape& s, const T* val, const int* lval, const int* idiag,
                                  const int* ndiag)
    {
        return {s.rows, s.columns, *lval, *ndiag, idiag, val};
    }
};
struct sky {
    template <class T>
    static Skyline<T, int> view(const Shape& s, const T* val, const int* pntr)
    {
        return {s.rows, s.columns, pntr, val, s.upper};
    }
};

Operation operation(const char* trans)
{
    return is_letter(trans, 'N')   ? Operation::plain
           : is_letter(trans, 'T') ? Operation::transposed
                                   : Operation::conjugated;
}

Diag diag(const char* letter)
{
    return is_letter(letter, 'U') ? Diag::unit : Diag::stored;
}

/// What the six letters of matdescra say.
struct Letters {
    bool known;
    Descriptor descriptor;
    int base;

    explicit Letters(const char* matdescra)
    {
        const auto is = [matdescra](int place, char letter) { return is_letter(matdescra + place, letter); };
        constexpr std::pair<char, Type> types[] = {{'G', Type::general},   {'S', Type::symmetric},
                                                   {'H', Type::hermitian}, {'T', Type::triangular},
                                                   {'A', Type::skew},      {'D', Type::diagonal}};
        const auto* const type =
            std::find_if(std::begin(types), std::end(types), [&](auto pair) { return is(0, pair.first); });
        known = type != std::end(types);
        if (!known)
            return;
        descriptor = {type->second, is(1, 'U') ? Mode::upper : Mode::lower, diag(matdescra + 2)};
        base = is(3, 'C') ? 0 : 1;
        const bool halved = type->second != Type::general && type->second != Type::diagonal;
        const bool has_diag = type->second != Type::general && type->second != Type::skew;
        known = (is(3, 'C') || is(3, 'F')) && (!halved || is(1, 'U') || is(1, 'L')) &&
                (!has_diag || is(2, 'U') || is(2, 'N'));
    }
};

constexpr bool is_square(const Shape& s)
{
    return s.rows == s.columns;
}

/// What x and y are: one vector each, or the columns of dense matrices, stored as the base of indices says.
struct Columns {
    bool several = false;
    int count = 1, ldx = 0, ldy = 0;

    template <class T>
    Dense<T> of(T* at, int ld, const Shape& shape) const
    {
        return {at, count, ld, several ? shape.layout() : Layout::by_columns};
    }
};

/// y := alpha op(A) x + beta y
template <class Format, class T, class... Matrix>
void multiply_by(const char* routine, const char* trans, Shape shape, const T* alpha, const char* matdescra,
                 Columns columns, const T* x, const T* beta, T* y, const Matrix*... matrix)
{
    const Letters letters(matdescra);
    constexpr bool is_triangle = std::is_same_v<Format, sky>;
    if (!letters.known || (is_triangle && letters.descriptor.type == Type::general) ||
        ((is_triangle || is_mirrored(letters.descriptor.type)) && !is_square(shape)))
        return refuse(routine, "matdescra");
    shape.base = letters.base;
    shape.upper = letters.descriptor.mode == Mode::upper;
    multiply(Format::view(shape, matrix...), operation(trans), letters.descriptor, *alpha,
             columns.of(x, columns.ldx, shape), *beta, columns.of(y, columns.ldy, shape));
}

/// Coordinates have no lines to be solved one behind the other: rows are made of them.
template <class View, class T>
void solve_any(const char*, const View& a, Operation op, Descriptor descriptor, T alpha, Dense<const T> x,
               Dense<T> y)
{
    solve(a, op, descriptor, alpha, x, y);
}
template <class T>
void solve_any(const char* routine, const Coordinates<T, int>& a, Operation op, Descriptor descriptor,
               T alpha, Dense<const T> x, Dense<T> y)
{
    try {
        const auto rows =
            collected<T, int>(a.rows, a.rows, [&](const auto& visit) { for_each_element(a, visit); });
        solve(rows.view(), op, descriptor, alpha, x, y);
    } catch (const std::bad_alloc&) {
        report(routine, memory_failure);
    }
}

/// y := alpha inv(op(A)) x
template <class Format, class T, class... Matrix>
void solve_by(const char* routine, const char* trans, Shape shape, const T* alpha, const char* matdescra,
              Columns columns, const T* x, T* y, const Matrix*... matrix)
{
    const Letters letters(matdescra);
    if (!letters.known || !is_solvable(letters.descriptor.type))
        return refuse(routine, "matdescra");
    shape.base = letters.base;
    shape.upper = letters.descriptor.mode == Mode::upper;
    solve_any(routine, Format::view(shape, matrix...), operation(trans), letters.descriptor, *alpha,
              columns.of(x, columns.ldx, shape), columns.of(y, columns.ldy, shape));
}

constexpr Mode mode(const char* uplo)
{
    return is_letter(uplo, 'U') ? Mode::upper : Mode::lower;
}

/// y := op(A) x
template <class Format, class T, class... Matrix>
void multiply_simply(const char* trans, Shape shape, Descriptor descriptor, const T* x, T* y,
                     const Matrix*... matrix)
{
    multiply(Format::view(shape, matrix...), operation(trans), descriptor, T(1), Dense<const T>{x}, T(0),
             Dense<T>{y});
}

/// y := inv(op(A)) x
template <class Format, class T, class... Matrix>
void solve_simply(const char* routine, const char* uplo, const char* trans, const char* unit, Shape shape,
                  const T* x, T* y, const Matrix*... matrix)
{
    solve_any(routine, Format::view(shape, matrix...), operation(trans),
              {Type::triangular, mode(uplo), diag(unit)}, T(1), Dense<const T>{x}, Dense<T>{y});
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core::sparse;

// Lists of arguments within lists of arguments.
#define LIST(...) __VA_ARGS__
#define ELEMENT_ROWS
#define ELEMENTS 1
#define BLOCK_ROWS const int *lb,
#define BLOCKS *lb

// format, FORMAT, size of blocks and how it is told, parameters of the matrix, their names
#define GENERAL_FORMATS(M, l, L, T)                                                                          \
    M(l, L, T, csr, CSR, ELEMENTS, ELEMENT_ROWS,                                                             \
      LIST(const T* val, const int* indx, const int* pntrb, const int* pntre),                               \
      LIST(val, indx, pntrb, pntre))                                                                         \
    M(l, L, T, csc, CSC, ELEMENTS, ELEMENT_ROWS,                                                             \
      LIST(const T* val, const int* indx, const int* pntrb, const int* pntre),                               \
      LIST(val, indx, pntrb, pntre))                                                                         \
    M(l, L, T, bsr, BSR, BLOCKS, BLOCK_ROWS,                                                                 \
      LIST(const T* val, const int* indx, const int* pntrb, const int* pntre),                               \
      LIST(val, indx, pntrb, pntre))                                                                         \
    M(l, L, T, coo, COO, ELEMENTS, ELEMENT_ROWS,                                                             \
      LIST(const T* val, const int* rowind, const int* colind, const int* nnz),                              \
      LIST(val, rowind, colind, nnz))                                                                        \
    M(l, L, T, dia, DIA, ELEMENTS, ELEMENT_ROWS,                                                             \
      LIST(const T* val, const int* lval, const int* idiag, const int* ndiag),                               \
      LIST(val, lval, idiag, ndiag))                                                                         \
    M(l, L, T, sky, SKY, ELEMENTS, ELEMENT_ROWS, LIST(const T* val, const int* pntr), LIST(val, pntr))

#define GENERAL(l, L, T, format, FORMAT, block, BLOCK, PARAMETERS, NAMES)                                    \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##format##mv(const char* transa, const int* m, const int* k,        \
                                                      BLOCK const T* alpha, const char* matdescra,           \
                                                      PARAMETERS, const T* x, const T* beta, T* y)           \
    {                                                                                                        \
        multiply_by<format>("QNM_" #L#FORMAT "MV", transa, shape(*m, *k, block), alpha, matdescra, {}, x,    \
                            beta, y, NAMES);                                                                 \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##format##mm(                                                       \
        const char* transa, const int* m, const int* n, const int* k, BLOCK const T* alpha,                  \
        const char* matdescra, PARAMETERS, const T* b, const int* ldb, const T* beta, T* c, const int* ldc)  \
    {                                                                                                        \
        multiply_by<format>("QNM_" #L#FORMAT "MM", transa, shape(*m, *k, block), alpha, matdescra,           \
                            {true, *n, *ldb, *ldc}, b, beta, c, NAMES);                                      \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##format##sv(const char* transa, const int* m,                      \
                                                      BLOCK const T* alpha, const char* matdescra,           \
                                                      PARAMETERS, const T* x, T* y)                          \
    {                                                                                                        \
        solve_by<format>("QNM_" #L#FORMAT "SV", transa, shape(*m, *m, block), alpha, matdescra, {}, x, y,    \
                         NAMES);                                                                             \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##format##sm(                                                       \
        const char* transa, const int* m, const int* n, BLOCK const T* alpha, const char* matdescra,         \
        PARAMETERS, const T* b, const int* ldb, T* c, const int* ldc)                                        \
    {                                                                                                        \
        solve_by<format>("QNM_" #L#FORMAT "SM", transa, shape(*m, *m, block), alpha, matdescra,              \
                         {true, *n, *ldb, *ldc}, b, c, NAMES);                                               \
    }

// What simple routines take of a matrix; those of one family count from 1, those of the other from 0.
#define SIMPLE_FORMATS(M, l, L, T, family, FAMILY, base)                                                     \
    M(l, L, T, family, FAMILY, base, csr, CSR, ELEMENTS, ELEMENT_ROWS,                                       \
      LIST(const T* a, const int* ia, const int* ja), LIST(a, ia, ja))                                       \
    M(l, L, T, family, FAMILY, base, bsr, BSR, BLOCKS, BLOCK_ROWS,                                           \
      LIST(const T* a, const int* ia, const int* ja), LIST(a, ia, ja))                                       \
    M(l, L, T, family, FAMILY, base, coo, COO, ELEMENTS, ELEMENT_ROWS,                                       \
      LIST(const T* val, const int* rowind, const int* colind, const int* nnz),                              \
      LIST(val, rowind, colind, nnz))

#define SIMPLE(l, L, T, family, FAMILY, base, format, FORMAT, block, BLOCK, PARAMETERS, NAMES)               \
    QNM_CORE void qnm_spblas_lp64_qnm_##family##l##format##gemv(const char* transa, const int* m,            \
                                                                BLOCK PARAMETERS, const T* x, T* y)          \
    {                                                                                                        \
        multiply_simply<format>(transa, shape(*m, *m, block, base), general, x, y, NAMES);                   \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##family##l##format##symv(const char* uplo, const int* m,              \
                                                                BLOCK PARAMETERS, const T* x, T* y)          \
    {                                                                                                        \
        multiply_simply<format>("N", shape(*m, *m, block, base),                                             \
                                {Type::symmetric, mode(uplo), Diag::stored}, x, y, NAMES);                   \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##family##l##format##trsv(const char* uplo, const char* transa,        \
                                                                const char* diag, const int* m,              \
                                                                BLOCK PARAMETERS, const T* x, T* y)          \
    {                                                                                                        \
        solve_simply<format>("QNM_" #FAMILY #L#FORMAT "TRSV", uplo, transa, diag,                            \
                             shape(*m, *m, block, base), x, y, NAMES);                                       \
    }

#define CLASSIC(l, L, T)                                                                                     \
    GENERAL_FORMATS(GENERAL, l, L, T)                                                                        \
    SIMPLE_FORMATS(SIMPLE, l, L, T, , , 1)                                                                   \
    SIMPLE(l, L, T, , , 1, dia, DIA, ELEMENTS, ELEMENT_ROWS,                                                 \
           LIST(const T* val, const int* lval, const int* idiag, const int* ndiag),                          \
           LIST(val, lval, idiag, ndiag))                                                                    \
    SIMPLE_FORMATS(SIMPLE, l, L, T, cspblas_, CSPBLAS_, 0)
QNM_ALL_LETTERS(CLASSIC)
