# One place for warnings and sanitizers: link qnm_warnings privately into every target of ours.
add_library(qnm_warnings INTERFACE)
target_compile_options(qnm_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${QNM_WERROR}>:-Werror>)
if(QNM_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(QNM_SANITIZE)
  add_compile_options(-fsanitize=${QNM_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QNM_SANITIZE})
  # The sanitizers' own branches lead GCC astray, within the standard library's <regex> for one.
  target_compile_options(qnm_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
