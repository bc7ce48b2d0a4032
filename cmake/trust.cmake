# What every build has in common, wherever it is made, and what hardens the code that others' input reaches.

# No folder of this machine gets into a file: two builds in two folders give the same bytes.
cmake_path(GET PROJECT_BINARY_DIR FILENAME build_name)
add_compile_options(
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build/${build_name})

# Link qnm_hardening privately into what reads files, texts and variables: qnm-run, the adapters, the core's own code.
# Never into the layer, whose entries are a few instructions (docs/design.md). The sanitizers see more than these do.
add_library(qnm_hardening INTERFACE)
if(NOT QNM_SANITIZE)
  target_compile_options(qnm_hardening INTERFACE -fstack-protector-strong -Wformat -Werror=format-security -Wdate-time)
  target_compile_definitions(qnm_hardening INTERFACE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:_FORTIFY_SOURCE=2>)
  target_link_options(qnm_hardening INTERFACE LINKER:-z,relro LINKER:-z,now
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
endif()
