// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Mapping of the filtered family.

#include "render/pixel/map_to_layer.h"

namespace veltra {
namespace {

struct Coverage {
  float coverage;
  bool inside;
};

/// Both ramps lie outside the strip.
Coverage CoverageAt(const PlacementRecord& record, double across, double sum) {
  Coverage result{1.0F, true};
  if (across > record.halfBandAngle) {
    result.coverage =
        static_cast<float>(1.0 - (across - record.halfBandAngle) / record.radiansPerPixel);
    if (across > record.halfBandAngle + record.radiansPerPixel) {
      result.inside = false;
    }
  }
  if (sum > record.spanAngle) {
    result.coverage = result.coverage *
                      static_cast<float>(1.0 - (sum - record.spanAngle) / record.radiansPerPixel);
    if (sum > record.spanAngle + record.radiansPerPixel) {
      result.inside = false;
    }
  }
  return result;
}

double First(TwoDoubles lanes) {
  return _mm_cvtsd_f64(lanes.lanes);
}
double Second(TwoDoubles lanes) {
  return _mm_cvtsd_f64(_mm_unpackhi_pd(lanes.lanes, lanes.lanes));
}

}  // namespace

FilteredMapping MapToLayer(const PlacementRecord& record, FramePosition here,
                           FramePosition neighbour) {
  const numerics::TwoSinCos lat =
      numerics::SinCos(_mm_set_pd(Latitude(record, neighbour.y), Latitude(record, here.y)));
  const numerics::TwoSinCos lon =
      numerics::SinCos(_mm_set_pd(Longitude(record, neighbour.x), Longitude(record, here.x)));
  const auto point =
      ProjectOntoSpan(record, DirectionOf(TwoDoubles{lon.sine}, TwoDoubles{lon.cosine},
                                          TwoDoubles{lat.sine}, TwoDoubles{lat.cosine}));
  const TwoDoubles type = point.across;
  using numerics::kernels::ArcCosine;
  const TwoDoubles fromStart = ArcCosine(Dot(point.inPlane, Splat(record.spanStart, type)));
  const TwoDoubles fromEnd = ArcCosine(Dot(point.inPlane, Splat(record.spanEnd, type)));
  const TwoDoubles u = LayerColumn(record, fromStart);
  const TwoDoubles v = LayerRow(record, point.across);
  const Coverage coverage =
      CoverageAt(record, First(point.across), First(fromStart) + First(fromEnd));
  return {{static_cast<float>(First(u)), static_cast<float>(First(v))},
          {static_cast<float>(Second(u)), static_cast<float>(Second(v))},
          coverage.coverage,
          coverage.inside};
}

}  // namespace veltra
