// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Temporary names, their removal on every way out, and buffered writing.
#include "pictures/output_file.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <utility>

#include "base/error.h"
#include "base/text.h"

namespace veltra::pictures {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 17;

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
  const std::string name = Text(".", target.stem().string(), ".veltra-", OwnProcessNumber(), "-",
                                counter++, target.extension().string());
  return (target.parent_path() / name).string();
}

TemporaryFile::TemporaryFile(std::string path)
    : path_(std::move(path)), ticket_(RememberTemporary(path_)) {}

TemporaryFile::~TemporaryFile() {
  if (!path_.empty()) {
    RemoveFile(path_.c_str());
    ForgetTemporary(ticket_);
  }
}

void TemporaryFile::RenameTo(const std::string& target) {
  const int failure = RenameOver(path_, FollowLinks(target));
  if (failure != 0) {
    throw RenderError(Reason(target, failure));
  }
  ForgetTemporary(ticket_);
  path_.clear();
}

OutputFile::OutputFile(const std::string& path) : name_(path), target_(FollowLinks(path)) {
  const FileStatus before = path == "-" ? FileStatus{FileKind::kOther} : StatusOf(target_);
  switch (before.kind) {
    case FileKind::kFolder:
      throw RenderError(name_ + ": is a directory");
    case FileKind::kOther: {
      Expected<File> file =
          path == "-" ? Expected<File>(StandardOutput()) : OpenForWriting(target_);
      if (!file) {
        throw RenderError(Text(name_, ": ", file.ErrorText()));
      }
      file_ = std::move(*file);
      break;
    }
    case FileKind::kFile:
      if (const int failure = CheckWritable(target_)) {
        throw RenderError(Reason(name_, failure));
      }
      Create(before);
      break;
    case FileKind::kNothing:
      Create(before);
      break;
  }
  buffer_.reserve(kBufferBytes);
}

OutputFile::~OutputFile() {
  file_.Close();  // before the file is deleted
}

void OutputFile::Create(const FileStatus& before) {
  // A name may be left from a program that was killed and had our number.
  constexpr int kMostLeftovers = 1000;
  for (int i = 0; i < kMostLeftovers; ++i) {
    const std::string temporary = TemporaryNameBeside(target_);
    Expected<File> file = CreateNewFile(temporary, before);
    if (file) {
      file_ = std::move(*file);
      temporary_ = std::make_unique<TemporaryFile>(temporary);
      return;
    }
    if (!file.ErrorText().empty()) {
      throw RenderError(Text(name_, ": ", file.ErrorText()));
    }
  }
  throw RenderError(name_ + ": its temporary names are all taken (remove .*.veltra-* beside it)");
}

bool OutputFile::Flush() noexcept {
  if (failure_ == 0) {
    failure_ = file_.Write(buffer_.data(), buffer_.size());
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
  if (Flush()) {
    failure_ = file_.Write(next, size);
  }
  return failure_ == 0;
}

bool OutputFile::Seek(std::uint64_t offset) noexcept {
  if (offset == position_) {
    return failure_ == 0;
  }
  if (Flush()) {
    failure_ = file_.Seek(offset);
    position_ = offset;
  }
  return failure_ == 0;
}

std::size_t OutputFile::ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept {
  return Flush() ? file_.ReadAt(offset, out, size) : 0;
}

void OutputFile::ThrowIfFailed() const {
  if (failure_ != 0) {
    throw RenderError(Reason(name_, failure_));
  }
}

void OutputFile::Commit() {
  Flush();
  ThrowIfFailed();
  failure_ = file_.Close();
  ThrowIfFailed();
  if (temporary_ != nullptr) {
    temporary_->RenameTo(name_);
  }
}

}  // namespace veltra::pictures
