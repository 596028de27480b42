// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Spherical interpolation, with the bits of every platform.
#include "cli/settings/great_circle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "base/error.h"
#include "numerics/trigonometry.h"

namespace veltra::cli {
namespace {

using std::numbers::pi;

/// Radians: yaw from the middle column to the right, pitch from the middle row upward.
struct Direction {
  double yaw = 0;
  double pitch = 0;
};

using Vector = std::array<double, 3>;

Direction DirectionOf(const host::ControlValue& point, int width, int height) {
  const double x = static_cast<double>(point.x) / kFixedOne;
  const double y = static_cast<double>(point.y) / kFixedOne;
  return {(x / width - 0.5) * 2.0 * pi, (0.5 - y / height) * pi};
}

Vector VectorOf(const Direction& direction) {
  const auto [sinYaw, cosYaw] = numerics::SinCos(direction.yaw);
  const auto [sinPitch, cosPitch] = numerics::SinCos(direction.pitch);
  return {cosPitch * cosYaw, cosPitch * sinYaw, sinPitch};
}

double Dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double Length(const Vector& a) {
  return std::sqrt(Dot(a, a));
}

/// The angle between two unit vectors, exact for close ones too, where the cosine tells little.
double AngleBetween(const Vector& a, const Vector& b) {
  const Vector apart{a[0] - b[0], a[1] - b[1], a[2] - b[2]};
  const Vector sum{a[0] + b[0], a[1] + b[1], a[2] + b[2]};
  const double sine = Length(apart) / 2.0;  // of half the angle
  const double cosine = Length(sum) / 2.0;
  const double half = numerics::Acos(std::clamp(cosine, 0.0, 1.0));
  return sine < 1e-3 ? 2.0 * sine : 2.0 * half;
}

/// The direction of a unit vector, with the yaw nearest to `near`.
Direction DirectionNear(const Vector& vector, double near) {
  const double level = std::hypot(vector[0], vector[1]);
  const double pitch = std::copysign(numerics::Acos(std::clamp(level, 0.0, 1.0)), vector[2]);
  double yaw = near;  // at a pole any is right
  if (level > 0.0) {
    yaw = std::copysign(numerics::Acos(std::clamp(vector[0] / level, -1.0, 1.0)), vector[1]);
    yaw += 2.0 * pi * std::round((near - yaw) / (2.0 * pi));
  }
  return {yaw, pitch};
}

PF_Fixed Fixed(double pixels) {
  const std::int64_t value = std::llround(pixels * kFixedOne);
  return static_cast<PF_Fixed>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

}  // namespace

host::ControlValue OnGreatCircle(const host::ControlValue& from, const host::ControlValue& to,
                                 double share, int width, int height) {
  constexpr double kNearlyNothing = 1e-9;
  const Direction start = DirectionOf(from, width, height);
  const Vector a = VectorOf(start);
  const Vector b = VectorOf(DirectionOf(to, width, height));
  const double angle = AngleBetween(a, b);
  if (share <= 0.0 || angle < kNearlyNothing) {
    return from;
  }
  if (pi - angle < kNearlyNothing) {
    throw UsageError(
        "two keyframes in a row are opposite points of the sphere, which no single great circle "
        "joins (add one between them)");
  }
  const double weightA = numerics::Sin((1.0 - share) * angle);
  const double weightB = numerics::Sin(share * angle);
  Vector mixed{};
  for (std::size_t i = 0; i < mixed.size(); ++i) {
    mixed[i] = (a[i] * weightA + b[i] * weightB) / numerics::Sin(angle);
  }
  const Direction direction = DirectionNear(mixed, start.yaw);
  return {Fixed((direction.yaw / (2.0 * pi) + 0.5) * width),
          Fixed((0.5 - direction.pitch / pi) * height)};
}

}  // namespace veltra::cli
