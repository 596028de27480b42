// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The yardstick's whole frame: what a render leaves in the output world.
#pragma once

#include "tests/reference/pixels.h"

namespace veltra::reference {

/// One frame to render. Worlds are the host's; `input` may be null in smart rendering, `layer`
/// null or without data when none is chosen.
struct Frame {
  Controls controls;
  Resolution resolution;
  A_long width = 0;  ///< the effect layer at full resolution
  A_long height = 0;
  bool smart = false;
  const PF_EffectWorld* input = nullptr;
  const PF_EffectWorld* layer = nullptr;
  std::optional<double> preRenderAspect;  ///< what the pre-render left for the render, if anything
  Maths geometryMaths = StandardMaths();
  Maths pixelMaths = StandardMaths();
};

/// The placement of the frame over an output world; nothing when the frame stays as prepared.
std::optional<Placement> PlacementOf(const Frame& frame, const PF_EffectWorld& output);

/// Renders over `output` with the host's sampler: the area sampler when filtering is on, the
/// subpixel sampler otherwise. Sample errors are not looked at.
template <class Pixel>
void RenderFrame(const Frame& frame, PF_SampleFn<Pixel> sample, PF_EffectWorld* output);

}  // namespace veltra::reference
