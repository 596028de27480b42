// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A file that appears under its name only when it is whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "pictures/bytes.h"

namespace veltra {

/// Writes beside the target under a temporary name; Commit renames it into place. Without
/// Commit the temporary file goes and what was there before stays. A target that exists and is
/// not a regular file (a pipe, /dev/null) is written directly.
class OutputFile : public ByteSink {
 public:
  /// Throws RenderError "NAME: reason" where the file cannot be made.
  explicit OutputFile(const std::string& path);
  ~OutputFile() override;

  bool Write(const void* bytes, std::size_t size) noexcept override;
  bool Seek(std::uint64_t offset) noexcept override;
  std::uint64_t Tell() const noexcept override { return position_; }
  std::uint64_t Length() const noexcept override { return length_; }
  std::size_t ReadBack(std::uint64_t offset, void* out, std::size_t size) noexcept override;
  void ThrowIfFailed() const override;

  /// Makes the file appear. Throws RenderError "NAME: reason" and leaves the old one otherwise.
  void Commit();

 private:
  bool Flush() noexcept;
  void CloseAndRemove() noexcept;

  std::string name_;       ///< as the user wrote it, for messages
  std::string target_;     ///< after following links
  std::string temporary_;  ///< empty when written directly
  int file_ = -1;
  int failure_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t length_ = 0;
  std::vector<std::byte> buffer_;  ///< bytes just before position_
};

/// A name beside `path` that nothing has, with the same ending so that programs that go by the
/// ending accept it.
std::string TemporaryNameBeside(const std::string& path);

/// Deletes the temporary files that are being written. Safe in a signal handler.
void RemoveTemporaryFiles() noexcept;

/// Counts a file that something else writes (the video encoder) among the temporary ones.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string path);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  /// Deletes the file unless it was renamed.
  ~TemporaryFile();
  /// Gives the file its name. Throws RenderError "NAME: reason".
  void RenameTo(const std::string& target);
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace veltra
