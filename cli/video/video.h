// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Videos, read through the ffmpeg program.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/video/encoding.h"
#include "cli/video/frame_times.h"
#include "host/pixels/world.h"
#include "pictures/picture.h"
#include "pictures/spherical.h"
#include "system/process.h"

namespace veltra::cli {

/// What a video file says about itself.
struct VideoInfo {
  std::string path;
  pictures::PictureInfo picture;  ///< of a frame as it is read: RGBA of 8 or 16 bits
  PF_RationalScale rate{24, 1};
  FrameTimes times;  ///< how many frames there are, and when they are shown
  bool hasAudio = false;
  PixelFormat format;   ///< of a frame as it is stored
  std::string decoder;  ///< empty for ffmpeg's own choice
  ColourTags colours;
  std::vector<SoundStream> sound;
  pictures::SphericalBoxes spherical;
};

/// Asks ffprobe. Throws RenderError with the file's name.
VideoInfo ProbeVideo(const std::string& path);

/// The frames of a video, one after the other, each as often as it is stored.
class VideoReader {
 public:
  /// Begins with the frame at this place; the first of all is at place 0.
  VideoReader(const VideoInfo& info, std::int64_t first);

  /// The next frame at this depth, or nothing after the last one. Throws RenderError.
  std::optional<host::World> Next(host::Depth depth);
  /// Drops the next frame; false after the last one.
  bool Skip();

 private:
  bool ReadRow();
  void CheckErrors();
  [[noreturn]] void Fail();

  VideoInfo info_;
  std::unique_ptr<Process> process_;
  std::vector<std::byte> row_;
};

}  // namespace veltra::cli
