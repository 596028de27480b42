// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Loading of code, for Windows and for everybody else.

#include "system/dynamic_library.h"

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace veltra {

#ifdef _WIN32

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

#else

Expected<std::unique_ptr<DynamicLibrary>> DynamicLibrary::Open(const std::filesystem::path& path) {
  // Without a slash the loader would search its own directories instead.
  const std::filesystem::path full = std::filesystem::absolute(path);
  void* handle = dlopen(full.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* reason = dlerror();
    std::string text = reason != nullptr ? reason : "the system's loader gave no reason";
    const std::string prefix = full.string() + ": ";
    if (text.rfind(prefix, 0) == 0) {
      text.erase(0, prefix.size());
    }
    return Failure{text};
  }
  return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(handle));
}

DynamicLibrary::~DynamicLibrary() {
  dlclose(handle_);
}

DynamicLibrary::AnyFunction DynamicLibrary::Find(const char* name) const {
  return reinterpret_cast<AnyFunction>(dlsym(handle_, name));
}

#endif

}  // namespace veltra
