// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Path geometry.

#include "effect/placement/path_geometry.h"

namespace veltra {
namespace {

constexpr double kSoloMaxHeightDegrees = 89.5;
constexpr double kSoloMaxLengthDegrees = 179.0;

// Under every root, so that a zero vector stays one instead of becoming a division by zero.
constexpr double kNormGuard = 0.000001;

// Keeps later divisions by the span finite, radians.
constexpr double kSpanAddend = 0.0001;

Vector3 Normalise(const PF_ANSICallbacks& math, const Vector3& v) {
  const double length = math.sqrt(v.x * v.x + v.y * v.y + v.z * v.z + kNormGuard);
  return {v.x / length, v.y / length, v.z / length};
}

Vector3 Cross(const Vector3& a, const Vector3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// A great circle: the path's start and, a right angle further on, the unit vector along it.
struct Circle {
  Vector3 start;
  Vector3 along;
};

Vector3 PointAt(const PF_ANSICallbacks& math, const Circle& circle, double angle) {
  const double sine = math.sin(angle);
  const double cosine = math.cos(angle);
  return Normalise(math, {circle.along.x * sine + cosine * circle.start.x,
                          circle.along.y * sine + cosine * circle.start.y,
                          circle.along.z * sine + cosine * circle.start.z});
}

struct SpanAngles {
  double start;
  double end;
};

/// Where the span lies on the circle, measured from the start point.
SpanAngles AnglesOf(const GeometryInputs& in, double pathLength, double halfLength) {
  const double shift = pathLength * in.travel;
  switch (in.mode) {
    case kStretch:
      return {shift, pathLength + shift};
    case kTile:
      return {0.0, pathLength};
    default:
      return {shift - halfLength, shift + halfLength};
  }
}

}  // namespace

double HalfBandAngle(double sizeDegrees) {
  return sizeDegrees * 0.5 * kRadiansPerDegree;
}

double SoloHalfBandAngle(double sizeDegrees, double layerWidth, double layerHeight,
                         const ScaleFactors& scale) {
  double size = 0.0;
  if (!(sizeDegrees < 0.0)) {
    size = sizeDegrees < kSoloMaxHeightDegrees ? sizeDegrees : kSoloMaxHeightDegrees;
  }
  const double width = layerWidth * scale.scaleX;
  const double height = layerHeight * scale.scaleY;
  if (width * size / height > kSoloMaxLengthDegrees) {
    size = height * kSoloMaxLengthDegrees / width;
  }
  return HalfBandAngle(size);
}

Vector3 DirectionFromPixel(const PF_ANSICallbacks& math, double x, double y, double normScaleX,
                           double normScaleY) {
  const double longitude = (x * normScaleX - 1.0) * kPi;
  const double latitude = (y * normScaleY - 1.0) * kHalfPi;
  const double sinLatitude = math.sin(latitude);
  const double cosLatitude = math.cos(latitude);
  return {math.sin(longitude) * cosLatitude, sinLatitude, -math.cos(longitude) * cosLatitude};
}

void ComputePlacementGeometry(const GeometryInputs& in, const PF_ANSICallbacks& math,
                              PlacementRecord* record) {
  const double normScaleX = 2.0 / in.frameWidth;
  const double normScaleY = 2.0 / in.frameHeight;
  const Vector3 p1 =
      DirectionFromPixel(math, in.startPoint.x, in.startPoint.y, normScaleX, normScaleY);
  const Vector3 p2 = DirectionFromPixel(math, in.endPoint.x, in.endPoint.y, normScaleX, normScaleY);

  const double cosPath = p2.x * p1.x + p2.y * p1.y + p2.z * p1.z;
  const double pathLength = math.acos(cosPath);
  const double halfLength = (in.layerWidth / in.downsampleX) * in.halfBandAngle /
                            (in.layerHeight * in.layerAspect / in.downsampleY);
  const SpanAngles angles = AnglesOf(in, pathLength, halfLength);
  const Circle circle{
      p1, Normalise(math, {p2.x - cosPath * p1.x, p2.y - cosPath * p1.y, p2.z - cosPath * p1.z})};

  const Vector3 start = PointAt(math, circle, angles.start);
  const Vector3 end = PointAt(math, circle, angles.end);
  const double columns = in.layerWidth - 1.0;
  const bool tile = in.mode == kTile;

  record->normScaleX = normScaleX;
  record->normScaleY = normScaleY;
  record->radiansPerPixel = kTwoPi / in.frameWidth;
  record->halfBandAngle = in.halfBandAngle;
  record->spanStart = start;
  record->spanEnd = end;
  record->spanAngle = math.acos(end.y * start.y + end.x * start.x + end.z * start.z) + kSpanAddend;
  record->spanNormal = Normalise(math, Cross(start, end));
  record->layerHalfHeight = (in.layerHeight - 1.0) * 0.5;
  record->layerPixelsPerRadian = tile ? columns * 0.5 / halfLength : columns / record->spanAngle;
  record->tileMode = tile ? 1 : 0;
  record->tilePeriod = columns;
  record->tileOffset = tile ? -in.travel * columns : 0.0;
}

}  // namespace veltra
