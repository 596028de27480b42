// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reading the process's own state on Linux.

#include "system/process_state.h"

#include <malloc.h>

#include <filesystem>
#include <iterator>

namespace veltra {
namespace {

int CountEntries(const char* directory) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(directory, error);
  return error ? 0 : static_cast<int>(std::distance(begin(entries), end(entries)));
}

}  // namespace

ProcessState ProcessState::Now() {
  ProcessState state;
  state.openFiles = CountEntries("/proc/self/fd");
  state.threads = CountEntries("/proc/self/task");
  const struct mallinfo2 heap = mallinfo2();
  // A sanitizer's allocator counts nothing here.
  if (heap.uordblks > 0) {
    state.heapBytes = static_cast<std::int64_t>(heap.uordblks + heap.hblkhd);
  }
  return state;
}

}  // namespace veltra
