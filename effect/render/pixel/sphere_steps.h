// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The steps from a position in the frame over the sphere to the span, shared by both families.
#pragma once

#include "effect/placement/placement_record.h"
#include "numerics/trigonometry_sse2.h"

namespace veltra {

// The steps are written once for Real = double (one position) and for Real = TwoDoubles (two
// positions, one in each lane); the lanes run the scalar's operations and give its bits.
using numerics::kernels::TwoDoubles;

template <class Real>
struct Vector3Of {
  Real x;
  Real y;
  Real z;
};

VELTRA_FORCE_INLINE TwoDoubles Pair(double first, double second) {
  return {_mm_set_pd(second, first)};
}
VELTRA_FORCE_INLINE double First(TwoDoubles lanes) {
  return _mm_cvtsd_f64(lanes.lanes);
}
VELTRA_FORCE_INLINE double Second(TwoDoubles lanes) {
  return _mm_cvtsd_f64(_mm_unpackhi_pd(lanes.lanes, lanes.lanes));
}

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

/// Sine and cosine of a latitude, or sine and negated cosine of a longitude: the parts that a row
/// or a column of the frame has in common.
template <class Real>
struct SineAndCosineOf {
  Real sine;
  Real cosine;
};

/// Two of them in lanes.
VELTRA_FORCE_INLINE SineAndCosineOf<TwoDoubles> SideBySide(const SineAndCosineOf<double>& first,
                                                           const SineAndCosineOf<double>& second) {
  const __m128d a = _mm_loadu_pd(&first.sine);
  const __m128d b = _mm_loadu_pd(&second.sine);
  return {{_mm_unpacklo_pd(a, b)}, {_mm_unpackhi_pd(a, b)}};
}

template <class Real>
VELTRA_FORCE_INLINE Vector3Of<Real> DirectionOf(const SineAndCosineOf<Real>& column,
                                                const SineAndCosineOf<Real>& row) {
  return {column.sine * row.cosine, row.sine, column.cosine * row.cosine};
}

/// How far a direction lies towards spanNormal.
template <class Real>
VELTRA_FORCE_INLINE Real TowardsNormal(const PlacementRecord& record, const Vector3Of<Real>& p) {
  return Dot(p, Splat(record.spanNormal, p.x));
}

/// The direction's projection onto the plane of the span's great circle, d being TowardsNormal.
template <class Real>
VELTRA_FORCE_INLINE Vector3Of<Real> OntoPlane(const PlacementRecord& record,
                                              const Vector3Of<Real>& p, Real d) {
  const Vector3Of<Real> normal = Splat(record.spanNormal, d);
  return {p.x - d * normal.x, p.y - d * normal.y, p.z - d * normal.z};
}

/// Added to a length before dividing by it: near the poles of the great circle nothing is left of
/// the projected point.
inline constexpr double kLengthGuard = 0.000001;

/// The vector scaled to nearly unit length.
template <class Real>
VELTRA_FORCE_INLINE Vector3Of<Real> NearlyUnit(const Vector3Of<Real>& q) {
  using numerics::kernels::Splat;
  using numerics::kernels::SquareRoot;
  const Real scale = Splat(1.0, q.x) / (SquareRoot(Dot(q, q)) + Splat(kLengthGuard, q.x));
  return {q.x * scale, q.y * scale, q.z * scale};
}

/// Angle across the span from the one to spanNormal, radians, negative on its side.
template <class Real>
VELTRA_FORCE_INLINE Real FromGreatCircle(Real fromNormal) {
  return fromNormal - numerics::kernels::Splat(kHalfPi, fromNormal);
}

/// spanStart in the first lanes and spanEnd in the second.
using SpanEnds = Vector3Of<TwoDoubles>;

VELTRA_FORCE_INLINE SpanEnds EndsOf(const PlacementRecord& record) {
  const Vector3& start = record.spanStart;
  const Vector3& end = record.spanEnd;
  return {Pair(start.x, end.x), Pair(start.y, end.y), Pair(start.z, end.z)};
}

/// q . spanStart and q . spanEnd, in this order.
VELTRA_FORCE_INLINE TwoDoubles DotWithEnds(const SpanEnds& ends, const Vector3Of<double>& q) {
  using numerics::kernels::Splat;
  const TwoDoubles type{};
  return Dot(SpanEnds{Splat(q.x, type), Splat(q.y, type), Splat(q.z, type)}, ends);
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

}  // namespace veltra
