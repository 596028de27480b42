// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Texts, paths and errors between the program and Windows.
#include "system/windows_api.h"

#include <algorithm>
#include <cerrno>

namespace veltra {

std::wstring WideText(std::string_view text) {
  if (text.empty()) {
    return {};
  }
  const int size = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), length);
  return wide;
}

std::string NarrowText(std::wstring_view text) {
  if (text.empty()) {
    return {};
  }
  const int size = static_cast<int>(text.size());
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), length, nullptr, nullptr);
  return narrow;
}

std::wstring WidePath(const std::string& path) {
  // Calls take at most 260 characters without the prefix that says "as it is", and that one allows
  // neither relative paths nor forward slashes. Shorter paths stay as people know them.
  constexpr std::size_t kShort = 240;
  std::wstring wide = WideText(path);
  std::replace(wide.begin(), wide.end(), L'/', L'\\');
  if (wide.starts_with(L"\\\\?\\") || wide.starts_with(L"\\\\.\\")) {
    return wide;
  }
  const DWORD length = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  if (length < kShort) {
    return wide;
  }
  std::wstring full(length, L'\0');
  full.resize(GetFullPathNameW(wide.c_str(), length, full.data(), nullptr));
  return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

int ErrnoOf(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS:
      return 0;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_MOD_NOT_FOUND:
      return ENOENT;
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_PARAMETER:
    case ERROR_NEGATIVE_SEEK:
      return EINVAL;
    case ERROR_TOO_MANY_OPEN_FILES:
      return EMFILE;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_PRIVILEGE_NOT_HELD:
      return EACCES;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
    case ERROR_PIPE_BUSY:
      return EBUSY;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    case ERROR_FILE_TOO_LARGE:
      return EFBIG;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_COMMITMENT_LIMIT:
      return ENOMEM;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return EPIPE;
    case ERROR_FILENAME_EXCED_RANGE:
      return ENAMETOOLONG;
    case ERROR_DIR_NOT_EMPTY:
      return ENOTEMPTY;
    case ERROR_DIRECTORY:
      return ENOTDIR;
    case ERROR_BAD_EXE_FORMAT:
    case ERROR_BAD_FORMAT:
      return ENOEXEC;
    default:
      return EIO;
  }
}

std::string_view ExceptionName(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
      return "access violation";
    case EXCEPTION_STACK_OVERFLOW:
      return "stack overflow";
    case EXCEPTION_ILLEGAL_INSTRUCTION:
      return "illegal instruction";
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
      return "integer division by zero";
    case 0xC0000374U:
      return "heap corruption";
    case 0xC0000409U:
      return "stack buffer overrun";
    case 0xC000013AU:
      return "interrupted";
    default:
      return {};
  }
}

}  // namespace veltra
