// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Where picture writers write to.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veltra::pictures {

/// Bytes that are written one after the other, and again at an earlier place where the format
/// needs it. Failing never throws but sticks: later writes do nothing, and ThrowIfFailed tells the
/// reason.
class ByteSink {
 public:
  ByteSink() = default;
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;
  virtual ~ByteSink() = default;

  virtual bool Write(const void* bytes, std::size_t size) noexcept = 0;
  virtual bool Seek(std::uint64_t offset) noexcept = 0;
  virtual std::uint64_t Tell() const noexcept = 0;
  /// How long the whole is so far.
  virtual std::uint64_t Length() const noexcept = 0;
  /// Reads back what was written, as some formats do; returns the bytes there were.
  virtual std::size_t ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept = 0;
  /// Throws RenderError with the reason of the first failure, if there was one.
  virtual void ThrowIfFailed() const = 0;
};

}  // namespace veltra::pictures
