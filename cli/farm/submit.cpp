// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Checking, measuring, freezing and queueing.
#include "cli/farm/submit.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "cli/farm/batch_script.h"
#include "cli/farm/ranges.h"
#include "cli/farm/render_process.h"
#include "cli/farm/slurm.h"
#include "cli/farm/verify.h"
#include "cli/job/sequence.h"
#include "cli/video/video.h"
#include "pictures/output_file.h"
#include "system/interrupt.h"
#include "system/process.h"
#include "system/program_file.h"

namespace veltra::cli {
namespace {

namespace fs = std::filesystem;

constexpr int kMostDefaultCpus = 16;

/// Removes a folder that was begun, unless it is kept.
class BegunFolder {
 public:
  explicit BegunFolder(fs::path path) : path_(std::move(path)) {}
  ~BegunFolder() {
    if (!path_.empty()) {
      DiscardSubmission(SubmissionFolder(path_));
    }
  }
  BegunFolder(const BegunFolder&) = delete;
  BegunFolder& operator=(const BegunFolder&) = delete;
  void Keep() { path_.clear(); }

 private:
  fs::path path_;
};

void MakeFolders(const SubmissionFolder& folder) {
  for (const char* name : {"log", "state", "segments", "probe"}) {
    std::error_code failure;
    fs::create_directories(folder.Path() / name, failure);
    if (failure) {
      throw RenderError(Text(folder.Path().string(), ": cannot be made (", failure.message(), ")"));
    }
  }
}

int CpusFor(const SubmitOptions& options) {
  const auto all = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  const int node = options.node.cpus > 0 ? options.node.cpus : all;
  return options.cpus > 0 ? options.cpus : std::min(node, kMostDefaultCpus);
}

// ---- The measured frame ----

/// Renders the first frame beside the submission, as a task would; returns the seconds it took.
double MeasureFrame(const SubmissionFolder& folder, Submission& submission, int first) {
  const std::string extension = PathOf(submission.output).extension().string();
  const std::string output =
      (folder.Path() / "probe" / Text(submission.video ? "frame" : "frame.####", extension))
          .string();
  const auto begin = std::chrono::steady_clock::now();
  const RenderEnd end = RunRenderProcess(
      folder.Scene(),
      {"--part", Text(first), "--output", output, "--threads", Text(submission.threads)},
      [](int) {});
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  if (!end.trouble.empty()) {
    throw RenderError(end.trouble);
  }
  const std::string trouble =
      submission.video ? "" : PictureTrouble(FileName(output).At(first), submission.expected);
  if (!trouble.empty()) {
    throw UsageError(Text(submission.scene, ": its frame ", first, " comes out with ", trouble,
                          "; what changes a frame's size is for veltra render alone"));
  }
  // Whether there is alpha goes by the first frame, and is then the same in every segment.
  submission.videoAlpha = submission.video && ProbeVideo(output).format.alpha;
  std::error_code ignored;
  fs::remove_all(folder.Path() / "probe", ignored);
  return took.count();
}

/// A task holds as many frames as it has threads, and what it started with; a quarter more, since
/// image libraries take their share.
std::uint64_t MemoryFor(const JobPlan& plan, int threads) {
  constexpr std::uint64_t kBase = std::uint64_t{256} << 20;
  const std::uint64_t frames = plan.bytesPerFrame * static_cast<std::uint64_t>(threads + 1);
  return (kBase + plan.bytesOfLayers * static_cast<std::uint64_t>(threads) + frames) / 4 * 5;
}

std::string MemoryText(std::uint64_t bytes) {
  return Text((bytes + (1U << 20) - 1) >> 20, "M");
}

std::vector<PinnedFile> PinEffects(const RenderJob& job) {
  std::vector<PinnedFile> effects;
  for (const RenderPass& pass : job.passes) {
    const std::string path = fs::absolute(pass.effect->Library().Path()).string();
    if (std::none_of(effects.begin(), effects.end(),
                     [&path](const PinnedFile& known) { return known.path == path; })) {
      effects.push_back(Pin(path));
    }
  }
  return effects;
}

/// What an effect keeps from frame to frame would be lost between two tasks.
void CheckSplittable(const SubmitOptions& options, const RenderJob& job) {
  for (const RenderPass& pass : job.passes) {
    if (!pass.effect->SupportsThreadedRendering()) {
      throw UsageError(Text(options.scene, ": its effect renders frames one after the other, so ",
                            "they cannot be split among tasks (see veltra render)"));
    }
  }
}

std::string JobName(const SubmitOptions& options) {
  return options.name.empty() ? PathOf(options.scene).stem().string() : options.name;
}

/// All that is known before anything is rendered.
Submission Describe(const SubmitOptions& options, const RenderJob& job, const JobPlan& plan) {
  Submission submission;
  submission.id = NewSubmissionId();
  submission.name = JobName(options);
  submission.scene = fs::absolute(PathOf(options.scene)).lexically_normal().string();
  submission.output = fs::absolute(PathOf(plan.output.Name())).lexically_normal().string();
  submission.version = options.programVersion;
  submission.program = Pin(ProgramFile().string());
  submission.effects = PinEffects(job);
  submission.video = plan.output.kind == MediaKind::kVideo;
  submission.frames = plan.numbers.size();
  submission.expected = {plan.size.width, plan.size.height,
                         plan.stored.value_or(pictures::SampleType::kUint8)};
  submission.threads = CpusFor(options);
  submission.anyVersion = options.anyVersion;
  return submission;
}

std::vector<std::string> CommonOptions(const PreparedSubmission& prepared,
                                       const SubmitOptions& options) {
  std::vector<std::string> common = {
      Text("--job-name=", prepared.submission.name), "--requeue", "--output=/dev/null",
      Text("--cpus-per-task=", prepared.submission.threads), "--chdir=/"};
  if (prepared.memory > 0) {
    common.push_back(Text("--mem=", MemoryText(prepared.memory)));
  }
  const auto add = [&common](const char* name, const std::string& value) {
    if (!value.empty()) {
      common.push_back(Text(name, value));
    }
  };
  add("--partition=", options.partition);
  add("--account=", options.account);
  add("--time=", options.time);
  common.insert(common.end(), options.sbatch.begin(), options.sbatch.end());
  return common;
}

}  // namespace

void DiscardSubmission(const SubmissionFolder& folder) {
  std::error_code ignored;
  fs::remove_all(folder.Path(), ignored);
  fs::remove(folder.Path().parent_path(), ignored);  // unless it holds others
}

void CancelSubmission(const SubmissionFolder& folder, const Submission& submission) {
  pictures::WriteText(folder.Cancelled(), "");
  CancelJobs(submission.jobs);
  // Their processes end a little later, and with them what they were writing.
  constexpr int kLongest = 180;  // looks
  std::size_t left = CountQueue(submission.jobs).Total();
  for (int look = 0; look < kLongest && left > 0; ++look) {
    SleepUnlessInterrupted(std::chrono::milliseconds(500));
    left = CountQueue(submission.jobs).Total();
  }
  if (left > 0) {
    throw RenderError(Text(submission.name, ": was cancelled, but ", Count(left, "task"),
                           " did not end yet (cancel it once more when squeue shows none)"));
  }
  RemoveTemporariesOf(folder, submission);
}

void CheckFilesHaveNames(const std::string& scene, const RenderJob& job) {
  bool piped = job.options.frame == "-" || job.options.output == "-";
  for (const RenderPass& pass : job.passes) {
    piped = piped || std::any_of(pass.layers.begin(), pass.layers.end(),
                                 [](const auto& layer) { return layer.second == "-"; });
  }
  if (piped) {
    throw UsageError(
        Text(scene, ": - is no file that others could read or write (expected a name)"));
  }
}

PreparedSubmission PrepareSubmission(const SubmitOptions& options, const RenderJob& job,
                                     const FreezeTheScene& freeze, std::size_t largestArray) {
  CheckFilesHaveNames(options.scene, job);
  const JobPlan plan = PlanJob(job);
  if (plan.numbers.size() < 2) {
    throw UsageError(Text(options.scene, ": a single frame needs no farm (see veltra render)"));
  }
  CheckSplittable(options, job);
  PreparedSubmission prepared{SubmissionFolder(""), Describe(options, job, plan)};
  Submission& submission = prepared.submission;
  prepared.folder = SubmissionFolder(SubmissionsOf(options.scene) / submission.id);
  prepared.largestArray = largestArray;

  BegunFolder begun(prepared.folder.Path());
  MakeFolders(prepared.folder);
  // Where nobody chose frames of a video, all of its sound belongs to them.
  freeze(plan.untilTheEnd ? "" : FramesText(plan.numbers), prepared.folder.Scene());
  prepared.secondsPerFrame = MeasureFrame(prepared.folder, submission, plan.numbers.front());
  const std::size_t mostTasks = largestArray == 0 ? submission.frames : largestArray;
  const std::size_t chunk =
      options.chunk != 0 ? options.chunk
                         : FramesPerTask(submission.frames, prepared.secondsPerFrame, mostTasks);
  for (const std::vector<int>& numbers : SplitFrames(plan.numbers, chunk)) {
    submission.ranges.push_back(FramesText(numbers));
  }
  const bool managed = options.node.knowsMemory;
  prepared.memory = options.memory != 0 ? options.memory
                    : managed           ? MemoryFor(plan, submission.threads)
                                        : 0;
  prepared.folder.Write(submission);
  begun.Keep();
  return prepared;
}

std::vector<BatchJob> RangeJobs(const PreparedSubmission& prepared, const SubmitOptions& options) {
  std::vector<BatchJob> jobs;
  const std::size_t ranges = prepared.submission.ranges.size();
  for (std::size_t first = 0; first < ranges; first += prepared.largestArray) {
    const std::size_t count = std::min(prepared.largestArray, ranges - first);
    BatchJob job;
    job.options = CommonOptions(prepared, options);
    job.options.push_back(
        Text("--array=0-", count - 1,
             options.arrayLimit != 0 ? Text("%", options.arrayLimit) : std::string()));
    job.script = (prepared.folder.Path() / Text("ranges-", first, ".sh")).string();
    job.text = RangeScript(prepared.folder, prepared.submission, first);
    jobs.push_back(job);
  }
  return jobs;
}

BatchJob FinishJob(const PreparedSubmission& prepared, const SubmitOptions& options,
                   const std::vector<std::string>& jobs) {
  BatchJob job;
  job.options = CommonOptions(prepared, options);
  std::string dependency = "--dependency=afterany";
  for (const std::string& id : jobs) {
    dependency += Text(":", id);
  }
  job.options.push_back(dependency);
  job.script = (prepared.folder.Path() / "finish.sh").string();
  job.text = FinishScript(prepared.folder, prepared.submission);
  return job;
}

void QueueWithSlurm(PreparedSubmission& prepared, const SubmitOptions& options) {
  std::vector<std::string>& jobs = prepared.submission.jobs;
  try {
    for (const BatchJob& job : RangeJobs(prepared, options)) {
      pictures::WriteText(job.script, job.text);
      jobs.push_back(SubmitScript(job.options, job.script));
    }
    const BatchJob finish = FinishJob(prepared, options, jobs);
    pictures::WriteText(finish.script, finish.text);
    jobs.push_back(SubmitScript(finish.options, finish.script));
    prepared.folder.Write(prepared.submission);
  } catch (const Error&) {
    InterruptFlag() = false;  // or the cancelling would be interrupted too
    CancelJobs(jobs);
    DiscardSubmission(prepared.folder);
    throw;
  }
}

std::vector<std::string> RangeCommands(const PreparedSubmission& prepared) {
  std::vector<std::string> commands;
  for (std::size_t range = 0; range < prepared.submission.ranges.size(); ++range) {
    commands.push_back(Text(TaskCommand(prepared.folder, prepared.submission), " ", range));
  }
  return commands;
}

std::string FinishCommand(const PreparedSubmission& prepared) {
  return Text(TaskCommand(prepared.folder, prepared.submission), " --finish");
}

std::optional<SubmissionFolder> RunningSubmission(const std::string& scene) {
  for (const SubmissionFolder& folder : FindSubmissions(scene)) {
    if (ReadResult(folder)) {
      continue;
    }
    const Submission submission = folder.Read();
    if (!submission.jobs.empty() && CountQueue(submission.jobs).Total() > 0) {
      return folder;
    }
  }
  return std::nullopt;
}

}  // namespace veltra::cli
