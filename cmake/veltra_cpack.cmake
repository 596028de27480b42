# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# What CPack does differently for one kind of package.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()
