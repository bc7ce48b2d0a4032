# Writes one stub for each name that a built layer imports from the core, or looks up in the library of kernels.
#   cmake -DKIND=CORE -DNM=nm -DLAYER=lib.so -DOUTPUT=stubs.S -P stubs.cmake
#   cmake -DKIND=KERNEL -DOBJCOPY=objcopy -DLAYER=lib.so -DOUTPUT=stubs.S -P stubs.cmake
# The list comes from the library itself: a layer that asks for a misspelt name gets a stub of that name, and
# a test that expects the right one sees the difference.
if(KIND STREQUAL CORE)
  set(list "qnm_recording_core, hidden")
  execute_process(COMMAND ${NM} -D --undefined-only ${LAYER}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[Uwv] qnm_[A-Za-z0-9_]+" names "${symbols}")
  list(TRANSFORM names REPLACE "^[Uwv] " "")
else()
  set(list "qnm_recording_kernels, protected")
  # Texts only: the cells that keep what was found bear the same names, and are no evidence of what is asked.
  execute_process(COMMAND ${OBJCOPY} -O binary --only-section=.rodata ${LAYER} ${OUTPUT}.rodata
    COMMAND_ERROR_IS_FATAL ANY)
  set(kernel "(qnm_[a-z]+_kernel_|__?vsl)[A-Za-z0-9_]+$")
  file(STRINGS ${OUTPUT}.rodata texts REGEX "${kernel}")
  set(names "")
  foreach(text IN LISTS texts)
    # The bytes ahead of a text may be a number's and happen to be letters.
    string(REGEX MATCH "${kernel}" name "${text}")
    list(APPEND names ${name})
  endforeach()
endif()
if(NOT names)
  message(FATAL_ERROR "${LAYER}: asks for no name of kind ${KIND}, so there is nothing to record")
endif()
list(REMOVE_DUPLICATES names)
list(TRANSFORM names PREPEND "        ${KIND} ")
list(JOIN names "\n" stubs)
set(text "#include \"stub.inc\"\n        STUBS ${list}\n${stubs}\n        STUBS_END\n")
# An unchanged list recompiles nothing.
set(old "")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} old)
endif()
if(NOT old STREQUAL text)
  file(WRITE ${OUTPUT} "${text}")
endif()
