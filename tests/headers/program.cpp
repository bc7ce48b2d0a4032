// A program of C++11: complex numbers are those of the standard library, handlers have the published types.
#include <qnm/qnm.h>

#include <type_traits>

static_assert(std::is_same<qnm_xerbla_t, decltype(&xerbla_)>::value, "links are handlers");
static_assert(std::is_same<qnm_progress_t, decltype(&qnm_progress)>::value, "links are callbacks");
static_assert(std::is_same<qnm_pardiso_pivot_t, decltype(&QNM_PARDISO_PIVOT)>::value, "links are callbacks");
static_assert(std::is_same<decltype(dgemm), decltype(DGEMM)>::value, "spellings have one type");
static_assert(!std::is_same<decltype(dgemm), decltype(dgemm_64)>::value, "widths have two");

static_assert(std::is_same<qnm_complex8, std::complex<float>>::value,
              "complex numbers are those of the language");
static_assert(std::is_same<qnm_complex16, std::complex<double>>::value,
              "complex numbers are those of the language");

int main()
{
    const int n = 2, one = 1;
    const std::complex<double> z[] = {{1, 2}, 3.0};
    std::complex<double> product;
    zdotc(&product, &n, z, &one, z, &one);
    return product == 14.0 ? 0 : 1; // |1+2i|^2 + |3|^2
}
