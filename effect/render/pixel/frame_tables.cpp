// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filling a frame's tables.

#include "effect/render/pixel/frame_tables.h"

#include <cmath>
#include <new>

#include "numerics/trigonometry.h"

namespace veltra {
namespace {

/// Far more columns or rows than any host's worlds have.
constexpr A_long kMostPositions = 1 << 20;

/// The sines and cosines of `angleAt` from position -1 to `size`, two positions in the lanes at a
/// time.
template <class AngleAt>
void Fill(A_long size, AngleAt angleAt, double cosineSign, FrameTables::SineAndCosine* entry) {
  for (A_long i = -1; i <= size; i += 2) {
    const numerics::TwoSinCos both = numerics::SinCos(_mm_set_pd(angleAt(i + 1), angleAt(i)));
    const __m128d cosine = _mm_mul_pd(both.cosine, _mm_set1_pd(cosineSign));
    _mm_storeu_pd(&entry->sine, _mm_unpacklo_pd(both.sine, cosine));
    ++entry;
    if (i < size) {
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

FrameTables::FrameTables(const PlacementRecord& record, A_long width, A_long height)
    : ends_(EndsOf(record)) {
  if (width <= 0 || width > kMostPositions || height <= 0 || height > kMostPositions ||
      !IsWhole(record.originOffsetX) || !IsWhole(record.originOffsetY)) {
    return;
  }
  const auto columns = static_cast<std::size_t>(width);
  const auto rows = static_cast<std::size_t>(height);
  columns_.reset(new (std::nothrow) SineAndCosine[columns + 2]);
  rows_.reset(new (std::nothrow) SineAndCosine[rows + 2]);
  gaps_.reset(new (std::nothrow) RowGap[rows]);
  if (!columns_ || !rows_ || !gaps_) {
    return;
  }
  const auto longitude = [&](A_long x) { return Longitude(record, x - record.originOffsetX); };
  const auto latitude = [&](A_long y) { return Latitude(record, y - record.originOffsetY); };
  Fill(width, longitude, -1.0, columns_.get());
  Fill(height, latitude, 1.0, rows_.get());
  const RowGaps gaps(record, width);
  for (std::size_t i = 0; i < rows; ++i) {
    gaps_[i] = gaps.At(rows_[i + 1]);
  }
  width_ = static_cast<std::uint32_t>(width);
  height_ = static_cast<std::uint32_t>(height);
}

TabledRecord::TabledRecord(const PlacementRecord& record, A_long width, A_long height)
    : PlacementRecord(record), tables_(record, width, height) {
  const std::uint64_t mark = MarkFor(*this);
  tablesMarkLow.bits = static_cast<std::uint32_t>(mark);
  tablesMarkHigh.bits = static_cast<std::uint32_t>(mark >> 32);
}

TabledRecord::~TabledRecord() {
  // Volatile, or the compiler would leave out what it takes for writes to a dead object: whatever
  // lies here next must not find itself marked.
  static_cast<volatile std::uint32_t&>(tablesMarkLow.bits) = 0;
  static_cast<volatile std::uint32_t&>(tablesMarkHigh.bits) = 0;
}

}  // namespace veltra
