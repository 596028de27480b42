// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// How the frames of a scene are split among the tasks of a farm.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace veltra::cli {

/// Frame numbers as --frames takes them, in their order: "1-10", "1-239x2" or "1,5,9-20".
std::string FramesText(const std::vector<int>& numbers);

/// Ascending numbers split into runs of `size`, the last one perhaps shorter; size >= 1.
std::vector<std::vector<int>> SplitFrames(const std::vector<int>& numbers, std::size_t size);

/// How many frames a task should have so that it takes about three minutes at this many seconds
/// per frame, which pays for its start and loses little when its node dies. A task gets longer,
/// up to ten minutes, when that keeps their number within `mostTasks`; where it does not, there
/// are more tasks than that.
std::size_t FramesPerTask(std::size_t frames, double secondsPerFrame, std::size_t mostTasks);

}  // namespace veltra::cli
