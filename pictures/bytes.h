// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Bytes that picture readers read from and picture writers write to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace veltra {

/// Bytes of known length that can be read anywhere. Reading never throws, so that it may be
/// called from within C libraries, and is safe on several threads at once.
class ByteSource {
 public:
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;
  virtual ~ByteSource() = default;

  virtual std::uint64_t Size() const = 0;
  /// Copies up to `size` bytes from `offset`; returns how many there were. Fewer than asked
  /// mean the end of the data or a reading error.
  virtual std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept = 0;
};

/// Bytes in memory that outlive the source.
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}
  std::uint64_t Size() const override { return bytes_.size(); }
  std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept override;

 private:
  std::span<const std::byte> bytes_;
};

/// Opens a file for reading. Something that is not a regular file (a pipe) is read into memory
/// whole. Throws RenderError with the reason, without the name.
std::unique_ptr<ByteSource> OpenFileSource(const std::string& path);

/// Where a picture is written. Failing never throws but sticks: later writes do nothing, and
/// ThrowIfFailed tells the reason.
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

/// Collects the bytes in memory.
class MemorySink : public ByteSink {
 public:
  bool Write(const void* bytes, std::size_t size) noexcept override;
  bool Seek(std::uint64_t offset) noexcept override;
  std::uint64_t Tell() const noexcept override { return position_; }
  std::uint64_t Length() const noexcept override { return bytes_.size(); }
  std::size_t ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept override;
  void ThrowIfFailed() const override;
  std::span<const std::byte> Bytes() const { return bytes_; }

 private:
  std::vector<std::byte> bytes_;
  std::uint64_t position_ = 0;
  bool failed_ = false;
};

}  // namespace veltra
