// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Looking at a submission's folder and at the scheduler's queue.
#include "cli/farm/watch.h"

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/job/progress.h"
#include "system/files.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// Looking costs the file server a read per range, so large submissions are looked at less often.
milliseconds PauseFor(const Submission& submission) {
  constexpr std::size_t kReadsPerSecond = 200;
  const auto reading = static_cast<long>(submission.ranges.size() * 1000 / kReadsPerSecond);
  return std::clamp(milliseconds(reading), milliseconds(500), milliseconds(30000));
}

void ReportFailures(const FarmResult& result, Progress& progress) {
  for (const auto& [frame, error] : result.failed) {
    progress.Warn(Text("frame ", frame, ": ", error));
  }
  for (const auto& [frame, trouble] : result.damaged) {
    progress.Warn(Text("frame ", frame, ": damaged: ", trouble));
  }
}

[[noreturn]] void ThrowNotWhole(const Submission& submission, const FarmResult& result) {
  std::vector<int> bad = result.missing;
  for (const auto& [number, trouble] : result.damaged) {
    bad.push_back(number);
  }
  std::sort(bad.begin(), bad.end());
  throw RenderError(Text(submission.output, ": ", Count(bad.size(), "frame"),
                         " missing or damaged: ", NumbersText(bad), " (veltra verify ",
                         submission.scene, " --repair renders them)"));
}

int TellResult(const Submission& submission, const FarmResult& result, Progress& progress) {
  ReportFailures(result, progress);
  if (!result.Whole()) {
    ThrowNotWhole(submission, result);
  }
  progress.Finish(submission.output);
  return kExitDone;
}

/// Throws RenderError when no result is to come any more. `lastQueued` is kept from look to look.
void CheckQueued(const SubmissionFolder& folder, const Submission& submission,
                 const FarmStatus& status, Clock::time_point& lastQueued) {
  // A network file system may show the result as late as a minute after the last job has left.
  constexpr std::chrono::seconds kPatience{75};
  if (status.queue.Total() > 0) {
    lastQueued = Clock::now();
    return;
  }
  if (status.cancelled) {
    throw RenderError(Text(submission.name, ": was cancelled"));
  }
  if (Clock::now() - lastQueued > kPatience) {
    throw RenderError(Text("the jobs are gone from the queue without a result (see ", folder.Log(),
                           "; veltra verify ", submission.scene, ")"));
  }
}

void WarnOf(const std::string& obstacles, Progress& progress) {
  if (!obstacles.empty()) {
    progress.Warn(Text(obstacles, " (Ctrl-C leaves them in the queue, --cancel ends them)"));
  }
}

const char* StateName(const FarmStatus& status) {
  if (status.result) {
    return status.result->Whole() ? "done" : "failed";
  }
  return status.queue.running > 0   ? "running"
         : status.queue.waiting > 0 ? "waiting"
         : status.cancelled         ? "cancelled"
                                    : "gone";
}

void PrintJsonStatus(const SubmissionFolder& folder, const Submission& submission,
                     const FarmStatus& status) {
  nlohmann::ordered_json failed = nlohmann::ordered_json::array();
  for (const auto& [frame, error] : status.failed) {
    failed.push_back({{"frame", frame}, {"error", error}});
  }
  const nlohmann::ordered_json json = {{"id", submission.id},
                                       {"folder", folder.Path().string()},
                                       {"jobs", submission.jobs},
                                       {"state", StateName(status)},
                                       {"done", status.done},
                                       {"total", submission.frames},
                                       {"ranges", submission.ranges.size()},
                                       {"ranges-finished", status.rangesFinished},
                                       {"tasks-running", status.queue.running},
                                       {"tasks-waiting", status.queue.waiting},
                                       {"failed", failed}};
  using Handler = nlohmann::ordered_json::error_handler_t;
  Print(stdout, json.dump(-1, ' ', false, Handler::replace), "\n");
}

}  // namespace

FarmStatus StatusOf(const SubmissionFolder& folder, const Submission& submission) {
  FarmStatus status;
  for (std::size_t range = 0; range < submission.ranges.size(); ++range) {
    const std::optional<RangeState> state = ReadState(folder, range);
    if (state) {
      status.done += state->done;
      status.rangesFinished += state->finished ? 1U : 0U;
      status.failed.insert(state->failed.begin(), state->failed.end());
    }
  }
  status.queue = CountQueue(submission.jobs);
  status.cancelled = veltra::StatusOf(folder.Cancelled()).kind == FileKind::kFile;
  status.result = ReadResult(folder);  // after the queue: a job that has left has written it
  return status;
}

void PrintStatus(const SubmissionFolder& folder, const Submission& submission,
                 const FarmStatus& status, bool json) {
  if (json) {
    PrintJsonStatus(folder, submission, status);
    return;
  }
  Print(stdout, submission.name, " (", submission.id, "): ", StateName(status), "\n");
  Print(stdout, "  frames  ", status.done, " of ", submission.frames, "\n");
  Print(stdout, "  ranges  ", status.rangesFinished, " of ", submission.ranges.size(),
        " finished\n");
  if (!submission.jobs.empty()) {
    Print(stdout, "  tasks   ", status.queue.running, " running, ", status.queue.waiting,
          " waiting\n");
  }
  for (const auto& [reason, count] : status.queue.reasons) {
    Print(stdout, "          ", count, " because of ", reason, "\n");
  }
  for (const auto& [frame, error] : status.failed) {
    Print(stdout, "  frame ", frame, ": ", error, "\n");
  }
  Print(stdout, "  folder  ", folder.Path().string(), "\n");
}

int WaitForEnd(const SubmissionFolder& folder, const Submission& submission,
               const RenderOptions& options) {
  Progress progress(options, static_cast<int>(submission.frames));
  Clock::time_point lastQueued = Clock::now();
  std::string obstacles;
  bool silent = false;
  for (;;) {
    try {
      const FarmStatus status = StatusOf(folder, submission);
      silent = false;
      progress.Reached(static_cast<int>(status.done));
      if (status.result) {
        return TellResult(submission, *status.result, progress);
      }
      CheckQueued(folder, submission, status, lastQueued);
      if (const std::string now = Obstacles(status.queue); now != obstacles) {
        obstacles = now;
        WarnOf(obstacles, progress);
      }
    } catch (const SchedulerSilent& error) {
      // A scheduler that restarts loses no jobs.
      if (!silent) {
        progress.Warn(Text(error.what(), "; asking again"));
      }
      silent = true;
    }
    SleepUnlessInterrupted(PauseFor(submission));
  }
}

}  // namespace veltra::cli
