# The tables of the library, in reading order: a family is told before its rows.
set(QNM_TABLES
  frame/families.tab frame/chains.tab frame/services.tab
  blas/level1.tab blas/sparse1.tab blas/level2.tab blas/level3.tab blas/batch.tab blas/variants.tab
  lapack/errors.tab)
list(TRANSFORM QNM_TABLES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
