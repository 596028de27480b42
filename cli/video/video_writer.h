// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Videos, written through the ffmpeg program.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/video/encoding.h"
#include "cli/video/video.h"
#include "host/pixels/world.h"
#include "pictures/output_file.h"
#include "system/process.h"

namespace veltra::cli {

/// How a video is written.
struct VideoOptions {
  PF_RationalScale rate{24, 1};
  bool deep = false;                  ///< 16 bits to the encoder
  bool alpha = false;                 ///< the frames come from something that has alpha
  bool part = false;                  ///< the frames are parts of the source's
  std::string encoder;                ///< the user's own options, blank-separated
  const VideoInfo* source = nullptr;  ///< sound, colour tags and projection come from here
  double soundStart = 0;              ///< seconds into the source
  double soundLength = 0;             ///< 0 is all of it
  bool sound = true;
  bool projection = true;
  std::optional<bool> alphaIs;  ///< overrules what `alpha` and the first frame tell
};

/// What ends a video that is whole but for it: puts the source's projection into the file. Adds to
/// `lost` what the file, whose name will be `path`, cannot keep.
void AddProjection(const std::string& file, const std::string& path, const VideoOptions& options,
                   std::vector<std::string>& lost);

/// The source as another input of ffmpeg, from where its sound begins; nothing without a source.
std::vector<std::string> SourceWords(const VideoOptions& options);

class VideoWriter {
 public:
  /// Frames of this size go to a video of this name. Nothing is started before the first one.
  VideoWriter(const std::string& path, int width, int height, const VideoOptions& options);

  /// Appends a frame. Throws RenderError.
  void Write(const host::World& picture);
  /// Ends the video and gives it its name. Returns what could not be kept, a line each, without the
  /// file's name. Throws RenderError.
  std::vector<std::string> Finish();

 private:
  void Start(const host::World& first);
  void PackRows(const host::World& picture, int first, int count);
  void CompareFormat(std::vector<std::string>& lost) const;
  [[noreturn]] void Fail();

  std::string path_;
  int width_;
  int height_;
  VideoOptions options_;
  Encoding encoding_;
  bool keepsAlpha_ = false;
  bool losesAlpha_ = false;
  pictures::TemporaryFile temporary_;
  std::unique_ptr<Process> process_;
  std::vector<std::byte> block_;
};

}  // namespace veltra::cli
