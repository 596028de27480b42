// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Temporary names, their removal on every way out, and buffered writing.
#include "pictures/output_file.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <string_view>
#include <utility>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "system/process_mark.h"
#include "system/submission_mark.h"

namespace veltra::pictures {
namespace {

constexpr std::string_view kInfix = ".veltra-";  // in every temporary name
constexpr std::size_t kBufferBytes = std::size_t{1} << 17;

std::string Reason(const std::string& name, int failure) {
  return Text(name, ": ", FileReasonText(failure));
}

/// Follows links, so that writing through a link replaces the file and not the link.
std::string FollowLinks(const std::string& path) {
  std::error_code ignored;
  if (!std::filesystem::is_symlink(PathOf(path), ignored)) {
    return path;
  }
  const std::filesystem::path real = std::filesystem::weakly_canonical(PathOf(path), ignored);
  return ignored ? path : real.string();
}

/// The mark of the process in a temporary name, ".STEM.veltra-MARK-COUNTER.EXTENSION", where
/// "-SUBMISSION" may follow the counter; empty where it is none.
std::string MarkIn(const std::string& name) {
  const std::size_t infix = name.rfind(kInfix);
  if (!name.starts_with('.') || infix == std::string::npos) {
    return {};
  }
  const std::size_t start = infix + kInfix.size();
  const std::size_t middle = name.find('-', start);
  const std::size_t end = name.find('-', std::min(middle, name.size() - 1) + 1);
  return middle == std::string::npos || end == std::string::npos ? std::string()
                                                                 : name.substr(start, end - start);
}

/// What a submission's mark adds to a temporary name.
std::string Ending(const std::string& submission) {
  return submission.empty() ? std::string() : Text("-", submission);
}

/// Nobody works at one frame that long without writing; a video is written to all the time.
bool IsOld(const std::filesystem::path& file) {
  std::error_code failure;
  const auto written = std::filesystem::last_write_time(file, failure);
  return !failure &&
         std::filesystem::file_time_type::clock::now() - written > std::chrono::hours(24);
}

}  // namespace

void RemoveLeftovers(const std::string& path) {
  if (!SubmissionMark().empty()) {
    return;  // its last task does, once for all: listing the folder in each would be too much
  }
  const std::filesystem::path target = PathOf(FollowLinks(path));
  const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
  for (const std::string& name : NamesIn(folder.string())) {
    const std::string mark = MarkIn(name);
    const std::filesystem::path file = folder / PathOf(name);
    std::error_code ignored;
    if (!mark.empty() &&
        std::filesystem::is_regular_file(std::filesystem::symlink_status(file, ignored)) &&
        (IsMarkOfEndedProcess(mark) || IsOld(file))) {
      RemoveFile(file.string().c_str());
    }
  }
}

int RemoveLeftoversOf(const std::string& submission, const std::string& folder) {
  int removed = 0;
  for (const std::string& name : NamesIn(folder)) {
    const std::filesystem::path file = PathOf(folder) / PathOf(name);
    const std::size_t ending = name.rfind(Ending(submission));
    if (!MarkIn(name).empty() && ending != std::string::npos && ending > name.rfind(kInfix)) {
      RemoveFile(file.string().c_str());
      ++removed;
    }
  }
  return removed;
}

std::string TemporaryNameBeside(const std::string& path) {
  static std::atomic<unsigned> counter{0};
  const std::filesystem::path target = PathOf(path);
  const std::string name = Text(".", target.stem().string(), kInfix, OwnProcessMark(), "-",
                                counter++, Ending(SubmissionMark()), target.extension().string());
  return (target.parent_path() / PathOf(name)).string();
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
      collected_ = std::make_unique<MemorySink>();
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
      try {
        temporary_ = std::make_unique<TemporaryFile>(temporary);
      } catch (...) {  // no memory to remember it by
        file_.Close();
        RemoveFile(temporary.c_str());
        throw;
      }
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

std::uint64_t OutputFile::Tell() const noexcept {
  return collected_ != nullptr ? collected_->Tell() : position_;
}

std::uint64_t OutputFile::Length() const noexcept {
  return collected_ != nullptr ? collected_->Length() : length_;
}

bool OutputFile::Write(const void* bytes, std::size_t size) noexcept {
  if (collected_ != nullptr) {
    return collected_->Write(bytes, size);
  }
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
  if (collected_ != nullptr) {
    return collected_->Seek(offset);
  }
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
  if (collected_ != nullptr) {
    return collected_->ReadBack(offset, out, size);
  }
  return Flush() ? file_.ReadAt(offset, out, size) : 0;
}

void OutputFile::ThrowIfFailed() const {
  if (collected_ != nullptr) {
    collected_->ThrowIfFailed();
  }
  if (failure_ != 0) {
    throw RenderError(Reason(name_, failure_));
  }
}

void OutputFile::Commit() {
  ThrowIfFailed();
  if (collected_ != nullptr) {
    failure_ = file_.Write(collected_->Bytes().data(), collected_->Bytes().size());
  } else {
    Flush();
  }
  ThrowIfFailed();
  // On a farm a name must not outlive the bytes when its machine loses power.
  failure_ = temporary_ != nullptr && !SubmissionMark().empty() ? file_.Sync() : 0;
  ThrowIfFailed();
  failure_ = file_.Close();
  ThrowIfFailed();
  if (temporary_ != nullptr) {
    temporary_->RenameTo(name_);
  }
}

void WriteText(const std::string& path, std::string_view text) {
  OutputFile file(path);
  file.Write(text.data(), text.size());
  file.Commit();
}

}  // namespace veltra::pictures
