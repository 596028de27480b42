// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From a scene to tasks in a scheduler's queue.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/farm/slurm.h"
#include "cli/farm/submission.h"
#include "cli/job/job.h"

namespace veltra::cli {

/// What the command line of `veltra submit` says of the tasks.
struct SubmitOptions {
  std::string scene;
  std::string programVersion;
  std::size_t chunk = 0;  ///< frames per task; 0 is to be measured
  std::string partition;
  std::string account;
  std::string time;
  std::uint64_t memory = 0;         ///< bytes per task; 0 is to be computed
  int cpus = 0;                     ///< per task; 0 is up to the program
  NodeSize node;                    ///< no processors where it is not known
  std::size_t arrayLimit = 0;       ///< tasks at once; 0 is no limit
  std::vector<std::string> sbatch;  ///< options of sbatch's, as they are
  std::string name;
  bool anyVersion = false;
  bool again = false;
};

/// A submission that is ready to be queued.
struct PreparedSubmission {
  SubmissionFolder folder;
  Submission submission;
  double secondsPerFrame = 0;
  std::uint64_t memory = 0;      ///< bytes per task; 0 is the cluster's own default
  std::size_t largestArray = 0;  ///< tasks in one job array; 0 where there are no arrays
};

/// Writes the scene once more under another name, for these frames, or all where there are none.
using FreezeTheScene = std::function<void(const std::string& frames, const std::string& to)>;

/// Throws UsageError where a job reads or writes "-", which only its own process can.
void CheckFilesHaveNames(const std::string& scene, const RenderJob& job);

/// Checks the scene's job as `veltra render` would, in all its frames, renders one frame to see how
/// long that takes, and freezes everything in a new folder, which is removed again when something
/// fails. `largestArray` is 0 for a scheduler without arrays. Throws UsageError, RenderError,
/// Interrupted.
PreparedSubmission PrepareSubmission(const SubmitOptions& options, const RenderJob& job,
                                     const FreezeTheScene& freeze, std::size_t largestArray);

/// Removes the folder of a submission that was not queued.
void DiscardSubmission(const SubmissionFolder& folder);

/// Takes what is left of a submission out of the queue, waits for its tasks to end, and removes
/// the temporary files that they leave. Throws RenderError, also when tasks do not end.
void CancelSubmission(const SubmissionFolder& folder, const Submission& submission);

/// One call of sbatch.
struct BatchJob {
  std::vector<std::string> options;
  std::string script;  ///< file name
  std::string text;    ///< of the script
};

/// The job arrays of the ranges, in their order.
std::vector<BatchJob> RangeJobs(const PreparedSubmission& prepared, const SubmitOptions& options);
/// The job that runs when all those jobs have ended.
BatchJob FinishJob(const PreparedSubmission& prepared, const SubmitOptions& options,
                   const std::vector<std::string>& jobs);

/// Queues everything, or nothing when one call fails. Fills in the submission's jobs.
void QueueWithSlurm(PreparedSubmission& prepared, const SubmitOptions& options);

/// One self-contained command per range, and the one that runs after all of them.
std::vector<std::string> RangeCommands(const PreparedSubmission& prepared);
std::string FinishCommand(const PreparedSubmission& prepared);

/// The submission of a scene whose tasks are still in Slurm's queue; null when there is none.
/// Throws RenderError while the scheduler does not answer.
std::optional<SubmissionFolder> RunningSubmission(const std::string& scene);

}  // namespace veltra::cli
