// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the program asks of Slurm, through Slurm's own commands.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "base/error.h"

namespace veltra::cli {

/// How many tasks of a job are where; what has left the queue is in none.
struct QueueCount {
  std::size_t waiting = 0;
  std::size_t running = 0;
  std::map<std::string, std::size_t> reasons;  ///< why tasks wait, as Slurm words it

  std::size_t Total() const { return waiting + running; }
};

/// The controller did not answer; it may later.
class SchedulerSilent : public RenderError {
 public:
  using RenderError::RenderError;
};

/// How many tasks one job array may have, as this cluster is set up. Throws RenderError where
/// there is no cluster.
std::size_t LargestArray();

/// What the nodes of a cluster have at least.
struct NodeSize {
  int cpus = 0;
  bool knowsMemory = false;  ///< the cluster was told how much memory its nodes have
};

/// Of the nodes of a partition, or of the whole cluster where that is empty. Throws RenderError.
NodeSize SmallestNode(const std::string& partition);

/// Hands a script in and returns the job's id. Throws RenderError with what sbatch complained of.
std::string SubmitScript(const std::vector<std::string>& options, const std::string& script);

/// The tasks of these jobs that are in the queue. Throws SchedulerSilent while the controller does
/// not answer.
QueueCount CountQueue(const std::vector<std::string>& jobs);

/// Why tasks wait that will not start by themselves, such as "6 tasks wait because of
/// PartitionConfig"; empty where all that wait take their turn.
std::string Obstacles(const QueueCount& count);

/// Ends jobs, running ones too; those that have ended already are left alone.
void CancelJobs(const std::vector<std::string>& jobs);

}  // namespace veltra::cli
