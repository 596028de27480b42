// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The terminal as POSIX has it; it takes UTF-8 as it is.
#include <sys/ioctl.h>
#include <unistd.h>

#include "system/console.h"

namespace veltra {

void PrepareConsole() {}

std::vector<std::string> OwnArguments(int count, char** values) {
  return {values + (count > 0 ? 1 : 0), values + count};
}

bool ErrorsGoToTerminal() {
  return isatty(STDERR_FILENO) != 0;
}

int TerminalWidth() {
  constexpr int kUsual = 80;
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace veltra
