// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Loading of code where it is done by dlopen.
#include <dlfcn.h>

#include "system/dynamic_library.h"

namespace veltra {

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

bool LibrariesShareHeap() {
  return true;
}

}  // namespace veltra
