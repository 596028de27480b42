// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// File names in scenes, which are relative to the scene's folder, and on the command line.
#pragma once

#include <filesystem>
#include <string>

namespace veltra::cli {

// Empty names, "none" and absolute paths stay as they are in both directions.

/// A name that stands in a scene in `folder`, for use from the working folder.
std::string FromFolder(const std::string& path, const std::filesystem::path& folder);

/// A name that is used from the working folder, to stand in a scene in `folder`.
std::string ToFolder(const std::string& path, const std::filesystem::path& folder);

}  // namespace veltra::cli
