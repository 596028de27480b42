// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The gaps of a frame's rows.

#include "effect/render/pixel/row_gaps.h"

#include <algorithm>
#include <cmath>

#include "numerics/trigonometry.h"

namespace veltra {
namespace {

/// Wider than all roundings of w . p and of what it is compared with, which are below 1e-14.
constexpr double kBoundMargin = 1e-9;

/// On top of the limit along: covers the angle between S and E, an arc cosine that is off by 3e-8
/// where they nearly coincide, and the sums of the exact steps.
constexpr double kAngleMargin = 1e-6;

/// What rounding makes of the exact steps' cosines at most.
constexpr double kCosineMargin = 1e-8;

/// How much shorter than a unit vector a normal has to be, squared, for d to stay above -1.
constexpr double kShorter = 1e-9;

/// At either end of a gap, in columns: covers what rounding does to positions and longitudes.
constexpr double kColumnMargin = 1.0 / 64.0;

/// Far more than any frame has; below it a position's rounding is below 1e-9 columns.
constexpr double kMostColumns = 1 << 21;

double Product(const Vector3& a, const Vector3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3 Scaled(const Vector3& v, double scale) {
  return {v.x * scale, v.y * scale, v.z * scale};
}

/// a * scaleA + b * scaleB
Vector3 Sum(const Vector3& a, double scaleA, const Vector3& b, double scaleB) {
  return {a.x * scaleA + b.x * scaleB, a.y * scaleA + b.y * scaleB, a.z * scaleA + b.z * scaleB};
}

/// Where both comparisons of the exact steps hold, at the edge and at the edge with its ramp: the
/// larger of the two, NaN where the second is.
double Limit(double edge, double ramp) {
  const double withRamp = edge + ramp;
  return edge > withRamp ? edge : withRamp;
}

/// How much an arc cosine changes at most when the cosine changes by h.
double MostChange(double h) {
  return numerics::Acos(1.0 - h);
}

/// A vector as its direction in the plane across a unit vector, its length there and what it has
/// beyond the plane.
struct InPlane {
  InPlane(const Vector3& v, const Vector3& unit) : beyond(Product(v, unit)) {
    const Vector3 flat = Sum(v, 1.0, unit, -beyond);
    length = std::sqrt(Product(flat, flat));
    direction = Scaled(flat, 1.0 / length);
  }
  /// Neither too short for a direction nor longer than a unit vector, whose cosines have angles.
  bool IsSound() const {
    return length > 0.5 && length * length + beyond * beyond <= 1.0 + kShorter;
  }

  double beyond;
  double length;
  Vector3 direction{};
};

}  // namespace

RowGaps::RowGaps(const PlacementRecord& record, A_long width)
    : width_(width),
      period_(2.0 / record.normScaleX),
      perRadian_(period_ / kTwoPi),
      position_(0.0 - record.originOffsetX) {
  const bool sound = period_ > 0.0 && period_ < kMostColumns && width - 1.0 <= period_ &&
                     std::fabs(position_) < kMostColumns;
  if (sound) {
    AddAcross(record);
    AddAlong(record);
  }
}

void RowGaps::AddAcross(const PlacementRecord& record) {
  const Vector3& n = record.spanNormal;
  const double inner = Limit(record.halfBandAngle, -record.radiansPerPixel);
  const double outer = Limit(record.halfBandAngle, record.radiansPerPixel);
  if (Product(n, n) <= 1.0 - kShorter && inner < kHalfPi && outer < kHalfPi) {
    // Below 0 the limit counts as 0, which rejects less.
    Add(n, -numerics::Sin(std::max({inner, outer, 0.0})));
  }
}

void RowGaps::AddAlong(const PlacementRecord& record) {
  const double length = std::sqrt(Product(record.spanNormal, record.spanNormal));
  const Vector3 n = Scaled(record.spanNormal, 1.0 / length);
  const InPlane start(record.spanStart, n);
  const InPlane end(record.spanEnd, n);
  if (!(length > 1e-9 && length <= 1.0 + kShorter && start.IsSound() && end.IsSound())) {
    return;
  }
  const double cosine = std::clamp(Product(start.direction, end.direction), -1.0, 1.0);
  const double angle = numerics::Acos(cosine);
  const double limit = Limit(record.spanAngle, record.radiansPerPixel) + kAngleMargin +
                       MostChange(std::fabs(start.beyond) + kCosineMargin) +
                       MostChange(std::fabs(end.beyond) + kCosineMargin) +
                       MostChange(std::fabs(start.length - end.length));
  if (!(limit < kPi - kAngleMargin && angle < kPi - kAngleMargin)) {
    return;
  }
  const double more = std::max(0.0, (limit - angle) * 0.5);
  // A right angle from the start, on the side of the end.
  const Vector3& s = start.direction;
  const Vector3 across{n.y * s.z - n.z * s.y, n.z * s.x - n.x * s.z, n.x * s.y - n.y * s.x};
  const double side = Product(across, end.direction) < 0.0 ? -1.0 : 1.0;
  const double last = angle + more;
  Add(Sum(s, numerics::Sin(more), across, side * numerics::Cos(more)), 0.0);
  Add(Sum(s, numerics::Sin(last), across, -side * numerics::Cos(last)), 0.0);
}

void RowGaps::Add(const Vector3& w, double bound) {
  halves_[count_++] = {std::sqrt(w.x * w.x + w.z * w.z), std::atan2(w.x, -w.z), w.y,
                       bound - kBoundMargin};
}

RowGap RowGaps::At(const SineAndCosineOf<double>& latitude) const {
  std::array<Arc, 3> arcs{};
  Arc widest{};
  for (std::size_t i = 0; i < count_; ++i) {
    arcs[i] = OutsideOf(halves_[i], latitude);
    widest = arcs[i].length > widest.length ? arcs[i] : widest;
  }
  if (!(widest.length > 0.0)) {
    return {};
  }
  // Twice, since the last one may be what brings the first one near.
  for (int round = 0; round < 2; ++round) {
    for (std::size_t i = 0; i < count_; ++i) {
      Join(arcs[i], widest);
    }
  }
  return ColumnsOf(widest);
}

/// Where level * cos(latitude) * cos(longitude - centre) + up * sin(latitude) < bound. Nowhere for
/// a row beyond the poles and for numbers that are none.
RowGaps::Arc RowGaps::OutsideOf(const HalfSphere& half, const SineAndCosineOf<double>& latitude) {
  const double radius = half.level * latitude.cosine;
  const double needed = half.bound - half.up * latitude.sine;
  if (!(radius >= 0.0) || !(needed > -radius)) {
    return {0.0, 0.0};
  }
  const double angle = needed < radius ? numerics::Acos(needed / radius) : 0.0;
  return {half.centre + angle, kTwoPi - 2.0 * angle};
}

/// Adds an arc that touches or overlaps; any other leaves it as it is.
void RowGaps::Join(const Arc& other, Arc& arc) {
  const double turns = (other.start - arc.start) / kTwoPi;
  const double ahead = (turns - std::floor(turns)) * kTwoPi;
  const double behind = kTwoPi - ahead;
  if (ahead <= arc.length) {
    arc.length = std::max(arc.length, ahead + other.length);
  } else if (behind <= other.length) {
    arc = {other.start, std::max(other.length, behind + arc.length)};
  }
  arc.length = std::min(arc.length, kTwoPi);
}

RowGap RowGaps::ColumnsOf(const Arc& arc) const {
  if (arc.length >= kTwoPi) {
    return {0, 0, static_cast<std::uint32_t>(width_)};
  }
  using numerics::TruncateToInt32;
  double begin = (arc.start + kPi) * perRadian_ - position_;
  begin -= std::floor(begin / period_) * period_;
  const double end = begin + arc.length * perRadian_ - kColumnMargin;
  const A_long first = std::min(TruncateToInt32(std::ceil(begin + kColumnMargin)), width_);
  const A_long last = std::min(TruncateToInt32(std::floor(end)), width_ - 1);
  const A_long again = std::min(TruncateToInt32(std::floor(end - period_)), width_ - 1);
  return {static_cast<std::uint32_t>(std::max(again + 1, 0)), first,
          static_cast<std::uint32_t>(std::max(last - first + 1, 0))};
}

}  // namespace veltra
