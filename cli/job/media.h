// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a file name stands for: an image, a sequence of them, or a video.
#pragma once

#include <string>

#include "cli/job/sequence.h"

namespace veltra::cli {

/// A stream is raw frames one after the other through a pipe.
enum class MediaKind { kNone, kStill, kSequence, kVideo, kStream };

/// A file, a pipe or a sequence of files, by its name alone.
struct Media {
  MediaKind kind = MediaKind::kNone;
  FileName name = FileName::Literal("");

  /// The file of a frame.
  std::string At(int frame) const { return name.At(frame); }
  /// The name as it was given.
  const std::string& Name() const { return name.Pattern(); }
};

/// What a name stands for as an input: the name of a file that exists stands for itself, whatever
/// characters it has. Kind none for an empty name. Throws UsageError for a video's name with a
/// place for a number.
Media InputMedia(const std::string& path);

/// What a name stands for as an output.
Media OutputMedia(const std::string& path);

/// What it is where --stream was given: standard input and output are streams.
Media AsStream(Media media);

}  // namespace veltra::cli
