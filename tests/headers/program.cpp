// A program of C++11: complex numbers are those of the standard library, handlers have the published types.
#include <qnm/qnm.h>

#include <type_traits>
#include <vector>

static_assert(std::is_same<qnm_xerbla_t, decltype(&xerbla_)>::value, "links are handlers");
static_assert(std::is_same<qnm_progress_t, decltype(&qnm_progress)>::value, "links are callbacks");
static_assert(std::is_same<qnm_pardiso_pivot_t, decltype(&QNM_PARDISO_PIVOT)>::value, "links are callbacks");
static_assert(std::is_same<decltype(dgemm), decltype(DGEMM)>::value, "spellings have one type");
static_assert(!std::is_same<decltype(dgemm), decltype(dgemm_64)>::value, "widths have two");

int main()
{
    // A stored batch of one: the compact form gives back what it took.
    const std::complex<double> i(0, 1);
    std::vector<std::complex<double>> a{1.0, i, -i, 2.0}, back(4);
    const std::complex<double>* from[] = {a.data()};
    std::complex<double>* to[] = {back.data()};
    std::vector<double> compact(4 * 2 * 8);
    const int format = QNM_GET_FORMAT_COMPACT();
    qnm_zgepack_compact(QNM_COL_MAJOR, 2, 2, from, 2, compact.data(), 2, format, 1);
    qnm_zgeunpack_compact(QNM_COL_MAJOR, 2, 2, to, 2, compact.data(), 2, format, 1);
    return back == a ? 0 : 1;
}
