// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// `veltra render` in a process of its own, so that an effect that crashes ends no more than that.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace veltra::cli {

/// What a render told before it ended.
struct RenderEnd {
  std::vector<int> done;              ///< frames that were written
  std::map<int, std::string> failed;  ///< frames that could not be, with the reason
  std::string trouble;                ///< what ended the whole run early, or empty
};

/// Runs `veltra render` on a scene with these options and collects what it reports. `onFrame` is
/// called after each frame that was written. Throws RenderError where the program cannot be
/// started, and Interrupted.
RenderEnd RunRenderProcess(const std::string& scene, const std::vector<std::string>& options,
                           const std::function<void(int frame)>& onFrame);

}  // namespace veltra::cli
