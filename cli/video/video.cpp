// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Raw frames to and from ffmpeg.
#include "cli/video/video.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "cli/settings/values.h"
#include "cli/video/ffmpeg.h"
#include "pictures/picture_rows.h"

namespace veltra::cli {
namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

constexpr const char* kConversion = "accurate_rnd+full_chroma_int+full_chroma_inp";

void Append(Words& words, std::initializer_list<std::string> more) {
  words.insert(words.end(), more.begin(), more.end());
}

std::string RateText(PF_RationalScale rate) {
  return Text(rate.num, "/", rate.den);
}

// ---- What a file tells ----

std::string StringAt(const Json& json, const char* key) {
  const auto found = json.find(key);
  return found != json.end() && found->is_string() ? found->get<std::string>() : "";
}

/// A colour tag, or nothing where ffprobe has none.
std::string ColourAt(const Json& stream, const char* key) {
  const std::string tag = StringAt(stream, key);
  // What ffprobe calls gbr has no matrix to convert with.
  return tag == "unknown" || tag == "reserved" || tag == "gbr" ? "" : tag;
}

int BitsOf(const Json& stream) {
  const std::string told = StringAt(stream, "bits_per_raw_sample");
  const std::string format = StringAt(stream, "pix_fmt");
  for (const char* bits : {"16", "14", "12", "10", "9"}) {
    const std::size_t at = format.rfind(bits);
    const bool sized = at != std::string::npos && at > 0 &&
                       (format[at - 1] == 'p' || format.starts_with("rgb") ||
                        format.starts_with("gray") || format.starts_with("p0"));
    if (told == bits || sized) {
      return 16;
    }
  }
  return format.find("48") != std::string::npos || format.find("64") != std::string::npos ||
                 format.starts_with("p01")
             ? 16
             : 8;
}

PF_RationalScale RateOf(const Json& stream) {
  for (const char* key : {"avg_frame_rate", "r_frame_rate"}) {
    const std::string text = StringAt(stream, key);
    if (!text.empty() && !text.starts_with("0/") && !text.ends_with("/0")) {
      try {
        return ParseRatio(text);
      } catch (const UsageError&) {
        continue;  // a rate that no clock has
      }
    }
  }
  return {24, 1};
}

int FramesOf(const Json& stream, PF_RationalScale rate) {
  constexpr double kMostFrames = 1e8;
  const std::string count = StringAt(stream, "nb_frames");
  const std::string duration = StringAt(stream, "duration");
  try {
    if (!count.empty()) {
      return ParseInteger(count, 0, static_cast<int>(kMostFrames));
    }
    if (!duration.empty()) {
      return static_cast<int>(
          std::clamp(std::round(ParseNumber(duration) * rate.num / rate.den), 0.0, kMostFrames));
    }
  } catch (const UsageError&) {
    return 0;
  }
  return 0;
}

/// Whether the picture is shown lying on its side, which ffmpeg turns upright on reading.
bool IsTurnedSideways(const Json& stream) {
  const auto list = stream.find("side_data_list");
  if (list == stream.end() || !list->is_array()) {
    return false;
  }
  constexpr double kHalfTurn = 180.0;
  constexpr double kNearlyAQuarter = 89.0;
  return std::any_of(list->begin(), list->end(), [](const Json& data) {
    const auto degrees = data.is_object() ? data.find("rotation") : data.end();
    return degrees != data.end() && degrees->is_number() &&
           std::abs(std::remainder(degrees->get<double>(), kHalfTurn)) > kNearlyAQuarter;
  });
}

/// The boxes themselves where the file has them, or made from what ffprobe found otherwise.
SphericalBoxes SphericalOf(const std::string& path, const Json& stream) {
  SphericalBoxes boxes = ReadSpherical(*OpenFileSource(path));
  const auto list = stream.find("side_data_list");
  if (!boxes.Empty() || list == stream.end()) {
    return boxes;
  }
  std::string stereo;
  bool sphere = false;
  for (const Json& data : *list) {
    sphere = sphere || StringAt(data, "projection").find("equirectangular") != std::string::npos;
    stereo = data.contains("type") && StringAt(data, "side_data_type") == "Stereo 3D"
                 ? StringAt(data, "type")
                 : stereo;
  }
  return sphere ? MakeEquirectangular(stereo) : boxes;
}

// ---- Commands ----

Words ReadCommand(const VideoInfo& info, PF_RationalScale rate) {
  const bool deep = info.picture.rowType == SampleType::kUint16;
  return {"ffmpeg",
          "-v",
          "error",
          "-nostdin",
          "-i",
          FileUrl(info.path),
          "-map",
          "0:v:0",
          "-r",
          RateText(rate),
          "-s",  // whatever changes on the way
          Text(info.picture.width, "x", info.picture.height),
          "-sws_flags",
          kConversion,
          "-f",
          "rawvideo",
          "-pix_fmt",
          deep ? "rgba64le" : "rgba",
          "pipe:1"};
}

void AppendSound(Words& words, const VideoOptions& options) {
  if (options.source == nullptr) {
    return;
  }
  if (options.soundStart > 0) {
    Append(words, {"-ss", std::to_string(options.soundStart)});
  }
  if (options.soundLength > 0) {
    Append(words, {"-t", std::to_string(options.soundLength)});
  }
  Append(words, {"-i", FileUrl(options.source->path)});
}

/// ffmpeg's conversion knows some matrices under other names than its tags have.
std::string MatrixName(const std::string& tag) {
  return tag == "bt470bg" ? "bt470" : tag == "bt2020nc" || tag == "bt2020c" ? "bt2020" : tag;
}

/// The colours as the source has them: converted by the same matrix and range, and tagged so.
void AppendColours(Words& words, const VideoOptions& options) {
  std::string filter = Text("scale=flags=", kConversion);
  if (options.source != nullptr) {
    const VideoInfo& source = *options.source;
    if (!source.colourMatrix.empty()) {
      filter += Text(":out_color_matrix=", MatrixName(source.colourMatrix));
      Append(words, {"-colorspace", source.colourMatrix});
    }
    if (!source.colourRange.empty()) {
      filter += Text(":out_range=", source.colourRange);
      Append(words, {"-color_range", source.colourRange});
    }
    if (!source.colourPrimaries.empty()) {
      Append(words, {"-color_primaries", source.colourPrimaries});
    }
    if (!source.colourTransfer.empty()) {
      Append(words, {"-color_trc", source.colourTransfer});
    }
  }
  Append(words, {"-vf", filter});
}

std::string LowerExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

bool IsBoxed(const std::string& path) {
  const std::string extension = LowerExtension(path);
  return extension == ".mp4" || extension == ".mov" || extension == ".m4v";
}

void AppendEncoder(Words& words, const std::string& path, int width, int height,
                   const VideoOptions& options) {
  const std::string extension = LowerExtension(path);
  if (extension == ".webm") {
    Append(words, {"-c:v", "libvpx-vp9", "-crf", "20", "-b:v", "0", "-row-mt", "1"});
  } else if (IsBoxed(path) || extension == ".mkv") {
    Append(words, {"-c:v", "libx264", "-crf", "17", "-preset", "medium"});
  }
  if (IsBoxed(path) || extension == ".mkv" || extension == ".webm") {
    // Halved colour resolution needs even sides.
    const bool even = width % 2 == 0 && height % 2 == 0;
    Append(words, {"-pix_fmt", Text(even ? "yuv420p" : "yuv444p", options.deep ? "10le" : "")});
  }
  std::istringstream own(options.encoder);
  for (std::string word; own >> word;) {
    words.push_back(word);
  }
}

Words WriteCommand(const std::string& path, const std::string& temporary, int width, int height,
                   const VideoOptions& options) {
  Words words = {"ffmpeg",
                 "-v",
                 "error",
                 "-nostdin",
                 "-y",
                 "-f",
                 "rawvideo",
                 "-pix_fmt",
                 options.deep ? "rgba64le" : "rgba",
                 "-s",
                 Text(width, "x", height),
                 "-r",
                 RateText(options.rate),
                 "-i",
                 "pipe:0"};
  AppendSound(words, options);
  Append(words, {"-map", "0:v:0"});
  if (options.source != nullptr) {
    Append(words, {"-map_metadata", "1"});
    if (options.sound) {
      Append(words, {"-map", "1:a?", "-c:a", "copy"});
    }
  }
  AppendColours(words, options);
  AppendEncoder(words, path, width, height, options);
  words.push_back(FileUrl(temporary));
  return words;
}

}  // namespace

VideoInfo ProbeVideo(const std::string& path) {
  try {
    OpenFileSource(path);  // words its own complaint better than ffprobe
  } catch (const RenderError& error) {
    throw RenderError(Text(path, ": ", error.what()));
  }
  const std::string text =
      FfmpegOutput({"ffprobe", "-v", "error", "-show_streams", "-of", "json", FileUrl(path)}, path);
  const Json json = Json::parse(text, nullptr, false);
  VideoInfo info;
  info.path = path;
  bool found = false;
  for (const Json& stream :
       json.is_object() ? json.value("streams", Json::array()) : Json::array()) {
    const std::string kind = StringAt(stream, "codec_type");
    info.hasAudio = info.hasAudio || kind == "audio";
    if (kind != "video" || found) {
      continue;
    }
    found = true;
    info.picture.width = stream.value("width", 0);
    info.picture.height = stream.value("height", 0);
    if (IsTurnedSideways(stream)) {
      std::swap(info.picture.width, info.picture.height);
    }
    info.picture.channels = 4;
    info.picture.stored = BitsOf(stream) > 8 ? SampleType::kUint16 : SampleType::kUint8;
    info.picture.rowType = info.picture.stored;
    info.rate = RateOf(stream);
    info.frames = FramesOf(stream, info.rate);
    info.colourMatrix = ColourAt(stream, "color_space");
    info.colourPrimaries = ColourAt(stream, "color_primaries");
    info.colourTransfer = ColourAt(stream, "color_transfer");
    info.colourRange = ColourAt(stream, "color_range");
    info.spherical = SphericalOf(path, stream);
  }
  if (!found) {
    throw RenderError(Text(path, ": no video in it"));
  }
  if (const std::string trouble = host::WorldSizeError(info.picture.width, info.picture.height);
      !trouble.empty()) {
    throw RenderError(Text(path, ": ", trouble));
  }
  return info;
}

// ---- Reading ----

VideoReader::VideoReader(const VideoInfo& info, PF_RationalScale rate)
    : info_(info),
      process_(StartFfmpeg(ReadCommand(info, rate), Process::Pipe::kFromChild)),
      row_(info.picture.RowBytes()) {}

void VideoReader::Fail() {
  const std::string complaint = ComplaintIn(process_->Errors());
  throw RenderError(Text(info_.path, ": ", complaint.empty() ? "ends within a frame" : complaint));
}

/// One row; false at the end of the video, which must be between two frames.
bool VideoReader::ReadRow() {
  const std::size_t got = process_->Read(row_.data(), row_.size());
  if (got == row_.size()) {
    return true;
  }
  if (got != 0 || !process_->Finish().Succeeded()) {
    Fail();
  }
  return false;
}

std::optional<host::World> VideoReader::Next(host::Depth depth) {
  if (!ReadRow()) {
    return std::nullopt;
  }
  auto world = host::World::Create(info_.picture.width, info_.picture.height, depth);
  if (!world) {
    throw RenderError(world.ErrorText());
  }
  for (int row = 0; row < info_.picture.height; ++row) {
    if (row > 0 && !ReadRow()) {
      Fail();
    }
    UnpackRow(info_.picture, row_.data(), depth, world->RowAddress(row));
  }
  return std::move(*world);
}

bool VideoReader::Skip() {
  for (int row = 0; row < info_.picture.height; ++row) {
    if (!ReadRow()) {
      if (row > 0) {
        Fail();
      }
      return false;
    }
  }
  return true;
}

// ---- Writing ----

VideoWriter::VideoWriter(const std::string& path, int width, int height,
                         const VideoOptions& options)
    : path_(path),
      width_(width),
      height_(height),
      options_(options),
      temporary_(TemporaryNameBeside(path)),
      process_(StartFfmpeg(WriteCommand(path, temporary_.Path(), width, height, options),
                           Process::Pipe::kToChild)) {}

void VideoWriter::Fail() {
  process_->Finish();
  const std::string complaint = ComplaintIn(process_->Errors());
  throw RenderError(
      Text(path_, ": ", complaint.empty() ? "ffmpeg could not write the video" : complaint));
}

void VideoWriter::Write(const host::World& picture) {
  if (picture.Width() != width_ || picture.Height() != height_) {
    throw RenderError(Text(path_, ": all frames of a video must have one size"));
  }
  const PackedRow format{options_.deep ? SampleType::kUint16 : SampleType::kUint8, true, false};
  const std::size_t rowBytes = format.PixelBytes() * static_cast<std::size_t>(width_);
  constexpr std::size_t kBlockBytes = std::size_t{1} << 18;
  const int blockRows =
      static_cast<int>(std::clamp<std::size_t>(kBlockBytes / rowBytes, 1, 1U << 14));
  for (int first = 0; first < height_; first += blockRows) {
    const int count = std::min(blockRows, height_ - first);
    block_.resize(rowBytes * static_cast<std::size_t>(count));
    for (int row = 0; row < count; ++row) {
      PackRow(picture.PixelDepth(), picture.RowAddress(first + row), width_, format,
              block_.data() + static_cast<std::size_t>(row) * rowBytes);
    }
    if (!process_->Write(block_.data(), block_.size())) {
      Fail();
    }
  }
}

bool VideoWriter::Finish() {
  if (!process_->Finish().Succeeded()) {
    Fail();
  }
  const bool wanted = options_.source != nullptr && !options_.source->spherical.Empty();
  const bool kept =
      !wanted || (IsBoxed(path_) && AddSpherical(temporary_.Path(), options_.source->spherical));
  temporary_.RenameTo(path_);
  return kept;
}

}  // namespace veltra::cli
