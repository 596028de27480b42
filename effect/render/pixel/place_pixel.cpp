// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Plain per-pixel placement.

#include "effect/render/pixel/place_pixel.h"

#include <cmath>

#include "effect/render/pixel/compose_sample.h"
#include "effect/render/pixel/pixel_entry.h"

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
  if (!(std::abs(u) < period)) {
    // In the first tile of either side the quotient truncates to 0, and a division is slow.
    u = u - numerics::TruncateToInt32(u / period) * period;
  }
  return u < 0.0 ? u + period : u;
}

/// Where a pixel falls on the layer, the column wrapped in Tile.
struct LayerPoint {
  double u;
  double v;
  float coverage;
};

bool CrossesSeam(const PlacementRecord& record, double u) {
  return record.tileMode != 0 && (u < kSeamMargin || u + kSeamMargin > record.tilePeriod);
}

template <class Depth>
VELTRA_FORCE_INLINE PF_Err SampleAndCompose(const PlacementRecord& record, const LayerPoint& point,
                                            typename Depth::Pixel* out) {
  if (CrossesSeam(record, point.u)) {
    return ComposeSeamSample<Depth>(record, record.samplingParams, static_cast<float>(point.u),
                                    static_cast<float>(point.v), kSeamRadius, kSeamRadius,
                                    point.coverage, out);
  }
  return ComposeHostSample<Depth>(record, record.subpixelSample, record.samplingParams,
                                  numerics::TruncateToInt32(point.u * kFixedOne),
                                  numerics::TruncateToInt32(point.v * kFixedOne), point.coverage,
                                  out);
}

/// Where the strip shows the layer, given the angles across it, from its start and from its end.
/// It ends inside its band with a ramp of one pixel on the far side of spanNormal, and outside its
/// ends with another. On the near side it ends where the layer does. False off the strip.
VELTRA_FORCE_INLINE bool FindOnStrip(const PlacementRecord& record, double across, double fromStart,
                                     double fromEnd, LayerPoint& point) {
  point.coverage = 1.0F;
  if (across > record.halfBandAngle - record.radiansPerPixel) {
    if (across > record.halfBandAngle) {
      return false;
    }
    point.coverage = static_cast<float>(
        1.0 - (across - record.halfBandAngle + record.radiansPerPixel) / record.radiansPerPixel);
  }
  const double sum = fromStart + fromEnd;
  if (sum > record.spanAngle) {
    if (sum > record.spanAngle + record.radiansPerPixel) {
      return false;
    }
    point.coverage = point.coverage *
                     static_cast<float>(1.0 - (sum - record.spanAngle) / record.radiansPerPixel);
  }
  point.u = LayerColumn(record, fromStart);
  point.v = LayerRow(record, across);
  if (record.tileMode != 0) {
    point.u = WrapTile(record, point.u);
  }
  return true;
}

/// The exact steps for the pixel of a column and a row.
template <class Depth>
VELTRA_FORCE_INLINE PF_Err PlaceAt(const PlacementRecord& record,
                                   const SineAndCosineOf<double>& column,
                                   const SineAndCosineOf<double>& row, const SpanEnds& ends,
                                   typename Depth::Pixel* out) {
  using numerics::kernels::ArcCosine;
  const auto p = DirectionOf(column, row);
  const double d = TowardsNormal(record, p);
  const TwoDoubles fromEnds = ArcCosine(DotWithEnds(ends, NearlyUnit(OntoPlane(record, p, d))));
  const double across = FromGreatCircle(ArcCosine(d));
  LayerPoint point;
  if (!FindOnStrip(record, across, First(fromEnds), Second(fromEnds), point)) {
    return PF_Err_NONE;
  }
  return SampleAndCompose<Depth>(record, point, out);
}

struct Plain {
  template <class Depth>
  static PF_Err ByItself(const PlacementRecord& record, A_long x, A_long y,
                         typename Depth::Pixel* out) {
    return PlaceAt<Depth>(record, ColumnEntry(record, x - record.originOffsetX),
                          RowEntry(record, y - record.originOffsetY), EndsOf(record), out);
  }
  template <class Depth>
  static PF_Err WithTables(const PlacementRecord& record, A_long x, A_long y,
                           const FrameTables& tables, typename Depth::Pixel* out) {
    return PlaceAt<Depth>(record, tables.Column(x), tables.Row(y), tables.Ends(), out);
  }
};

}  // namespace

PF_Err PlacePixel8(void* refcon, A_long x, A_long y, PF_Pixel8* /*in*/, PF_Pixel8* out) {
  return EnterPixel<Plain, Depth8>(refcon, x, y, out);
}

PF_Err PlacePixel16(void* refcon, A_long x, A_long y, PF_Pixel16* /*in*/, PF_Pixel16* out) {
  return EnterPixel<Plain, Depth16>(refcon, x, y, out);
}

PF_Err PlacePixelFloat(void* refcon, A_long x, A_long y, PF_PixelFloat* /*in*/,
                       PF_PixelFloat* out) {
  return EnterPixel<Plain, DepthFloat>(refcon, x, y, out);
}

}  // namespace veltra
