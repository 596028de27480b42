// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Marks from the identity of the installed system, the machine's name and the process number.
#include "system/process_mark.h"

#include <array>

#include "system/windows_api.h"

namespace veltra {

std::string WhereNumbersCount() {
  std::array<wchar_t, 256> buffer{};
  auto size = static_cast<DWORD>(sizeof(buffer));
  std::wstring text;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid",
                   RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, buffer.data(),
                   &size) == ERROR_SUCCESS) {
    text = buffer.data();
  }
  size = static_cast<DWORD>(buffer.size());
  if (GetComputerNameW(buffer.data(), &size) != 0) {
    text.append(buffer.data(), size);
  }
  return NarrowText(text);
}

bool HasEnded(int number) {
  const Handle process(OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(number)));
  if (!process.Valid()) {
    return GetLastError() == ERROR_INVALID_PARAMETER;  // there is none of that number
  }
  return WaitForSingleObject(process.Get(), 0) == WAIT_OBJECT_0;
}

}  // namespace veltra
