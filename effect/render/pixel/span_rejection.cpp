// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The bounds behind the cheap tests.

#include "effect/render/pixel/span_rejection.h"

#include <limits>

#include "numerics/trigonometry.h"

namespace veltra {
namespace {

/// Wider than all roundings of what is compared.
constexpr double kMargin = 1e-12;

constexpr double kCannotTell = std::numeric_limits<double>::quiet_NaN();

/// Where both comparisons of the exact steps hold, at the edge and at the edge with its ramp: the
/// larger of the two, NaN where the second is.
double Limit(double edge, double width) {
  const double withRamp = edge + width;
  return edge > withRamp ? edge : withRamp;
}

/// A d below it is further across than the limit. A negative limit counts as 0, which rejects less;
/// from a quarter turn on nothing lies further across.
double AcrossBound(double limit) {
  if (!(limit < kHalfPi)) {
    return kCannotTell;
  }
  return -numerics::Sin(limit < 0.0 ? 0.0 : limit) - kMargin;
}

}  // namespace

SpanBounds BoundsOf(const PlacementRecord& record) {
  SpanBounds bounds{};
  bounds.acrossInside = AcrossBound(Limit(record.halfBandAngle, -record.radiansPerPixel));
  bounds.acrossOutside = AcrossBound(Limit(record.halfBandAngle, record.radiansPerPixel));
  const double along = Limit(record.spanAngle, record.radiansPerPixel);
  const bool canTell = along >= 0.0 && along <= kPi;
  bounds.along = canTell ? numerics::Cos(along) - kMargin : kCannotTell;
  bounds.farSide = canTell ? -kMargin : kCannotTell;
  return bounds;
}

}  // namespace veltra
