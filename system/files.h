// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Files as the operating system has them: opened, read and written at a place, renamed, removed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/expected.h"

namespace veltra {

/// What stands under a name. kOther is a pipe, a terminal or a device.
enum class FileKind { kNothing, kFile, kFolder, kOther };

struct FileStatus {
  FileKind kind = FileKind::kNothing;
  unsigned permissions = 0;  ///< for CreateNewFile of a file that replaces this one
};

/// What stands under this name, links followed.
FileStatus StatusOf(const std::string& path);

/// Zero when an existing file may be written to, otherwise the reason as an errno.
int CheckWritable(const std::string& path);

/// What an errno of these routines means, in lower case. A file that somebody holds open is "in use
/// by another program" where the system does not replace such files.
std::string FileReasonText(int failure);

/// An open file. The routines that return an int give zero or an errno (see FileReasonText).
class File {
 public:
  File() = default;
  ~File();
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool IsOpen() const { return handle_ >= 0; }
  /// What was opened; kFile has a length and can be read at any place.
  FileKind Kind() const { return kind_; }
  std::uint64_t Size() const { return size_; }  ///< when it was opened

  /// Up to `size` bytes from `offset` of a file; returns how many there were. Safe on several
  /// threads at once.
  std::size_t ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept;
  /// The next bytes of a pipe, at least one until it ends; returns how many. Waits for them, and
  /// throws Interrupted when the user asks to stop meanwhile, RenderError with the reason when
  /// reading fails.
  std::size_t ReadNext(void* out, std::size_t size) const;
  /// All bytes, at the place where the last ones ended.
  int Write(const void* bytes, std::size_t size) const noexcept;
  int Seek(std::uint64_t offset) const noexcept;
  /// Waits until the bytes are on their disk.
  int Sync() const noexcept;
  /// Closing may be what notices that the disk is full.
  int Close() noexcept;

 private:
  friend Expected<File> OpenForReading(const std::string& path);
  friend Expected<File> OpenForWriting(const std::string& path);
  friend Expected<File> CreateNewFile(const std::string& path, const FileStatus& like);
  friend File StandardInput();
  friend File StandardOutput();
  explicit File(int handle, bool owned = true);

  int handle_ = -1;
  bool owned_ = true;
  FileKind kind_ = FileKind::kNothing;
  std::uint64_t size_ = 0;
};

/// Opens what is there; a folder opens, but cannot be read. The failure is the reason alone.
Expected<File> OpenForReading(const std::string& path);

/// Opens what is there, to be written from its start on; nothing is cut off.
Expected<File> OpenForWriting(const std::string& path);

/// Makes a file that was not there, to be read and written, with the permissions of `like` where
/// that is a file. The failure is empty when the name is taken.
Expected<File> CreateNewFile(const std::string& path, const FileStatus& like);

/// The program's own ends; closing them does nothing.
File StandardInput();
File StandardOutput();

/// Gives the file another name, in place of what has it now. Zero or an errno.
int RenameOver(const std::string& from, const std::string& to) noexcept;

/// Safe in a signal handler. Failing is no news.
void RemoveFile(const char* path) noexcept;

/// The names in a folder, in no order; none where it cannot be read. Unlike the standard library's
/// iterators, which end the program then, it throws std::bad_alloc without memory.
std::vector<std::string> NamesIn(const std::string& folder);

/// A number that no other running program has.
int OwnProcessNumber();

}  // namespace veltra
