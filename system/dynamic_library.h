// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The one place that knows how this platform loads code from a file.
#pragma once

#include <filesystem>
#include <memory>

#include "base/expected.h"

namespace veltra {

/// A loaded library; unloads when it goes.
class DynamicLibrary {
 public:
  /// The error is the platform's own words, without the path.
  static Expected<std::unique_ptr<DynamicLibrary>> Open(const std::filesystem::path& path);

  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  using AnyFunction = void (*)();

  /// The exported function of that name, to be cast to its real type; null when there is none.
  AnyFunction Find(const char* name) const;

  /// The system's own handle of the library.
  void* Handle() const { return handle_; }

 private:
  explicit DynamicLibrary(void* handle) : handle_(handle) {}

  void* handle_;
};

/// Whether what a library has allocated may be freed by us: all libraries share one C library.
bool LibrariesShareHeap();

}  // namespace veltra
