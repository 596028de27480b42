// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Which columns of a row the strip surely does not reach.
//
// Nine pixels in ten of an ordinary frame lie off the strip. Everything that can put a pixel off
// the strip is a half of the sphere, w . p < bound for its direction p, and in a row of the frame,
// where the latitude is fixed, w . p is A cos(longitude - centre) + B: what such a half takes from
// the row is one arc of longitudes. A row's gap is an arc that up to three of them cover together.
//
// A pixel in the gap is off the strip in both families of pixel functions; one outside of it takes
// the exact steps, which decide as if there were no gaps. So a gap may be too small, down to
// nothing, and never too large. With n, S and E for spanNormal, spanStart and spanEnd:
//
// Across. The exact steps reject acos(d) - pi/2 > limit with d = p . n, that is d < -sin(limit) for
// a limit from 0 to pi/2. The limit is that of the family whose soft edge lies further out. A d
// below -1 has no arc cosine and rejects nothing, so n has to be shorter than a unit vector by more
// than d's rounding, as every normal of a frame is.
//
// Along. With q = p - d n they reject a + b > limit for a = acos(k q . S), b = acos(k q . E) and
// k = 1 / (|q| + 1e-6). Let q, S and E be unit vectors of the plane across n, theta the angle from
// S to E, and alpha and beta those from q to them, then a = acos(kappa cos alpha), b = acos(kappa
// cos beta) with a common kappa <= 1, since |q| is no shorter than its part in the plane.
//   a + b >= min(alpha + beta, pi): its derivative by kappa has the sign of -(cos alpha + cos
//   beta), that is of alpha + beta - pi; so where alpha + beta <= pi it falls towards kappa = 1,
//   and elsewhere it rises from the pi that it is at kappa = 0.
// A drawn pixel has a + b <= limit, so for a limit below pi it has alpha + beta <= limit, which is
// the arc from S to E with (limit - theta) / 2 more at either end: an arc below half a turn, and so
// two halves of the sphere, whose edges pass through n and the ends of that arc. It remains that S
// and E are not quite in the plane, nor of the same length, and that the steps round. All of this
// changes a cosine by some h, and an arc cosine then by acos(1 - h) at most, by which the limit
// grows. From rounding h is below 1e-8: q is off by 1e-15, divided by no less than 1e-6.
#pragma once

#include <array>
#include <cstdint>

#include "effect/render/pixel/sphere_steps.h"
#include "numerics/convert.h"

namespace veltra {

/// A row's gap, in columns of the frame: `count` from `first` on. One that goes on beyond the
/// frame's right edge comes in again on the left, as another part, so that neither holds a column
/// which the frame has not.
struct RowGap {
  std::uint32_t head = 0;  ///< columns from the frame's left edge on that come in again
  A_long first = 0;
  std::uint32_t count = 0;

  bool Holds(A_long x) const {
    return static_cast<std::uint32_t>(x) < head ||
           static_cast<std::uint32_t>(numerics::WrappingSubtract(x, first)) < count;
  }
};

/// The gaps of the rows of one frame.
class RowGaps {
 public:
  /// For the host's first `width` columns, at most one turn and one column. Of records where the
  /// above does not hold (spoiled vectors, numbers that are none) and of columns many turns away
  /// every gap is empty, as far as need be.
  RowGaps(const PlacementRecord& record, A_long width);

  /// The gap of the row with this sine and cosine of its latitude.
  RowGap At(const SineAndCosineOf<double>& latitude) const;

 private:
  /// Longitudes from `start` on; a `length` of 2 pi is the whole turn.
  struct Arc {
    double start;
    double length;
  };
  /// Directions p on the strip have w . p >= bound.
  struct HalfSphere {
    double level;   ///< length of w along the equator
    double centre;  ///< longitude of w
    double up;      ///< w towards the south pole, where rows grow to
    double bound;
  };

  void AddAcross(const PlacementRecord& record);
  void AddAlong(const PlacementRecord& record);
  void Add(const Vector3& w, double bound);
  static Arc OutsideOf(const HalfSphere& half, const SineAndCosineOf<double>& latitude);
  static void Join(const Arc& other, Arc& arc);
  RowGap ColumnsOf(const Arc& arc) const;

  std::array<HalfSphere, 3> halves_{};
  std::size_t count_ = 0;
  A_long width_ = 0;
  double period_ = 0;     ///< columns in a turn
  double perRadian_ = 0;  ///< columns
  double position_ = 0;   ///< of the first column, counted from longitude -pi
};

}  // namespace veltra
