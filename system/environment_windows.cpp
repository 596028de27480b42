// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The environment as Windows has it; the C library's copy of it stays as it was at the start.
#include "system/environment.h"

#include "system/windows_api.h"

namespace veltra {

std::string EnvironmentValue(const std::string& name) {
  const std::wstring wide = WideText(name);
  std::wstring value(GetEnvironmentVariableW(wide.c_str(), nullptr, 0), L'\0');
  value.resize(
      GetEnvironmentVariableW(wide.c_str(), value.data(), static_cast<DWORD>(value.size())));
  return NarrowText(value);
}

void SetEnvironmentValue(const std::string& name, const std::string& value) {
  SetEnvironmentVariableW(WideText(name).c_str(), WideText(value).c_str());
}

}  // namespace veltra
