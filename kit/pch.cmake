# Precompiled systemc.h for the kit, one per quillc compile command and one
# for the wrapper generator's front end (libclang's own format), built by
# the kit's own command (quillc-env --refresh) so that a build tree and an
# installed kit make them the same way.  The command writes a make-style
# list of every header it read, which brings them up to date whenever the
# kit's systemc.h or anything it includes changes.
#
# libclang's precompiled header is made by the front end's own code, with
# the libclang that the wrapper generator loads and the arguments of its
# parse; a new front end makes them again.
add_executable(kit_clang_pch generator/clang_pch_main.cpp)
target_include_directories(kit_clang_pch PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(kit_clang_pch PRIVATE kit_wrapper_generator ${CMAKE_DL_LIBS})
set_target_properties(kit_clang_pch PROPERTIES OUTPUT_NAME clang_pch
  RUNTIME_OUTPUT_DIRECTORY ${kit_quillc_path}/libexec)

set(kit_pch_stamp ${kit_systemc_path}/pch.id)
add_custom_command(OUTPUT ${kit_pch_stamp}
  BYPRODUCTS ${kit_systemc_path}/include/systemc.h.gch/wrapper
             ${kit_systemc_path}/include/systemc.h.gch/cosim
             ${kit_systemc_path}/include/systemc.h.gch/link
             ${kit_systemc_path}/systemc.h.pch
             ${kit_systemc_path}/pch.d
  COMMAND ${PROJECT_BINARY_DIR}/quillc-env --refresh
  DEPENDS ${PROJECT_BINARY_DIR}/quillc-env ${kit_systemc_path}/include/systemc.h kit_clang_pch
  DEPFILE ${kit_systemc_path}/pch.d
  COMMENT "Precompiling the kit's systemc.h"
  VERBATIM)
add_custom_target(kit_pch ALL DEPENDS ${kit_pch_stamp})


# The sanitizer tree's designs take its instrumented runtime, which these
# tests' plain designs cannot load: they run in the ordinary tree.
if(QUILLC_BUILD_TESTS AND NOT QUILLC_SANITIZE)
  add_test(NAME kit.PrecompiledHeaders
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/tests/pch_test.sh $<TARGET_FILE:quillc>
      ${PROJECT_BINARY_DIR}/quillc-env $<TARGET_FILE:kit_cosim_loader> ${PROJECT_SOURCE_DIR})
  add_test(NAME kit.CompilerCache
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/tests/ccache_test.sh $<TARGET_FILE:quillc>
      ${PROJECT_BINARY_DIR}/quillc-env ${PROJECT_SOURCE_DIR})
  add_test(NAME kit.SharedCompilerCache
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/tests/remote_cache_test.sh $<TARGET_FILE:quillc>
      ${PROJECT_BINARY_DIR}/quillc-env $<TARGET_FILE:kit_cosim_loader> ${PROJECT_SOURCE_DIR})
  add_test(NAME kit.DistributedCompiles
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/tests/distcc_test.sh $<TARGET_FILE:quillc>
      ${PROJECT_BINARY_DIR}/quillc-env $<TARGET_FILE:kit_cosim_loader> ${PROJECT_SOURCE_DIR})
  set_tests_properties(kit.PrecompiledHeaders kit.CompilerCache kit.SharedCompilerCache
    kit.DistributedCompiles PROPERTIES TIMEOUT 600)
endif()
