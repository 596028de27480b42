// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Files and memory as sources and sinks of bytes.
#include "pictures/bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <limits>
#include <utility>

#include "base/error.h"
#include "base/text.h"

namespace veltra {
namespace {

// Enough for every picture the host can hold in a common format, and an end for an endless pipe.
constexpr std::size_t kMostPipeBytes = std::size_t{1} << 32;

class FileSource : public ByteSource {
 public:
  FileSource(int file, std::uint64_t size) : file_(file), size_(size) {}
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  ~FileSource() override { close(file_); }

  std::uint64_t Size() const override { return size_; }

  std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept override {
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()) - size) {
      return 0;
    }
    std::size_t done = 0;
    while (done < size) {
      const ssize_t got = pread(file_, static_cast<std::byte*>(out) + done, size - done,
                                static_cast<off_t>(offset + done));
      if (got > 0) {
        done += static_cast<std::size_t>(got);
      } else if (got == 0 || errno != EINTR) {
        break;
      }
    }
    return done;
  }

 private:
  int file_;
  std::uint64_t size_;
};

class OwnedMemorySource : public ByteSource {
 public:
  explicit OwnedMemorySource(std::vector<std::byte> bytes)
      : bytes_(std::move(bytes)), view_(bytes_) {}
  std::uint64_t Size() const override { return view_.Size(); }
  std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept override {
    return view_.ReadAt(offset, out, size);
  }

 private:
  std::vector<std::byte> bytes_;
  MemorySource view_;
};

std::unique_ptr<ByteSource> ReadPipe(int file) {
  constexpr std::size_t kChunk = std::size_t{1} << 20;
  std::vector<std::byte> bytes;
  std::size_t length = 0;
  ssize_t got = 0;
  do {
    bytes.resize(length + kChunk);
    got = read(file, bytes.data() + length, kChunk);
    length += got > 0 ? static_cast<std::size_t>(got) : 0;
  } while ((got > 0 || (got < 0 && errno == EINTR)) && length < kMostPipeBytes);
  const int reason = errno;
  close(file);
  if (got < 0) {
    throw RenderError(ReasonText(reason));
  }
  bytes.resize(length);
  return std::make_unique<OwnedMemorySource>(std::move(bytes));
}

}  // namespace

std::size_t MemorySource::ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept {
  if (offset >= bytes_.size() || size == 0) {
    return 0;
  }
  const auto start = static_cast<std::size_t>(offset);
  const std::size_t count = std::min(size, bytes_.size() - start);
  std::memcpy(out, bytes_.data() + start, count);
  return count;
}

std::unique_ptr<ByteSource> OpenFileSource(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    throw RenderError(ReasonText(errno));
  }
  struct stat status {};
  if (fstat(file, &status) != 0) {
    const int reason = errno;
    close(file);
    throw RenderError(ReasonText(reason));
  }
  if (S_ISDIR(status.st_mode)) {
    close(file);
    throw RenderError("is a directory");
  }
  if (!S_ISREG(status.st_mode)) {
    return ReadPipe(file);
  }
  return std::make_unique<FileSource>(file, static_cast<std::uint64_t>(status.st_size));
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

}  // namespace veltra
