// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Files through Windows' own calls: names in UTF-8, of any length, and files of any size.
#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "system/files.h"
#include "system/interrupt.h"
#include "system/windows_api.h"

namespace veltra {
namespace {

// Others may read what we write, rename it or take it away, as elsewhere.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;

HANDLE SystemHandle(int handle) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the C library hands it out as a number.
  return reinterpret_cast<HANDLE>(_get_osfhandle(handle));
}

FileKind KindOf(HANDLE handle) {
  if (GetFileType(handle) != FILE_TYPE_DISK) {
    return FileKind::kOther;
  }
  BY_HANDLE_FILE_INFORMATION information{};
  const bool isFolder = GetFileInformationByHandle(handle, &information) != 0 &&
                        (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isFolder ? FileKind::kFolder : FileKind::kFile;
}

/// Opens the file and hands it to the C library, whose descriptors the File class keeps; -1 and
/// the reason where that fails.
int Open(const std::string& path, DWORD access, DWORD disposition, DWORD flags, int& failure) {
  HANDLE handle = CreateFileW(WidePath(path).c_str(), access, kShareAll, nullptr, disposition,
                              flags | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    failure = ErrnoOf(GetLastError());
    return -1;
  }
  const int number =
      _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY | _O_NOINHERIT);
  if (number < 0) {
    failure = errno;
    CloseHandle(handle);
  }
  return number;
}

/// Pipes and other devices, which begin with "\\.\", but no file of a drive named like that.
bool IsDeviceName(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return path.starts_with("\\\\.\\") && path.find(":\\") != 5;
}

}  // namespace

FileStatus StatusOf(const std::string& path) {
  if (IsDeviceName(path)) {
    return {FileKind::kOther, 0};  // to open it would be taken for a visit
  }
  const Handle handle(CreateFileW(WidePath(path).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (handle.Valid()) {
    return {KindOf(handle.Get()), 0};
  }
  const DWORD attributes = GetFileAttributesW(WidePath(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return {};
  }
  const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return {isFolder ? FileKind::kFolder : FileKind::kFile, 0};
}

int CheckWritable(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(WidePath(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return ErrnoOf(GetLastError());
  }
  const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return !isFolder && (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? EACCES : 0;
}

std::string FileReasonText(int failure) {
  // The C library calls it a busy device.
  return failure == EBUSY ? "in use by another program" : ReasonText(failure);
}

File::File(int handle, bool owned) : handle_(handle), owned_(owned) {
  HANDLE system = SystemHandle(handle);
  if (system == INVALID_HANDLE_VALUE) {
    return;
  }
  kind_ = KindOf(system);
  LARGE_INTEGER size{};
  if (kind_ == FileKind::kFile && GetFileSizeEx(system, &size) != 0) {
    size_ = static_cast<std::uint64_t>(size.QuadPart);
  }
}

std::size_t File::ReadAt(std::uint64_t offset, void* out, std::size_t size) const noexcept {
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<LONGLONG>::max()) - size) {
    return 0;
  }
  HANDLE system = SystemHandle(handle_);
  // A read at a place moves the place at which the file is written on.
  LARGE_INTEGER before{};
  SetFilePointerEx(system, LARGE_INTEGER{}, &before, FILE_CURRENT);
  std::size_t done = 0;
  while (done < size) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>((offset + done) & 0xFFFFFFFFU);
    place.OffsetHigh = static_cast<DWORD>((offset + done) >> 32U);
    DWORD got = 0;
    const auto wanted = static_cast<DWORD>(std::min(size - done, kMostAtOnce));
    if (ReadFile(system, static_cast<std::byte*>(out) + done, wanted, &got, &place) == 0 ||
        got == 0) {
      break;
    }
    done += got;
  }
  SetFilePointerEx(system, before, nullptr, FILE_BEGIN);
  return done;
}

std::size_t File::ReadNext(void* out, std::size_t size) const {
  constexpr DWORD kPatience = 5;  // milliseconds between looks at the pipe
  HANDLE system = SystemHandle(handle_);
  for (;;) {
    ThrowIfInterrupted();
    DWORD waiting = 0;
    if (GetFileType(system) == FILE_TYPE_PIPE &&
        PeekNamedPipe(system, nullptr, 0, nullptr, &waiting, nullptr) != 0 && waiting == 0) {
      Sleep(kPatience);
      continue;
    }
    DWORD got = 0;
    if (ReadFile(system, out, static_cast<DWORD>(std::min(size, kMostAtOnce)), &got, nullptr) !=
        0) {
      return got;
    }
    const int failure = ErrnoOf(GetLastError());
    if (failure == EPIPE) {
      return 0;  // the other end is closed
    }
    throw RenderError(FileReasonText(failure));
  }
}

int File::Write(const void* bytes, std::size_t size) const noexcept {
  const auto* next = static_cast<const std::byte*>(bytes);
  while (size != 0) {
    DWORD put = 0;
    const auto wanted = static_cast<DWORD>(std::min(size, kMostAtOnce));
    if (WriteFile(SystemHandle(handle_), next, wanted, &put, nullptr) == 0) {
      return ErrnoOf(GetLastError());
    }
    if (put == 0) {
      return EIO;
    }
    next += put;
    size -= put;
  }
  return 0;
}

int File::Seek(std::uint64_t offset) const noexcept {
  LARGE_INTEGER place{};
  place.QuadPart = static_cast<LONGLONG>(offset);
  const bool done = SetFilePointerEx(SystemHandle(handle_), place, nullptr, FILE_BEGIN) != 0;
  return done ? 0 : ErrnoOf(GetLastError());
}

int File::Sync() const noexcept {
  if (FlushFileBuffers(SystemHandle(handle_)) != 0) {
    return 0;
  }
  return ErrnoOf(GetLastError());
}

int File::Close() noexcept {
  const int handle = std::exchange(handle_, -1);
  return handle < 0 || !owned_ || _close(handle) == 0 ? 0 : errno;
}

Expected<File> OpenForReading(const std::string& path) {
  int failure = 0;
  const int handle = Open(path, GENERIC_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, failure);
  if (handle < 0) {
    return Failure{FileReasonText(failure)};
  }
  return File(handle);
}

Expected<File> OpenForWriting(const std::string& path) {
  int failure = 0;
  const int handle = Open(path, GENERIC_WRITE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, failure);
  if (handle < 0) {
    return Failure{FileReasonText(failure)};
  }
  return File(handle);
}

Expected<File> CreateNewFile(const std::string& path, const FileStatus& /*like*/) {
  // The rights of a new file are those that its folder hands down.
  int failure = 0;
  const int handle =
      Open(path, GENERIC_READ | GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, failure);
  if (handle < 0) {
    return Failure{failure == EEXIST ? std::string() : FileReasonText(failure)};
  }
  return File(handle);
}

File StandardInput() {
  _setmode(0, _O_BINARY);
  return File(0, false);
}

File StandardOutput() {
  _setmode(1, _O_BINARY);
  return File(1, false);
}

int RenameOver(const std::string& from, const std::string& to) noexcept {
  try {
    const std::wstring target = WidePath(to);
    if (MoveFileExW(WidePath(from).c_str(), target.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) {
      return 0;
    }
    const int failure = ErrnoOf(GetLastError());
    if (failure != EACCES) {
      return failure;
    }
    // A file that somebody has open is answered like one without the rights; tell them apart.
    const Handle probe(CreateFileW(target.c_str(), DELETE, kShareAll, nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr));
    return !probe.Valid() && GetLastError() == ERROR_SHARING_VIOLATION ? EBUSY : EACCES;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
}

void RemoveFile(const char* path) noexcept {
  try {
    DeleteFileW(WidePath(path).c_str());
  } catch (const std::bad_alloc&) {
    // Failing is no news.
  }
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  WIN32_FIND_DATAW entry{};
  const std::string all = folder + (folder.ends_with('/') || folder.ends_with('\\') ? "*" : "/*");
  HANDLE search = FindFirstFileExW(WidePath(all).c_str(), FindExInfoBasic, &entry,
                                   FindExSearchNameMatch, nullptr, 0);
  if (search == INVALID_HANDLE_VALUE) {
    return names;
  }
  const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> closed(search, FindClose);
  do {
    const std::wstring_view name = entry.cFileName;
    if (name != L"." && name != L"..") {
      names.push_back(NarrowText(name));
    }
  } while (FindNextFileW(search, &entry) != 0);
  return names;
}

int OwnProcessNumber() {
  return static_cast<int>(GetCurrentProcessId());
}

}  // namespace veltra
