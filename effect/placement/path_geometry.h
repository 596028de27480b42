// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The frame's mathematics: from two points of the frame to the span on the sphere.
#pragma once

#include "effect/params/params_setup.h"
#include "effect/placement/placement_record.h"

namespace veltra {

struct FramePoint {
  double x;  ///< pixels of the frame, not clamped to it
  double y;
};

/// What the span is computed from. Radians, pixels and fractions.
struct GeometryInputs {
  FramePoint startPoint;
  FramePoint endPoint;
  double frameWidth;
  double frameHeight;
  double travel;      ///< fraction of the path
  std::int32_t mode;  ///< PlacementMode; anything else lays out like kSolo
  double halfBandAngle;
  double layerWidth;
  double layerHeight;
  double layerAspect;  ///< the layer's pixel aspect ratio inverted
  double downsampleX;
  double downsampleY;
};

/// Half the strip's height for a size in degrees; not greater than 0 means nothing to draw.
double HalfBandAngle(double sizeDegrees);

/// The same under Solo's limit: at most 89.5 degrees high and the layer at most 179 long. The
/// layer is measured with the frame's scale factors here, unlike in the geometry, where its own
/// aspect and the downsampling count; the two differ on purpose.
double SoloHalfBandAngle(double sizeDegrees, double layerWidth, double layerHeight,
                         const ScaleFactors& scale);

/// Direction of a frame position, given 2 / width and 2 / height.
Vector3 DirectionFromPixel(const PF_ANSICallbacks& math, double x, double y, double normScaleX,
                           double normScaleY);

/// Fills the frame's scales, the span, the band and the layer's scales of `record` with the host's
/// mathematics. Dot products reach its arc cosine unclamped: coincident points may therefore give
/// NaN throughout, and then no pixel is drawn.
void ComputePlacementGeometry(const GeometryInputs& in, const PF_ANSICallbacks& math,
                              PlacementRecord* record);

}  // namespace veltra
