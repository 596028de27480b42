# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# Toolchain for Windows x64 from a Debian machine.

include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-compiler.cmake)

# The libraries that scripts/build-windows-libraries makes.
if(NOT DEFINED VELTRA_WINDOWS_LIBRARIES)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/build-windows-libraries --where
                  OUTPUT_VARIABLE VELTRA_WINDOWS_LIBRARIES OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VELTRA_WINDOWS_LIBRARIES)
list(PREPEND CMAKE_FIND_ROOT_PATH ${VELTRA_WINDOWS_LIBRARIES})

# Test programs run under Wine; one that stands alone needs no library path.
find_program(VELTRA_WINE NAMES wine64 wine wine64-stable HINTS /usr/lib/wine)
set(CMAKE_CROSSCOMPILING_EMULATOR ${VELTRA_WINE})
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
