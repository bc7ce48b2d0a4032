# The tables of the library, in reading order: a family is told before its rows.
set(QNM_TABLES
  frame/families.tab frame/chains.tab frame/services.tab frame/core.tab
  blas/level1.tab blas/sparse1.tab blas/level2.tab blas/level3.tab blas/batch.tab blas/variants.tab
  cblas/level1.tab cblas/sparse1.tab cblas/level2.tab cblas/level3.tab cblas/batch.tab cblas/variants.tab
  lapack/lu.tab lapack/lu-expert.tab lapack/cholesky.tab lapack/cholesky-expert.tab lapack/indefinite.tab
  lapack/indefinite-variants.tab lapack/indefinite-expert.tab lapack/tridiagonal.tab lapack/triangular.tab
  lapack/qr.tab lapack/qr-blocked.tab lapack/least-squares.tab lapack/eig-sym.tab lapack/eig-sym-packed.tab
  lapack/eig-tridiagonal.tab lapack/divide-conquer.tab lapack/eig-nonsym.tab lapack/svd.tab lapack/modes.tab
  lapack/generalised-sym.tab lapack/generalised.tab lapack/csd.tab lapack/reflectors.tab lapack/norms.tab
  lapack/auxiliary.tab lapack/environment.tab lapack/errors.tab lapack/test-matrices.tab
  lapack/batch-factor.tab lapack/compact.tab
  trans/matcopy.tab lapacke/helpers/forms.tab
  lapacke/lu.tab lapacke/lu-expert.tab lapacke/cholesky.tab lapacke/cholesky-expert.tab
  lapacke/indefinite.tab lapacke/indefinite-variants.tab lapacke/indefinite-expert.tab
  lapacke/tridiagonal.tab lapacke/triangular.tab lapacke/qr.tab lapacke/qr-blocked.tab
  lapacke/least-squares.tab lapacke/eig-sym.tab lapacke/eig-sym-packed.tab lapacke/eig-tridiagonal.tab
  lapacke/eig-nonsym.tab lapacke/svd.tab lapacke/modes.tab lapacke/generalised-sym.tab
  lapacke/generalised.tab lapacke/csd.tab lapacke/reflectors.tab lapacke/norms.tab
  lapacke/auxiliary.tab lapacke/environment.tab lapacke/test-matrices.tab)
list(TRANSFORM QNM_TABLES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
