// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A file is read in place; a pipe is kept as far as it was read.
#include "pictures/bytes/file_source.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "system/files.h"

namespace veltra::pictures {
namespace {

class FileSource : public ByteSource {
 public:
  explicit FileSource(File file) : file_(std::move(file)) {}

  std::uint64_t Size() const noexcept override { return file_.Size(); }
  std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept override {
    return file_.ReadAt(offset, out, size);
  }

 private:
  File file_;
};

/// Reads no more than it is asked for, so that what is no picture at all is noticed by its first
/// bytes, however long it goes on.
class PipeSource : public ByteSource {
 public:
  explicit PipeSource(File file) : file_(std::move(file)) {}

  std::uint64_t Size() const noexcept override {
    const std::lock_guard lock(mutex_);
    FillTo(kMostBytes);
    return length_;
  }

  std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept override {
    const std::lock_guard lock(mutex_);
    FillTo(offset + std::min<std::uint64_t>(size, kMostBytes));
    if (offset >= length_) {
      return 0;
    }
    const std::size_t count =
        std::min<std::size_t>(size, length_ - static_cast<std::size_t>(offset));
    std::memcpy(out, bytes_.data() + static_cast<std::size_t>(offset), count);
    return count;
  }

  void ThrowIfFailed() const override {
    const std::lock_guard lock(mutex_);
    if (failure_ != nullptr) {
      std::rethrow_exception(failure_);
    }
  }

 private:
  // Enough for every picture the host can hold in a common format.
  static constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 32;
  static constexpr std::size_t kChunk = std::size_t{1} << 16;

  void FillTo(std::uint64_t wanted) const noexcept {
    try {
      while (!ended_ && length_ < std::min(wanted, kMostBytes)) {
        if (bytes_.size() < length_ + kChunk) {
          bytes_.resize(std::max(length_ + kChunk, 2 * length_));
        }
        const std::size_t got = file_.ReadNext(bytes_.data() + length_, kChunk);
        length_ += got;
        ended_ = got == 0;
      }
      if (length_ >= kMostBytes) {
        throw RenderError("more than 4 GiB from a pipe (expected a file)");
      }
    } catch (const std::bad_alloc&) {
      Fail(std::make_exception_ptr(RenderError("not enough memory")));
    } catch (...) {
      Fail(std::current_exception());
    }
  }

  void Fail(std::exception_ptr failure) const noexcept {
    ended_ = true;
    failure_ = failure_ == nullptr ? std::move(failure) : failure_;
  }

  File file_;
  mutable std::mutex mutex_;
  mutable std::vector<std::byte> bytes_;
  mutable std::size_t length_ = 0;
  mutable bool ended_ = false;
  mutable std::exception_ptr failure_;
};

}  // namespace

std::unique_ptr<ByteSource> OpenFileSource(const std::string& path) {
  Expected<File> file = path == "-" ? Expected<File>(StandardInput()) : OpenForReading(path);
  if (!file) {
    throw RenderError(file.ErrorText());
  }
  switch (file->Kind()) {
    case FileKind::kFile:
      return std::make_unique<FileSource>(std::move(*file));
    case FileKind::kFolder:
      throw RenderError("is a directory");
    case FileKind::kOther:
    case FileKind::kNothing:
      break;
  }
  return std::make_unique<PipeSource>(std::move(*file));
}

}  // namespace veltra::pictures
