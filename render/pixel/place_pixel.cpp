// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Plain per-pixel placement.

#include "render/pixel/place_pixel.h"

#include "render/pixel/compose_sample.h"
#include "render/pixel/map_to_layer.h"

namespace veltra {
namespace {

constexpr double kSeamMargin = 1.0;
constexpr float kSeamRadius = 1.0F;

/// Brings a column into [0, tilePeriod). A layer of one column has no period: every column is
/// column 0 there.
double WrapTile(const PlacementRecord& record, double u) {
  const double period = record.tilePeriod;
  if (!(period > 0.0)) {
    return 0.0;
  }
  u = u + record.tileOffset;
  u = u - numerics::TruncateToInt32(u / period) * period;
  return u < 0.0 ? u + period : u;
}

template <class Depth>
PF_Err SampleAndCompose(const PlacementRecord& record, double u, double v, float coverage,
                        typename Depth::Pixel* out) {
  if (record.tileMode != 0) {
    u = WrapTile(record, u);
    if (u < kSeamMargin || u + kSeamMargin > record.tilePeriod) {
      return ComposeSeamSample<Depth>(record, record.samplingParams, static_cast<float>(u),
                                      static_cast<float>(v), kSeamRadius, kSeamRadius, coverage,
                                      out);
    }
  }
  return ComposeHostSample<Depth>(record, record.subpixelSample, record.samplingParams,
                                  numerics::TruncateToInt32(u * kFixedOne),
                                  numerics::TruncateToInt32(v * kFixedOne), coverage, out);
}

/// The strip ends inside its band with a ramp of one pixel on the far side of spanNormal, and
/// outside its ends with another. On the near side it ends where the layer does.
template <class Depth>
PF_Err PlacePixel(void* refcon, A_long x, A_long y, typename Depth::Pixel* out) {
  const PlacementRecord& record = *static_cast<const PlacementRecord*>(refcon);
  const AcrossSpan point =
      ProjectOntoSpan(record, x - record.originOffsetX, y - record.originOffsetY);
  float coverage = 1.0F;
  if (point.across > record.halfBandAngle - record.radiansPerPixel) {
    if (point.across > record.halfBandAngle) {
      return PF_Err_NONE;
    }
    coverage =
        static_cast<float>(1.0 - (point.across - record.halfBandAngle + record.radiansPerPixel) /
                                     record.radiansPerPixel);
  }
  const AlongSpan along = MeasureAlongSpan(record, point.inPlane);
  const double sum = along.fromStart + along.fromEnd;
  if (sum > record.spanAngle) {
    if (sum > record.spanAngle + record.radiansPerPixel) {
      return PF_Err_NONE;
    }
    coverage =
        coverage * static_cast<float>(1.0 - (sum - record.spanAngle) / record.radiansPerPixel);
  }
  return SampleAndCompose<Depth>(record, LayerColumn(record, along), LayerRow(record, point.across),
                                 coverage, out);
}

}  // namespace

PF_Err PlacePixel8(void* refcon, A_long x, A_long y, PF_Pixel8* /*in*/, PF_Pixel8* out) {
  return PlacePixel<Placed8>(refcon, x, y, out);
}

PF_Err PlacePixel16(void* refcon, A_long x, A_long y, PF_Pixel16* /*in*/, PF_Pixel16* out) {
  return PlacePixel<Placed16>(refcon, x, y, out);
}

PF_Err PlacePixelFloat(void* refcon, A_long x, A_long y, PF_PixelFloat* /*in*/,
                       PF_PixelFloat* out) {
  return PlacePixel<PlacedFloat>(refcon, x, y, out);
}

}  // namespace veltra
