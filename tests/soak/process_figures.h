// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What this process holds of the system: memory, file handles, threads, mapped libraries.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace veltra::soak {

struct Figures {
  long residentKiB = 0;
  long handles = 0;
  long threads = 0;
};

inline long EntriesOf(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder),
                       std::filesystem::directory_iterator());
}

inline Figures MeasureProcess() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return {resident * (sysconf(_SC_PAGESIZE) / 1024), EntriesOf("/proc/self/fd"),
          EntriesOf("/proc/self/task")};
}

/// Whether a file of this name is mapped into the process.
inline bool IsMapped(const std::string& fileName) {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    if (line.ends_with("/" + fileName)) {
      return true;
    }
  }
  return false;
}

}  // namespace veltra::soak
