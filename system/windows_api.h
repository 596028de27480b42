// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Windows' own declarations without what gets in the way, and what our sources for Windows share.
// Only the sources *_windows.cpp include it.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

namespace veltra {

/// UTF-8 as Windows' calls take it. Bytes that are no UTF-8 become U+FFFD.
std::wstring WideText(std::string_view text);

/// The other way.
std::string NarrowText(std::wstring_view text);

/// A path in UTF-8 for Windows' calls: of any length, with either kind of slash.
std::wstring WidePath(const std::string& path);

/// The errno that says the same as this error of Windows (see ReasonText).
int ErrnoOf(DWORD error);

/// "access violation"; empty for a code without a name.
std::string_view ExceptionName(DWORD code);

/// A handle that is closed with its owner.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  ~Handle() { Close(); }
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  HANDLE Get() const { return handle_; }
  bool Valid() const { return handle_ != nullptr; }
  HANDLE Release() { return std::exchange(handle_, nullptr); }
  void Close() {
    if (handle_ != nullptr) {
      CloseHandle(std::exchange(handle_, nullptr));
    }
  }

 private:
  HANDLE handle_ = nullptr;
};

/// Ends every program that Process and RunChild have started, and waits until it is gone with the
/// files that it has open.
void EndChildren() noexcept;

}  // namespace veltra
