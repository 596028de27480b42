// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Renders one frame of a job from worlds to a world.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cli/job/frame_source.h"
#include "cli/job/job.h"
#include "cli/job/other_times.h"
#include "host/renderer.h"

namespace veltra::cli {

/// What a frame is rendered from, at the job's depth and resolution.
struct FrameInputs {
  int width = 0;  ///< of the frame at full resolution
  int height = 0;
  /// Reads the frame; called once at most, and only when the effect wants pixels of it. Absent is
  /// a transparent frame.
  std::function<SharedWorld()> readFrame;
  bool isEye = false;  ///< the frame is the part of a larger one that one eye sees
  double turn = 0.0;   ///< degrees by which all points are turned to the right
  std::map<PF_ParamIndex, SharedWorld> layers;
};

struct RenderedFrame {
  host::World picture;
  std::vector<std::string> warnings;
};

/// What all frames of a run have in common.
struct FrameSettings {
  host::Depth depth = host::Depth::k8;
  int firstFrame = 0;  ///< of the whole run, whichever part of it is rendered
  int lastFrame = 0;
  PF_RationalScale rate{24, 1};  ///< in frames per second
  host::ThreadPool* pool = nullptr;
  bool madeByPassBefore = false;     ///< the frame is what the pass before made
  OtherTimes* otherTimes = nullptr;  ///< of the pass; null where nothing changes with time
};

/// Renders frames of one pass. Frame n is shown at time n / rate, wherever a run begins.
class FrameRenderer {
 public:
  /// `whole` leaves out the region and what the effect draws beyond the frame, as for passes before
  /// the last one. Frames of an effect without threaded rendering go on with one sequence, and must
  /// come one at a time. The options, the pass and
  /// the pool must outlive the renderer.
  FrameRenderer(const RenderOptions& options, const RenderPass& pass, const FrameSettings& frames,
                bool whole);

  /// Renders one frame. Safe on several threads where the effect is. Throws RenderError with the
  /// name of the effect's error, Interrupted after Ctrl-C, and what `readFrame` throws.
  RenderedFrame Render(int frame, const FrameInputs& inputs,
                       const std::function<void(double)>& progress) const;

 private:
  SharedWorld ImageAt(PF_ParamIndex index, A_long time, A_u_long scale, const FrameInputs& inputs,
                      const std::function<SharedWorld()>& readFrame) const;
  host::ControlValue ControlAt(PF_ParamIndex index, double frame, const FrameInputs& inputs) const;
  host::RenderSettings Settings(int frame, const FrameInputs& inputs) const;

  const RenderOptions& options_;
  const RenderPass& pass_;
  FrameSettings frames_;
  bool whole_;
  /// Of effects that render one frame at a time, or that copy one for each frame; others have a
  /// new sequence for each frame.
  std::unique_ptr<host::HeldSequence> sequence_;
};

/// The size of the rendered pictures of a frame of this full-resolution size. Throws UsageError
/// where the region lies outside it.
PictureSize OutputSize(const RenderOptions& options, int width, int height);

/// Refuses what the effect or the chosen way of rendering cannot do. Throws UsageError.
void CheckDepth(const RenderOptions& options, const host::Effect& effect, host::Depth depth);

}  // namespace veltra::cli
