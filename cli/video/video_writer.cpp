// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Raw frames to ffmpeg.
#include "cli/video/video_writer.h"

#include <algorithm>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "cli/video/alpha.h"
#include "cli/video/ffmpeg.h"
#include "pictures/picture_rows.h"

namespace veltra::cli {
namespace {

/// Whether the container has a place for the projection.
bool HoldsProjection(const std::string& path) {
  const std::string extension = LowerExtension(path);
  return extension == ".mp4" || extension == ".mov" || extension == ".m4v";
}

Words WriteCommand(const std::string& temporary, int width, int height, const VideoOptions& options,
                   const EncoderWish& wish, const Encoding& encoding) {
  Words words = {"ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "rawvideo"};
  Append(words, {"-pix_fmt", options.deep ? "rgba64le" : "rgba", "-s", Text(width, "x", height),
                 "-r", Text(options.rate.num, "/", options.rate.den), "-i", "pipe:0"});
  Append(words, SourceWords(options));
  Append(words, {"-map", "0:v:0"});
  std::optional<ColourTags> source;
  if (options.source != nullptr) {
    Append(words, {"-map_metadata", "1"});
    if (options.sound) {
      Append(words, {"-map", "1:a?"});
      Append(words, encoding.sound);
    }
    if (!options.source->format.rgb) {
      source = options.source->colours;
    }
  }
  ColourTags colours = ChooseColours(source, wish.colours);
  if (colours.matrix.empty() && encoding.impliesBt709) {
    colours.matrix = "bt709";
  }
  const std::string matrix = colours.matrix.empty() ? AssumedMatrix(options.source->picture.width,
                                                                    options.source->picture.height)
                                                    : colours.matrix;
  Append(words, ColourWords(colours, matrix, encoding.pixelFormat, wish.filter));
  Append(words, encoding.video);
  Append(words, wish.words);
  words.push_back(FileUrl(temporary));
  return words;
}

/// What the frames would need: all that the source has, as far as the render kept it. Pictures
/// become what every player shows, 4:2:0.
PixelFormat WantedFormat(const VideoOptions& options, bool alpha) {
  constexpr int kDeepBits = 10;
  PixelFormat wanted;
  wanted.chroma = options.source != nullptr ? options.source->format.chroma : Chroma::k420;
  const int sourceBits = options.source != nullptr ? options.source->format.bits : 0;
  wanted.bits = options.deep ? std::max(kDeepBits, sourceBits) : 8;
  wanted.alpha = alpha;
  return wanted;
}

}  // namespace

Words SourceWords(const VideoOptions& options) {
  Words words;
  if (options.source == nullptr) {
    return words;
  }
  if (options.soundStart > 0) {
    Append(words, {"-ss", std::to_string(options.soundStart)});
  }
  if (options.soundLength > 0) {
    Append(words, {"-t", std::to_string(options.soundLength)});
  }
  Append(words, {"-i", FileUrl(options.source->path)});
  return words;
}

void AddProjection(const std::string& file, const std::string& path, const VideoOptions& options,
                   std::vector<std::string>& lost) {
  if (!options.projection || options.source == nullptr || options.source->spherical.Empty()) {
    return;
  }
  if (options.part) {
    lost.emplace_back("the spherical metadata is left out, since a part is not the whole sphere");
  } else if (!HoldsProjection(path) || !pictures::AddSpherical(file, options.source->spherical)) {
    lost.emplace_back("the spherical metadata could not be kept (.mp4 and .mov can)");
  }
}

VideoWriter::VideoWriter(const std::string& path, int width, int height,
                         const VideoOptions& options)
    : path_(path),
      width_(width),
      height_(height),
      options_(options),
      temporary_(pictures::TemporaryNameBeside(path)) {}

/// The first frame tells whether there is alpha where the source has none: a layer alone is
/// transparent around itself.
void VideoWriter::Start(const host::World& first) {
  const bool alpha = options_.alphaIs.value_or(options_.alpha || HasTransparency(first));
  const EncoderWish wish = ReadEncoderWish(options_.encoder);
  EncodingRequest request;
  request.extension = LowerExtension(path_);
  request.width = width_;
  request.height = height_;
  request.wanted = WantedFormat(options_, alpha);
  if (options_.source != nullptr && options_.sound) {
    request.sound = options_.source->sound;
  }
  try {
    encoding_ = ChooseEncoding(request, wish);
  } catch (const RenderError& error) {
    throw RenderError(Text(path_, ": ", error.what()));
  }
  keepsAlpha_ = encoding_.written.alpha;
  process_ =
      StartFfmpeg(WriteCommand(temporary_.Path(), width_, height_, options_, wish, encoding_),
                  Process::Pipe::kToChild);
}

void VideoWriter::Fail() {
  const std::string complaint = ComplaintIn(process_->Finish().output);
  throw RenderError(
      Text(path_, ": ", complaint.empty() ? "ffmpeg could not write the video" : complaint));
}

void VideoWriter::PackRows(const host::World& picture, int first, int count) {
  const pictures::PackedRow format{
      options_.deep ? pictures::SampleType::kUint16 : pictures::SampleType::kUint8, true, false};
  const std::size_t rowBytes = format.PixelBytes() * static_cast<std::size_t>(width_);
  block_.resize(rowBytes * static_cast<std::size_t>(count));
  for (int row = 0; row < count; ++row) {
    pictures::PackRow(picture.PixelDepth(), picture.RowAddress(first + row), width_, format,
                      block_.data() + static_cast<std::size_t>(row) * rowBytes);
  }
}

void VideoWriter::Write(const host::World& picture) {
  if (picture.Width() != width_ || picture.Height() != height_) {
    throw RenderError(Text(path_, ": all frames of a video must have one size"));
  }
  if (process_ == nullptr) {
    Start(picture);
  }
  losesAlpha_ = losesAlpha_ || (!keepsAlpha_ && HasTransparency(picture));
  constexpr std::size_t kBlockBytes = std::size_t{1} << 18;
  const std::size_t rowBytes =
      std::size_t{4} * (options_.deep ? 2U : 1U) * static_cast<std::size_t>(width_);
  const int blockRows =
      static_cast<int>(std::clamp<std::size_t>(kBlockBytes / rowBytes, 1, 1U << 14));
  for (int first = 0; first < height_; first += blockRows) {
    PackRows(picture, first, std::min(blockRows, height_ - first));
    if (!process_->Write(block_.data(), block_.size())) {
      Fail();
    }
  }
}

/// What the file came to hold less than it should, whoever chose the encoder.
void VideoWriter::CompareFormat(std::vector<std::string>& lost) const {
  PixelFormat written;
  try {
    written = ProbeVideo(temporary_.Path()).format;
  } catch (const RenderError&) {
    return;  // what the user asked ffmpeg for need not be a video
  }
  if (losesAlpha_ && !written.alpha) {
    lost.emplace_back(KeepsAlpha(LowerExtension(path_))
                          ? "the alpha is left out, since the first frame has none"
                          : "the alpha is left out (.mov and .webm keep it)");
  }
  const PixelFormat wanted = WantedFormat(options_, false);
  written.alpha = false;
  if (written.bits < wanted.bits || written.chroma < wanted.chroma) {
    lost.push_back(
        Text("written as ", FormatText(written), ", less than the frames' ", FormatText(wanted)));
  }
}

std::vector<std::string> VideoWriter::Finish() {
  if (process_ == nullptr) {
    throw RenderError(Text(path_, ": no frames to write"));
  }
  if (!process_->Finish().Succeeded()) {
    Fail();
  }
  std::vector<std::string> lost;
  CompareFormat(lost);
  for (const std::string& conversion : encoding_.conversions) {
    lost.push_back(Text("the sound is converted from ", conversion, " to fit the container"));
  }
  AddProjection(temporary_.Path(), path_, options_, lost);
  temporary_.RenameTo(path_);
  return lost;
}

}  // namespace veltra::cli
