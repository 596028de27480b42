// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Which frames a run renders, in which order, and how many of them at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/job/frame_source.h"
#include "cli/job/media.h"
#include "cli/settings/options.h"
#include "host_api/types.h"

namespace veltra::cli {

/// One input of a job.
struct JobInput {
  Media media;
  std::unique_ptr<FrameSource> source;
  bool isLayer = false;
  LayerTiming timing;                  ///< of a layer
  PF_RationalScale pixelAspect{1, 1};  ///< of its pictures
  std::size_t pass = 0;                ///< of a layer: the pass and the control that it is for
  PF_ParamIndex index = 0;
};

/// The files that a job reads, opened, and those that it writes.
struct JobFiles {
  std::optional<JobInput> frame;  ///< absent for a transparent frame
  std::vector<JobInput> layers;
  Media output;
};

/// The frames of a run. Not for several threads at once.
class Schedule {
 public:
  /// The frames of --frames, or those that the input sequence has on disk, or all of the input
  /// video or stream; one frame when nothing counts; of them those of --part. Throws UsageError
  /// when it cannot be told, and RenderError when what is on disk has holes that nobody asked to
  /// skip.
  Schedule(const RenderOptions& options, const JobFiles& files);

  /// Frame numbers before any was left out, by --part either; there is at least one.
  int First() const { return first_; }
  int Last() const { return last_; }
  /// The frames that are to be rendered.
  const std::vector<int>& Numbers() const { return numbers_; }
  /// Whether more frames than these may come: the frame's video or stream goes on until it ends.
  bool HasOpenEnd() const { return openEnd_; }
  /// How many frames there are, those that were left out among them; 0 where nobody knows.
  std::size_t Total() const { return unknownCount_ ? 0 : numbers_.size() + leftOut_; }
  /// How many were left out.
  std::size_t LeftOut() const { return leftOut_; }

  /// Leaves out the frames whose output is there already (--resume), or refuses to overwrite
  /// (--no-clobber). Throws RenderError.
  void CheckOutputs(const RenderOptions& options, const Media& output);
  /// Refuses or leaves out (--skip-missing) the frames for which an input is missing. Returns a
  /// line for each input of which frames were left out, and for each layer that does not show in
  /// every frame and was not told when it ends. Throws RenderError.
  std::vector<std::string> CheckInputs(const RenderOptions& options, const JobFiles& files);

  /// One frame's turn.
  struct Turn {
    std::size_t index = 0;  ///< 0 for the first frame of the run
    int number = 0;
  };
  /// The next turn; nothing when all had theirs.
  std::optional<Turn> Next() const;
  /// The turn was taken.
  void Advance() { ++next_; }

 private:
  void CheckInput(const RenderOptions& options, const JobInput& input,
                  std::vector<std::string>& notes);

  std::vector<int> numbers_;
  int first_ = 0;
  int last_ = 0;
  bool openEnd_ = false;
  bool unknownCount_ = false;
  std::size_t leftOut_ = 0;
  std::size_t next_ = 0;
};

/// How many threads in all, and how many frames are in flight on them.
struct Spread {
  int threads = 1;
  int frames = 1;
};

/// The threads of --threads, or one per core.
int ThreadsOf(const RenderOptions& options);

/// As many frames at once as there are threads, and as fit into half of the free memory, unless
/// --concurrent-frames says otherwise.
Spread SpreadOver(const RenderOptions& options, std::size_t frameCount,
                  std::uint64_t bytesPerFrame);

}  // namespace veltra::cli
