// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Ranges that are rendered by processes of their own, and what the last job looks after.
#include "cli/farm/task.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <thread>

#include "base/error.h"
#include "base/paths.h"
#include "base/print.h"
#include "base/text.h"
#include "cli/farm/ranges.h"
#include "cli/farm/render_process.h"
#include "cli/farm/verify.h"
#include "cli/settings/values.h"
#include "pictures/output_file.h"
#include "system/files.h"
#include "system/interrupt.h"
#include "system/program_file.h"
#include "system/submission_mark.h"

namespace veltra::cli {
namespace {

constexpr int kTries = 3;

int ThreadsOf(const Submission& submission) {
  return submission.threads > 0
             ? submission.threads
             : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

std::vector<int> NumbersOf(const std::string& range) {
  return ParseFrames(range).Numbers();
}

std::vector<int> AllNumbers(const Submission& submission) {
  std::vector<int> all;
  for (const std::string& range : submission.ranges) {
    const std::vector<int> numbers = NumbersOf(range);
    all.insert(all.end(), numbers.begin(), numbers.end());
  }
  return all;
}

/// Before a second and a third try: what was wrong may pass, such as a file server that restarts.
void WaitBefore(int attempt) {
  SleepUnlessInterrupted(std::chrono::seconds(attempt <= 1 ? 0 : attempt == 2 ? 2 : 10));
}

/// Frames matter more than what is said of them; the last task looks at the frames themselves.
bool TryToWrite(const SubmissionFolder& folder, std::size_t range, const RangeState& state) {
  try {
    WriteState(folder, range, state);
    return true;
  } catch (const RenderError& error) {
    Print(stderr, "veltra: ", error.what(), "\n");
    return false;
  }
}

/// One range while it is rendered.
class RangeRun {
 public:
  RangeRun(const SubmissionFolder& folder, const Submission& submission, std::size_t range)
      : folder_(folder),
        submission_(submission),
        range_(range),
        numbers_(NumbersOf(submission.ranges[range])) {}

  int Run() { return submission_.video ? RenderSegment() : RenderFrames(); }

 private:
  using Clock = std::chrono::steady_clock;

  int RenderFrames();
  void LookBefore(const FileName& name);
  void LookAfter(const FileName& name, const std::vector<int>& rendered);
  int RenderSegment();
  void TrySegment(const std::string& segment);
  std::vector<std::string> Options(const std::vector<int>& numbers) const;
  void Try(const std::vector<int>& numbers);
  void FrameDone();
  bool Tell(bool finished);
  int End();

  const SubmissionFolder& folder_;
  const Submission& submission_;
  std::size_t range_;
  std::vector<int> numbers_;
  std::vector<int> missing_;
  RangeState state_;
  Clock::time_point told_{};
};

std::vector<std::string> RangeRun::Options(const std::vector<int>& numbers) const {
  return {"--part",   FramesText(numbers), "--threads",   Text(ThreadsOf(submission_)),
          "--output", submission_.output,  "--keep-going"};
}

/// The shared file system sees one small file per range every few seconds, however many frames.
/// Returns false where it could not be written.
bool RangeRun::Tell(bool finished) {
  constexpr std::chrono::seconds kPause{5};
  const Clock::time_point now = Clock::now();
  if (!finished && now - told_ < kPause) {
    return true;
  }
  told_ = now;
  state_.finished = finished;
  return TryToWrite(folder_, range_, state_);
}

void RangeRun::FrameDone() {
  ++state_.done;
  Tell(false);
}

void RangeRun::Try(const std::vector<int>& numbers) {
  const RenderEnd end =
      RunRenderProcess(folder_.Scene(), Options(numbers), [this](int) { FrameDone(); });
  for (const int number : numbers) {
    if (std::find(end.done.begin(), end.done.end(), number) != end.done.end()) {
      missing_.erase(std::find(missing_.begin(), missing_.end(), number));
      state_.failed.erase(number);
      continue;
    }
    const auto failed = end.failed.find(number);
    state_.failed[number] = failed != end.failed.end() ? failed->second
                            : end.trouble.empty()      ? "not rendered"
                                                       : end.trouble;
  }
}

/// What an earlier try of this range wrote before its node died is looked at, not believed.
void RangeRun::LookBefore(const FileName& name) {
  const Verified before =
      VerifyFrames(name, numbers_, submission_.expected, ThreadsOf(submission_), [] {});
  missing_ = before.missing;
  for (const auto& [number, trouble] : before.damaged) {
    missing_.push_back(number);
  }
  std::sort(missing_.begin(), missing_.end());
  state_.done = before.whole;
}

void RangeRun::LookAfter(const FileName& name, const std::vector<int>& rendered) {
  const Verified after =
      VerifyFrames(name, rendered, submission_.expected, ThreadsOf(submission_), [] {});
  for (const int number : after.missing) {
    state_.failed[number] = "was written, but is not there any more";
  }
  for (const auto& [number, trouble] : after.damaged) {
    state_.failed[number] = Text("was written, but reads back as: ", trouble);
  }
}

int RangeRun::RenderFrames() {
  const FileName name(submission_.output);
  LookBefore(name);
  Tell(false);
  std::vector<int> rendered = missing_;
  for (int attempt = 1; attempt <= kTries && !missing_.empty(); ++attempt) {
    WaitBefore(attempt);
    if (attempt < kTries) {
      Try(std::vector<int>(missing_));
      continue;
    }
    // One by one, so that a frame that ends the renderer takes no other with it.
    for (const int number : std::vector<int>(missing_)) {
      Try({number});
    }
  }
  std::erase_if(rendered, [this](int number) { return state_.failed.contains(number); });
  LookAfter(name, rendered);
  return End();
}

/// A segment is there whole or not at all, and damage shows when it is decoded.
void RangeRun::TrySegment(const std::string& segment) {
  const RenderEnd end = RunRenderProcess(
      folder_.Scene(),
      {"--part", FramesText(numbers_), "--threads", Text(ThreadsOf(submission_)), "--output",
       segment, "--segment", submission_.videoAlpha ? "alpha" : "opaque"},
      [this](int) { FrameDone(); });
  state_.failed.clear();
  state_.done = 0;
  std::string trouble = end.trouble;
  if (trouble.empty()) {
    trouble = VideoTrouble(segment, numbers_.size());
  }
  if (trouble.empty()) {
    state_.done = numbers_.size();
    return;
  }
  const int frame = end.failed.empty() ? numbers_.front() : end.failed.begin()->first;
  state_.failed[frame] = end.failed.empty() ? trouble : end.failed.begin()->second;
}

int RangeRun::RenderSegment() {
  const std::string segment = folder_.SegmentOf(range_, submission_.output);
  if (StatusOf(segment).kind == FileKind::kFile && VideoTrouble(segment, numbers_.size()).empty()) {
    state_.done = numbers_.size();
    return End();
  }
  for (int attempt = 1; attempt <= kTries && state_.done < numbers_.size(); ++attempt) {
    WaitBefore(attempt);
    state_.done = 0;
    TrySegment(segment);
  }
  return End();
}

int RangeRun::End() {
  const bool told = Tell(true);
  for (const auto& [number, error] : state_.failed) {
    Print(stderr, "veltra: frame ", number, ": ", error, "\n");
  }
  return state_.failed.empty() ? kExitDone : told ? kExitFailed : kExitUntold;
}

// ---- The end ----

void AddState(const std::optional<RangeState>& state, FarmResult& result) {
  if (state) {
    for (const auto& [number, error] : state->failed) {
      result.failed[number] = error;
    }
  }
}

/// The folder is read once. Frames of ranges that ended have been decoded by them; those of
/// the others are decoded now.
FarmResult LookAtFrames(const SubmissionFolder& folder, const Submission& submission) {
  const FileName name(submission.output);
  FarmResult result;
  std::vector<int> undecoded;
  for (std::size_t range = 0; range < submission.ranges.size(); ++range) {
    const std::optional<RangeState> state = ReadState(folder, range);
    AddState(state, result);
    if (!state || !state->finished) {
      const std::vector<int> numbers = NumbersOf(submission.ranges[range]);
      undecoded.insert(undecoded.end(), numbers.begin(), numbers.end());
    }
  }
  const Verified found = FindFrames(name, AllNumbers(submission));
  const Verified decoded =
      VerifyFrames(name, undecoded, submission.expected, ThreadsOf(submission), [] {});
  result.missing = found.missing;
  result.damaged = decoded.damaged;
  result.done = found.whole - decoded.damaged.size();
  // A frame that failed here may have been rendered elsewhere since.
  std::erase_if(result.failed, [&result](const auto& failed) {
    return !std::binary_search(result.missing.begin(), result.missing.end(), failed.first) &&
           !failed.second.starts_with("was written");
  });
  return result;
}

/// The segment of a range is whole: its task says so, or it is decoded now.
bool HasSegment(const std::string& segment, const std::optional<RangeState>& state,
                std::size_t frames) {
  const bool known = state && state->finished && state->failed.empty() &&
                     StatusOf(segment).kind == FileKind::kFile;
  return known || VideoTrouble(segment, frames).empty();
}

/// The frames of segments that are not there whole are missing.
FarmResult LookAtSegments(const SubmissionFolder& folder, const Submission& submission) {
  FarmResult result;
  for (std::size_t range = 0; range < submission.ranges.size(); ++range) {
    const std::optional<RangeState> state = ReadState(folder, range);
    const std::vector<int> numbers = NumbersOf(submission.ranges[range]);
    if (!HasSegment(folder.SegmentOf(range, submission.output), state, numbers.size())) {
      AddState(state, result);
      result.missing.insert(result.missing.end(), numbers.begin(), numbers.end());
    }
  }
  result.done = submission.frames - result.missing.size();
  return result;
}

/// Joins the segments, which are all there; they go where that worked.
void JoinSegments(const SubmissionFolder& folder, const Submission& submission,
                  FarmResult& result) {
  std::string list;
  for (std::size_t range = 0; range < submission.ranges.size(); ++range) {
    list += Text(NumbersOf(submission.ranges[range]).size(), " ",
                 folder.SegmentOf(range, submission.output), "\n");
  }
  const std::string listFile = (folder.Path() / "segments.txt").string();
  pictures::WriteText(listFile, list);
  const RenderEnd end = RunRenderProcess(
      folder.Scene(), {"--output", submission.output, "--join", listFile}, [](int) {});
  const std::string trouble =
      end.trouble.empty() ? VideoTrouble(submission.output, submission.frames) : end.trouble;
  std::error_code ignored;
  if (trouble.empty()) {
    std::filesystem::remove_all(folder.Segments(), ignored);
  } else {
    result.damaged[NumbersOf(submission.ranges.front()).front()] = trouble;
  }
}

FarmResult Look(const SubmissionFolder& folder, const Submission& submission) {
  return submission.video ? LookAtSegments(folder, submission) : LookAtFrames(folder, submission);
}

/// Whether something is missing of which no task said that it failed.
bool MissesUnexplained(const Submission& submission, const FarmResult& result) {
  return submission.video
             ? !result.missing.empty() && result.failed.empty()
             : std::any_of(result.missing.begin(), result.missing.end(),
                           [&result](int number) { return !result.failed.contains(number); });
}

/// A network file system may show a node what another one wrote as late as a minute after.
FarmResult LookPatiently(const SubmissionFolder& folder, const Submission& submission) {
  FarmResult result = Look(folder, submission);
  for (const int seconds : {1, 4, 10, 20, 30}) {
    if (!MissesUnexplained(submission, result)) {
      break;
    }
    SleepUnlessInterrupted(std::chrono::seconds(seconds));
    result = Look(folder, submission);
  }
  return result;
}

void PrintResult(const FarmResult& result, std::size_t frames) {
  Print(stdout, result.done, " of ", Count(frames, "frame"), " done\n");
  if (!result.missing.empty()) {
    Print(stdout, "missing: ", FramesText(result.missing), "\n");
  }
  for (const auto& [number, error] : result.failed) {
    Print(stdout, "frame ", number, ": ", error, "\n");
  }
  for (const auto& [number, trouble] : result.damaged) {
    Print(stdout, "frame ", number, ": damaged: ", trouble, "\n");
  }
}

}  // namespace

void CheckVersions(const Submission& submission) {
  if (submission.anyVersion) {
    return;
  }
  const auto check = [](const PinnedFile& submitted, const PinnedFile& here, const char* what) {
    if (submitted.hash != here.hash) {
      throw RenderError(Text(here.path, ": not the ", what, " that submitted (", here.hash,
                             " instead of ", submitted.hash,
                             "; install that one on this node, or submit with --any-version)"));
    }
  };
  check(submission.program, Pin(ProgramFile().string()), "program");
  for (const PinnedFile& effect : submission.effects) {
    check(effect, Pin(effect.path), "effect");
  }
}

int RunRange(const SubmissionFolder& folder, std::size_t range) {
  const Submission submission = folder.Read();
  if (range >= submission.ranges.size()) {
    throw UsageError(Text(folder.Path().string(), ": has no range ", range, " (expected 0 to ",
                          submission.ranges.size() - 1, ")"));
  }
  SetSubmissionMark(submission.id);
  try {
    CheckVersions(submission);
  } catch (const RenderError& error) {
    // For --status; the node's log tells it too.
    const int first = NumbersOf(submission.ranges[range]).front();
    static_cast<void>(TryToWrite(folder, range, {0, false, {{first, error.what()}}}));
    throw;
  }
  RangeRun run(folder, submission, range);
  return run.Run();
}

int RunFinish(const SubmissionFolder& folder) {
  const Submission submission = folder.Read();
  CheckVersions(submission);
  SetSubmissionMark(submission.id);
  FarmResult result = LookPatiently(folder, submission);
  if (submission.video && result.missing.empty()) {
    JoinSegments(folder, submission, result);
  }
  RemoveTemporariesOf(folder, submission);
  WriteResult(folder, result);
  PrintResult(result, submission.frames);
  return result.Whole() ? kExitDone : kExitFailed;
}

}  // namespace veltra::cli
