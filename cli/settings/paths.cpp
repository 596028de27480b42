// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From a scene's folder to the working folder and back.
#include "cli/settings/paths.h"

#include "base/paths.h"

namespace veltra::cli {
namespace {

bool IsFixed(const std::string& path) {
  return path.empty() || path == "none" || PathOf(path).is_absolute();
}

}  // namespace

std::string FromFolder(const std::string& path, const std::filesystem::path& folder) {
  return IsFixed(path) ? path : (folder / PathOf(path)).lexically_normal().generic_string();
}

std::string ToFolder(const std::string& path, const std::filesystem::path& folder) {
  if (IsFixed(path)) {
    return path;
  }
  const std::filesystem::path base = std::filesystem::absolute(folder.empty() ? "." : folder);
  return std::filesystem::absolute(PathOf(path))
      .lexically_normal()
      .lexically_proximate(base.lexically_normal())
      .generic_string();
}

}  // namespace veltra::cli
