// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Plain per-pixel placement.

#include "render/pixel/place_pixel.h"

#include <cmath>

#include "render/pixel/compose_sample.h"
#include "render/pixel/map_to_layer.h"
#include "render/pixel/span_rejection.h"

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

/// The angle across the span and those from its ends, radians; on the span the latter add up to
/// spanAngle, off its ends to more.
struct SpanAngles {
  double across;
  double fromStart;
  double fromEnd;
};

/// Latitude and longitude share the lanes of one sine and cosine, the angles from the ends those of
/// one arc cosine.
VELTRA_FORCE_INLINE SpanAngles MeasureSpan(const PlacementRecord& record, A_long x, A_long y) {
  const numerics::TwoSinCos both = numerics::SinCos(_mm_set_pd(
      Longitude(record, x - record.originOffsetX), Latitude(record, y - record.originOffsetY)));
  const auto first = [](__m128d lanes) { return _mm_cvtsd_f64(lanes); };
  const auto second = [](__m128d lanes) { return _mm_cvtsd_f64(_mm_unpackhi_pd(lanes, lanes)); };
  const auto point = ProjectOntoSpan(record, DirectionOf(second(both.sine), second(both.cosine),
                                                         first(both.sine), first(both.cosine)));
  const __m128d along =
      numerics::Acos(_mm_set_pd(Dot(point.inPlane, Splat(record.spanEnd, point.across)),
                                Dot(point.inPlane, Splat(record.spanStart, point.across))));
  return {point.across, first(along), second(along)};
}

/// The strip ends inside its band with a ramp of one pixel on the far side of spanNormal, and
/// outside its ends with another. On the near side it ends where the layer does.
template <class Depth>
VELTRA_NOINLINE PF_Err PlaceOnStrip(const PlacementRecord& record, A_long x, A_long y,
                                    typename Depth::Pixel* out) {
  const SpanAngles angles = MeasureSpan(record, x, y);
  float coverage = 1.0F;
  if (angles.across > record.halfBandAngle - record.radiansPerPixel) {
    if (angles.across > record.halfBandAngle) {
      return PF_Err_NONE;
    }
    coverage =
        static_cast<float>(1.0 - (angles.across - record.halfBandAngle + record.radiansPerPixel) /
                                     record.radiansPerPixel);
  }
  const double sum = angles.fromStart + angles.fromEnd;
  if (sum > record.spanAngle) {
    if (sum > record.spanAngle + record.radiansPerPixel) {
      return PF_Err_NONE;
    }
    coverage =
        coverage * static_cast<float>(1.0 - (sum - record.spanAngle) / record.radiansPerPixel);
  }
  return SampleAndCompose<Depth>(record, LayerColumn(record, angles.fromStart),
                                 LayerRow(record, angles.across), coverage, out);
}

/// Most pixels end here. What follows is out of line, so that this entry saves no registers for it.
template <class Depth>
VELTRA_FORCE_INLINE PF_Err PlacePixel(void* refcon, A_long x, A_long y,
                                      typename Depth::Pixel* out) {
  const PlacementRecord& record = *static_cast<const PlacementRecord*>(refcon);
  if (IsSurelyOffStrip<AcrossRamp::kInside>(record, x, y)) {
    return PF_Err_NONE;
  }
  return PlaceOnStrip<Depth>(record, x, y, out);
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
