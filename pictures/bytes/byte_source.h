// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Where picture readers read from.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veltra::pictures {

/// Bytes of known length that can be read anywhere. Reading is safe on several threads at once,
/// and may be called from within C libraries: it never throws.
class ByteSource {
 public:
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;
  virtual ~ByteSource() = default;

  virtual std::uint64_t Size() const noexcept = 0;
  /// Copies up to `size` bytes from `offset`; returns how many there were. Fewer than asked
  /// mean the end of the data or a reading error.
  virtual std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept = 0;
  /// Throws what reading ran into, if it was more than the end: Interrupted, or RenderError with
  /// the reason, without a name.
  virtual void ThrowIfFailed() const {}
};

}  // namespace veltra::pictures
