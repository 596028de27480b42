// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra verify`: whether everything that a scene should render is there and whole.
#include <algorithm>
#include <thread>

#include "base/error.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/farm/ranges.h"
#include "cli/farm/submit.h"
#include "cli/farm/verify.h"
#include "cli/job/progress.h"
#include "cli/settings/values.h"
#include "system/interrupt.h"

namespace veltra::cli {
namespace {

struct VerifyOptions {
  std::string scene;
  bool repair = false;
  int threads = 0;
  RenderOptions telling;  ///< of progress
};

VerifyOptions ReadOptions(CommandLine& commandLine, const Arguments& arguments, bool& help) {
  VerifyOptions options;
  std::string threads;
  std::string progress;
  bool quiet = false;
  commandLine.Option("scene", options.scene, "the scene file").Type("SCENE.json").Required();
  commandLine.Flag("--repair", options.repair, "render what is missing or damaged");
  commandLine.Option("--threads", threads, "to decode on (one per core otherwise)").Type("N");
  commandLine.Option("--progress", progress, "auto, bar, lines, json or none").Type("KIND");
  commandLine.Flag("-q,--quiet", quiet, "only errors");
  help = !commandLine.Read(arguments);
  if (help) {
    return options;
  }
  RenderOptions known;
  const auto apply = [&known](const char* name, const std::string& text) {
    if (text.empty()) {
      return;
    }
    try {
      FindOption(name)->apply(known, text);
    } catch (const UsageError& error) {
      throw UsageError(Text("--", name, ": ", error.what()));
    }
  };
  apply("threads", threads);
  apply("progress", progress);
  options.threads = known.threads > 0
                        ? known.threads
                        : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  options.telling.quiet = quiet;
  options.telling.progress = quiet ? ProgressStyle::kNone : known.progress;
  return options;
}

std::vector<int> BadFrames(const Verified& verified) {
  std::vector<int> bad = verified.missing;
  for (const auto& [number, trouble] : verified.damaged) {
    bad.push_back(number);
  }
  std::sort(bad.begin(), bad.end());
  return bad;
}

void PrintFindings(const FileName& name, const Verified& verified) {
  if (!verified.missing.empty()) {
    Print(stdout, name.Pattern(), ": missing: ", FramesText(verified.missing), "\n");
  }
  for (const auto& [number, trouble] : verified.damaged) {
    Print(stdout, name.At(number), ": damaged: ", trouble, "\n");
  }
}

[[noreturn]] void ThrowNotWhole(const std::string& scene, const JobPlan& plan,
                                const Verified& verified) {
  throw RenderError(Text(plan.output.Name(), ": ", verified.missing.size(), " missing and ",
                         verified.damaged.size(), " damaged of ",
                         Count(plan.numbers.size(), "frame"), " (veltra verify ", scene,
                         " --repair renders them)"));
}

Verified Look(const JobPlan& plan, const std::vector<int>& numbers, const VerifyOptions& options) {
  Progress progress(options.telling, static_cast<int>(numbers.size()));
  return VerifyFrames(
      plan.output.name, numbers,
      {plan.size.width, plan.size.height, plan.stored.value_or(pictures::SampleType::kUint8)},
      options.threads, [&progress] { progress.Step(); });
}

void SetTelling(RenderJob& job, const VerifyOptions& options) {
  job.options.progress = options.telling.progress;
  job.options.quiet = options.telling.quiet;
}

int VerifyPictures(RenderJob& job, const JobPlan& plan, const VerifyOptions& options) {
  Verified verified = Look(plan, plan.numbers, options);
  PrintFindings(plan.output.name, verified);
  const std::vector<int> bad = BadFrames(verified);
  if (!bad.empty() && options.repair) {
    job.options.part = ParseFrames(FramesText(bad));
    job.options.frames = ParseFrames(FramesText(plan.numbers));
    SetTelling(job, options);
    job.options.resume = false;
    job.options.noClobber = false;
    RunJob(job);
    verified = Look(plan, bad, options);
    verified.whole += plan.numbers.size() - bad.size();
    PrintFindings(plan.output.name, verified);
  }
  if (!BadFrames(verified).empty()) {
    ThrowNotWhole(options.scene, plan, verified);
  }
  Print(stdout, plan.output.Name(), ": ", Count(verified.whole, "frame"), ", all whole\n");
  return kExitDone;
}

int VerifyVideo(RenderJob& job, const JobPlan& plan, const VerifyOptions& options) {
  const std::string& path = plan.output.Name();
  std::string trouble = VideoTrouble(path, plan.numbers.size());
  if (!trouble.empty() && options.repair) {
    Print(stdout, path, ": ", trouble, "\n");
    SetTelling(job, options);
    RunJob(job);
    trouble = VideoTrouble(path, plan.numbers.size());
  }
  if (!trouble.empty()) {
    throw RenderError(Text(path, ": ", trouble));
  }
  Print(stdout, path, ": ", Count(plan.numbers.size(), "frame"), ", all whole\n");
  return kExitDone;
}

}  // namespace

int RunVerify(const Arguments& arguments) {
  CommandLine commandLine("Decodes every frame that a scene should have rendered.",
                          "veltra verify");
  commandLine.Footer(
      "exit codes: 0 all whole, 1 something is missing or damaged, 2 the scene is wrong.");
  bool help = false;
  const VerifyOptions options = ReadOptions(commandLine, arguments, help);
  if (help) {
    return kExitDone;
  }
  CatchInterrupts();
  RenderJob job = JobOfScene(options.scene);
  CheckFilesHaveNames(options.scene, job);
  const JobPlan plan = PlanJob(job);
  return plan.output.kind == MediaKind::kVideo ? VerifyVideo(job, plan, options)
                                               : VerifyPictures(job, plan, options);
}

}  // namespace veltra::cli
