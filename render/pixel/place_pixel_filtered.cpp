// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filtered per-pixel placement.

#include "render/pixel/place_pixel_filtered.h"

#include <cmath>

#include "render/pixel/compose_sample.h"
#include "render/pixel/map_to_layer.h"

namespace veltra {
namespace {

constexpr float kMaxFootprint = 120.0F;
constexpr float kHalfPixel = 0.5F;
constexpr float kFixedOneF = 65536.0F;
constexpr PF_Fixed kHalfFixed = 32768;

/// Distance of two positions on one axis, capped; NaN stays NaN.
float Footprint(float neighbour, float here) {
  const float distance = std::fabs(neighbour - here);
  return distance > kMaxFootprint ? kMaxFootprint : distance;
}

/// Half a layer pixel plus half the footprint, 16.16.
PF_Fixed BoxRadius(float footprint) {
  return numerics::WrappingSubtract(kHalfFixed, numerics::TruncateToInt32(footprint * -32768.0F));
}

/// The product keeps its low 32 bits only: hosts have always been handed the wrapped value.
PF_Fixed BoxArea(PF_Fixed radiusX, PF_Fixed radiusY) {
  return (numerics::WrappingMultiply(radiusX, radiusY) >> 16) * 4;
}

/// As the plain family's wrap, in single precision.
float WrapTile(const PlacementRecord& record, float u) {
  const auto period = static_cast<float>(record.tilePeriod);
  if (!(period > 0.0F)) {
    return 0.0F;
  }
  u = static_cast<float>(record.tileOffset) + u;
  u = u - static_cast<float>(numerics::TruncateToInt32(u / period)) * period;
  return u < 0.0F ? period + u : u;
}

template <class Depth>
PF_Err SampleAndCompose(const PlacementRecord& record, const LayerPosition& position, float du,
                        float dv, typename Depth::Pixel* out) {
  PF_SampPB params = record.samplingParams;
  float u = position.u;
  if (record.tileMode != 0) {
    u = WrapTile(record, u);
    if (u - du - kHalfPixel < 0.0F ||
        static_cast<double>(u + du + kHalfPixel) > record.tilePeriod) {
      return ComposeSeamSample<Depth>(record, params, u, position.v, du + kHalfPixel,
                                      dv + kHalfPixel, position.coverage, out);
    }
  }
  params.x_radius = BoxRadius(du);
  params.y_radius = BoxRadius(dv);
  params.area = BoxArea(params.x_radius, params.y_radius);
  return ComposeHostSample<Depth>(
      record, record.areaSample, params, numerics::TruncateToInt32(u * kFixedOneF),
      numerics::TruncateToInt32(position.v * kFixedOneF), position.coverage, out);
}

template <class Depth>
PF_Err PlacePixelFiltered(void* refcon, A_long x, A_long y, typename Depth::Pixel* out) {
  const PlacementRecord& record = *static_cast<const PlacementRecord*>(refcon);
  const double px = x - record.originOffsetX;
  const double py = y - record.originOffsetY;
  LayerPosition here{};
  if (!MapToLayer(px, py, record, &here) || here.coverage < 0.0F || here.coverage > 1.0F) {
    return PF_Err_NONE;
  }
  LayerPosition neighbour{};
  MapToLayer(px + (x > 0 ? -1.0 : 1.0), py + (y > 0 ? -1.0 : 1.0), record, &neighbour);
  return SampleAndCompose<Depth>(record, here, Footprint(neighbour.u, here.u),
                                 Footprint(neighbour.v, here.v), out);
}

}  // namespace

PF_Err PlacePixelFiltered8(void* refcon, A_long x, A_long y, PF_Pixel8* /*in*/, PF_Pixel8* out) {
  return PlacePixelFiltered<Placed8>(refcon, x, y, out);
}

PF_Err PlacePixelFiltered16(void* refcon, A_long x, A_long y, PF_Pixel16* /*in*/, PF_Pixel16* out) {
  return PlacePixelFiltered<Placed16>(refcon, x, y, out);
}

PF_Err PlacePixelFilteredFloat(void* refcon, A_long x, A_long y, PF_PixelFloat* /*in*/,
                               PF_PixelFloat* out) {
  return PlacePixelFiltered<PlacedFloat>(refcon, x, y, out);
}

}  // namespace veltra
