// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Copies within bounds.
#include "pictures/bytes/memory_bytes.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "base/error.h"

namespace veltra::pictures {

std::size_t MemorySource::ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept {
  if (offset >= bytes_.size() || size == 0) {
    return 0;
  }
  const auto start = static_cast<std::size_t>(offset);
  const std::size_t count = std::min(size, bytes_.size() - start);
  std::memcpy(out, bytes_.data() + start, count);
  return count;
}

bool MemorySink::Write(const void* bytes, std::size_t size) noexcept {
  if (failed_) {
    return false;
  }
  try {
    const auto start = static_cast<std::size_t>(position_);
    if (start + size > bytes_.size()) {
      bytes_.resize(start + size);
    }
    if (size != 0) {
      std::memcpy(bytes_.data() + start, bytes, size);
    }
    position_ += size;
  } catch (const std::exception&) {
    failed_ = true;
  }
  return !failed_;
}

bool MemorySink::Seek(std::uint64_t offset) noexcept {
  position_ = offset;
  return !failed_;
}

std::size_t MemorySink::ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept {
  return MemorySource(bytes_).ReadAt(offset, out, size);
}

void MemorySink::ThrowIfFailed() const {
  if (failed_) {
    throw RenderError("out of memory");
  }
}

}  // namespace veltra::pictures
