// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The program's file as Windows knows it.
#include "system/program_file.h"
#include "system/windows_api.h"

namespace veltra {

std::filesystem::path ProgramFile() {
  constexpr std::size_t kLongest = 32768;
  std::wstring name(kLongest, L'\0');
  name.resize(GetModuleFileNameW(nullptr, name.data(), kLongest));
  return name;
}

}  // namespace veltra
