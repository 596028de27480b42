// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// One video out of segments that were encoded apart from each other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/video/video_writer.h"

namespace veltra::cli {

/// A video of so many frames, without sound.
struct Segment {
  std::string path;
  std::int64_t frames = 0;
};

/// Reads a list of segments: "FRAMES PATH" a line. Throws RenderError with its name.
std::vector<Segment> ReadSegments(const std::string& list);

/// Joins segments, which hold frames of `options.rate`, without encoding them again; sound and
/// projection come from the source as with VideoWriter. The video gets its name when it has as many
/// frames as the segments have, and lasts as long. Returns what could not be kept, a line each,
/// without the file's name. Throws RenderError.
std::vector<std::string> JoinVideo(const std::string& path, const std::vector<Segment>& segments,
                                   const VideoOptions& options);

}  // namespace veltra::cli
