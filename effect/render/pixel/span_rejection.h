// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Cheap tests that recognise most pixels the strip does not reach.
//
// Nine pixels in ten of an ordinary frame lie off the strip, so what a rejection costs is what a
// frame costs. The tests answer "surely off" or "perhaps on"; after the latter the exact steps
// decide as if they did not exist. They take the exact steps' own d = p . n and Q . S, Q . E (n, S
// and E being spanNormal, spanStart and spanEnd), compare cosines where those compare arc cosines,
// are written so that NaN makes every comparison false, and keep a margin wider than all roundings
// together (1e-14 at most, values being near 1). So the picture is the same with and without them.
#pragma once

#include "effect/placement/placement_record.h"
#include "numerics/trigonometry_kernels.h"

namespace veltra {

/// What the tests compare with, from a record; NaN where they cannot tell.
struct SpanBounds {
  double acrossInside;   ///< for the family whose far soft edge lies inside the band
  double acrossOutside;  ///< for the one whose far soft edge lies outside
  double along;          ///< cosine of the farthest sum of angles from the ends
  double farSide;        ///< for the sum of the cosines
};

SpanBounds BoundsOf(const PlacementRecord& record);

/// Whether d says that the point lies off the band, given acrossInside or acrossOutside: further
/// across than the limit means acos(d) - pi/2 > limit, that is d < -sin(limit). A d below -1 has no
/// arc cosine and rejects nothing.
VELTRA_FORCE_INLINE bool IsSurelyOffBand(double bound, double d) {
  return d < bound && d >= -1.0;
}

/// Whether the cosines Q . S and Q . E say that the point lies past the span's ends: with a and b
/// for the two angles, a + b > limit follows for a limit from 0 to pi from either of
///   Q.S * Q.E < cos(limit), since cos(a + b) = cos a cos b - sin a sin b <= cos a cos b;
///   Q.S + Q.E < 0, which is 2 cos((a + b) / 2) cos((a - b) / 2), the second factor positive.
/// The first is sharp just past the ends, the second takes over on the far side. What passes with
/// a margin is beyond the limit by as much, a cosine being no steeper than 1. Beyond 1, where only
/// a hand-made record leads, there is no angle and nothing is rejected.
VELTRA_FORCE_INLINE bool IsSurelyPastEnds(const SpanBounds& bounds, double toStart, double toEnd) {
  return (toStart * toEnd < bounds.along || toStart + toEnd < bounds.farSide) &&
         numerics::kernels::Magnitude(toStart) <= 1.0 && numerics::kernels::Magnitude(toEnd) <= 1.0;
}

}  // namespace veltra
