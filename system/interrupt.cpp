// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The wish to stop, however a system tells of it.
#include "system/interrupt.h"

#include <algorithm>
#include <thread>

#include "base/error.h"

namespace veltra {

std::atomic<bool>& InterruptFlag() {
  static std::atomic<bool> flag{false};
  return flag;
}

std::atomic<int>& LastSignal() {
  static std::atomic<int> signal{0};
  return signal;
}

void ThrowIfInterrupted() {
  if (InterruptFlag().load(std::memory_order_relaxed)) {
    throw Interrupted();
  }
}

void SleepUnlessInterrupted(std::chrono::milliseconds pause) {
  constexpr std::chrono::milliseconds kStep{100};
  for (std::chrono::milliseconds left = pause; left.count() > 0; left -= kStep) {
    ThrowIfInterrupted();
    std::this_thread::sleep_for(std::min(left, kStep));
  }
}

int InterruptExitCode() {
  const int signal = LastSignal().load();
  return signal == 0 ? kExitInterrupted : kSignalExitBase + signal;
}

}  // namespace veltra
