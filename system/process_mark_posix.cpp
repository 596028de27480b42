// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Marks from the boot's identity, the process namespace and the process number.
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <fstream>

#include "base/text.h"
#include "system/process_mark.h"

namespace veltra {
namespace {

/// What two processes have in common that can see each other's number. FNV-1a, 64 bits.
std::string SharedMark() {
  std::string text;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> text;
  std::array<char, 256> buffer{};
  if (gethostname(buffer.data(), buffer.size() - 1) == 0) {
    text += buffer.data();
  }
  const ssize_t length = readlink("/proc/self/ns/pid", buffer.data(), buffer.size());
  text.append(buffer.data(), static_cast<std::size_t>(length > 0 ? length : 0));
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  }
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), hash, 16).ptr;
  return {digits.data(), end};
}

}  // namespace

const std::string& OwnProcessMark() {
  static const std::string mark = Text(SharedMark(), "-", getpid());
  return mark;
}

bool IsMarkOfEndedProcess(std::string_view mark) {
  const std::string_view own = OwnProcessMark();
  const std::size_t dash = own.find('-') + 1;
  if (mark.substr(0, dash) != own.substr(0, dash)) {
    return false;
  }
  pid_t number = 0;
  const std::string_view digits = mark.substr(dash);
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return read.ec == std::errc() && read.ptr == digits.data() + digits.size() && number > 0 &&
         kill(number, 0) != 0 && errno == ESRCH;
}

}  // namespace veltra
