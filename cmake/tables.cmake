# From tables to sources and to headers. Outputs are written only when their text changes.

# qnm_generate_sources(<variable> <table>...): one source for each table of entries or services. Tables are read
# in the order given. A table of a folder `frame` holds services, and
# families.tab only what others need; one of `lapacke` holds the C interface to LAPACK.
function(qnm_generate_sources variable)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/generated)
  set(sources)
  foreach(table ${ARGN})
    cmake_path(GET table STEM chapter)
    cmake_path(GET table PARENT_PATH family)
    cmake_path(GET family FILENAME family)
    if(chapter STREQUAL families)
      continue()
    endif()
    set(kind entries)
    set(name ${chapter}.tab)
    if(family STREQUAL frame)
      set(kind services)
    elseif(family STREQUAL cblas OR family STREQUAL lapacke)
      set(kind ${family})
      set(name ${family}/${chapter}.tab) # their chapters are called as those of the Fortran rows
    endif()
    set(source ${folder}/${family}-${chapter}.cpp)
    add_custom_command(
      OUTPUT ${source}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND qnm_generate ${kind} ${name} ${source} ${ARGN}
      DEPENDS qnm_generate ${ARGN}
      COMMENT "Generating ${family}-${chapter}.cpp"
      VERBATIM)
    list(APPEND sources ${source})
    if(family STREQUAL helpers) # called by sources of their own and by those of the C interface
      add_custom_command(
        OUTPUT ${folder}/lapacke-helpers.hpp
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND qnm_generate declarations helper ${folder}/lapacke-helpers.hpp ${ARGN}
        DEPENDS qnm_generate ${ARGN}
        COMMENT "Generating lapacke-helpers.hpp"
        VERBATIM)
      list(APPEND sources ${folder}/lapacke-helpers.hpp)
    endif()
  endforeach()
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# qnm_generate_header(<output> <template> <table>...): a header with the prototypes that its template asks for.
function(qnm_generate_header output template)
  cmake_path(GET output PARENT_PATH folder)
  cmake_path(GET output FILENAME name)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND qnm_generate header ${template} ${output} ${ARGN}
    DEPENDS qnm_generate ${template} ${ARGN}
    COMMENT "Generating ${name}"
    VERBATIM)
endfunction()
