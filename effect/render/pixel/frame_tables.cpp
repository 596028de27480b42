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

/// Positions of one axis from first to before end.
struct Range {
  A_long first;
  A_long end;

  std::uint32_t Count() const { return static_cast<std::uint32_t>(end - first); }
  Range WithNeighbours() const { return {first - 1, end + 1}; }
};

/// Far more than any host's worlds have; a size beyond it is no world's.
constexpr A_long kMostPositions = 1 << 20;

/// The area's positions inside the world; none of an area that ends before it begins.
Range Inside(A_long first, A_long end, A_long size) {
  const A_long last = std::clamp(end, A_long{0}, std::clamp(size, A_long{0}, kMostPositions));
  return {std::clamp(first, A_long{0}, last), last};
}

/// The sines and cosines of `angleAt` over the range, two positions in the lanes at a time.
template <class AngleAt>
void Fill(Range range, AngleAt angleAt, double cosineSign, FrameTables::SineAndCosine* entry) {
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
  const Range columns = Inside(area.left, area.right, world.width);
  const Range rows = Inside(area.top, area.bottom, world.height);
  if (!IsWhole(record.originOffsetX) || !IsWhole(record.originOffsetY)) {
    return;
  }
  columns_.reset(new (std::nothrow) SineAndCosine[std::size_t{columns.Count()} + 2]);
  rows_.reset(new (std::nothrow) SineAndCosine[std::size_t{rows.Count()} + 2]);
  gaps_.reset(new (std::nothrow) ColumnGap[rows.Count()]);
  heads_.reset(new (std::nothrow) std::uint32_t[rows.Count()]);
  if (!columns_ || !rows_ || !gaps_ || !heads_) {
    return;
  }
  const auto longitude = [&](A_long x) { return Longitude(record, x - record.originOffsetX); };
  const auto latitude = [&](A_long y) { return Latitude(record, y - record.originOffsetY); };
  Fill(columns.WithNeighbours(), longitude, -1.0, columns_.get());
  Fill(rows.WithNeighbours(), latitude, 1.0, rows_.get());
  const RowGaps gaps(record, columns.first, columns.end);
  for (std::size_t i = 0; i < rows.Count(); ++i) {
    const RowGap gap = gaps.At(rows_[i + 1]);
    gaps_[i] = gap.columns;
    heads_[i] = gap.head;
  }
  left_ = columns.first;
  top_ = rows.first;
  width_ = columns.Count();
  height_ = rows.Count();
}

TabledRecord::TabledRecord(const PlacementRecord& record, const PF_EffectWorld& world,
                           const PF_LRect& area)
    : PlacementRecord(record), tables_(record, world, area) {
  const Mark mark = MarkFor(*this);
  tablesMarkLow.bits = mark.low;
  tablesMarkHigh.bits = mark.high;
}

TabledRecord::~TabledRecord() {
  // Volatile, or the compiler would leave out what it takes for writes to a dead object: whatever
  // lies here next must not find itself marked.
  static_cast<volatile std::uint32_t&>(tablesMarkLow.bits) = 0;
  static_cast<volatile std::uint32_t&>(tablesMarkHigh.bits) = 0;
}

}  // namespace veltra
