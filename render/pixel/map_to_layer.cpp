// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Mapping of the filtered family.

#include "render/pixel/map_to_layer.h"

namespace veltra {

bool MapToLayer(double px, double py, const PlacementRecord& record, LayerPosition* position) {
  const AcrossSpan point = ProjectOntoSpan(record, px, py);
  bool inside = true;
  float coverage = 1.0F;
  if (point.across > record.halfBandAngle) {
    coverage =
        static_cast<float>(1.0 - (point.across - record.halfBandAngle) / record.radiansPerPixel);
    if (point.across > record.halfBandAngle + record.radiansPerPixel) {
      inside = false;
    }
  }
  const AlongSpan along = MeasureAlongSpan(record, point.inPlane);
  const double sum = along.fromStart + along.fromEnd;
  if (sum > record.spanAngle) {
    coverage =
        coverage * static_cast<float>(1.0 - (sum - record.spanAngle) / record.radiansPerPixel);
    if (sum > record.spanAngle + record.radiansPerPixel) {
      inside = false;
    }
  }
  position->u = static_cast<float>(LayerColumn(record, along));
  position->v = static_cast<float>(LayerRow(record, point.across));
  position->coverage = coverage;
  return inside;
}

}  // namespace veltra
