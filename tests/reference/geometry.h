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

/// The placement's numbers from anything whose fields have the same names into anything else.
template <class From, class To>
void CopyNumbers(const From& from, To& to) {
  const auto copy = [](const auto& vector, auto& target) {
    target.x = vector.x;
    target.y = vector.y;
    target.z = vector.z;
  };
  to.normScaleX = from.normScaleX;
  to.normScaleY = from.normScaleY;
  to.originOffsetX = from.originOffsetX;
  to.originOffsetY = from.originOffsetY;
  to.halfBandAngle = from.halfBandAngle;
  to.opacity = from.opacity;
  copy(from.spanStart, to.spanStart);
  copy(from.spanEnd, to.spanEnd);
  to.spanAngle = from.spanAngle;
  copy(from.spanNormal, to.spanNormal);
  to.layerPixelsPerRadian = from.layerPixelsPerRadian;
  to.layerHalfHeight = from.layerHalfHeight;
  to.radiansPerPixel = from.radiansPerPixel;
  to.tileMode = from.tileMode != 0;
  to.tilePeriod = from.tilePeriod;
  to.tileOffset = from.tileOffset;
}

/// A Placement from any record whose fields have the same names.
template <class Record>
Placement PlacementFrom(const Record& record) {
  Placement placement;
  CopyNumbers(record, placement);
  return placement;
}

/// The other way round: a record with the placement's numbers, everything else zero.
template <class Record>
Record RecordFrom(const Placement& placement) {
  Record record{};
  CopyNumbers(placement, record);
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
