# QNM::qnm, all interfaces over the core that is installed; QNM::gfortran, the same for programs that are linked with
# GNU Fortran's; QNM::ilp64, the same for 64-bit integers under plain names (a program may name both); QNM::layer, for
# programs that bring a core of their own, and QNM::core, the one that is installed.
if("static" IN_LIST qnm_FIND_COMPONENTS)
  set(qnm_FOUND FALSE)
  set(qnm_NOT_FOUND_MESSAGE "there is no static library: the chain of error handlers is the dynamic loader's")
  return()
endif()
include(${CMAKE_CURRENT_LIST_DIR}/qnm-targets.cmake)
if(TARGET QNM::qnm)
  return()
endif()

# The dynamic loader looks into the system's folders by itself.
get_filename_component(_qnm_libraries ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
set(_qnm_rpath LINKER:-rpath,${_qnm_libraries})
if(_qnm_libraries MATCHES "^(/usr)?/lib(64|/${CMAKE_LIBRARY_ARCHITECTURE})?$")
  set(_qnm_rpath)
endif()

# The order matters: jumps, adapter, layer, core. The first two are options and so stand ahead of all libraries. No linker
# may leave one out because a program calls none of its functions.
function(_qnm_linked target libraries)
  add_library(QNM::${target} INTERFACE IMPORTED)
  set_target_properties(QNM::${target} PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "$<TARGET_PROPERTY:qnm::include,INTERFACE_INCLUDE_DIRECTORIES>"
    INTERFACE_LINK_OPTIONS "-L${_qnm_libraries};${_qnm_rpath}" # of link directories CMake makes a path with an empty end
    INTERFACE_LINK_LIBRARIES "-Wl,--push-state,--no-as-needed,${libraries},--pop-state")
endfunction()
_qnm_linked(qnm -lqnm_orvan_lp64,-lqnm_core)
_qnm_linked(layer -lqnm_orvan_lp64)
_qnm_linked(core -lqnm_core)

function(_qnm_ahead target libraries)
  add_library(QNM::${target} INTERFACE IMPORTED)
  set_target_properties(QNM::${target} PROPERTIES INTERFACE_LINK_LIBRARIES QNM::qnm
    INTERFACE_LINK_OPTIONS "LINKER:--push-state,--no-as-needed${libraries},--pop-state")
endfunction()
_qnm_ahead(ilp64 ,-lqnm_ilp64)
_qnm_ahead(gfortran "$<$<BOOL:$<TARGET_PROPERTY:QNM_ILP64>>:,-lqnm_ilp64>,-lqnm_gnu")
set_target_properties(QNM::ilp64 PROPERTIES COMPATIBLE_INTERFACE_BOOL QNM_ILP64 INTERFACE_QNM_ILP64 ON)
set_target_properties(QNM::gfortran PROPERTIES
  INTERFACE_COMPILE_DEFINITIONS "$<$<COMPILE_LANGUAGE:C,CXX>:QNM_GNU_COMPLEX>")
