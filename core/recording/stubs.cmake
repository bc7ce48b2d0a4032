# Writes one stub for each name that a built layer imports from the core.
#   cmake -DNM=nm -DLAYER=lib.so -DOUTPUT=stubs.S -P stubs.cmake
# The list comes from the library itself: a layer that asks for a misspelt name gets a stub of that name, and
# a test that expects the right one sees the difference.
execute_process(COMMAND ${NM} -D --undefined-only ${LAYER}
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[Uwv] qnm_[A-Za-z0-9_]+" imports "${symbols}")
if(NOT imports)
  message(FATAL_ERROR "${LAYER}: imports no qnm_ name, so there is nothing to record")
endif()
list(TRANSFORM imports REPLACE "^[Uwv] (.*)$" "        STUB    \\1")
list(REMOVE_DUPLICATES imports)
list(JOIN imports "\n" stubs)
set(text "#include \"stub.inc\"\n        .text\n${stubs}\n        STUBS_END\n")
# An unchanged list recompiles nothing.
set(old "")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} old)
endif()
if(NOT old STREQUAL text)
  file(WRITE ${OUTPUT} "${text}")
endif()
