// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Mapping of the filtered family.

#include "effect/render/pixel/map_to_layer.h"

#include "effect/render/pixel/frame_tables.h"

namespace veltra {

using numerics::kernels::ArcCosine;

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

}  // namespace

bool MapToLayer(double px, double py, const PlacementRecord& record, float* u, float* v,
                float* coverage) {
  const auto p = DirectionOf(ColumnEntry(record, px), RowEntry(record, py));
  const double d = TowardsNormal(record, p);
  const double across = FromGreatCircle(ArcCosine(d));
  const TwoDoubles fromEnds = ArcCosine(DotWithEnds(record, NearlyUnit(OntoPlane(record, p, d))));
  const Coverage edges = CoverageAt(record, across, First(fromEnds) + Second(fromEnds));
  *u = static_cast<float>(LayerColumn(record, First(fromEnds)));
  *v = static_cast<float>(LayerRow(record, across));
  *coverage = edges.coverage;
  return edges.inside;
}

PairMapping MapPairToLayer(const SineAndCosineOf<TwoDoubles>& columns,
                           const SineAndCosineOf<TwoDoubles>& rows, const SpanBounds& bounds,
                           const PlacementRecord& record) {
  const auto p = DirectionOf(columns, rows);
  const TwoDoubles d = TowardsNormal(record, p);
  const auto inPlane = NearlyUnit(OntoPlane(record, p, d));
  const TwoDoubles toStart = Dot(inPlane, Splat(record.spanStart, d));
  const double toEnd = First(Dot(inPlane, Splat(record.spanEnd, d)));
  if (IsSurelyPastEnds(bounds, First(toStart), toEnd)) {
    return {};
  }
  const TwoDoubles across = FromGreatCircle(ArcCosine(d));
  const TwoDoubles fromStart = ArcCosine(toStart);
  const TwoDoubles u = LayerColumn(record, fromStart);
  const TwoDoubles v = LayerRow(record, across);
  const Coverage edges = CoverageAt(record, First(across), First(fromStart) + ArcCosine(toEnd));
  return {
      {{static_cast<float>(First(u)), static_cast<float>(First(v))}, edges.coverage, edges.inside},
      {static_cast<float>(Second(u)), static_cast<float>(Second(v))}};
}

}  // namespace veltra
