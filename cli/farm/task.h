// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a task of a farm does: one range of frames, or the end of a submission.
#pragma once

#include <cstddef>

#include "cli/farm/submission.h"

namespace veltra::cli {

/// The exit code of a task that could not write how it ended, so that nobody else knows it.
inline constexpr int kExitUntold = 75;  // what temporary failures are by convention

/// Refuses another version of program or effect than the one that submitted. Throws RenderError.
void CheckVersions(const Submission& submission);

/// Renders a range: frames that are there and whole already stay, frames that fail are tried three
/// times in all, and the rest is finished. Keeps the range's state up to date. Returns the exit
/// code: 0 when every frame of the range is there, kExitUntold when the state could not be written.
/// Throws RenderError, Interrupted.
int RunRange(const SubmissionFolder& folder, std::size_t range);

/// After the last range: joins a video, looks whether everything is there, removes what killed
/// tasks left, and writes the result. Returns the exit code. Throws RenderError, Interrupted.
int RunFinish(const SubmissionFolder& folder);

}  // namespace veltra::cli
