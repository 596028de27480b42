// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Where the rendered frames of a job go: image files, a stream of frames or a video.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/job/media.h"
#include "cli/settings/options.h"
#include "cli/video/video.h"
#include "host/base/thread_pool.h"
#include "host/pixels/world.h"
#include "pictures/picture.h"

namespace veltra::cli {

/// How a job's frames are written, known once its first input was looked at.
struct SinkSettings {
  host::Depth depth = host::Depth::k8;  ///< of the rendered frames
  PF_RationalScale rate{24, 1};         ///< in frames per second
  std::vector<int> numbers;             ///< of the frames, as far as they are known before
  const VideoInfo* video = nullptr;     ///< the frame's video: sound, colour and projection
  host::ThreadPool* pool = nullptr;     ///< outlives the sink
};

/// A rendered frame on its way out.
struct FinishedFrame {
  std::size_t turn;  ///< 0 for the first frame of the run, and so on
  int number;
  const pictures::PictureInfo& input;  ///< what the frame under the effect is like
};

/// Takes rendered frames, on several threads at once.
class FrameSink {
 public:
  FrameSink() = default;
  FrameSink(const FrameSink&) = delete;
  FrameSink& operator=(const FrameSink&) = delete;
  virtual ~FrameSink() = default;

  /// The sample type of the files, going by the first frame; nothing for a video. Throws UsageError
  /// for what cannot be written.
  virtual std::optional<pictures::SampleType> StoredType(
      host::Depth /*depth*/, const pictures::PictureInfo& /*firstInput*/) const {
    return std::nullopt;
  }
  /// To be called once, before the first frame. Throws UsageError for what cannot be written.
  virtual void Prepare(const SinkSettings& settings, const pictures::PictureInfo& firstInput) = 0;
  /// Writes a frame and returns the name of its file; a video, which has none for a frame, and a
  /// stream wait for the frames before it. Throws RenderError "NAME: reason".
  virtual std::string Write(const FinishedFrame& frame, const host::World& picture) = 0;
  /// The frame of this turn does not come, and in a video or a stream none after it: whoever waits
  /// for a later turn, returns. False where other frames can do without it.
  virtual bool EndBefore(std::size_t /*turn*/) { return false; }
  /// In place of all frames: takes the segments that --join lists. Returns what could not be kept,
  /// a line each. Throws RenderError.
  virtual std::vector<std::string> Join() { return {}; }
  /// After the last frame. Returns what could not be kept, a line each. Throws RenderError.
  virtual std::vector<std::string> Finish() { return {}; }
};

/// Throws UsageError where the options do not fit the kind of output, which is told by its name.
std::unique_ptr<FrameSink> MakeSink(const Media& output, const RenderOptions& options);

}  // namespace veltra::cli
