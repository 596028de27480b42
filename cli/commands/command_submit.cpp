// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra submit`: hands a scene to a farm, and looks after what was handed in.
#include <sstream>

#include "base/error.h"
#include "base/paths.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/commands/version.h"
#include "cli/farm/slurm.h"
#include "cli/farm/submit.h"
#include "cli/farm/watch.h"
#include "cli/settings/values.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

/// What the command line says, as texts and flags.
struct SubmitArguments {
  SubmitOptions options;
  std::string chunk;
  std::string memory;
  std::string cpus;
  std::string arrayLimit;
  std::string sbatch;
  std::string scheduler = "slurm";
  std::string id;
  std::string progress;
  bool dryRun = false;
  bool wait = false;
  bool status = false;
  bool cancel = false;
  bool quiet = false;
};

template <class Work>
auto FromOption(const char* name, const Work& work) {
  try {
    return work();
  } catch (const UsageError& error) {
    throw UsageError(Text(name, ": ", error.what()));
  }
}

/// "8G", "4096M", or bytes.
std::uint64_t ParseMemory(std::string_view text) {
  constexpr std::string_view kUnits = "KMGT";
  const std::size_t unit = text.empty() ? std::string_view::npos : kUnits.find(text.back());
  const bool hasUnit = unit != std::string_view::npos;
  constexpr int kMost = 1 << 30;
  const auto number = static_cast<std::uint64_t>(
      ParseInteger(hasUnit ? text.substr(0, text.size() - 1) : text, 1, kMost));
  return hasUnit ? number << (10 * (unit + 1)) : number;
}

void AddSubmitOptions(CommandLine& commandLine, SubmitArguments& line) {
  SubmitOptions& options = line.options;
  constexpr const char* kTasks = "Tasks";
  commandLine.Option("scene", options.scene, "the scene file").Type("SCENE.json").Required();
  commandLine.Option("--chunk", line.chunk, "frames per task (measured otherwise)")
      .Type("N")
      .Group(kTasks);
  commandLine.Option("--cpus", line.cpus, "processors per task").Type("N").Group(kTasks);
  commandLine.Option("--memory", line.memory, "memory per task (computed otherwise)")
      .Type("SIZE")
      .Group(kTasks);
  commandLine.Option("--partition", options.partition, "as sbatch takes it")
      .Type("NAME")
      .Group(kTasks);
  commandLine.Option("--account", options.account, "as sbatch takes it").Type("NAME").Group(kTasks);
  commandLine.Option("--time", options.time, "as sbatch takes it").Type("LIMIT").Group(kTasks);
  commandLine.Option("--array-limit", line.arrayLimit, "at most this many tasks at once")
      .Type("N")
      .Group(kTasks);
  commandLine.Option("--sbatch", line.sbatch, "other options of sbatch, blank-separated")
      .Type("\"...\"")
      .Group(kTasks);
  commandLine.Option("--name", options.name, "of the job (the scene's otherwise)")
      .Type("NAME")
      .Group(kTasks);
  commandLine.Flag("--any-version", options.anyVersion,
                   "let tasks run with another version of program or effect");
  commandLine.Flag("--again", options.again, "although an earlier submission still runs");
  commandLine.Flag("--dry-run", line.dryRun, "print what would be run, and queue nothing");
  commandLine.Option("--scheduler", line.scheduler, "slurm, or list: print one command per task")
      .Type("KIND");
  constexpr const char* kAfter = "Afterwards";
  commandLine.Flag("--wait", line.wait, "stay until it has ended; Ctrl-C leaves it running")
      .Group(kAfter);
  commandLine.Flag("--status", line.status, "how far the newest submission is").Group(kAfter);
  commandLine.Flag("--cancel", line.cancel, "end the newest submission").Group(kAfter);
  commandLine.Option("--id", line.id, "another submission than the newest")
      .Type("ID")
      .Group(kAfter);
  commandLine.Option("--progress", line.progress, "auto, bar, lines, json or none")
      .Type("KIND")
      .Group(kAfter);
  commandLine.Flag("-q,--quiet", line.quiet, "only errors").Group(kAfter);
}

void ReadOptions(SubmitArguments& line) {
  constexpr int kMany = 100000000;
  const auto number = [](const char* name, const std::string& text, int most) {
    return text.empty() ? 0 : FromOption(name, [&] { return ParseInteger(text, 1, most); });
  };
  line.options.chunk = static_cast<std::size_t>(number("--chunk", line.chunk, kMany));
  line.options.cpus = number("--cpus", line.cpus, 4096);
  line.options.arrayLimit =
      static_cast<std::size_t>(number("--array-limit", line.arrayLimit, kMany));
  if (!line.memory.empty()) {
    line.options.memory = FromOption("--memory", [&] { return ParseMemory(line.memory); });
  }
  std::istringstream words(line.sbatch);
  for (std::string word; words >> word;) {
    line.options.sbatch.push_back(word);
  }
  if (line.scheduler != "slurm" && line.scheduler != "list") {
    throw UsageError(
        Text("--scheduler: '", line.scheduler, "' is not known (expected slurm or list)"));
  }
}

/// As the options of a render.
RenderOptions Telling(const SubmitArguments& line) {
  RenderOptions options;
  options.quiet = line.quiet;
  if (!line.progress.empty()) {
    FromOption("--progress", [&] { FindOption("progress")->apply(options, line.progress); });
  }
  options.progress = line.quiet ? ProgressStyle::kNone : options.progress;
  return options;
}

SubmissionFolder Chosen(const SubmitArguments& line) {
  const std::vector<SubmissionFolder> all = FindSubmissions(line.options.scene);
  if (line.id.empty() && !all.empty()) {
    return all.back();
  }
  for (const SubmissionFolder& folder : all) {
    if (folder.Path().filename() == PathOf(line.id)) {
      return folder;
    }
  }
  throw UsageError(line.id.empty()
                       ? Text(line.options.scene, ": was not submitted yet")
                       : Text("--id: no submission '", line.id, "' of ", line.options.scene));
}

int Status(const SubmitArguments& line) {
  const SubmissionFolder folder = Chosen(line);
  const Submission submission = folder.Read();
  if (line.wait) {
    CatchInterrupts();
    return WaitForEnd(folder, submission, Telling(line));
  }
  const FarmStatus status = StatusOf(folder, submission);
  PrintStatus(folder, submission, status, Telling(line).progress == ProgressStyle::kJson);
  return status.result && !status.result->Whole() ? kExitFailed : kExitDone;
}

int Cancel(const SubmitArguments& line) {
  const SubmissionFolder folder = Chosen(line);
  const Submission submission = folder.Read();
  CancelSubmission(folder, submission);
  if (!line.quiet) {
    Print(stderr, submission.name, " (", submission.id, "): cancelled; what is rendered stays\n");
  }
  return kExitDone;
}

void PrintDryRun(const PreparedSubmission& prepared, const SubmitOptions& options) {
  const auto print = [](const BatchJob& job) {
    std::string command = "sbatch";
    for (const std::string& option : job.options) {
      command += Text(" ", option);
    }
    Print(stdout, "# ", command, " ", job.script, "\n", job.text, "\n");
  };
  const std::vector<BatchJob> jobs = RangeJobs(prepared, options);
  std::vector<std::string> ids;
  for (const BatchJob& job : jobs) {
    print(job);
    ids.push_back(Text("JOB", ids.size() + 1));
  }
  print(FinishJob(prepared, options, ids));
}

void PrintQueued(const SubmitArguments& line, const PreparedSubmission& prepared) {
  if (line.quiet) {
    return;
  }
  const Submission& submission = prepared.submission;
  Print(stderr, submission.name, ": ", Count(submission.frames, "frame"), " in ",
        Count(submission.ranges.size(), "task"), ", job ", submission.jobs.front(),
        " (veltra submit ", line.options.scene, " --status tells how far it is)\n");
}

PreparedSubmission Prepare(const SubmitOptions& options, std::size_t largestArray) {
  return PrepareSubmission(
      options, JobOfScene(options.scene),
      [&options](const std::string& frames, const std::string& to) {
        FreezeScene(options.scene, frames, to);
      },
      largestArray);
}

int SubmitToSlurm(SubmitArguments& line) {
  const std::size_t largestArray = LargestArray();
  if (!line.options.again) {
    if (const auto running = RunningSubmission(line.options.scene)) {
      throw RenderError(Text(line.options.scene, ": already submitted as ",
                             running->Path().filename().string(),
                             " (--status tells how far it is, --cancel ends it, --again submits it "
                             "once more)"));
    }
  }
  line.options.node = SmallestNode(line.options.partition);
  PreparedSubmission prepared = Prepare(line.options, largestArray);
  if (line.dryRun) {
    PrintDryRun(prepared, line.options);
    DiscardSubmission(prepared.folder);
    return kExitDone;
  }
  QueueWithSlurm(prepared, line.options);
  PrintQueued(line, prepared);
  return line.wait ? WaitForEnd(prepared.folder, prepared.submission, Telling(line)) : kExitDone;
}

int SubmitAsList(const SubmitArguments& line) {
  if (line.wait) {
    throw UsageError("--wait: not for --scheduler list, which queues nothing");
  }
  const PreparedSubmission prepared = Prepare(line.options, 0);
  for (const std::string& command : RangeCommands(prepared)) {
    Print(stdout, command, "\n");
  }
  Print(stdout, FinishCommand(prepared), "\n");
  if (line.dryRun) {
    DiscardSubmission(prepared.folder);
  }
  return kExitDone;
}

}  // namespace

int RunSubmit(const Arguments& arguments) {
  SubmitArguments line;
  CommandLine commandLine(
      "Hands the frames of a scene to a farm run by Slurm, or lists them as commands.",
      "veltra submit");
  AddSubmitOptions(commandLine, line);
  commandLine.Footer("docs/farm.md tells what is promised and what can go wrong.");
  if (!commandLine.Read(arguments)) {
    return kExitDone;
  }
  ReadOptions(line);
  line.options.programVersion = kProgramVersion;
  if (line.status && line.cancel) {
    throw UsageError("--status and --cancel exclude each other");
  }
  if (line.status) {
    return Status(line);
  }
  if (line.cancel) {
    return Cancel(line);
  }
  CatchInterrupts();
  return line.scheduler == "list" ? SubmitAsList(line) : SubmitToSlurm(line);
}

}  // namespace veltra::cli
