# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# The packages for Debian machines: cpack -G DEB and cpack -G TGZ in the build folder.

set(CPACK_PACKAGE_NAME veltra)
set(CPACK_PACKAGE_VENDOR "The Veltra Authors")
set(CPACK_PACKAGE_CONTACT "The Veltra Authors <authors@veltra.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "places layers onto 360-degree footage")
set(CPACK_PACKAGE_DESCRIPTION
    "Lays a picture, a sequence or a video onto equirectangular footage along a great circle. Holds
the effect library, the veltra program that renders with it, and the headless host to build on.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

# Everything below /usr in the one, below a folder of its own in the other.
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/veltra_cpack.cmake)
set(CPACK_PACKAGE_FILE_NAME Veltra-${PROJECT_VERSION}-linux-x86_64)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://veltra.example)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS ffmpeg)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
