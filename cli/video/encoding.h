// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Which encoders, pixel formats and colours a video is written with.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/video/pixel_format.h"

namespace veltra::cli {

/// ffmpeg's names of a video's colours; empty where nobody told.
struct ColourTags {
  std::string matrix;
  std::string primaries;
  std::string transfer;
  std::string range;
};

/// The matrix that players take for a video of this size that tells none: BT.709 from 720 lines or
/// more than 1024 columns up, BT.601 below.
std::string AssumedMatrix(int width, int height);

/// One stream of sound.
struct SoundStream {
  std::string codec;
  int rate = 0;  ///< samples per second; 0 where unknown
};

/// What the user asked of ffmpeg in so many words, taken apart as far as it changes our own part.
struct EncoderWish {
  std::vector<std::string> words;  ///< passed on as they are, after ours
  std::string encoder;             ///< of the picture; empty where the container's is fine
  std::string filter;              ///< runs before our conversion
  std::string pixelFormat;         ///< empty where ours is fine
  bool ownRate = false;            ///< bits or quality of the picture
  bool ownSound = false;
  bool ownFormat = false;  ///< the container
  ColourTags colours;
};

/// Takes blank-separated options apart.
EncoderWish ReadEncoderWish(const std::string& text);

/// What is to be written.
struct EncodingRequest {
  std::string extension;  ///< in lower case with its dot
  int width = 0;
  int height = 0;
  PixelFormat wanted;
  std::vector<SoundStream> sound;
};

/// How it is written.
struct Encoding {
  std::vector<std::string> video;        ///< ffmpeg's options for the picture
  std::string pixelFormat;               ///< empty where ffmpeg or the user chooses
  PixelFormat written;                   ///< what that format holds
  std::vector<std::string> sound;        ///< ffmpeg's options for the sound
  std::vector<std::string> conversions;  ///< "flac to aac", of each stream that does not fit
  bool impliesBt709 = false;             ///< readers of the encoder\'s streams look for no tags
};

/// Whether a container keeps alpha with the encoder that it gets then.
bool KeepsAlpha(std::string_view extension);

/// Chooses an encoder, its rate and the pixel format that loses least. Throws RenderError, without
/// the file's name, for what the container cannot hold at all.
Encoding ChooseEncoding(const EncodingRequest& request, const EncoderWish& wish);

/// The colours to convert to and to tag: the user's, else the source video's, else BT.709 in
/// limited range.
ColourTags ChooseColours(const std::optional<ColourTags>& source, const ColourTags& wish);

/// Options for ffmpeg that convert RGB frames with `matrix` to these colours and tag them; `filter`
/// is the user's and comes first.
std::vector<std::string> ColourWords(const ColourTags& colours, const std::string& matrix,
                                     const std::string& pixelFormat, const std::string& filter);

}  // namespace veltra::cli
