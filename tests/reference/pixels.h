// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The yardstick's per-pixel mathematics: mapping, seam sampling, alpha limits, compositing.
#pragma once

#include "tests/reference/geometry.h"

namespace veltra::reference {

/// Where one output pixel falls. `rejected` marks a pixel that is left alone.
struct Mapping {
  double across = 0;
  double u = 0;
  double v = 0;
  float coverage = 1;
  bool rejected = false;
};

/// The mapping without filtering, from the position in the frame: the ramp across lies inside the
/// band. u and v stay 0 where the pixel is rejected.
Mapping MapPlain(const Placement& placement, double px, double py, const Maths& maths);

/// The mapping with filtering: the ramp across lies outside the band, and every value is there.
Mapping MapFiltered(const Placement& placement, double px, double py, const Maths& maths);

/// The samplers of the frame's depth and what they are called with.
template <class Pixel>
struct PixelTools {
  Maths maths;
  PF_SampleFn<Pixel> sample = nullptr;  ///< subpixel or area sampler, as the frame is filtered
  PF_ProgPtr effectRef = nullptr;
  PF_SampPB block{};  ///< `src` is the layer
};

template <class Pixel>
PF_Err PlacePixel(const Placement& placement, const PixelTools<Pixel>& tools, A_long x, A_long y,
                  Pixel* out);

template <class Pixel>
PF_Err PlacePixelFiltered(const Placement& placement, const PixelTools<Pixel>& tools, A_long x,
                          A_long y, Pixel* out);

/// Area average whose columns wrap around the tile period; see the host's world for `layer`.
template <class Pixel>
void SampleWrapped(float x, float y, float radiusX, float radiusY, const PF_EffectWorld& layer,
                   Pixel* out);

template <class Pixel>
Pixel CompositeOver(const Pixel& top, const Pixel& bottom);

}  // namespace veltra::reference
