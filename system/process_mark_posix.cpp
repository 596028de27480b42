// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Marks from the boot's identity, the process namespace and the process number.
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>

#include "system/process_mark.h"

namespace veltra {

std::string WhereNumbersCount() {
  std::string text;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> text;
  std::array<char, 256> buffer{};
  if (gethostname(buffer.data(), buffer.size() - 1) == 0) {
    text += buffer.data();
  }
  const ssize_t length = readlink("/proc/self/ns/pid", buffer.data(), buffer.size());
  text.append(buffer.data(), static_cast<std::size_t>(length > 0 ? length : 0));
  return text;
}

bool HasEnded(int number) {
  return kill(number, 0) != 0 && errno == ESRCH;
}

}  // namespace veltra
