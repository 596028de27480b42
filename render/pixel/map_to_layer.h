// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From a position in the frame to the sphere, to the span and to a position in the layer.
#pragma once

#include <cmath>

#include "numerics/trigonometry_sse2.h"
#include "render/placement_record.h"

namespace veltra {

// The steps below are written once for Real = double (one position) and for Real = TwoDoubles (two
// positions, one in each lane); the lanes run the scalar's operations and give its bits.
using numerics::kernels::TwoDoubles;

template <class Real>
struct Vector3Of {
  Real x;
  Real y;
  Real z;
};

/// Where a point of the sphere lies across the span's great circle, and its projection onto the
/// circle's plane, scaled to nearly unit length.
template <class Real>
struct AcrossSpan {
  Real across;  ///< radians, negative on the side towards spanNormal; NaN where |d| > 1
  Vector3Of<Real> inPlane;
};

template <class Real>
VELTRA_FORCE_INLINE Vector3Of<Real> Splat(const Vector3& v, Real type) {
  using numerics::kernels::Splat;
  return {Splat(v.x, type), Splat(v.y, type), Splat(v.z, type)};
}

template <class Real>
VELTRA_FORCE_INLINE Real Dot(const Vector3Of<Real>& a, const Vector3Of<Real>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Latitude and longitude of a frame position, radians.
inline double Latitude(const PlacementRecord& record, double py) {
  return (py * record.normScaleY - 1.0) * kHalfPi;
}
inline double Longitude(const PlacementRecord& record, double px) {
  return (px * record.normScaleX - 1.0) * kPi;
}

template <class Real>
VELTRA_FORCE_INLINE Vector3Of<Real> DirectionOf(Real sinLon, Real cosLon, Real sinLat,
                                                Real cosLat) {
  using numerics::kernels::Negated;
  return {sinLon * cosLat, sinLat, Negated(cosLon) * cosLat};
}

/// Added to a length before dividing by it: near the poles of the great circle nothing is left of
/// the projected point.
inline constexpr double kLengthGuard = 0.000001;

template <class Real>
VELTRA_FORCE_INLINE AcrossSpan<Real> ProjectOntoSpan(const PlacementRecord& record,
                                                     const Vector3Of<Real>& p) {
  using numerics::kernels::Splat;
  using numerics::kernels::SquareRoot;
  const Vector3Of<Real> normal = veltra::Splat(record.spanNormal, p.x);
  const Real d = Dot(p, normal);
  const Vector3Of<Real> q{p.x - d * normal.x, p.y - d * normal.y, p.z - d * normal.z};
  const Real scale = Splat(1.0, d) / (SquareRoot(Dot(q, q)) + Splat(kLengthGuard, d));
  return {numerics::kernels::ArcCosine(d) - Splat(kHalfPi, d),
          {q.x * scale, q.y * scale, q.z * scale}};
}

/// Layer column and row for the angle from the span's start and for the one across.
template <class Real>
VELTRA_FORCE_INLINE Real LayerColumn(const PlacementRecord& record, Real fromStart) {
  using numerics::kernels::Splat;
  return fromStart * Splat(record.layerPixelsPerRadian, fromStart);
}
template <class Real>
VELTRA_FORCE_INLINE Real LayerRow(const PlacementRecord& record, Real across) {
  using numerics::kernels::Splat;
  return (across / Splat(record.halfBandAngle, across) + Splat(1.0, across)) *
         Splat(record.layerHalfHeight, across);
}

/// A frame position, in its pixels.
struct FramePosition {
  double x;
  double y;
};

/// A place in the layer, in its pixels.
struct LayerPosition {
  float u;
  float v;
};

/// What the filtered family needs of a pixel: where it and its neighbour fall.
struct FilteredMapping {
  LayerPosition here;
  LayerPosition neighbour;
  float coverage;  ///< of the strip's soft edges at the pixel
  bool inside;     ///< whether the pixel lies on the strip or its edges
};

/// Maps a pixel and its neighbour with the edges outside the strip, as the filtered family draws
/// them. Fills all fields in any case; depends on no pixel type.
FilteredMapping MapToLayer(const PlacementRecord& record, FramePosition here,
                           FramePosition neighbour);

}  // namespace veltra
