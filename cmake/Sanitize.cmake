# The sanitizer configuration: -DQUILLC_SANITIZE=ON builds the program, the
# support library and the tests with the address and undefined-behaviour
# sanitizers, stopping at the first fault.  Include before any target is
# defined: the flags apply to every target defined afterwards in this
# directory and below (kit/ takes them off again).
option(QUILLC_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
set(QUILLC_SANITIZE_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all
  -fno-omit-frame-pointer)
if(QUILLC_SANITIZE)
  add_compile_options(${QUILLC_SANITIZE_FLAGS})
  add_link_options(${QUILLC_SANITIZE_FLAGS})
  # g++ inlines the instrumented standard library (std::regex, std::function)
  # into false "may be used uninitialized" warnings.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()
