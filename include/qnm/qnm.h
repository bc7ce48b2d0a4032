/* All interfaces of the library, but for the C interface to LAPACK (qnm/lapacke.h) and plans (qnm/fftw3.h),
 * which declare names of other headers.
 *
 * A program that has declarations of other headers beside these defines, ahead of the first one of ours,
 *   QNM_NO_LAPACK    the system's <lapacke.h> or <lapack.h>: LAPACK and LSAME are left out,
 *   QNM_NO_CBLAS     the system's <cblas.h>: the C interface to BLAS and cblas_xerbla are left out.
 * QNM_GNU_COMPLEX is for programs that are linked with the adapter for GNU Fortran (qnm/blas.h). */
#ifndef QNM_H
#define QNM_H

#include <qnm/blas.h>
#ifndef QNM_NO_CBLAS
#include <qnm/cblas.h>
#endif
#include <qnm/df.h>
#include <qnm/dfti.h>
#ifndef QNM_NO_LAPACK
#include <qnm/lapack.h>
#include <qnm/lapacke_helpers.h>
#endif
#include <qnm/poisson.h>
#include <qnm/services.h>
#include <qnm/solver_types.h>
#include <qnm/solvers.h>
#include <qnm/sparse.h>
#include <qnm/sparse_types.h>
#include <qnm/trans.h>
#include <qnm/types.h>
#include <qnm/vml.h>
#include <qnm/vsl.h>

#endif
