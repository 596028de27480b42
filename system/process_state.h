// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What this process holds of the system: open files, threads and memory.
#pragma once

#include <cstdint>
#include <optional>

namespace veltra {

struct ProcessState {
  int openFiles = 0;
  int threads = 0;
  /// Bytes that malloc has given out; none where they cannot be known.
  std::optional<std::int64_t> heapBytes;

  static ProcessState Now();
};

}  // namespace veltra
