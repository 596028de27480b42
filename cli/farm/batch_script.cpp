// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A node that lost the network file system would otherwise fail task after task within seconds.
#include "cli/farm/batch_script.h"

#include "base/paths.h"
#include "base/text.h"
#include "cli/farm/task.h"

namespace veltra::cli {
namespace {

/// Follows the lines that set folder, output and log, and run_task. Up to ten times a task goes
/// back to the queue; the wait before leaves a node that cannot see the files few tasks to take.
constexpr const char* kCommonLines = R"(
seen() { [ -r "$folder/submission.json" ] && [ -d "$output" ] && true >>"$log"; } 2>/dev/null

wait_until_seen() {
  waited=0
  until seen; do
    [ "$waited" -lt 20 ] || return 1
    sleep 1
    waited=$((waited + 1))
  done
}

# Back to the queue, and not to this node again where the partition has another one.
give_back() {
  trap '' TERM
  [ ! -e "$folder/cancelled" ] || exit $untold
  [ "${SLURM_RESTART_COUNT:-0}" -lt 10 ] && scontrol requeue "$SLURM_JOB_ID" || exit $untold
  others=$(sinfo -h -N -p "$SLURM_JOB_PARTITION" -t idle,mix,alloc -o %N |
    grep -vcx "$SLURMD_NODENAME")
  [ "$others" = 0 ] || scontrol update "JobId=$SLURM_JOB_ID" "ExcNodeList=$SLURMD_NODENAME"
  exit $untold
}

ended() {
  echo 'ended by Slurm: cancelled, pre-empted, or out of time' >>"$log"
  kill "$child" && wait "$child"
  exit 143
} 2>/dev/null

wait_until_seen || give_back
trap ended TERM
run_task >>"$log" 2>&1 &
child=$!
wait "$child"
code=$?
case $code in
  0) exit 0 ;;
  1 | 2) seen && exit "$code" ;;
  129 | 130 | 143) exit "$code" ;; # Slurm or somebody wants it to end
esac
# It could not tell how it ended, was killed, or is not on this node.
give_back
)";

std::string Script(const SubmissionFolder& folder, const Submission& submission,
                   const std::string& logName, const std::string& task) {
  const std::string output = PathOf(submission.output).parent_path().string();
  // Slurm itself writes no log: it cannot start a task whose log it cannot open.
  return Text("#!/bin/sh\n",
              "# Runs a task where its files can be seen, and elsewhere gives it back to Slurm.\n",
              "folder=", Quoted(folder.Path().string()), "\n", "output=", Quoted(output), "\n",
              "log=\"$folder/log/", logName, "\"\n", "untold=", kExitUntold, "\n", "run_task() { ",
              task, "; }\n", kCommonLines);
}

}  // namespace

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    quoted += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return quoted + "'";
}

std::string TaskCommand(const SubmissionFolder& folder, const Submission& submission) {
  return Text(Quoted(submission.program.path), " task ", Quoted(folder.Path().string()));
}

std::string RangeScript(const SubmissionFolder& folder, const Submission& submission,
                        std::size_t firstRange) {
  return Script(
      folder, submission, "range-${SLURM_ARRAY_JOB_ID}_${SLURM_ARRAY_TASK_ID}.txt",
      Text("exec env VELTRA_RANGE_OFFSET=", firstRange, " ", TaskCommand(folder, submission)));
}

std::string FinishScript(const SubmissionFolder& folder, const Submission& submission) {
  return Script(folder, submission, "finish-${SLURM_JOB_ID}.txt",
                Text("exec ", TaskCommand(folder, submission), " --finish"));
}

}  // namespace veltra::cli
