// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Videos, read and written through the ffmpeg program.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/pixels/world.h"
#include "pictures/output_file.h"
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
  std::string colourMatrix;  ///< ffmpeg's names; empty where the file does not tell
  std::string colourPrimaries;
  std::string colourTransfer;
  std::string colourRange;
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

/// How a video is written.
struct VideoOptions {
  PF_RationalScale rate{24, 1};
  bool deep = false;                  ///< 16 bits to the encoder
  std::string encoder;                ///< the user's own options, blank-separated
  const VideoInfo* source = nullptr;  ///< sound, colour tags and projection come from here
  double soundStart = 0;              ///< seconds into the source
  double soundLength = 0;             ///< 0 is all of it
  bool sound = true;
};

class VideoWriter {
 public:
  VideoWriter(const std::string& path, int width, int height, const VideoOptions& options);

  /// Appends a frame. Throws RenderError.
  void Write(const host::World& picture);
  /// Ends the video and gives it its name; false when the projection could not be kept.
  bool Finish();

 private:
  [[noreturn]] void Fail();

  std::string path_;
  int width_;
  int height_;
  VideoOptions options_;
  TemporaryFile temporary_;
  std::unique_ptr<Process> process_;
  std::vector<std::byte> block_;
};

}  // namespace veltra::cli
