// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Renders one frame of a job from worlds to a world.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cli/job/job.h"
#include "host/renderer.h"

namespace veltra::cli {

using SharedWorld = std::shared_ptr<const host::World>;

/// What a frame is rendered from, already at the job's depth and resolution.
struct FrameInputs {
  int width = 0;  ///< of the frame at full resolution
  int height = 0;
  SharedWorld frame;  ///< null is transparent
  std::map<PF_ParamIndex, SharedWorld> layers;
};

struct RenderedFrame {
  host::World picture;
  std::vector<std::string> warnings;
};

/// Reduces a world to the job's resolution, on the pool's threads, and gives it its pixel aspect;
/// the full-size one is let go. Throws Interrupted after Ctrl-C.
SharedWorld AtJobResolution(host::World world, int downsample, PF_RationalScale aspect,
                            host::ThreadPool* pool);

class FrameRenderer {
 public:
  /// `firstFrame` is at time zero. The pool and the job must outlive the renderer.
  FrameRenderer(const RenderJob& job, host::Depth depth, int firstFrame, int lastFrame,
                PF_RationalScale rate, host::ThreadPool* pool);

  /// Renders one frame. Safe on several threads where the effect is. Throws RenderError with the
  /// name of the effect's error, Interrupted after Ctrl-C.
  RenderedFrame Render(int frame, const FrameInputs& inputs,
                       const std::function<void(double)>& progress) const;

  /// Whether the effect wants pixels of the frame at all, which it may not when it does not
  /// composite; asked by a pre-render alone. `inputs` needs only its size.
  bool WantsFrame(int frame, const FrameInputs& inputs) const;

 private:
  host::RenderSettings Settings(int frame, const FrameInputs& inputs) const;

  const RenderJob& job_;
  host::Depth depth_;
  int firstFrame_;
  int lastFrame_;
  PF_RationalScale rate_;
  host::ThreadPool* pool_;
};

/// Refuses what the effect or the chosen way of rendering cannot do. Throws UsageError.
void CheckDepth(const RenderJob& job, host::Depth depth);

}  // namespace veltra::cli
