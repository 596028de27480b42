// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Loading of code on Windows.
#include "system/dynamic_library.h"
#include "system/windows_api.h"

namespace veltra {

Expected<std::unique_ptr<DynamicLibrary>> DynamicLibrary::Open(const std::filesystem::path& path) {
  // The system's message box about a missing dependency would stop a program nobody watches.
  const UINT oldMode = SetErrorMode(SEM_FAILCRITICALERRORS);
  // Only a full path makes the loader look beside the library for what it depends on.
  const std::filesystem::path full = std::filesystem::absolute(path);
  HMODULE module = LoadLibraryExW(full.wstring().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  const DWORD code = GetLastError();
  SetErrorMode(oldMode);
  if (module == nullptr) {
    return Failure{"the system's loader answered error " + std::to_string(code)};
  }
  return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(module));
}

DynamicLibrary::~DynamicLibrary() {
  FreeLibrary(static_cast<HMODULE>(handle_));
}

DynamicLibrary::AnyFunction DynamicLibrary::Find(const char* name) const {
  return reinterpret_cast<AnyFunction>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

bool LibrariesShareHeap() {
  return false;  // each may bring a C library of its own
}

}  // namespace veltra
