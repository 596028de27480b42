// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// How far a submission is.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "cli/farm/slurm.h"
#include "cli/farm/submission.h"
#include "cli/settings/options.h"

namespace veltra::cli {

/// A submission at one moment.
struct FarmStatus {
  std::size_t done = 0;  ///< frames
  std::size_t rangesFinished = 0;
  std::map<int, std::string> failed;
  QueueCount queue;                  ///< empty where there is no scheduler to ask
  bool cancelled = false;            ///< somebody ended it
  std::optional<FarmResult> result;  ///< once it has ended
};

/// Reads a small file per range. Throws RenderError while the scheduler does not answer.
FarmStatus StatusOf(const SubmissionFolder& folder, const Submission& submission);

/// Some lines for people, or one JSON object.
void PrintStatus(const SubmissionFolder& folder, const Submission& submission,
                 const FarmStatus& status, bool json);

/// Shows the progress until the submission ends; returns the exit code. Throws Interrupted, which
/// leaves the jobs alone, and RenderError when the jobs are gone without a result.
int WaitForEnd(const SubmissionFolder& folder, const Submission& submission,
               const RenderOptions& options);

}  // namespace veltra::cli
