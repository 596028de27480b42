// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Interpolation between keyframes.
#include "cli/settings/tracks.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "cli/settings/great_circle.h"

namespace veltra::cli {
namespace {

constexpr std::array<const char*, 3> kNames = {"hold", "linear", "smooth"};
constexpr std::array<const char*, 2> kPathNames = {"straight", "great-circle"};

double Progress(Interpolation interpolation, double t) {
  switch (interpolation) {
    case Interpolation::kHold:
      return 0.0;
    case Interpolation::kLinear:
      return t;
    case Interpolation::kSmooth:
      break;
  }
  return t * t * (3.0 - 2.0 * t);
}

A_long Mix(A_long from, A_long to, double progress) {
  const double start = from;
  const double mixed = start + (static_cast<double>(to) - start) * progress;
  return static_cast<A_long>(std::lround(mixed));  // between two 32-bit numbers
}

A_u_char MixChannel(A_u_char from, A_u_char to, double progress) {
  return static_cast<A_u_char>(Mix(from, to, progress));
}

host::ControlValue MixValues(const host::ControlValue& from, const host::ControlValue& to,
                             double progress) {
  host::ControlValue mixed;
  mixed.x = Mix(from.x, to.x, progress);
  mixed.y = Mix(from.y, to.y, progress);
  for (std::size_t i = 0; i < mixed.numbers.size(); ++i) {
    mixed.numbers[i] = from.numbers[i] + (to.numbers[i] - from.numbers[i]) * progress;
  }
  mixed.color = {255, MixChannel(from.color.red, to.color.red, progress),
                 MixChannel(from.color.green, to.color.green, progress),
                 MixChannel(from.color.blue, to.color.blue, progress)};
  mixed.flat = from.flat;
  if (progress > 0 && from.flat != nullptr) {
    mixed.flatAfter = to.flat;  // only the effect knows what lies between
    mixed.share = progress;
  }
  return mixed;
}

}  // namespace

const char* InterpolationName(Interpolation interpolation) {
  return kNames[static_cast<std::size_t>(interpolation)];
}

std::optional<Interpolation> FindInterpolation(std::string_view name) {
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (name == kNames[i]) {
      return static_cast<Interpolation>(i);
    }
  }
  return std::nullopt;
}

const char* KeyPathName(KeyPath path) {
  return kPathNames[static_cast<std::size_t>(path)];
}

std::optional<KeyPath> FindKeyPath(std::string_view name) {
  for (std::size_t i = 0; i < kPathNames.size(); ++i) {
    if (name == kPathNames[i]) {
      return static_cast<KeyPath>(i);
    }
  }
  return std::nullopt;
}

host::ControlValue ValueAt(const Track& track, double frame, int width, int height) {
  const auto after = std::find_if(track.keys.begin(), track.keys.end(),
                                  [frame](const Keyframe& key) { return key.frame > frame; });
  if (after == track.keys.begin()) {
    return after->setting.OnFrame(width, height);
  }
  const Keyframe& from = *(after - 1);
  host::ControlValue start = from.setting.OnFrame(width, height);
  if (after == track.keys.end()) {
    return start;
  }
  const host::ControlValue end = after->setting.OnFrame(width, height);
  const double t = (frame - from.frame) / (static_cast<double>(after->frame) - from.frame);
  const double progress = Progress(from.interpolation, t);
  if (from.path == KeyPath::kGreatCircle) {
    return OnGreatCircle(start, end, progress, width, height);
  }
  return MixValues(start, end, progress);
}

}  // namespace veltra::cli
