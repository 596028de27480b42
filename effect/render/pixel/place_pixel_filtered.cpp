// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filtered per-pixel placement.

#include "effect/render/pixel/place_pixel_filtered.h"

#include <cmath>

#include "effect/render/pixel/compose_sample.h"
#include "effect/render/pixel/frame_tables.h"
#include "effect/render/pixel/map_to_layer.h"

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
  if (!(std::fabs(u) < period)) {
    u = u - static_cast<float>(numerics::TruncateToInt32(u / period)) * period;
  }
  return u < 0.0F ? period + u : u;
}

template <class Depth>
PF_Err SampleAndCompose(const PlacementRecord& record, const PairMapping& pair,
                        typename Depth::Pixel* out) {
  const LayerMapping& mapping = pair.here;
  const float du = Footprint(pair.neighbour.u, mapping.position.u);
  const float dv = Footprint(pair.neighbour.v, mapping.position.v);
  PF_SampPB params = record.samplingParams;
  float u = mapping.position.u;
  const float v = mapping.position.v;
  if (record.tileMode != 0) {
    u = WrapTile(record, u);
    if (u - du - kHalfPixel < 0.0F ||
        static_cast<double>(u + du + kHalfPixel) > record.tilePeriod) {
      return ComposeSeamSample<Depth>(record, params, u, v, du + kHalfPixel, dv + kHalfPixel,
                                      mapping.coverage, out);
    }
  }
  params.x_radius = BoxRadius(du);
  params.y_radius = BoxRadius(dv);
  params.area = BoxArea(params.x_radius, params.y_radius);
  return ComposeHostSample<Depth>(record, record.areaSample, params,
                                  numerics::TruncateToInt32(u * kFixedOneF),
                                  numerics::TruncateToInt32(v * kFixedOneF), mapping.coverage, out);
}

/// The diagonal neighbour towards the frame's first column and row, away from them there.
A_long NeighbourOf(A_long position) {
  return position > 0 ? position - 1 : position + 1;
}

/// Where a pixel and its neighbour fall, one after the other.
VELTRA_NOINLINE PairMapping MapByThemselves(const PlacementRecord& record, A_long x, A_long y) {
  const double px = x - record.originOffsetX;
  const double py = y - record.originOffsetY;
  PairMapping pair{};
  LayerMapping& here = pair.here;
  here.inside = MapToLayer(px, py, record, &here.position.u, &here.position.v, &here.coverage);
  float ignored = 0.0F;
  MapToLayer(px + (x > 0 ? -1.0 : 1.0), py + (y > 0 ? -1.0 : 1.0), record, &pair.neighbour.u,
             &pair.neighbour.v, &ignored);
  return pair;
}

VELTRA_FORCE_INLINE PairMapping MapByTables(const PlacementRecord& record,
                                            const FrameTables& tables, A_long x, A_long y) {
  const A_long nextX = NeighbourOf(x);
  const A_long nextY = NeighbourOf(y);
  if (!tables.Hold(nextX, nextY)) {
    return MapByThemselves(record, x, y);
  }
  return MapPairToLayer(SideBySide(tables.Column(x), tables.Column(nextX)),
                        SideBySide(tables.Row(y), tables.Row(nextY)), tables.Bounds(), record);
}

/// `tables` is null where they do not cover the pixel.
template <class Depth>
VELTRA_NOINLINE PF_Err PlaceOnStrip(const PlacementRecord& record, const FrameTables* tables,
                                    A_long x, A_long y, typename Depth::Pixel* out) {
  const PairMapping pair =
      tables != nullptr ? MapByTables(record, *tables, x, y) : MapByThemselves(record, x, y);
  const LayerMapping& here = pair.here;
  if (!here.inside || here.coverage < 0.0F || here.coverage > 1.0F) {
    return PF_Err_NONE;
  }
  return SampleAndCompose<Depth>(record, pair, out);
}

/// Most pixels end here, without their neighbour having been mapped. What follows is out of line,
/// so that this entry saves no registers for it.
template <class Depth>
VELTRA_FORCE_INLINE PF_Err PlacePixelFiltered(void* refcon, A_long x, A_long y,
                                              typename Depth::Pixel* out) {
  const PlacementRecord& record = *static_cast<const PlacementRecord*>(refcon);
  const FrameTables* tables = TabledRecord::TablesOf(record);
  if (tables == nullptr || !tables->Cover(record, x, y)) {
    return PlaceOnStrip<Depth>(record, nullptr, x, y, out);
  }
  const double d = TowardsNormal(record, tables->Direction(x, y));
  if (IsSurelyOffBand(tables->Bounds().acrossOutside, d)) {
    return PF_Err_NONE;
  }
  return PlaceOnStrip<Depth>(record, tables, x, y, out);
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
