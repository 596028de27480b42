// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Signal handling for a render that may be stopped.
#include "system/interrupt.h"

#include <unistd.h>

#include <array>
#include <csignal>

#include "base/error.h"
#include "system/temporary_files.h"

namespace veltra {
namespace {

void OnSignal(int signal) {
  LastSignal().store(signal);
  if (InterruptFlag().exchange(true)) {
    RemoveTemporaryFiles();
    _exit(kSignalExitBase + signal);
  }
}

}  // namespace

void CatchInterrupts() {
  // Made before a handler can need them.
  LastSignal().store(0);
  InterruptFlag().store(false);
  RemoveTemporaryFiles();
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (const int signal : std::array{SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    // What was told to ignore them (nohup) keeps ignoring them.
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
      sigaction(signal, &action, nullptr);
    }
  }
  // A reader of our output that goes away is an error of that write, not our end.
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace veltra
