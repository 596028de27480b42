// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Raw frames from ffmpeg.
#include "cli/video/video.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "cli/settings/values.h"
#include "cli/video/ffmpeg.h"
#include "pictures/picture_rows.h"

namespace veltra::cli {
namespace {

// ---- What a file tells ----

std::string StringAt(const nlohmann::json& json, const char* key) {
  const auto found = json.find(key);
  return found != json.end() && found->is_string() ? found->get<std::string>() : "";
}

/// A colour tag, or nothing where ffprobe has none.
std::string ColourAt(const nlohmann::json& stream, const char* key) {
  const std::string tag = StringAt(stream, key);
  // What ffprobe calls gbr has no matrix to convert with.
  return tag == "unknown" || tag == "reserved" || tag == "gbr" ? "" : tag;
}

PF_RationalScale RateOf(const nlohmann::json& stream) {
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

/// The container's own count of frames; 0 where it has none.
int ToldFrames(const nlohmann::json& stream) {
  constexpr int kMostFrames = 10000000;
  try {
    const std::string count = StringAt(stream, "nb_frames");
    return count.empty() ? 0 : ParseInteger(count, 0, kMostFrames);
  } catch (const UsageError&) {
    return 0;
  }
}

/// Whether the picture is shown lying on its side, which ffmpeg turns upright on reading.
bool IsTurnedSideways(const nlohmann::json& stream) {
  const auto list = stream.find("side_data_list");
  if (list == stream.end() || !list->is_array()) {
    return false;
  }
  constexpr double kHalfTurn = 180.0;
  constexpr double kNearlyAQuarter = 89.0;
  return std::any_of(list->begin(), list->end(), [](const nlohmann::json& data) {
    const auto degrees = data.is_object() ? data.find("rotation") : data.end();
    return degrees != data.end() && degrees->is_number() &&
           std::abs(std::remainder(degrees->get<double>(), kHalfTurn)) > kNearlyAQuarter;
  });
}

/// The boxes themselves where the file has them, or made from what ffprobe found otherwise.
pictures::SphericalBoxes SphericalOf(const std::string& path, const nlohmann::json& stream) {
  pictures::SphericalBoxes boxes = pictures::ReadSpherical(*pictures::OpenFileSource(path));
  const auto list = stream.find("side_data_list");
  if (!boxes.Empty() || list == stream.end()) {
    return boxes;
  }
  std::string stereo;
  bool sphere = false;
  for (const nlohmann::json& data : *list) {
    sphere = sphere || StringAt(data, "projection").find("equirectangular") != std::string::npos;
    stereo = data.contains("type") && StringAt(data, "side_data_type") == "Stereo 3D"
                 ? StringAt(data, "type")
                 : stereo;
  }
  return sphere ? pictures::MakeEquirectangular(stereo) : boxes;
}

SoundStream SoundOf(const nlohmann::json& stream) {
  SoundStream sound{StringAt(stream, "codec_name"), 0};
  try {
    constexpr int kMostSamples = 10000000;
    sound.rate = ParseInteger(StringAt(stream, "sample_rate"), 0, kMostSamples);
  } catch (const UsageError&) {
    sound.rate = 0;
  }
  return sound;
}

void TakeFormat(const nlohmann::json& stream, VideoInfo& info) {
  info.format = FormatNamed(StringAt(stream, "pix_fmt"), StringAt(stream, "bits_per_raw_sample"));
  const auto tags = stream.find("tags");
  const std::string codec = StringAt(stream, "codec_name");
  if ((codec == "vp8" || codec == "vp9") && tags != stream.end() && tags->is_object() &&
      StringAt(*tags, "alpha_mode") == "1") {
    // ffmpeg's own decoder leaves out the alpha without a word.
    info.format.alpha = true;
    info.decoder = codec == "vp8" ? "libvpx" : "libvpx-vp9";
  }
}

// ---- Commands ----

Words ReadCommand(const VideoInfo& info, std::int64_t first) {
  const bool deep = info.picture.rowType == pictures::SampleType::kUint16;
  Words words = {"ffmpeg", "-v", "error", "-nostdin", "-xerror"};
  if (!info.decoder.empty()) {
    Append(words, {"-c:v", info.decoder});
  }
  std::string filter = Text("trim=start_frame=", first);
  if (info.colours.matrix.empty() && !info.format.rgb) {
    const std::string assumed = AssumedMatrix(info.picture.width, info.picture.height);
    filter += Text(",setparams=colorspace=", assumed);
  }
  Append(words, {"-i", FileUrl(info.path), "-map", "0:v:0", "-vf", filter, "-fps_mode",
                 "passthrough", "-s",  // whatever changes on the way
                 Text(info.picture.width, "x", info.picture.height), "-sws_flags", kConversion,
                 "-f", "rawvideo", "-pix_fmt", deep ? "rgba64le" : "rgba", "pipe:1"});
  return words;
}

}  // namespace

VideoInfo ProbeVideo(const std::string& path) {
  try {
    pictures::OpenFileSource(path);  // words its own complaint better than ffprobe
  } catch (const RenderError& error) {
    throw RenderError(Text(path, ": ", error.what()));
  }
  const std::string text =
      FfmpegOutput({"ffprobe", "-v", "error", "-show_streams", "-of", "json", FileUrl(path)}, path);
  const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
  VideoInfo info;
  info.path = path;
  bool found = false;
  for (const nlohmann::json& stream : json.is_object()
                                          ? json.value("streams", nlohmann::json::array())
                                          : nlohmann::json::array()) {
    const std::string kind = StringAt(stream, "codec_type");
    if (kind == "audio") {
      info.hasAudio = true;
      info.sound.push_back(SoundOf(stream));
    }
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
    TakeFormat(stream, info);
    info.picture.stored =
        info.format.bits > 8 ? pictures::SampleType::kUint16 : pictures::SampleType::kUint8;
    info.picture.rowType = info.picture.stored;
    info.rate = RateOf(stream);
    info.times = ReadFrameTimes(path, ToldFrames(stream), info.rate);
    info.colours = {ColourAt(stream, "color_space"), ColourAt(stream, "color_primaries"),
                    ColourAt(stream, "color_transfer"), ColourAt(stream, "color_range")};
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

VideoReader::VideoReader(const VideoInfo& info, std::int64_t first)
    : info_(info),
      process_(StartFfmpeg(ReadCommand(info, first), Process::Pipe::kFromChild)),
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
  CheckErrors();
  return false;
}

/// A frame that ffmpeg complains of is patched up from others: not what was in the video.
void VideoReader::CheckErrors() {
  if (!process_->Errors().empty()) {
    Fail();
  }
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
    pictures::UnpackRow(info_.picture, row_.data(), depth, world->RowAddress(row));
  }
  CheckErrors();
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

}  // namespace veltra::cli
