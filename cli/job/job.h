// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A render that was fully understood: what the command line and the scene come to.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/job/sequence.h"
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

/// A file that is an image, a sequence of them, or a video.
enum class MediaKind { kNone, kStill, kSequence, kVideo };

struct Media {
  MediaKind kind = MediaKind::kNone;
  FileName name = FileName::Literal("");

  /// The file of a frame.
  std::string At(int frame) const { return name.At(frame); }
};

/// What a name on the command line stands for. A name of a file that exists stands for itself,
/// whatever characters it has.
Media InputMedia(const std::string& path);
Media OutputMedia(const std::string& path);

/// Runs a job to its end. Throws Error.
void RunJob(const RenderJob& job);

/// "in.####.png: 2 frames missing: 3, 5 (...)", with the way out.
std::string MissingFramesText(const std::string& pattern, const std::vector<int>& missing);

/// The frame numbers of a job: --frames, or those that the input sequence has on disk; one frame
/// when nothing counts. Throws UsageError when it cannot be told, and RenderError when what is on
/// disk has holes that nobody asked to skip.
std::vector<int> FrameNumbers(const RenderJob& job, const Media& frame,
                              const std::map<PF_ParamIndex, Media>& layers, const Media& output);

}  // namespace veltra::cli
