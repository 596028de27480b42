// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Marks from the identity of the installed system, the machine's name and the process number.
#include "system/process_mark.h"

#include <array>
#include <charconv>
#include <cstdint>

#include "base/text.h"
#include "system/windows_api.h"

namespace veltra {
namespace {

/// What two processes have in common that can see each other's number. FNV-1a, 64 bits.
std::string SharedMark() {
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
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : NarrowText(text)) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  }
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), hash, 16).ptr;
  return {digits.data(), end};
}

bool HasEnded(DWORD number) {
  const Handle process(OpenProcess(SYNCHRONIZE, FALSE, number));
  if (!process.Valid()) {
    return GetLastError() == ERROR_INVALID_PARAMETER;  // there is none of that number
  }
  return WaitForSingleObject(process.Get(), 0) == WAIT_OBJECT_0;
}

}  // namespace

const std::string& OwnProcessMark() {
  static const std::string mark = Text(SharedMark(), "-", std::to_string(GetCurrentProcessId()));
  return mark;
}

bool IsMarkOfEndedProcess(std::string_view mark) {
  const std::string_view own = OwnProcessMark();
  const std::size_t dash = own.find('-') + 1;
  if (mark.substr(0, dash) != own.substr(0, dash)) {
    return false;
  }
  DWORD number = 0;
  const std::string_view digits = mark.substr(dash);
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return read.ec == std::errc() && read.ptr == digits.data() + digits.size() && number > 0 &&
         HasEnded(number);
}

}  // namespace veltra
