// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From a position in the frame to the sphere, to the span and to a position in the layer.
#pragma once

#include <cmath>

#include "numerics/trigonometry.h"
#include "render/placement_record.h"

namespace veltra {

/// Where a point of the sphere lies across the span's great circle, and its projection onto the
/// circle's plane, scaled to nearly unit length.
struct AcrossSpan {
  double across;  ///< radians, negative on the side towards spanNormal; NaN where |d| > 1
  Vector3 inPlane;
};

/// Angles from the span's ends, radians; on the span their sum is spanAngle, off its ends more.
struct AlongSpan {
  double fromStart;
  double fromEnd;
};

inline double Dot(const Vector3& a, const Vector3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Added to a length before dividing by it: near the poles of the great circle nothing is left of
/// the projected point.
inline constexpr double kLengthGuard = 0.000001;

/// `px`, `py` in pixels of the frame.
inline AcrossSpan ProjectOntoSpan(const PlacementRecord& record, double px, double py) {
  const double latitude = (py * record.normScaleY - 1.0) * kHalfPi;
  const double longitude = (px * record.normScaleX - 1.0) * kPi;
  const numerics::SinCosResult lat = numerics::SinCos(latitude);
  const numerics::SinCosResult lon = numerics::SinCos(longitude);
  const Vector3 p{lon.sine * lat.cosine, lat.sine, -lon.cosine * lat.cosine};

  const double d = Dot(p, record.spanNormal);
  const Vector3 q{p.x - d * record.spanNormal.x, p.y - d * record.spanNormal.y,
                  p.z - d * record.spanNormal.z};
  const double scale = 1.0 / (std::sqrt(Dot(q, q)) + kLengthGuard);
  return {numerics::Acos(d) - kHalfPi, {q.x * scale, q.y * scale, q.z * scale}};
}

inline AlongSpan MeasureAlongSpan(const PlacementRecord& record, const Vector3& inPlane) {
  return {numerics::Acos(Dot(inPlane, record.spanStart)),
          numerics::Acos(Dot(inPlane, record.spanEnd))};
}

/// Layer column and row for the two angles.
inline double LayerColumn(const PlacementRecord& record, const AlongSpan& along) {
  return along.fromStart * record.layerPixelsPerRadian;
}
inline double LayerRow(const PlacementRecord& record, double across) {
  return (across / record.halfBandAngle + 1.0) * record.layerHalfHeight;
}

/// A place in the layer, in its pixels, with the coverage of the strip's soft edges there.
struct LayerPosition {
  float u;
  float v;
  float coverage;
};

/// Maps a frame position with the edges outside the strip, as the filtered family draws them.
/// Fills `position` in any case and returns whether it lies on the strip or its edges; depends on
/// no pixel type.
bool MapToLayer(double px, double py, const PlacementRecord& record, LayerPosition* position);

}  // namespace veltra
