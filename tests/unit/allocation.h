// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The unit tests' own operator new: it refuses what a test asks it to refuse, or asks the test.
#pragma once

#include <cstddef>

namespace veltra::unit {

/// Gives the memory of arrays that are asked for without exceptions, and takes it back.
class ArraySource {
 public:
  virtual ~ArraySource() = default;
  virtual void* Allocate(std::size_t size) = 0;
  /// Whether the block came from here.
  virtual bool Free(void* block) = 0;
};

/// The source of this thread; null is the ordinary heap.
extern thread_local ArraySource* arraySource;

}  // namespace veltra::unit
