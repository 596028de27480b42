// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra task`: what a scheduler runs on a node.
#include <cstdlib>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/farm/task.h"
#include "cli/settings/values.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

constexpr int kMostRanges = 100000000;

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

int NumberIn(const char* name) {
  try {
    return ParseInteger(Variable(name), 0, kMostRanges);
  } catch (const UsageError& error) {
    throw UsageError(Text(name, ": ", error.what()));
  }
}

/// The argument, or what the scheduler's environment tells.
int RangeNumber(const std::string& argument) {
  if (!argument.empty()) {
    try {
      return ParseInteger(argument, 0, kMostRanges);
    } catch (const UsageError& error) {
      throw UsageError(Text("RANGE: ", error.what()));
    }
  }
  if (!Variable("VELTRA_RANGE").empty()) {
    return NumberIn("VELTRA_RANGE");
  }
  if (!Variable("SLURM_ARRAY_TASK_ID").empty()) {
    const int offset =
        Variable("VELTRA_RANGE_OFFSET").empty() ? 0 : NumberIn("VELTRA_RANGE_OFFSET");
    return offset + NumberIn("SLURM_ARRAY_TASK_ID");
  }
  throw UsageError("which range? (give its number, or set VELTRA_RANGE)");
}

}  // namespace

int RunTask(const Arguments& arguments) {
  std::string folder;
  std::string range;
  bool finish = false;
  CommandLine commandLine(
      "Does one task of what `veltra submit` split up. Schedulers run it on their nodes.",
      "veltra task");
  commandLine.Option("folder", folder, "the submission's folder (VELTRA_SUBMISSION otherwise)");
  commandLine.Option(
      "range", range,
      "the range's number from 0 (VELTRA_RANGE, or Slurm's own variable, otherwise)");
  commandLine.Flag("--finish", finish, "after all ranges: join, verify, and write the result");
  commandLine.Footer("docs/farm.md tells what a task does and reads.");
  if (!commandLine.Read(arguments)) {
    return kExitDone;
  }
  folder = folder.empty() ? Variable("VELTRA_SUBMISSION") : folder;
  if (folder.empty()) {
    throw UsageError("which submission? (give its folder, or set VELTRA_SUBMISSION)");
  }
  if (finish && !range.empty()) {
    throw UsageError("--finish: has no range");
  }
  CatchInterrupts();
  const SubmissionFolder submission(PathOf(folder));
  return finish ? RunFinish(submission)
                : RunRange(submission, static_cast<std::size_t>(RangeNumber(range)));
}

}  // namespace veltra::cli
