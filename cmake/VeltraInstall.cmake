# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# What `cmake --install` copies, and where to; all of it below the prefix, which may be moved.

install(TARGETS veltra_effect LIBRARY DESTINATION ${VELTRA_INSTALL_EFFECTDIR})

# ---- The host, to build on: find_package(veltra) and veltra::host ----

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/veltra)
foreach(target base host host_api numerics system)
  set_target_properties(veltra_${target} PROPERTIES EXPORT_NAME ${target})
  install(TARGETS veltra_${target} EXPORT veltraTargets
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(DIRECTORY ${target} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/veltra
          FILES_MATCHING PATTERN "*.h" PATTERN tools EXCLUDE)
endforeach()
install(EXPORT veltraTargets NAMESPACE veltra:: DESTINATION ${package})
include(CMakePackageConfigHelpers)
set(effect_file libveltra.so)
if(WIN32)
  set(effect_file Veltra.aex)
endif()
configure_package_config_file(cmake/veltraConfig.cmake.in ${PROJECT_BINARY_DIR}/veltraConfig.cmake
                              INSTALL_DESTINATION ${package} PATH_VARS VELTRA_INSTALL_EFFECTDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/veltraConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/veltraConfig.cmake
              ${PROJECT_BINARY_DIR}/veltraConfigVersion.cmake DESTINATION ${package})

# ---- The program and what goes with it ----

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(NOT VELTRA_PROGRAM)
  return()
endif()
install(TARGETS veltra RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The program itself prints its manual page and its completion, which takes one that runs here.
if(CMAKE_CROSSCOMPILING OR VELTRA_SANITIZE OR VELTRA_COVERAGE)
  return()
endif()
set(printed ${PROJECT_BINARY_DIR}/printed)
file(MAKE_DIRECTORY ${printed})
# -n: neither a name nor a time in the file, so that every build makes the same.
find_program(VELTRA_GZIP gzip REQUIRED)
add_custom_command(
  OUTPUT ${printed}/veltra.1.gz
  COMMAND veltra manual > ${printed}/veltra.1
  COMMAND ${VELTRA_GZIP} -9nf ${printed}/veltra.1
  DEPENDS veltra veltra_effect
  VERBATIM)
add_custom_command(
  OUTPUT ${printed}/veltra
  COMMAND veltra completion > ${printed}/veltra
  DEPENDS veltra veltra_effect
  VERBATIM)
add_custom_target(veltra_printed ALL DEPENDS ${printed}/veltra.1.gz ${printed}/veltra)
install(FILES ${printed}/veltra.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${printed}/veltra DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
