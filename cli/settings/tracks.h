// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Values of controls over time.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/settings/controls.h"

namespace veltra::cli {

/// How a value goes from one keyframe to the next: it stays, it moves evenly, or it starts and
/// ends softly (3 t^2 - 2 t^3).
enum class Interpolation { kHold, kLinear, kSmooth };

const char* InterpolationName(Interpolation interpolation);
std::optional<Interpolation> FindInterpolation(std::string_view name);

/// Which way a point goes from one keyframe to the next: straight in the frame, or along the great
/// circle of the sphere that the whole frame shows.
enum class KeyPath { kStraight, kGreatCircle };

const char* KeyPathName(KeyPath path);
std::optional<KeyPath> FindKeyPath(std::string_view name);

struct Keyframe {
  int frame = 0;
  ControlSetting setting;
  Interpolation interpolation = Interpolation::kLinear;  ///< from here to the next
  KeyPath path = KeyPath::kStraight;                     ///< likewise; of points only
};

/// One control over all frames; a single keyframe is a constant. Keyframes are in order of their
/// frames.
struct Track {
  std::vector<Keyframe> keys;
};

/// The value at a frame, which may lie between two numbers, interpolated; whole, 16.16 and colour
/// values are rounded to nearest. Before the first keyframe and after the last the value stays.
/// Throws UsageError where a great circle is asked for between two opposite points.
host::ControlValue ValueAt(const Track& track, double frame, int width, int height);

}  // namespace veltra::cli
