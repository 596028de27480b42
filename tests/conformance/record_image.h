// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The frame's record as it lies in memory: what the effect hands to the host as the iteration's
// refcon, so that a test can read it there, or put its own in its place.
#pragma once

#include "host_api/in_data.h"
#include "tests/reference/geometry.h"

namespace veltra::conformance {

struct RecordImage {
  double normScaleX;
  double normScaleY;
  double originOffsetX;
  double originOffsetY;
  double halfBandAngle;
  float opacity;
  reference::Vector spanStart;
  reference::Vector spanEnd;
  double spanAngle;
  reference::Vector spanNormal;
  double layerPixelsPerRadian;
  double layerHalfHeight;
  double radiansPerPixel;
  std::uint8_t tileMode;
  double tilePeriod;
  double tileOffset;
  PF_SampPB samplingParams;
  PF_InData* inData;
  PF_ProgPtr effectRef;
  void (*subpixelSample)();
  void (*areaSample)();
};
static_assert(sizeof(void (*)()) == 8);

}  // namespace veltra::conformance
