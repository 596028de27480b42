// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The frame that the per-pixel benchmark draws into, and its four ways to fill a pixel.
#pragma once

#include <optional>

#include "effect/render/pixel/frame_tables.h"
#include "host/suites/tables.h"
#include "tests/reference/pixels.h"

namespace veltra::bench {

enum class Family { kPlain, kFiltered };
enum class Contender { kEmpty, kFloor, kReference, kEffect };
inline constexpr int kContenders = 4;

/// A strip along the frame's middle row. The side towards its normal is the upper one, so that the
/// band is rejected below.
struct SceneSettings {
  A_long width = 2048;
  A_long height = 1024;
  double bandDegrees = 20;
  double spanDegrees = 60;
  bool tile = false;
};

/// A frame and a layer of one depth with everything a pixel function needs, played by the host's
/// own samplers and iteration on the calling thread.
template <class Pixel>
class PixelScene {
 public:
  PixelScene(const SceneSettings& settings, Family family);

  /// Runs a contender over the area.
  void Run(Contender contender, const PF_LRect& area);

 private:
  host::RenderSettings renderSettings_;
  std::vector<host::ControlDeclaration> controls_;
  host::World frame_;
  host::World layer_;
  PF_EffectWorld frameView_{};
  PF_EffectWorld layerView_{};
  host::Session session_;
  Family family_;
  std::optional<TabledRecord> record_;
  reference::Placement placement_;
  reference::PixelTools<Pixel> tools_;
};

}  // namespace veltra::bench
