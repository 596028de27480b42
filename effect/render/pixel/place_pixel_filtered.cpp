// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filtered per-pixel placement.

#include "effect/render/pixel/place_pixel.h"

#include <cmath>

#include "effect/render/pixel/compose_sample.h"
#include "effect/render/pixel/pixel_entry.h"

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

/// A place in the layer, in its pixels.
struct LayerPosition {
  float u;
  float v;
};

/// Where a pixel and its neighbour fall on the layer.
struct LayerMapping {
  LayerPosition here;
  LayerPosition neighbour;
  float coverage;  ///< of the strip's soft edges
  bool inside;     ///< whether the pixel lies on the strip or its edges
};

/// Both ramps lie outside the strip. Angles across it and from both ends together.
void FindEdges(const PlacementRecord& record, double across, double sum, LayerMapping& mapping) {
  if (across > record.halfBandAngle) {
    mapping.coverage =
        static_cast<float>(1.0 - (across - record.halfBandAngle) / record.radiansPerPixel);
    if (across > record.halfBandAngle + record.radiansPerPixel) {
      mapping.inside = false;
    }
  }
  if (sum > record.spanAngle) {
    mapping.coverage = mapping.coverage *
                       static_cast<float>(1.0 - (sum - record.spanAngle) / record.radiansPerPixel);
    if (sum > record.spanAngle + record.radiansPerPixel) {
      mapping.inside = false;
    }
  }
}

/// Maps a pixel (first lanes) and its neighbour (second lanes) side by side. Depends on no pixel
/// type.
LayerMapping MapToLayer(const SineAndCosineOf<TwoDoubles>& columns,
                        const SineAndCosineOf<TwoDoubles>& rows, const PlacementRecord& record) {
  using numerics::kernels::ArcCosine;
  const auto p = DirectionOf(columns, rows);
  const TwoDoubles d = TowardsNormal(record, p);
  const auto inPlane = NearlyUnit(OntoPlane(record, p, d));
  const TwoDoubles fromStart = ArcCosine(Dot(inPlane, Splat(record.spanStart, d)));
  // Of the neighbour only the position counts, which needs no angle from the end.
  const double fromEnd = ArcCosine(First(Dot(inPlane, Splat(record.spanEnd, d))));
  const TwoDoubles across = FromGreatCircle(ArcCosine(d));
  const TwoDoubles u = LayerColumn(record, fromStart);
  const TwoDoubles v = LayerRow(record, across);
  LayerMapping mapping{{static_cast<float>(First(u)), static_cast<float>(First(v))},
                       {static_cast<float>(Second(u)), static_cast<float>(Second(v))},
                       1.0F,
                       true};
  FindEdges(record, First(across), First(fromStart) + fromEnd, mapping);
  return mapping;
}

template <class Depth>
PF_Err SampleAndCompose(const PlacementRecord& record, const LayerMapping& mapping,
                        typename Depth::Pixel* out) {
  const float du = Footprint(mapping.neighbour.u, mapping.here.u);
  const float dv = Footprint(mapping.neighbour.v, mapping.here.v);
  PF_SampPB params = record.samplingParams;
  float u = mapping.here.u;
  const float v = mapping.here.v;
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

/// The exact steps for the pixel of a column and a row, beside its neighbour's.
template <class Depth>
VELTRA_FORCE_INLINE PF_Err PlaceAt(const PlacementRecord& record,
                                   const SineAndCosineOf<double>& column,
                                   const SineAndCosineOf<double>& nextColumn,
                                   const SineAndCosineOf<double>& row,
                                   const SineAndCosineOf<double>& nextRow,
                                   typename Depth::Pixel* out) {
  const LayerMapping mapping =
      MapToLayer(SideBySide(column, nextColumn), SideBySide(row, nextRow), record);
  if (!mapping.inside || mapping.coverage < 0.0F || mapping.coverage > 1.0F) {
    return PF_Err_NONE;
  }
  return SampleAndCompose<Depth>(record, mapping, out);
}

struct Filtered {
  template <class Depth>
  static PF_Err ByItself(const PlacementRecord& record, A_long x, A_long y,
                         typename Depth::Pixel* out) {
    const double px = x - record.originOffsetX;
    const double py = y - record.originOffsetY;
    return PlaceAt<Depth>(record, ColumnEntry(record, px),
                          ColumnEntry(record, px + (x > 0 ? -1.0 : 1.0)), RowEntry(record, py),
                          RowEntry(record, py + (y > 0 ? -1.0 : 1.0)), out);
  }
  template <class Depth>
  static PF_Err WithTables(const PlacementRecord& record, A_long x, A_long y,
                           const FrameTables& tables, typename Depth::Pixel* out) {
    return PlaceAt<Depth>(record, tables.Column(x), tables.Column(NeighbourOf(x)), tables.Row(y),
                          tables.Row(NeighbourOf(y)), out);
  }
};

}  // namespace

PF_Err PlacePixelFiltered8(void* refcon, A_long x, A_long y, PF_Pixel8* /*in*/, PF_Pixel8* out) {
  return EnterPixel<Filtered, Depth8>(refcon, x, y, out);
}

PF_Err PlacePixelFiltered16(void* refcon, A_long x, A_long y, PF_Pixel16* /*in*/, PF_Pixel16* out) {
  return EnterPixel<Filtered, Depth16>(refcon, x, y, out);
}

PF_Err PlacePixelFilteredFloat(void* refcon, A_long x, A_long y, PF_PixelFloat* /*in*/,
                               PF_PixelFloat* out) {
  return EnterPixel<Filtered, DepthFloat>(refcon, x, y, out);
}

}  // namespace veltra
