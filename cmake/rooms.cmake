# Families and what is made of them. A family is a folder; its CMakeLists.txt has one call of qnm_family.

# qnm_family(<name> TABLES <chapter>... [SOURCES <file>...] [WHOLE <file>...] [HEADERS <name>...] [MODULES <name>...] [INNER <name>...] [ROOM <file>...] [CORE]):
# the family of this folder, which is also its room. family.tab, which tells its names, is read with those of all
# families ahead of every other table; TABLES in the order told, behind those of families told before. SOURCES stand beside what is generated of the tables; WHOLE are those that need all of the library. A header
# NAME is made of NAME.h.in, with CORE core/<family>.h for those who write a core of core.h.in, a module of Fortran, NAME.f90, of NAME.f90.in, and one of the library's own, <family>/NAME.hpp, of NAME.hpp.in. ROOM is the reader and generator of a sentence of its own; it defines make_<name>_room().
function(qnm_family name)
  cmake_parse_arguments(ARG "CORE" "" "TABLES;SOURCES;WHOLE;HEADERS;MODULES;INNER;ROOM" ${ARGN})
  list(TRANSFORM ARG_TABLES APPEND .tab)
  set(ARG_NAMES family.tab)
  list(TRANSFORM ARG_HEADERS APPEND .h.in)
  list(TRANSFORM ARG_MODULES APPEND .f90.in)
  list(TRANSFORM ARG_INNER APPEND .hpp.in)
  foreach(part NAMES TABLES SOURCES WHOLE HEADERS MODULES INNER ROOM)
    list(TRANSFORM ARG_${part} PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set_property(GLOBAL PROPERTY QNM_FAMILY_${name}_${part} ${ARG_${part}})
  endforeach()
  if(ARG_CORE)
    set_property(GLOBAL APPEND PROPERTY QNM_CORE_HEADERS ${CMAKE_CURRENT_SOURCE_DIR}/core.h.in)
  endif()
  set_property(GLOBAL PROPERTY QNM_FAMILY_${name}_FOLDER ${CMAKE_CURRENT_SOURCE_DIR}/..)
  set_property(GLOBAL APPEND PROPERTY QNM_FAMILIES ${name})
endfunction()

# qnm_of_families(<variable> <part> [<family>...]): a part of these families, or of all that the library has.
function(qnm_of_families variable part)
  set(families ${ARGN})
  if(NOT families)
    get_property(families GLOBAL PROPERTY QNM_LIBRARY_FAMILIES)
  endif()
  set(all)
  if(part STREQUAL TABLES) # a row may name any family
    get_property(library GLOBAL PROPERTY QNM_LIBRARY_FAMILIES)
    foreach(family IN LISTS library families)
      get_property(names GLOBAL PROPERTY QNM_FAMILY_${family}_NAMES)
      list(APPEND all ${names})
    endforeach()
    list(REMOVE_DUPLICATES all)
  endif()
  foreach(family IN LISTS families)
    get_property(of_family GLOBAL PROPERTY QNM_FAMILY_${family}_${part})
    list(APPEND all ${of_family})
  endforeach()
  set(${variable} ${all} PARENT_SCOPE)
endfunction()

# qnm_add_catalogue(<target> [<family>...]): the reader of the tables, with the rooms of these families.
function(qnm_add_catalogue target)
  set(families ${ARGN})
  if(NOT families)
    get_property(families GLOBAL PROPERTY QNM_LIBRARY_FAMILIES)
  endif()
  set(declarations)
  set(makers)
  set(includes)
  foreach(family IN LISTS families)
    get_property(room GLOBAL PROPERTY QNM_FAMILY_${family}_ROOM)
    get_property(folder GLOBAL PROPERTY QNM_FAMILY_${family}_FOLDER)
    list(APPEND includes ${folder})
    if(room)
      string(APPEND declarations "std::unique_ptr<Room> make_${family}_room();\n")
      string(APPEND makers "        {\"${family}\", make_${family}_room},\n")
    endif()
  endforeach()
  list(REMOVE_DUPLICATES includes)
  set(list ${CMAKE_CURRENT_BINARY_DIR}/${target}-rooms.cpp)
  file(CONFIGURE OUTPUT ${list} CONTENT "// The rooms with a sentence of their own.
#include \"catalogue/room.hpp\"

namespace qnm::catalogue {

@declarations@
const std::vector<RoomMaker>& room_makers()
{
    static const std::vector<RoomMaker> all{
@makers@    };
    return all;
}

} // namespace qnm::catalogue
" @ONLY)
  qnm_of_families(rooms ROOM ${families})
  add_library(${target} STATIC ${list} ${rooms} $<TARGET_OBJECTS:qnm_language>)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/tools ${includes})
  target_link_libraries(${target} PRIVATE qnm_warnings)
endfunction()

# qnm_add_generator(<target> <catalogue>): the program that makes sources and headers of tables.
function(qnm_add_generator target catalogue)
  add_executable(${target} ${PROJECT_SOURCE_DIR}/tools/generate/main.cpp)
  target_link_libraries(${target} PRIVATE ${catalogue} qnm_warnings)
endfunction()

# qnm_generate_sources(<variable> <generator> <table>...): a source for each table that has rows. Tables are read in
# the order told. A source is written only when its text changes.
function(qnm_generate_sources variable generator)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/generated)
  set(sources)
  foreach(table ${ARGN})
    cmake_path(GET table STEM chapter)
    cmake_path(GET table PARENT_PATH family)
    cmake_path(GET family FILENAME family)
    if(chapter STREQUAL "family")
      continue() # how the family is spelled, and no rows
    endif()
    set(source ${folder}/${family}-${chapter}.cpp)
    add_custom_command(
      OUTPUT ${source}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND ${generator} source ${family}/${chapter}.tab ${source} ${ARGN}
      DEPENDS ${generator} ${ARGN}
      COMMENT "Generating ${family}-${chapter}.cpp"
      VERBATIM)
    list(APPEND sources ${source})
  endforeach()
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# qnm_generate_header(<output> <template> <table>... [BESIDE <file>...]): a header with the prototypes that its template
# asks for; it may ask for what stands in files beside it.
function(qnm_generate_header output template)
  cmake_parse_arguments(ARG "" "" "BESIDE" ${ARGN})
  set(tables ${ARG_UNPARSED_ARGUMENTS})
  cmake_path(GET output PARENT_PATH folder)
  cmake_path(GET output FILENAME name)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND qnm_generate header ${template} ${output} ${tables}
    DEPENDS qnm_generate ${template} ${ARG_BESIDE} ${tables}
    COMMENT "Generating ${name}"
    VERBATIM)
endfunction()
