// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Videos, read through the ffmpeg program.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/video/encoding.h"
#include "host/pixels/world.h"
#include "pictures/picture.h"
#include "pictures/spherical.h"
#include "system/process.h"

namespace veltra::cli {

using namespace pictures;  // NOLINT(google-build-using-namespace)

/// What a video file says about itself.
struct VideoInfo {
  std::string path;
  PictureInfo picture;  ///< of a frame as it is read: RGBA of 8 or 16 bits
  PF_RationalScale rate{24, 1};
  int frames = 0;  ///< as far as the file tells; 0 when it does not
  bool hasAudio = false;
  PixelFormat format;   ///< of a frame as it is stored
  std::string decoder;  ///< empty for ffmpeg's own choice
  ColourTags colours;
  std::vector<SoundStream> sound;
  SphericalBoxes spherical;
};

/// Asks ffprobe. Throws RenderError with the file's name.
VideoInfo ProbeVideo(const std::string& path);

/// The frames of a video, one after the other, at a constant rate.
class VideoReader {
 public:
  VideoReader(const VideoInfo& info, PF_RationalScale rate);

  /// The next frame at this depth, or nothing after the last one. Throws RenderError.
  std::optional<host::World> Next(host::Depth depth);
  /// Drops the next frame; false after the last one.
  bool Skip();

 private:
  bool ReadRow();
  [[noreturn]] void Fail();

  VideoInfo info_;
  std::unique_ptr<Process> process_;
  std::vector<std::byte> row_;
};

}  // namespace veltra::cli
