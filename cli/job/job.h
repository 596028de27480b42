// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A render that was fully understood: what the command line and the scene come to.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "cli/settings/options.h"
#include "cli/settings/tracks.h"
#include "host/effect.h"

namespace veltra::cli {

struct RenderJob {
  std::shared_ptr<const host::Effect> effect;
  RenderOptions options;
  std::map<PF_ParamIndex, std::string> layers;  ///< file names as given
  std::map<PF_ParamIndex, Track> tracks;        ///< of every control that was set, layers apart
};

/// Runs a job to its end. Throws Error.
void RunJob(const RenderJob& job);

}  // namespace veltra::cli
