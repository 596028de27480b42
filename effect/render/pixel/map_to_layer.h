// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From a position in the frame to one in the layer, as the filtered family draws it.
#pragma once

#include "effect/render/pixel/span_rejection.h"
#include "effect/render/pixel/sphere_steps.h"

namespace veltra {

/// A place in the layer, in its pixels.
struct LayerPosition {
  float u;
  float v;
};

/// Where a pixel falls, with the edges outside the strip. All fields are filled in any case.
struct LayerMapping {
  LayerPosition position;
  float coverage;  ///< of the strip's soft edges
  bool inside;     ///< whether the pixel lies on the strip or its edges
};

/// Maps the frame position (px, py), in its pixels, and returns whether it is inside. Depends on
/// no pixel type.
bool MapToLayer(double px, double py, const PlacementRecord& record, float* u, float* v,
                float* coverage);

struct PairMapping {
  LayerMapping here;
  LayerPosition neighbour;
};

/// The same for a pixel (first lanes) and its neighbour (second lanes), side by side and with the
/// same bits, from what their columns and rows have in common. A pixel that `bounds` rejects is not
/// inside, and the rest is then zero.
PairMapping MapPairToLayer(const SineAndCosineOf<TwoDoubles>& columns,
                           const SineAndCosineOf<TwoDoubles>& rows, const SpanBounds& bounds,
                           const PlacementRecord& record);

}  // namespace veltra
