// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Ctrl-C, Ctrl-Break and a closed console window, for a render that may be stopped. Windows tells
// of them on a thread of its own.
#include "base/error.h"
#include "system/interrupt.h"
#include "system/temporary_files.h"
#include "system/windows_api.h"

namespace veltra {
namespace {

// The numbers that the same wishes have elsewhere, so that scripts find the same exit codes.
constexpr int kInterrupt = 2;
constexpr int kHangUp = 1;

[[noreturn]] void EndNow(int signal) {
  EndChildren();  // what they write cannot be removed before
  RemoveTemporaryFiles();
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(kSignalExitBase + signal));
  for (;;) {
    Sleep(INFINITE);
  }
}

BOOL WINAPI OnControl(DWORD event) {
  // The console goes away after five seconds, and the program with it.
  constexpr DWORD kGrace = 4000;
  const bool asked = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  const int signal = asked ? kInterrupt : kHangUp;
  LastSignal().store(signal);
  const bool again = InterruptFlag().exchange(true);
  if (asked && !again) {
    return TRUE;
  }
  if (!asked) {
    Sleep(kGrace);
  }
  EndNow(signal);
}

}  // namespace

void CatchInterrupts() {
  LastSignal().store(0);
  InterruptFlag().store(false);
  RemoveTemporaryFiles();
  SetConsoleCtrlHandler(OnControl, TRUE);
}

}  // namespace veltra
