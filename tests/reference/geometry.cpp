// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The yardstick's path geometry: from two frame points and the controls to the span on the sphere.
#include "tests/reference/geometry.h"

namespace veltra::reference {
namespace {

constexpr double kPiValue = 3.141592653589793;
constexpr double kHalfPiValue = 1.5707963267948966;
constexpr double kTwoPiValue = 6.283185307179586;
constexpr double kDegree = 0.017453292519943295;
constexpr A_long kStretch = 1;
constexpr A_long kTile = 2;
constexpr A_long kSolo = 3;

double FromFixed(PF_Fixed value) {
  return static_cast<double>(value) / 65536.0;
}

double Ratio(const PF_RationalScale& scale) {
  return static_cast<double>(scale.num) / static_cast<double>(scale.den);
}

Vector Normalised(const Vector& v, const Maths& maths) {
  const double length = maths.sqrt(v.x * v.x + v.y * v.y + v.z * v.z + 0.000001);
  return {v.x / length, v.y / length, v.z / length};
}

/// Half the band's height in radians, with the limits of a layer that is shown once.
double HalfBandAngle(const GeometryInput& input, double inverseAspect) {
  double degrees = FromFixed(input.controls.size);
  if (input.controls.placement == kSolo) {
    const double scaleX = static_cast<double>(input.resolution.downsampleX.num) * inverseAspect /
                          static_cast<double>(input.resolution.downsampleX.den);
    const double scaleY = Ratio(input.resolution.downsampleY);
    degrees = degrees < 0 ? 0 : (degrees < 89.5 ? degrees : 89.5);
    const double w = input.layerWidth * scaleX;
    const double h = input.layerHeight * scaleY;
    if (w * degrees / h > 179.0) {
      degrees = h * 179.0 / w;
    }
  }
  return degrees * 0.5 * kDegree;
}

}  // namespace

Maths StandardMaths() {
  return {[](double x) { return std::sin(x); }, [](double x) { return std::cos(x); },
          [](double x) { return std::sqrt(x); }, [](double x) { return std::acos(x); }};
}

Vector DirectionOf(double x, double y, double frameWidth, double frameHeight, const Maths& maths) {
  const double longitude = (x * (2.0 / frameWidth) - 1.0) * kPiValue;
  const double latitude = (y * (2.0 / frameHeight) - 1.0) * kHalfPiValue;
  const double cosLatitude = maths.cos(latitude);
  return {maths.sin(longitude) * cosLatitude, maths.sin(latitude),
          -maths.cos(longitude) * cosLatitude};
}

std::optional<Placement> ComputePlacement(const GeometryInput& input, const Maths& maths) {
  const Controls& controls = input.controls;
  const double inverseAspect = static_cast<double>(input.resolution.pixelAspect.den) /
                               static_cast<double>(input.resolution.pixelAspect.num);
  // A band without height is refused before the limits of Solo are looked at, and after.
  if (!(FromFixed(controls.size) * 0.5 * kDegree > 0)) {
    return std::nullopt;
  }
  Placement p;
  p.halfBandAngle = HalfBandAngle(input, inverseAspect);
  if (!(p.halfBandAngle > 0)) {
    return std::nullopt;
  }
  p.opacity = static_cast<float>(FromFixed(controls.opacity) * 0.01);
  const double travel = FromFixed(controls.travel) * 0.01;

  const double w = input.frameWidth;
  const double h = input.frameHeight;
  const Vector p1 =
      DirectionOf(FromFixed(controls.startX), FromFixed(controls.startY), w, h, maths);
  const Vector p2 = DirectionOf(FromFixed(controls.endX), FromFixed(controls.endY), w, h, maths);
  const double d = maths.acos(p2.x * p1.x + p2.y * p1.y + p2.z * p1.z);

  const double lw = input.layerWidth;
  const double lh = input.layerHeight;
  const double halfLength = (lw / Ratio(input.resolution.downsampleX)) * p.halfBandAngle /
                            (lh * input.layerAspect / Ratio(input.resolution.downsampleY));

  double from = 0;
  double to = 0;
  if (controls.placement == kStretch) {
    from = d * travel;
    to = d + d * travel;
  } else if (controls.placement == kTile) {
    to = d;
    p.tileMode = true;
    p.tileOffset = -travel * (lw - 1);
  } else {
    const double centre = d * travel;
    from = centre - halfLength;
    to = centre + halfLength;
  }
  p.tilePeriod = lw - 1;

  const double k = p2.x * p1.x + p2.y * p1.y + p2.z * p1.z;
  const Vector u = Normalised({p2.x - k * p1.x, p2.y - k * p1.y, p2.z - k * p1.z}, maths);
  const auto along = [&](double angle) {
    const double s = maths.sin(angle);
    const double c = maths.cos(angle);
    return Normalised({u.x * s + c * p1.x, u.y * s + c * p1.y, u.z * s + c * p1.z}, maths);
  };
  p.spanStart = along(from);
  p.spanEnd = along(to);
  const Vector& a = p.spanStart;
  const Vector& b = p.spanEnd;
  p.spanAngle = maths.acos(b.y * a.y + b.x * a.x + b.z * a.z) + 0.0001;
  p.spanNormal =
      Normalised({a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}, maths);
  p.layerHalfHeight = (lh - 1) * 0.5;
  p.layerPixelsPerRadian =
      controls.placement == kTile ? (lw - 1) * 0.5 / halfLength : (lw - 1) / p.spanAngle;
  p.normScaleX = 2.0 / w;
  p.normScaleY = 2.0 / h;
  p.radiansPerPixel = kTwoPiValue / w;
  return p;
}

}  // namespace veltra::reference
