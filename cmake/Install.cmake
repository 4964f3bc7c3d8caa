# Installation and the Debian package.
#
#   bin/quillc, bin/quillc-env            the driver and the kit's command
#   bin/quillc-sim                         the kit's quillc-sim, with the
#                                          kit's environment
#   lib/quillc/kit/                        the runtime kit (SYSTEMC_PATH,
#                                          QUILLC_PATH and TARN_HOME point
#                                          into it; quillc-env finds it
#                                          relative to itself)
#   lib/libcorvane_support.a, include/corvane/, lib/cmake/CorvaneSupport/,
#   lib/pkgconfig/corvane-support.pc      the support library
#   share/man/man1/quillc.1, quillc-sim.1, share/bash-completion/completions/quillc
#
# The kit sits under lib/, not share/: it holds static libraries, a linker
# script naming this machine's SystemC, and precompiled headers that only
# this machine's gcc can read; none of it is architecture-independent.
#
# Components: "runtime" (the tool and its kit), "dev" (the support
# library), and "pch", which precompiles the installed kit's systemc.h with
# the installed quillc-env.  The package leaves "pch" out: precompiled
# headers are large and belong to one gcc, so the package builds them when
# it is installed, and again whenever gcc or the headers under /usr/include
# change (dist/debian/).
include(CMakePackageConfigHelpers)

set(QUILLC_KIT_INSTALL_DIR lib/quillc/kit)

install(TARGETS quillc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(FILES dist/quillc.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(FILES dist/quillc.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME quillc COMPONENT runtime)

if(QUILLC_BUILD_KIT)
  set(kit_build_dir ${PROJECT_BINARY_DIR}/kit)
  install(DIRECTORY ${kit_build_dir}/systemc ${kit_build_dir}/quillc ${kit_build_dir}/tarn
    DESTINATION ${QUILLC_KIT_INSTALL_DIR} COMPONENT runtime USE_SOURCE_PERMISSIONS
    PATTERN systemc.h.gch EXCLUDE
    PATTERN systemc.h.gch.new.* EXCLUDE
    PATTERN systemc.h.pch* EXCLUDE
    PATTERN pch.d EXCLUDE
    PATTERN pch.id EXCLUDE
    PATTERN clang_pch PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                  WORLD_READ WORLD_EXECUTE)
  # The installed quillc-env: the same command, finding the kit from bin/.
  file(RELATIVE_PATH QUILLC_KIT_FROM_ENV /${CMAKE_INSTALL_BINDIR} /${QUILLC_KIT_INSTALL_DIR})
  configure_file(kit/quillc-env.in ${PROJECT_BINARY_DIR}/install/quillc-env @ONLY)
  configure_file(kit/sim/quillc-sim-launcher.in ${PROJECT_BINARY_DIR}/install/quillc-sim @ONLY)
  install(PROGRAMS ${PROJECT_BINARY_DIR}/install/quillc-env ${PROJECT_BINARY_DIR}/install/quillc-sim
    DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  install(FILES dist/quillc-sim.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
  # Without them the kit is slower, not wrong: a failure only warns.
  install(CODE "
    execute_process(COMMAND \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/quillc-env\" --refresh
                    RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
      message(WARNING \"The installed kit has no precompiled SystemC headers\")
    endif()"
    COMPONENT pch)
endif()

# The support library as a CMake package (find_package(CorvaneSupport) ->
# Corvane::support) and for pkg-config (corvane-support).
install(TARGETS corvane_support EXPORT CorvaneSupportTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(DIRECTORY util/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/corvane/util COMPONENT dev
  FILES_MATCHING PATTERN "*.h")
install(FILES driver/log.h driver/streams.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/corvane/driver
  COMPONENT dev)
install(EXPORT CorvaneSupportTargets NAMESPACE Corvane::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/CorvaneSupport COMPONENT dev)
configure_package_config_file(cmake/CorvaneSupportConfig.cmake.in
  ${PROJECT_BINARY_DIR}/CorvaneSupportConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/CorvaneSupport)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CorvaneSupportConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CorvaneSupportConfig.cmake
  ${PROJECT_BINARY_DIR}/CorvaneSupportConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/CorvaneSupport COMPONENT dev)
# The .pc file names the prefix relative to itself, so that the
# installation can move.
file(RELATIVE_PATH CORVANE_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" CORVANE_PC_PREFIX "${CORVANE_PC_PREFIX}")
configure_file(cmake/corvane-support.pc.in ${PROJECT_BINARY_DIR}/corvane-support.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/corvane-support.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev)

# ---------------------------------------------------------------------------
# The Debian package: cpack -G DEB in the build tree.
set(CPACK_PACKAGE_NAME quillc)
set(CPACK_PACKAGE_VENDOR "Corvane")
set(CPACK_PACKAGE_CONTACT "Corvane developers <quillc@corvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "SystemC compile driver of the Corvane logic-simulation suite")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_CMAKE_PROJECTS
  "${PROJECT_BINARY_DIR};${PROJECT_NAME};runtime;/"
  "${PROJECT_BINARY_DIR};${PROJECT_NAME};dev;/")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# quillc's commands run gcc on C++ sources against the system's SystemC;
# the wrapper generator reads port names from the sources through libclang,
# which needs its own built-in headers to parse them;
# the support library's users compile against fmt and link libcrypto;
# quillc-sim runs the models in any of the three free simulators.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "g++, libsystemc-dev, libclang1-14, libclang-common-14-dev")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  "verilator, iverilog, ghdl, libfmt-dev, libssl-dev, bash-completion")
set(QUILLC_INSTALLED_ENV ${CPACK_PACKAGING_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/quillc-env)
set(QUILLC_INSTALLED_KIT ${CPACK_PACKAGING_INSTALL_PREFIX}/${QUILLC_KIT_INSTALL_DIR})
foreach(script postinst prerm)
  configure_file(dist/debian/${script}.in ${PROJECT_BINARY_DIR}/debian/${script} @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                     WORLD_READ WORLD_EXECUTE)
endforeach()
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/debian/postinst ${PROJECT_BINARY_DIR}/debian/prerm
  ${PROJECT_SOURCE_DIR}/dist/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)

if(QUILLC_BUILD_TESTS)
  add_test(NAME install.ManPage COMMAND ${PROJECT_SOURCE_DIR}/dist/man_test.sh ${PROJECT_SOURCE_DIR}/dist/quillc.1)
  add_test(NAME install.ManPageSim
    COMMAND ${PROJECT_SOURCE_DIR}/dist/man_test.sh ${PROJECT_SOURCE_DIR}/dist/quillc-sim.1)
  add_test(NAME install.BashCompletion
    COMMAND ${PROJECT_SOURCE_DIR}/dist/completion_test.sh ${PROJECT_SOURCE_DIR}/dist/quillc.bash)
  # A package of the sanitizer tree would ship an instrumented kit, which
  # no user's plain gcc links: the package is tested in the ordinary tree.
  if(QUILLC_BUILD_KIT AND NOT QUILLC_SANITIZE)
    add_test(NAME install.DebianPackage
      COMMAND ${PROJECT_SOURCE_DIR}/dist/package_test.sh ${PROJECT_BINARY_DIR}
        $<TARGET_FILE:kit_cosim_loader> ${PROJECT_SOURCE_DIR})
    set_tests_properties(install.DebianPackage PROPERTIES TIMEOUT 600)
  endif()
endif()
