// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The console of Windows. It has its own code page, which is given back at the end.
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>

#include "system/console.h"
#include "system/windows_api.h"

// Of the C library, which declares it nowhere.
extern "C" int __wgetmainargs(int* count, wchar_t*** values, wchar_t*** environment, int patterns,
                              int* newHandlerMode);

namespace veltra {
namespace {

UINT& CodePageBefore() {
  static UINT page = 0;
  return page;
}

}  // namespace

void PrepareConsole() {
  // What goes to a file has the same bytes as elsewhere, and a picture on standard output is whole.
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  CodePageBefore() = GetConsoleOutputCP();
  if (CodePageBefore() != 0 && CodePageBefore() != CP_UTF8 && SetConsoleOutputCP(CP_UTF8) != 0) {
    static_cast<void>(std::atexit([] { SetConsoleOutputCP(CodePageBefore()); }));
  }
  DWORD mode = 0;
  HANDLE errors = GetStdHandle(STD_ERROR_HANDLE);
  if (GetConsoleMode(errors, &mode) != 0) {
    // The progress bar clears its line with a control sequence.
    SetConsoleMode(errors, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
}

std::vector<std::string> OwnArguments(int count, char** values) {
  // main() is given what is left after a conversion to the code page of the machine.
  int wideCount = 0;
  wchar_t** wideValues = nullptr;
  wchar_t** environment = nullptr;
  int newHandlerMode = 0;
  constexpr int kNoPatterns = 0;
  __wgetmainargs(&wideCount, &wideValues, &environment, kNoPatterns, &newHandlerMode);
  if (wideValues == nullptr) {
    return {values + (count > 0 ? 1 : 0), values + count};
  }
  std::vector<std::string> arguments;
  for (int i = 1; i < wideCount; ++i) {
    arguments.push_back(NarrowText(wideValues[i]));
  }
  return arguments;
}

bool ErrorsGoToTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

int TerminalWidth() {
  constexpr int kUsual = 80;
  CONSOLE_SCREEN_BUFFER_INFO information{};
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &information) == 0) {
    return kUsual;
  }
  const int width = information.srWindow.Right - information.srWindow.Left + 1;
  return width > 0 ? width : kUsual;
}

}  // namespace veltra
