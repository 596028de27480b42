// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Plain per-pixel placement.

#include "render/pixel/place_pixel.h"

#include <cmath>

#include "render/pixel/compose_sample.h"
#include "render/pixel/frame_tables.h"

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
    // In the first tile of either side the quotient truncates to 0, and a division is dear.
    u = u - numerics::TruncateToInt32(u / period) * period;
  }
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
/// outside its ends with another. On the near side it ends where the layer does. The direction p
/// comes in pieces, which stay in registers; without bounds nothing is rejected beforehand.
template <class Depth>
VELTRA_NOINLINE PF_Err PlaceOnStrip(const PlacementRecord& record, const SpanBounds* bounds,
                                    typename Depth::Pixel* out, double px, double py, double pz) {
  using numerics::kernels::ArcCosine;
  const Vector3Of<double> p{px, py, pz};
  const double d = TowardsNormal(record, p);
  const TwoDoubles toEnds = DotWithEnds(record, NearlyUnit(OntoPlane(record, p, d)));
  if (bounds != nullptr && IsSurelyPastEnds(*bounds, First(toEnds), Second(toEnds))) {
    return PF_Err_NONE;
  }
  const double across = FromGreatCircle(ArcCosine(d));
  float coverage = 1.0F;
  if (across > record.halfBandAngle - record.radiansPerPixel) {
    if (across > record.halfBandAngle) {
      return PF_Err_NONE;
    }
    coverage = static_cast<float>(1.0 - (across - record.halfBandAngle + record.radiansPerPixel) /
                                            record.radiansPerPixel);
  }
  const TwoDoubles fromEnds = ArcCosine(toEnds);
  const double fromStart = First(fromEnds);
  const double sum = fromStart + Second(fromEnds);
  if (sum > record.spanAngle) {
    if (sum > record.spanAngle + record.radiansPerPixel) {
      return PF_Err_NONE;
    }
    coverage =
        coverage * static_cast<float>(1.0 - (sum - record.spanAngle) / record.radiansPerPixel);
  }
  return SampleAndCompose<Depth>(record, LayerColumn(record, fromStart), LayerRow(record, across),
                                 coverage, out);
}

/// A pixel without tables works out its own direction.
template <class Depth>
VELTRA_NOINLINE PF_Err PlaceByItself(const PlacementRecord& record, A_long x, A_long y,
                                     typename Depth::Pixel* out) {
  const auto p = DirectionOf(ColumnEntry(record, x - record.originOffsetX),
                             RowEntry(record, y - record.originOffsetY));
  return PlaceOnStrip<Depth>(record, nullptr, out, p.x, p.y, p.z);
}

/// Most pixels end here. What follows is out of line, so that this entry saves no registers for it.
template <class Depth>
VELTRA_FORCE_INLINE PF_Err PlacePixel(void* refcon, A_long x, A_long y,
                                      typename Depth::Pixel* out) {
  const PlacementRecord& record = *static_cast<const PlacementRecord*>(refcon);
  const FrameTables* tables = TabledRecord::TablesOf(record);
  if (tables == nullptr || !tables->Cover(record, x, y)) {
    return PlaceByItself<Depth>(record, x, y, out);
  }
  const Vector3Of<double> p = tables->Direction(x, y);
  const SpanBounds& bounds = tables->Bounds();
  if (IsSurelyOffBand(bounds.acrossInside, TowardsNormal(record, p))) {
    return PF_Err_NONE;
  }
  return PlaceOnStrip<Depth>(record, &bounds, out, p.x, p.y, p.z);
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
