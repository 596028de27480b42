// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Signals of crashes. What the handler prints is put together before.
#include "system/crash_report.h"

#include <unistd.h>

#include <array>
#include <csignal>

#include "base/error.h"
#include "base/text.h"
#include "system/temporary_files.h"

namespace veltra {
namespace {

struct Crash {
  int signal;
  const char* words;
};

constexpr std::array<Crash, 5> kCrashes = {{{SIGSEGV, "segmentation fault (SIGSEGV)"},
                                            {SIGBUS, "bus error (SIGBUS)"},
                                            {SIGFPE, "arithmetic error (SIGFPE)"},
                                            {SIGILL, "illegal instruction (SIGILL)"},
                                            {SIGABRT, "aborted (SIGABRT)"}}};

std::array<std::string, kCrashes.size()>& Lines() {
  static std::array<std::string, kCrashes.size()> lines;
  return lines;
}

void OnCrash(int signal) {
  RemoveTemporaryFiles();
  for (std::size_t i = 0; i < kCrashes.size(); ++i) {
    if (kCrashes[i].signal == signal) {
      const std::string& line = Lines()[i];
      static_cast<void>(!write(STDERR_FILENO, line.data(), line.size()));
    }
  }
  _exit(kExitFailed);
}

/// A stack that has run over is no place for a handler.
void UseOwnStack() {
  static std::array<char, std::size_t{1} << 16> memory;
  stack_t stack{};
  stack.ss_sp = memory.data();
  stack.ss_size = memory.size();
  sigaltstack(&stack, nullptr);
}

}  // namespace

void ReportCrashes(const std::string& name) {
  UseOwnStack();
  RemoveTemporaryFiles();  // made before a handler can need it; there are none yet
  struct sigaction action {};
  action.sa_handler = OnCrash;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_ONSTACK;
  for (std::size_t i = 0; i < kCrashes.size(); ++i) {
    Lines()[i] = Text("veltra: ", name, ": crashed: ", kCrashes[i].words, "\n");
    struct sigaction before {};
    if (sigaction(kCrashes[i].signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) {
      sigaction(kCrashes[i].signal, &action, nullptr);
    }
  }
}

}  // namespace veltra
