// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Memory as a source and a sink of bytes.
#pragma once

#include <span>
#include <vector>

#include "pictures/bytes/byte_sink.h"
#include "pictures/bytes/byte_source.h"

namespace veltra::pictures {

/// Bytes in memory that outlive the source.
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}
  std::uint64_t Size() const noexcept override { return bytes_.size(); }
  std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept override;

 private:
  std::span<const std::byte> bytes_;
};

/// Collects the bytes in memory.
class MemorySink : public ByteSink {
 public:
  bool Write(const void* bytes, std::size_t size) noexcept override;
  bool Seek(std::uint64_t offset) noexcept override;
  std::uint64_t Tell() const noexcept override { return position_; }
  std::uint64_t Length() const noexcept override { return bytes_.size(); }
  std::size_t ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept override;
  /// There is one reason only: not enough memory.
  void ThrowIfFailed() const override;
  std::span<const std::byte> Bytes() const { return bytes_; }

 private:
  std::vector<std::byte> bytes_;
  std::uint64_t position_ = 0;
  bool failed_ = false;
};

}  // namespace veltra::pictures
