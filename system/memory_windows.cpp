// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Free memory as Windows counts it.
#include "system/memory.h"
#include "system/windows_api.h"

namespace veltra {

std::uint64_t AvailableMemory() {
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof(status);
  if (GlobalMemoryStatusEx(&status) == 0) {
    return kModestMemory;
  }
  return status.ullAvailPhys;
}

}  // namespace veltra
