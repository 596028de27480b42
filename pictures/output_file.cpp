// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Temporary names, their removal on every way out, and buffered writing.
#include "pictures/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "base/error.h"
#include "base/text.h"

namespace veltra {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 17;

// ---- Temporary files that a signal must remove ----
// A fixed table: a signal handler can neither lock nor allocate.

constexpr std::size_t kMostTemporaries = 256;
constexpr std::size_t kLongestPath = 1024;

struct TemporarySlot {
  std::atomic<int> state{0};  // 0 free, 1 being filled, 2 in use
  std::array<char, kLongestPath> path{};
};

std::array<TemporarySlot, kMostTemporaries>& Temporaries() {
  static std::array<TemporarySlot, kMostTemporaries> slots;
  return slots;
}

void RememberTemporary(const std::string& path) {
  if (path.size() >= kLongestPath) {
    return;
  }
  for (TemporarySlot& slot : Temporaries()) {
    int expected = 0;
    if (slot.state.compare_exchange_strong(expected, 1)) {
      std::memcpy(slot.path.data(), path.c_str(), path.size() + 1);
      slot.state.store(2);
      return;
    }
  }
}

void ForgetTemporary(const std::string& path) {
  for (TemporarySlot& slot : Temporaries()) {
    if (slot.state.load() == 2 && path == slot.path.data()) {
      slot.state.store(0);
      return;
    }
  }
}

std::string Reason(const std::string& name, int failure) {
  return Text(name, ": ", ReasonText(failure));
}

/// Follows links, so that writing through a link replaces the file and not the link.
std::string FollowLinks(const std::string& path) {
  std::error_code ignored;
  if (!std::filesystem::is_symlink(path, ignored)) {
    return path;
  }
  const std::filesystem::path real = std::filesystem::weakly_canonical(path, ignored);
  return ignored ? path : real.string();
}

}  // namespace

std::string TemporaryNameBeside(const std::string& path) {
  static std::atomic<unsigned> counter{0};
  const std::filesystem::path target(path);
  const std::string name = Text(".", target.stem().string(), ".veltra-", getpid(), "-", counter++,
                                target.extension().string());
  return (target.parent_path() / name).string();
}

void RemoveTemporaryFiles() noexcept {
  for (TemporarySlot& slot : Temporaries()) {
    if (slot.state.load() == 2) {
      unlink(slot.path.data());
    }
  }
}

OutputFile::OutputFile(const std::string& path) : name_(path), target_(FollowLinks(path)) {
  struct stat status {};
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) {
    throw RenderError(name_ + ": is a directory");
  }
  constexpr mode_t kDefaultMode = 0666;
  if (exists && !S_ISREG(status.st_mode)) {
    file_ = open(target_.c_str(), O_WRONLY | O_CLOEXEC);
  } else {
    if (exists && access(target_.c_str(), W_OK) != 0) {
      throw RenderError(Reason(name_, errno));
    }
    temporary_ = TemporaryNameBeside(target_);
    file_ = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kDefaultMode);
  }
  if (file_ < 0) {
    throw RenderError(Reason(name_, errno));
  }
  if (!temporary_.empty()) {
    RememberTemporary(temporary_);
    if (exists) {
      // The new file keeps the rights of the one it replaces; failing to is no reason to stop.
      static_cast<void>(fchmod(file_, status.st_mode & 07777));
    }
  }
  buffer_.reserve(kBufferBytes);
}

OutputFile::~OutputFile() {
  CloseAndRemove();
}

void OutputFile::CloseAndRemove() noexcept {
  if (file_ < 0) {
    return;
  }
  close(file_);
  file_ = -1;
  if (!temporary_.empty()) {
    unlink(temporary_.c_str());
    ForgetTemporary(temporary_);
  }
}

bool OutputFile::Flush() noexcept {
  const std::byte* next = buffer_.data();
  std::size_t left = buffer_.size();
  while (left != 0 && failure_ == 0) {
    const ssize_t put = write(file_, next, left);
    if (put >= 0) {
      next += put;
      left -= static_cast<std::size_t>(put);
    } else if (errno != EINTR) {
      failure_ = errno;
    }
  }
  buffer_.clear();
  return failure_ == 0;
}

bool OutputFile::Write(const void* bytes, std::size_t size) noexcept {
  if (failure_ != 0) {
    return false;
  }
  const auto* next = static_cast<const std::byte*>(bytes);
  position_ += size;
  length_ = std::max(length_, position_);
  if (buffer_.size() + size <= kBufferBytes) {
    buffer_.insert(buffer_.end(), next, next + size);  // within what was reserved
    return true;
  }
  if (!Flush()) {
    return false;
  }
  while (size != 0) {
    const ssize_t put = write(file_, next, size);
    if (put >= 0) {
      next += put;
      size -= static_cast<std::size_t>(put);
    } else if (errno != EINTR) {
      failure_ = errno;
      return false;
    }
  }
  return true;
}

bool OutputFile::Seek(std::uint64_t offset) noexcept {
  if (offset == position_) {
    return failure_ == 0;
  }
  if (!Flush()) {
    return false;
  }
  if (lseek(file_, static_cast<off_t>(offset), SEEK_SET) < 0) {
    failure_ = errno;
    return false;
  }
  position_ = offset;
  return true;
}

std::size_t OutputFile::ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept {
  if (!Flush()) {
    return 0;
  }
  const ssize_t got = pread(file_, out, size, static_cast<off_t>(offset));
  return got > 0 ? static_cast<std::size_t>(got) : 0;
}

void OutputFile::ThrowIfFailed() const {
  if (failure_ != 0) {
    throw RenderError(Reason(name_, failure_));
  }
}

void OutputFile::Commit() {
  Flush();
  ThrowIfFailed();
  const int file = file_;
  file_ = -1;
  int failure = close(file) == 0 ? 0 : errno;
  if (!temporary_.empty()) {
    if (failure == 0 && std::rename(temporary_.c_str(), target_.c_str()) != 0) {
      failure = errno;
    }
    if (failure != 0) {
      unlink(temporary_.c_str());
    }
    ForgetTemporary(temporary_);
  }
  if (failure != 0) {
    throw RenderError(Reason(name_, failure));
  }
}

TemporaryFile::TemporaryFile(std::string path) : path_(std::move(path)) {
  RememberTemporary(path_);
}

TemporaryFile::~TemporaryFile() {
  if (!path_.empty()) {
    unlink(path_.c_str());
    ForgetTemporary(path_);
  }
}

void TemporaryFile::RenameTo(const std::string& target) {
  if (std::rename(path_.c_str(), FollowLinks(target).c_str()) != 0) {
    throw RenderError(Reason(target, errno));
  }
  ForgetTemporary(path_);
  path_.clear();
}

}  // namespace veltra
