// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A render that was fully understood: what the command line and the scene come to.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

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
  LayerTiming timing;  ///< of the layers
  PF_RationalScale layerPixelAspect{1, 1};
};

struct RenderJob {
  RenderOptions options;
  std::vector<RenderPass> passes;  ///< at least one, in the order in which they are applied
};

/// Runs a job to its end, or with --dry-run tells what it would do. Throws Error.
void RunJob(const RenderJob& job);

}  // namespace veltra::cli
