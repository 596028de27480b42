// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The program's file as Linux knows it: from /proc, or what it was started as where that is absent.
#include <sys/auxv.h>

#include <system_error>

#include "system/program_file.h"

namespace veltra {

namespace fs = std::filesystem;

fs::path ProgramFile() {
  std::error_code error;
  fs::path file = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    return file;
  }
  // A bare root folder, say of a build machine, has no /proc.
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel hands out an address as a number.
  const auto* started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
  if (started == nullptr) {
    return {};
  }
  file = fs::canonical(started, error);
  return error ? fs::path() : file;
}

}  // namespace veltra
