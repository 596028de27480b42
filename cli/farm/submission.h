// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What one submission to a farm fixes, and the folder that all its tasks share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/farm/verify.h"

namespace veltra::cli {

/// A file whose content must not change between the submission and its last task.
struct PinnedFile {
  std::string path;
  std::string hash;  ///< 16 hexadecimal digits (FNV-1a, 64 bits)
};

/// Everything the tasks need to know. It is written once, before the first task starts; tasks
/// read it and never the user's own scene, which may change meanwhile.
struct Submission {
  std::string id;       ///< names the folder and marks temporary files
  std::string name;     ///< for people and for the scheduler
  std::string scene;    ///< the user's scene file, absolute
  std::string output;   ///< pattern with a place for the frame number, absolute
  std::string version;  ///< of the program
  PinnedFile program;
  std::vector<PinnedFile> effects;  ///< in the order of the passes, each file once
  bool video = false;               ///< the output is one file, out of a segment per range
  bool videoAlpha = false;          ///< and has alpha
  std::vector<std::string> ranges;  ///< of frame numbers, as --frames takes them
  std::size_t frames = 0;           ///< in all ranges
  int threads = 0;                  ///< per task; 0 is one per core
  bool anyVersion = false;          ///< tasks may have another version of program or effect
  ExpectedPicture expected;         ///< what every frame should be
  std::vector<std::string> jobs;    ///< the scheduler's; the last one verifies
};

/// The folder of a submission:
///   submission.json   what was fixed
///   scene.json        the scene as it was, paths absolute
///   ranges-N.sh, finish.sh      what the scheduler runs
///   log/              what that printed
///   segments/N.EXT    of a video, until it is joined
///   state/N.json      how far range N is, rewritten at most every few seconds
///   result.json       how it ended, once it has
///   cancelled         is there when somebody ended it
class SubmissionFolder {
 public:
  explicit SubmissionFolder(std::filesystem::path path) : path_(std::move(path)) {}

  const std::filesystem::path& Path() const { return path_; }
  std::string Scene() const { return (path_ / "scene.json").string(); }
  std::string Log() const { return (path_ / "log").string(); }
  /// The video of a range.
  std::string SegmentOf(std::size_t range, const std::string& output) const;
  std::string Segments() const { return (path_ / "segments").string(); }
  std::string States() const { return (path_ / "state").string(); }
  std::string StateOf(std::size_t range) const;
  std::string Cancelled() const { return (path_ / "cancelled").string(); }
  std::string Result() const { return (path_ / "result.json").string(); }

  /// Throws RenderError where the folder holds no submission.
  Submission Read() const;
  /// Throws RenderError where that fails.
  void Write(const Submission& submission) const;

 private:
  std::filesystem::path path_;
};

/// How far a range is. Frames of which the last try failed stand in `failed` with the error.
struct RangeState {
  std::size_t done = 0;
  bool finished = false;
  std::map<int, std::string> failed;
};

/// Nothing where the range has not said anything yet. Throws RenderError where it cannot be
/// understood.
std::optional<RangeState> ReadState(const SubmissionFolder& folder, std::size_t range);
/// Throws RenderError.
void WriteState(const SubmissionFolder& folder, std::size_t range, const RangeState& state);

/// How a submission ended.
struct FarmResult {
  std::size_t done = 0;
  std::vector<int> missing;            ///< frames that are not there
  std::map<int, std::string> failed;   ///< of those, the ones whose error is known
  std::map<int, std::string> damaged;  ///< frames that are there but not whole

  bool Whole() const { return missing.empty() && failed.empty() && damaged.empty(); }
};

/// Nothing until the last job has ended. Throws RenderError where it cannot be understood.
std::optional<FarmResult> ReadResult(const SubmissionFolder& folder);
/// Throws RenderError.
void WriteResult(const SubmissionFolder& folder, const FarmResult& result);

/// Deletes the temporary files that killed tasks of a submission left: of frames, of segments, and
/// of what they told. For when no task runs any more.
void RemoveTemporariesOf(const SubmissionFolder& folder, const Submission& submission);

/// Where the submissions of a scene lie: NAME.farm beside it.
std::filesystem::path SubmissionsOf(const std::string& scene);

/// The submissions of a scene, oldest first.
std::vector<SubmissionFolder> FindSubmissions(const std::string& scene);

/// An id that no other submission has, wherever it is made: the time and random letters.
std::string NewSubmissionId();

/// Of a file's content. Throws RenderError where it cannot be read.
PinnedFile Pin(const std::string& path);

}  // namespace veltra::cli
