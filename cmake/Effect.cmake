# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# The effect: its objects (also linked into the unit tests) and the library that ships.

add_library(
  veltra_effect_objects OBJECT
  entry/main_entry.cpp
  entry/registration.cpp
  entry/render_context.cpp
  entry/suite_cache.cpp
  params/params_setup.cpp
  render/path_geometry.cpp
  render/placement_record.cpp
  render/render_frame.cpp
  render/render_placement.cpp
  render/smart_pre_render.cpp
  render/pixel/frame_tables.cpp
  render/pixel/map_to_layer.cpp
  render/pixel/place_pixel.cpp
  render/pixel/place_pixel_filtered.cpp
  render/pixel/sample_wrapped.cpp
  render/pixel/span_rejection.cpp)
veltra_target(veltra_effect_objects)
target_link_libraries(veltra_effect_objects PUBLIC veltra_host_api veltra_numerics)
if(VELTRA_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Unsigned arithmetic that wraps and conversions that lose bits are defined, but in the effect
  # nobody means them, outside of the functions of numerics/ that are named for it.
  target_compile_options(
    veltra_effect_objects
    PRIVATE -fsanitize=integer -fno-sanitize-recover=all
            -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/integer_checks.txt)
  target_link_options(veltra_effect_objects PUBLIC -fsanitize=integer)
endif()
if(VELTRA_COVERAGE)
  foreach(target veltra_effect_objects veltra_numerics)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PUBLIC --coverage)
  endforeach()
endif()

add_library(veltra_effect MODULE)
veltra_target(veltra_effect)
target_link_libraries(veltra_effect PRIVATE veltra_effect_objects)

set(resources ${PROJECT_SOURCE_DIR}/resources)
if(WIN32)
  enable_language(RC)
  target_sources(veltra_effect PRIVATE ${resources}/veltra.rc ${resources}/veltra.def)
  set_source_files_properties(${resources}/veltra.rc PROPERTIES
    OBJECT_DEPENDS ${PROJECT_SOURCE_DIR}/entry/identity.h
    INCLUDE_DIRECTORIES ${PROJECT_SOURCE_DIR})
  set_target_properties(veltra_effect PROPERTIES PREFIX "" OUTPUT_NAME Veltra SUFFIX .aex)
  if(NOT MSVC)
    # Nothing but Windows' own libraries may be imported, and the same tree gives the same bytes.
    target_link_options(
      veltra_effect PRIVATE -static -static-libgcc -static-libstdc++ -s
      -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp)
  endif()
else()
  set_target_properties(veltra_effect PROPERTIES OUTPUT_NAME veltra SUFFIX .so)
  target_link_options(veltra_effect PRIVATE -Wl,--version-script=${resources}/veltra.map)
  set_target_properties(veltra_effect PROPERTIES LINK_DEPENDS ${resources}/veltra.map)
  if(NOT VELTRA_SANITIZE)
    # A sanitizer's runtime is resolved from the program that loads the library.
    target_link_options(veltra_effect PRIVATE -Wl,-z,defs)
  endif()
endif()
