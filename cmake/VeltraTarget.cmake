# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# veltra_target(NAME): the language, warnings and arithmetic every target of the project shares.

set(VELTRA_WARNINGS
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wcast-qual
    -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wundef
    -Wdouble-promotion -Wformat=2 -Wvla)
if(VELTRA_WERROR)
  list(APPEND VELTRA_WARNINGS -Werror)
endif()

# veltra_includes(NAME SCOPE): "room/header.h" finds its header, here and where it is installed.
function(veltra_includes name scope)
  target_include_directories(
    ${name} ${scope} $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                     $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/veltra>)
endfunction()

function(veltra_target name)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(
    ${name}
    PROPERTIES CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               POSITION_INDEPENDENT_CODE ON)
  veltra_includes(${name} PUBLIC)
  if(MSVC)
    target_compile_options(${name} PRIVATE /W4 $<$<BOOL:${VELTRA_WERROR}>:/WX> /fp:precise /utf-8)
  else()
    # The same picture from every compiler: no fused multiply-add, no value-changing shortcuts.
    target_compile_options(${name} PRIVATE ${VELTRA_WARNINGS} -ffp-contract=off -fno-fast-math)
    if(EMSCRIPTEN)
      # Sizes have 32 bits there; what passes through 64 to be safe on the way fits them.
      target_compile_options(${name} PRIVATE -Wno-shorten-64-to-32)
    endif()
    if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # For Windows gcc lets callers of an inline function keep values in registers that their own
      # copy of it spares, although the linker may take another file's copy that does not.
      target_compile_options(${name} PRIVATE -fno-ipa-ra)
    endif()
  endif()
  if(VELTRA_SANITIZE)
    target_compile_options(${name} PRIVATE -fsanitize=${VELTRA_SANITIZE}
                                           -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${name} PUBLIC -fsanitize=${VELTRA_SANITIZE})
  endif()
endfunction()

# veltra_precompile(NAME [HEADER...]): with VELTRA_PRECOMPILE, the headers of the standard library
# that files name most are read once for the whole target, and the further ones given. On in the
# sanitizers' presets only: elsewhere a file that forgets a header must not compile, and gcc warns
# of what it inlines from headers that it has read like that.
function(veltra_precompile name)
  if(VELTRA_PRECOMPILE)
    target_precompile_headers(
      ${name}
      PRIVATE
      <algorithm>
      <array>
      <atomic>
      <cmath>
      <cstdint>
      <cstdio>
      <cstdlib>
      <cstring>
      <filesystem>
      <functional>
      <limits>
      <map>
      <memory>
      <mutex>
      <optional>
      <set>
      <span>
      <string>
      <string_view>
      <thread>
      <utility>
      <vector>
      ${ARGN})
  endif()
endfunction()

# veltra_join(NAME [APART file...]): with VELTRA_JOIN, the files of the target are compiled twenty
# in one, but for those apart, which use a name for different things. On where time counts; the
# release build shows that every file compiles by itself.
function(veltra_join name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "APART")
  if(VELTRA_JOIN)
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 20)
    set_source_files_properties(${arg_APART} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # Of what it inlines into as much as this, gcc 12 thinks that it is null or overlaps.
      target_compile_options(${name} PRIVATE -Wno-null-dereference -Wno-restrict)
    endif()
  endif()
endfunction()
