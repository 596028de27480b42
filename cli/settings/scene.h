// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scene files: a render's options and controls as JSON.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cli/settings/tracks.h"

namespace veltra::cli {

inline constexpr int kSceneVersion = 1;

struct SceneKey {
  int frame = 0;
  std::string value;
  Interpolation interpolation = Interpolation::kLinear;
  KeyPath path = KeyPath::kStraight;
};

/// One control as written: a value, or keyframes in order of their frames.
struct SceneControl {
  std::string name;
  std::string value;
  std::vector<SceneKey> keys;  ///< empty for a constant
};

/// One of several layers that are applied in order.
struct SceneLayer {
  std::map<std::string, std::string> settings;  ///< by option name; only what a layer may have
  std::vector<SceneControl> controls;
};

/// A scene as written: every value is the text that the command line would take. What the values
/// mean is checked later, together with the command line's.
struct Scene {
  std::map<std::string, std::string> settings;  ///< by option name
  std::vector<SceneControl> controls;
  std::vector<SceneLayer> layers;  ///< in place of `controls`; empty for a single layer
};

/// Whether the option of this name may stand in a layer of its own: its effect and timing.
bool IsLayerSetting(std::string_view name);

/// Reads a scene. Throws UsageError that names the line or the key, without the file's name.
Scene ParseScene(std::string_view text);

/// The scene as JSON with a line break at the end; ParseScene reads it back as it was.
std::string SceneText(const Scene& scene);

/// Makes the paths of a scene that stands in `folder` usable from the working folder.
void ResolvePaths(Scene& scene, const std::filesystem::path& folder);

}  // namespace veltra::cli
