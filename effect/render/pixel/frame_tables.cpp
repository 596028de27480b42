// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filling a frame's tables.

#include "effect/render/pixel/frame_tables.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "numerics/trigonometry.h"

namespace veltra {
namespace {

/// Positions of one axis from first to before end; first <= end.
struct Range {
  A_long first;
  A_long end;

  std::uint32_t Count() const { return static_cast<std::uint32_t>(end - first); }
};

/// Far more than any host's worlds have; a size beyond it is no world's.
constexpr A_long kMostPositions = 1 << 20;

/// The area's positions inside the world and one more on either side for the neighbours.
Range WithNeighbours(A_long first, A_long end, A_long size) {
  const A_long inside = std::clamp(end, A_long{0}, std::clamp(size, A_long{0}, kMostPositions));
  return {std::clamp(first, A_long{0}, inside) - 1, inside + 1};
}

/// The sines and cosines of `angleAt` over the range, two positions in the lanes at a time; returns
/// the end of what was written.
template <class AngleAt>
FrameTables::SineAndCosine* Fill(Range range, AngleAt angleAt, double cosineSign,
                                 FrameTables::SineAndCosine* entry) {
  for (A_long i = range.first; i < range.end; i += 2) {
    const numerics::TwoSinCos both = numerics::SinCos(_mm_set_pd(angleAt(i + 1), angleAt(i)));
    const __m128d cosine = _mm_mul_pd(both.cosine, _mm_set1_pd(cosineSign));
    _mm_storeu_pd(&entry->sine, _mm_unpacklo_pd(both.sine, cosine));
    ++entry;
    if (i + 1 < range.end) {
      _mm_storeu_pd(&entry->sine, _mm_unpackhi_pd(both.sine, cosine));
      ++entry;
    }
  }
  return entry;
}

/// Whether the differences of positions and this offset are exact.
bool IsWhole(double offset) {
  return std::fabs(offset) <= 2147483648.0 && std::trunc(offset) == offset;
}

}  // namespace

FrameTables::SineAndCosine ColumnEntry(const PlacementRecord& record, double px) {
  const numerics::SinCosResult lon = numerics::SinCos(Longitude(record, px));
  return {lon.sine, -lon.cosine};
}

FrameTables::SineAndCosine RowEntry(const PlacementRecord& record, double py) {
  const numerics::SinCosResult lat = numerics::SinCos(Latitude(record, py));
  return {lat.sine, lat.cosine};
}

FrameTables::FrameTables(const PlacementRecord& record, const PF_EffectWorld& world,
                         const PF_LRect& area) {
  const Range columns = WithNeighbours(area.left, area.right, world.width);
  const Range rows = WithNeighbours(area.top, area.bottom, world.height);
  if (!IsWhole(record.originOffsetX) || !IsWhole(record.originOffsetY)) {
    return;
  }
  entries_.reset(new (std::nothrow) SineAndCosine[std::size_t{columns.Count()} + rows.Count()]);
  notes_.reset(new (std::nothrow) NeighbourNote[rows.Count()]);
  if (!entries_ || !notes_) {
    return;
  }
  const auto longitude = [&](A_long x) { return Longitude(record, x - record.originOffsetX); };
  const auto latitude = [&](A_long y) { return Latitude(record, y - record.originOffsetY); };
  SineAndCosine* rowEntries = Fill(columns, longitude, -1.0, entries_.get());
  Fill(rows, latitude, 1.0, rowEntries);
  rowEntries_ = rowEntries;
  numbers_ = NumbersOf(record);
  stripNumbers_ = StripNumbersOf(record);
  tileMode_ = record.tileMode;
  bounds_ = BoundsOf(record);
  firstColumn_ = columns.first;
  firstRow_ = rows.first;
  columns_ = columns.Count();
  rows_ = rows.Count();
}

}  // namespace veltra
