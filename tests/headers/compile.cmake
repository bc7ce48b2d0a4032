# Each header that there is alone, in the oldest standard of each language; in the others the two that have all the rest
# between them. With complex types of the language and of the program's own.
file(GLOB headers RELATIVE ${HEADERS}/qnm ${HEADERS}/qnm/*.h)
list(LENGTH headers count)
set(failed)
if(count LESS 9)
  list(APPEND failed "${count} headers found: ${headers}")
endif()
foreach(case c99 c11 c17 c++11 c++14 c++17 c++20)
  set(compiler ${CC} -x c)
  if(case MATCHES "c[+][+]")
    set(compiler ${CXX} -x c++)
  endif()
  set(some qnm.h lapacke.h)
  if(case STREQUAL c99 OR case STREQUAL c++11)
    set(some ${headers})
  endif()
  foreach(header IN LISTS some)
    foreach(own "" "struct pair8 { float re, im; }; struct pair16 { double re, im; };
#define QNM_COMPLEX8 struct pair8
#define QNM_COMPLEX16 struct pair16
#define LAPACK_COMPLEX_CUSTOM
#define lapack_complex_float struct pair8
#define lapack_complex_double struct pair16
")
      file(WRITE ${SCRATCH}/alone.src "${own}#include <qnm/${header}>\n")
      execute_process(
        COMMAND ${compiler} -std=${case} -Wall -Wextra -pedantic -Werror -fsyntax-only -I${HEADERS} ${SCRATCH}/alone.src
        RESULT_VARIABLE result)
      if(NOT result EQUAL 0)
        list(APPEND failed "${header} as ${case}")
      endif()
    endforeach()
  endforeach()
endforeach()
if(failed)
  list(JOIN failed ", " failed)
  message(FATAL_ERROR "these do not compile: ${failed}")
endif()
