# Each header alone, in each language and standard, with complex types of the language and of the program's own.
set(failed)
foreach(case c99 c11 c17 c++11 c++14 c++17 c++20)
  set(compiler ${CC} -x c)
  if(case MATCHES "c[+][+]")
    set(compiler ${CXX} -x c++)
  endif()
  foreach(header types services blas cblas lapacke trans qnm)
    foreach(own "" "struct pair8 { float re, im; }; struct pair16 { double re, im; };
#define QNM_COMPLEX8 struct pair8
#define QNM_COMPLEX16 struct pair16
#define LAPACK_COMPLEX_CUSTOM
#define lapack_complex_float struct pair8
#define lapack_complex_double struct pair16
")
      file(WRITE ${SCRATCH}/alone.src "${own}#include <qnm/${header}.h>\n")
      execute_process(
        COMMAND ${compiler} -std=${case} -Wall -Wextra -pedantic -Werror -fsyntax-only -I${HEADERS} ${SCRATCH}/alone.src
        RESULT_VARIABLE result)
      if(NOT result EQUAL 0)
        list(APPEND failed "${header}.h as ${case}")
      endif()
    endforeach()
  endforeach()
endforeach()
if(failed)
  list(JOIN failed ", " failed)
  message(FATAL_ERROR "these do not compile: ${failed}")
endif()
