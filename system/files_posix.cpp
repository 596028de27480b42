// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Files through POSIX.
#include "system/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "system/interrupt.h"

namespace veltra {
namespace {

constexpr mode_t kDefaultMode = 0666;
constexpr mode_t kPermissionBits = 07777;

FileKind KindOf(mode_t mode) {
  return S_ISREG(mode) ? FileKind::kFile : S_ISDIR(mode) ? FileKind::kFolder : FileKind::kOther;
}

}  // namespace

FileStatus StatusOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return {};
  }
  return {KindOf(status.st_mode), static_cast<unsigned>(status.st_mode & kPermissionBits)};
}

int CheckWritable(const std::string& path) {
  return access(path.c_str(), W_OK) == 0 ? 0 : errno;
}

std::string FileReasonText(int failure) {
  return ReasonText(failure);
}

File::File(int handle, bool owned) : handle_(handle), owned_(owned) {
  struct stat status {};
  if (fstat(handle, &status) == 0) {
    kind_ = KindOf(status.st_mode);
    size_ = static_cast<std::uint64_t>(status.st_size);
  }
}

std::size_t File::ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept {
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()) - size) {
    return 0;
  }
  std::size_t done = 0;
  while (done < size) {
    const ssize_t got = pread(handle_, static_cast<std::byte*>(out) + done, size - done,
                              static_cast<off_t>(offset + done));
    if (got > 0) {
      done += static_cast<std::size_t>(got);
    } else if (got == 0 || errno != EINTR) {
      break;
    }
  }
  return done;
}

std::size_t File::ReadNext(void* out, std::size_t size) const {
  constexpr int kPatience = 100;  // milliseconds between looks at the user's wish to stop
  for (;;) {
    ThrowIfInterrupted();
    pollfd wanted{handle_, POLLIN, 0};
    if (poll(&wanted, 1, kPatience) <= 0) {  // also when a signal came
      continue;
    }
    const ssize_t got = read(handle_, out, size);
    if (got >= 0) {
      return static_cast<std::size_t>(got);
    }
    if (errno != EINTR && errno != EAGAIN) {
      throw RenderError(ReasonText(errno));
    }
  }
}

int File::Write(const void* bytes, std::size_t size) const noexcept {
  const auto* next = static_cast<const std::byte*>(bytes);
  while (size != 0) {
    const ssize_t put = write(handle_, next, size);
    if (put >= 0) {
      next += put;
      size -= static_cast<std::size_t>(put);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int File::Seek(std::uint64_t offset) const noexcept {
  return lseek(handle_, static_cast<off_t>(offset), SEEK_SET) < 0 ? errno : 0;
}

int File::Sync() const noexcept {
  return fsync(handle_) == 0 ? 0 : errno;
}

int File::Close() noexcept {
  const int handle = std::exchange(handle_, -1);
  return handle < 0 || !owned_ || close(handle) == 0 ? 0 : errno;
}

Expected<File> OpenForReading(const std::string& path) {
  // Without waiting: the other end of a named pipe may never come, and ReadNext can be stopped.
  const int handle = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (handle < 0) {
    return Failure{ReasonText(errno)};
  }
  return File(handle);
}

Expected<File> OpenForWriting(const std::string& path) {
  const int handle = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (handle < 0) {
    return Failure{ReasonText(errno)};
  }
  return File(handle);
}

Expected<File> CreateNewFile(const std::string& path, const FileStatus& like) {
  const int handle = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kDefaultMode);
  if (handle < 0) {
    return Failure{errno == EEXIST ? std::string() : ReasonText(errno)};
  }
  if (like.kind == FileKind::kFile) {
    // The new file keeps the rights of the one it replaces; failing to is no reason to stop.
    static_cast<void>(fchmod(handle, static_cast<mode_t>(like.permissions)));
  }
  return File(handle);
}

File StandardInput() {
  return File(STDIN_FILENO, false);
}

File StandardOutput() {
  return File(STDOUT_FILENO, false);
}

int RenameOver(const std::string& from, const std::string& to) noexcept {
  return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

void RemoveFile(const char* path) noexcept {
  unlink(path);
}

std::vector<std::string> NamesIn(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> open(
      opendir(folder.c_str()), [](DIR* directory) { return closedir(directory); });
  std::vector<std::string> names;
  for (dirent* entry = nullptr; open != nullptr && (entry = readdir(open.get())) != nullptr;) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      names.emplace_back(name);
    }
  }
  return names;
}

int OwnProcessNumber() {
  return getpid();
}

}  // namespace veltra
