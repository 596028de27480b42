# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# Builds the effect library alone in another folder, with the settings of the first build.
#
# usage: cmake -DSOURCE=dir -DBUILD=dir -DGENERATOR=name -DTYPE=type -DTOOLCHAIN=file -DCC=c
#              -DCXX=c++ -P build_again.cmake

set(settings -G "${GENERATOR}" -DCMAKE_BUILD_TYPE=${TYPE} -DVELTRA_PROGRAM=OFF
    -DVELTRA_TESTS=OFF)
if(TOOLCHAIN)
  list(APPEND settings -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
else()
  list(APPEND settings -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX})
endif()
file(REMOVE_RECURSE ${BUILD})
foreach(step "-S;${SOURCE};-B;${BUILD};${settings}" "--build;${BUILD};--target;veltra_effect")
  execute_process(COMMAND ${CMAKE_COMMAND} ${step} RESULT_VARIABLE result OUTPUT_VARIABLE output
                  ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${output}")
  endif()
endforeach()
