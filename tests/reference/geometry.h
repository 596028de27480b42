// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The yardstick's path geometry: from two frame points and the controls to the span on the sphere.
#pragma once

#include <cmath>
#include <optional>

#include "host_api/in_data.h"

namespace veltra::reference {

/// The transcendental functions a computation uses. The geometry of a frame is the host's
/// business, so a comparison gives both sides the host's table; the per-pixel mathematics is free.
struct Maths {
  double (*sin)(double);
  double (*cos)(double);
  double (*sqrt)(double);
  double (*acos)(double);
};

/// The C++ library's functions.
Maths StandardMaths();

/// The nine controls but the layer, as the host stores them: 16.16 but for the popup and the flags.
struct Controls {
  PF_Fixed startX = 0;
  PF_Fixed startY = 0;
  PF_Fixed endX = 0;
  PF_Fixed endY = 0;
  A_long placement = 1;  ///< 1 Stretch, 2 Tile, 3 Solo; anything else spans as Solo, unlimited
  PF_Fixed travel = 0;   ///< percent
  PF_Fixed size = 0;     ///< degrees
  bool filtering = false;
  PF_Fixed opacity = 0;  ///< percent
  bool composite = false;
};

struct Vector {
  double x = 0;
  double y = 0;
  double z = 0;
};

/// What the per-pixel mathematics needs of a frame.
struct Placement {
  double normScaleX = 0;
  double normScaleY = 0;
  double originOffsetX = 0;
  double originOffsetY = 0;
  double halfBandAngle = 0;
  float opacity = 0;
  Vector spanStart;
  Vector spanEnd;
  double spanAngle = 0;
  Vector spanNormal;
  double layerPixelsPerRadian = 0;
  double layerHalfHeight = 0;
  double radiansPerPixel = 0;
  bool tileMode = false;
  double tilePeriod = 0;
  double tileOffset = 0;
};

/// A Placement from any record whose fields have the same names.
template <class Record>
Placement PlacementFrom(const Record& record) {
  const auto vector = [](const auto& v) { return Vector{v.x, v.y, v.z}; };
  Placement placement;
  placement.normScaleX = record.normScaleX;
  placement.normScaleY = record.normScaleY;
  placement.originOffsetX = record.originOffsetX;
  placement.originOffsetY = record.originOffsetY;
  placement.halfBandAngle = record.halfBandAngle;
  placement.opacity = record.opacity;
  placement.spanStart = vector(record.spanStart);
  placement.spanEnd = vector(record.spanEnd);
  placement.spanAngle = record.spanAngle;
  placement.spanNormal = vector(record.spanNormal);
  placement.layerPixelsPerRadian = record.layerPixelsPerRadian;
  placement.layerHalfHeight = record.layerHalfHeight;
  placement.radiansPerPixel = record.radiansPerPixel;
  placement.tileMode = record.tileMode != 0;
  placement.tilePeriod = record.tilePeriod;
  placement.tileOffset = record.tileOffset;
  return placement;
}

/// The other way round: a record with the placement's numbers, everything else zero.
template <class Record>
Record RecordFrom(const Placement& placement) {
  Record record{};
  const auto set = [](const Vector& from, auto& to) {
    to.x = from.x;
    to.y = from.y;
    to.z = from.z;
  };
  record.normScaleX = placement.normScaleX;
  record.normScaleY = placement.normScaleY;
  record.originOffsetX = placement.originOffsetX;
  record.originOffsetY = placement.originOffsetY;
  record.halfBandAngle = placement.halfBandAngle;
  record.opacity = placement.opacity;
  set(placement.spanStart, record.spanStart);
  set(placement.spanEnd, record.spanEnd);
  record.spanAngle = placement.spanAngle;
  set(placement.spanNormal, record.spanNormal);
  record.layerPixelsPerRadian = placement.layerPixelsPerRadian;
  record.layerHalfHeight = placement.layerHalfHeight;
  record.radiansPerPixel = placement.radiansPerPixel;
  record.tileMode = placement.tileMode ? 1 : 0;
  record.tilePeriod = placement.tilePeriod;
  record.tileOffset = placement.tileOffset;
  return record;
}

/// Resolution and pixel aspect of the effect's frame, as the in-data gives them.
struct Resolution {
  PF_RationalScale downsampleX{1, 1};
  PF_RationalScale downsampleY{1, 1};
  PF_RationalScale pixelAspect{1, 1};
};

/// Frame and layer measures that the geometry depends on.
struct GeometryInput {
  Controls controls;
  Resolution resolution;
  double frameWidth = 0;
  double frameHeight = 0;
  A_long layerWidth = 0;
  A_long layerHeight = 0;
  double layerAspect = 1;  ///< the layer's pixel aspect ratio inverted
};

/// Unit vector of the frame position (x, y) in a frame of the given size.
Vector DirectionOf(double x, double y, double frameWidth, double frameHeight, const Maths& maths);

/// The whole placement but the origin offsets; nothing when the band has no height.
std::optional<Placement> ComputePlacement(const GeometryInput& input, const Maths& maths);

}  // namespace veltra::reference
