// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Loads an effect library and finds its two exports.
#include "tests/conformance/library.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace veltra::conformance {
namespace {

[[noreturn]] void Give(const std::string& path, const char* problem) {
  std::fprintf(stderr, "%s: %s\n", path.c_str(), problem);
  std::exit(2);
}

#ifdef _WIN32
void* Open(const std::string& path) {
  return LoadLibraryA(path.c_str());
}
void* Symbol(void* library, const char* name) {
  const FARPROC symbol = GetProcAddress(static_cast<HMODULE>(library), name);
  void* address = nullptr;
  std::memcpy(&address, &symbol, sizeof(address));
  return address;
}
#else
void* Open(const std::string& path) {
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}
void* Symbol(void* library, const char* name) {
  return dlsym(library, name);
}
#endif

template <class Fn>
Fn Find(void* library, const std::string& path, const char* name) {
  void* address = Symbol(library, name);
  if (address == nullptr) {
    Give(path, name);
  }
  Fn function = nullptr;
  std::memcpy(&function, &address, sizeof(function));
  return function;
}

}  // namespace

Library LoadLibraryAt(const std::string& path) {
  void* library = Open(path);
  if (library == nullptr) {
    Give(path, "cannot be loaded");
  }
  return {Find<PF_MainEntryFn>(library, path, kMainEntryName),
          Find<PF_PluginDataEntryFn>(library, path, kRegistrationEntryName)};
}

}  // namespace veltra::conformance
