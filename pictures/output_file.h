// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A file that appears under its name only when it is whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pictures/bytes/byte_sink.h"
#include "pictures/bytes/memory_bytes.h"
#include "system/files.h"
#include "system/temporary_files.h"

namespace veltra::pictures {

/// A file beside its target, under a name that nothing else has, that is deleted unless it gets
/// the target's name; also when the program is stopped.
class TemporaryFile {
 public:
  /// Counts on something else (the video encoder) to make the file of this name.
  explicit TemporaryFile(std::string path);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();
  /// Gives the file its name, in place of what had it. Throws RenderError "NAME: reason", and what
  /// had the name before stays.
  void RenameTo(const std::string& target);
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
  TemporaryTicket ticket_ = 0;
};

/// Deletes the temporary files of a submission's tasks (system/submission_mark.h) from a folder,
/// those of tasks that still run too; returns how many there were.
int RemoveLeftoversOf(const std::string& submission, const std::string& folder);

/// A name beside `path` that no other call and no other running program gives out, with the same
/// ending so that programs that go by the ending accept it.
std::string TemporaryNameBeside(const std::string& path);

/// Deletes the temporary files in the folder of `path` that programs left which were killed: on
/// this machine since it was started, or anywhere when they were not written to for a day.
void RemoveLeftovers(const std::string& path);

/// Writes beside the target under a temporary name; Commit renames it into place. Without
/// Commit the temporary file goes and what was there before stays. A target that exists and is
/// not a regular file (a pipe, /dev/null) gets the bytes once they are all there, since some
/// formats write again at an earlier place; "-" is standard output.
class OutputFile : public ByteSink {
 public:
  /// Throws RenderError "NAME: reason" where the file cannot be made.
  explicit OutputFile(const std::string& path);
  ~OutputFile() override;

  bool Write(const void* bytes, std::size_t size) noexcept override;
  bool Seek(std::uint64_t offset) noexcept override;
  std::uint64_t Tell() const noexcept override;
  std::uint64_t Length() const noexcept override;
  std::size_t ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept override;
  void ThrowIfFailed() const override;

  /// Makes the file appear. Throws RenderError "NAME: reason" and leaves the old one otherwise.
  void Commit();

 private:
  void Create(const FileStatus& before);
  bool Flush() noexcept;

  std::string name_;    ///< as the user wrote it, for messages
  std::string target_;  ///< after following links
  std::unique_ptr<TemporaryFile> temporary_;
  std::unique_ptr<MemorySink> collected_;  ///< what a pipe will get; null for a file
  File file_;
  int failure_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t length_ = 0;
  std::vector<std::byte> buffer_;  ///< bytes just before position_
};

/// Writes a whole text as an OutputFile; throws its errors.
void WriteText(const std::string& path, std::string_view text);

}  // namespace veltra::pictures
