// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What file names stand for, and which frames there are.
#include "cli/job/job.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

bool IsVideoName(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  constexpr std::array<std::string_view, 8> kVideos = {".mp4", ".mov",  ".m4v", ".mkv",
                                                       ".avi", ".webm", ".mxf", ".mpg"};
  return std::find(kVideos.begin(), kVideos.end(), extension) != kVideos.end();
}

Media MediaOf(const FileName& name) {
  const MediaKind kind = IsVideoName(name.Pattern()) ? MediaKind::kVideo
                         : name.IsSequence()         ? MediaKind::kSequence
                                                     : MediaKind::kStill;
  if (kind == MediaKind::kVideo && name.IsSequence()) {
    throw UsageError(Text(name.Pattern(), ": a video has no place for a frame number"));
  }
  return {kind, name};
}

}  // namespace

Media InputMedia(const std::string& path) {
  if (path.empty()) {
    return {};
  }
  std::error_code ignored;
  return MediaOf(std::filesystem::exists(path, ignored) ? FileName::Literal(path) : FileName(path));
}

Media OutputMedia(const std::string& path) {
  return path.empty() ? Media{} : MediaOf(FileName(path));
}

std::string MissingFramesText(const std::string& pattern, const std::vector<int>& missing) {
  return Text(pattern, ": ", Count(missing.size(), "frame"), " missing: ", RunsText(missing),
              " (--skip-missing leaves them out)");
}

std::vector<int> FrameNumbers(const RenderJob& job, const Media& frame,
                              const std::map<PF_ParamIndex, Media>& layers, const Media& output) {
  const bool outputCounts = output.kind == MediaKind::kSequence || output.kind == MediaKind::kVideo;
  if (job.options.frames) {
    std::vector<int> numbers = job.options.frames->Numbers();
    if (numbers.size() > 1 && !outputCounts) {
      throw UsageError(Text(output.name.Pattern(), ": needs a place for the frame number, such as ",
                            "name.####.png"));
    }
    return numbers;
  }
  const Media* counted = frame.kind == MediaKind::kSequence ? &frame : nullptr;
  for (const auto& [index, layer] : layers) {
    counted = counted == nullptr && layer.kind == MediaKind::kSequence ? &layer : counted;
  }
  if (counted != nullptr && !outputCounts) {
    throw UsageError(Text(counted->name.Pattern(),
                          ": which frame? (give --frames, or an output such as name.####.png)"));
  }
  if (counted != nullptr) {
    std::vector<int> numbers = FramesOnDisk(counted->name);
    if (numbers.empty()) {
      throw RenderError(Text(counted->name.Pattern(), ": no such files"));
    }
    const std::vector<int> holes = HolesIn(numbers);
    if (!holes.empty() && !job.options.skipMissing) {
      throw RenderError(MissingFramesText(counted->name.Pattern(), holes));
    }
    return numbers;
  }
  if (outputCounts) {
    throw UsageError(Text(output.name.Pattern(), ": which frames? (give --frames, such as 1-240)"));
  }
  return {0};
}

}  // namespace veltra::cli
