// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Ctrl-C and the like, as a flag that the renderer looks at.
#pragma once

#include <atomic>
#include <chrono>

namespace veltra {

/// From here on SIGINT, SIGTERM and SIGHUP set the flag. The second one removes the
/// temporary files (system/temporary_files.h) and ends the program at once.
void CatchInterrupts();

/// Set when the user asked to stop; also what tests set.
std::atomic<bool>& InterruptFlag();

/// The signal that set it, or the one that has the meaning of what did; zero for none.
std::atomic<int>& LastSignal();

/// Throws Interrupted when the flag is set.
void ThrowIfInterrupted();

/// Waits; throws Interrupted within a tenth of a second when the flag is set.
void SleepUnlessInterrupted(std::chrono::milliseconds pause);

/// What the program should exit with: 130 after Ctrl-C, 128 + n after signal n.
int InterruptExitCode();

}  // namespace veltra
