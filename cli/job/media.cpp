// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Names of files, and what is told by their endings.
#include "cli/job/media.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"

namespace veltra::cli {
namespace {

bool IsVideoName(const std::string& path) {
  const std::string extension = LowerExtension(path);
  constexpr std::array<std::string_view, 8> kVideos = {".mp4", ".mov",  ".m4v", ".mkv",
                                                       ".avi", ".webm", ".mxf", ".mpg"};
  return std::find(kVideos.begin(), kVideos.end(), extension) != kVideos.end();
}

constexpr std::string_view kTakenVideos = ".mp4, .mov, .m4v, .mkv, .webm, .avi, .mxf, .mpg";

/// Names that are videos for everybody else would be taken for pictures.
void RefuseOtherVideos(const std::string& path) {
  constexpr std::array<std::string_view, 12> kOthers = {".ts",  ".mts", ".m2ts", ".mpeg",
                                                        ".wmv", ".flv", ".ogv",  ".3gp",
                                                        ".vob", ".m2v", ".y4m",  ".gif"};
  const std::string extension = LowerExtension(path);
  if (std::find(kOthers.begin(), kOthers.end(), extension) != kOthers.end()) {
    throw UsageError(Text(path, ": ", extension, " is no kind of video that is taken (expected ",
                          kTakenVideos, ")"));
  }
}

Media MediaOf(const FileName& name) {
  RefuseOtherVideos(name.Pattern());
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
  return MediaOf(std::filesystem::exists(PathOf(path), ignored) ? FileName::Literal(path)
                                                                : FileName(path));
}

Media AsStream(Media media) {
  if (media.Name() == "-") {
    media.kind = MediaKind::kStream;
  }
  return media;
}

Media OutputMedia(const std::string& path) {
  return path.empty() ? Media{} : MediaOf(FileName(path));
}

}  // namespace veltra::cli
