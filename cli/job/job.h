// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A render that was fully understood: what the command line and the scene come to.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/job/media.h"
#include "cli/settings/options.h"
#include "cli/settings/tracks.h"
#include "host/effect.h"

namespace veltra::cli {

/// One effect with its layers and controls, laid onto what the passes before it made.
struct RenderPass {
  std::shared_ptr<const host::Effect> effect;
  std::map<PF_ParamIndex, std::string> layers;  ///< file names as given
  std::map<PF_ParamIndex, Track> tracks;        ///< of every control that was set, layers apart
  /// Of those the ones with a single value that the effect wants to hear of.
  std::set<PF_ParamIndex> supervised;
  std::vector<PF_ParamIndex> pressed;  ///< buttons, before the first frame, in this order
  LayerTiming timing;                  ///< of the layers
  PF_RationalScale layerPixelAspect{1, 1};
};

struct RenderJob {
  RenderOptions options;
  std::vector<RenderPass> passes;  ///< at least one, in the order in which they are applied
};

/// What a job comes to, before anything is rendered.
struct JobPlan {
  std::vector<int> numbers;  ///< of all frames, those whose output is there already included
  Media output;
  PictureSize size;                            ///< of the rendered pictures
  std::optional<pictures::SampleType> stored;  ///< as the files store them; nothing for a video
  bool untilTheEnd = false;         ///< no frames were asked for: all of the frame's video
  std::uint64_t bytesPerFrame = 0;  ///< of memory for a frame in flight
  std::uint64_t bytesOfLayers = 0;  ///< of memory for the layers of a frame
};

/// Checks everything that can be known without rendering, in every frame, and that the inputs are
/// there. What is rendered already counts like the rest. Throws Error.
JobPlan PlanJob(const RenderJob& job);

/// Runs a job to its end, or with --dry-run tells what it would do. Throws Error.
void RunJob(const RenderJob& job);

}  // namespace veltra::cli
