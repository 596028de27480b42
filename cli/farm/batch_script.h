// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The shell scripts that Slurm runs on its nodes.
#pragma once

#include <cstddef>
#include <string>

#include "cli/farm/submission.h"

namespace veltra::cli {

/// A text for a POSIX shell: in single quotes, whatever is in it.
std::string Quoted(const std::string& text);

/// `veltra task FOLDER` as a shell command; the range's number or --finish may follow.
std::string TaskCommand(const SubmissionFolder& folder, const Submission& submission);

/// The script of an array of ranges, of which the first has this number. It starts `veltra task`
/// where the submission's folder and the output's can be seen, and otherwise gives the task back to
/// Slurm, for another node where there is one.
std::string RangeScript(const SubmissionFolder& folder, const Submission& submission,
                        std::size_t firstRange);

/// The same for the job that runs after all ranges.
std::string FinishScript(const SubmissionFolder& folder, const Submission& submission);

}  // namespace veltra::cli
