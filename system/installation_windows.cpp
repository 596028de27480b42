// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the installer wrote into the registry.
#include "system/installation.h"
#include "system/windows_api.h"

namespace veltra {

std::filesystem::path InstalledEffectFolder() {
  std::wstring folder(MAX_PATH * 4, L'\0');
  auto bytes = static_cast<DWORD>(folder.size() * sizeof(wchar_t));
  if (RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Veltra", L"EffectFolder", RRF_RT_REG_SZ, nullptr,
                   folder.data(), &bytes) != ERROR_SUCCESS) {
    return {};
  }
  folder.resize(folder.find(L'\0'));
  return folder;
}

}  // namespace veltra
