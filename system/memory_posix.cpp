// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Free memory as Linux counts it.
#include <fstream>
#include <string>

#include "system/memory.h"

namespace veltra {

std::uint64_t AvailableMemory() {
  constexpr std::uint64_t kKilobyte = 1024;
  std::ifstream file("/proc/meminfo");
  std::string key;
  std::uint64_t kilobytes = 0;
  std::string unit;
  while (file >> key >> kilobytes) {
    if (key == "MemAvailable:") {
      return kilobytes * kKilobyte;
    }
    std::getline(file, unit);
  }
  return kModestMemory;
}

}  // namespace veltra
