/* All interfaces of the library. */
#ifndef QNM_H
#define QNM_H

#include <qnm/blas.h>
#include <qnm/cblas.h>
#include <qnm/df.h>
#include <qnm/dfti.h>
#include <qnm/lapack.h>
#include <qnm/lapacke_helpers.h>
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
