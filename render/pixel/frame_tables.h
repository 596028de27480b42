// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a frame's pixels share, worked out once per frame: the sines of its columns and rows, and
// the bounds that reject most pixels.
//
// A frame of w x h pixels has w longitudes and h latitudes; two sines and two cosines for each of
// its pixels would find the same values h and w times over.
#pragma once

#include <cstdint>
#include <memory>

#include "numerics/convert.h"
#include "render/pixel/span_rejection.h"
#include "render/pixel/sphere_steps.h"

namespace veltra {

/// Immutable once made; read by all pixels of the frame at once. The values have the bits that the
/// steps compute without them.
class FrameTables {
 public:
  using SineAndCosine = SineAndCosineOf<double>;

  /// Empty: covers nothing.
  FrameTables() = default;

  /// For the pixels of `area` and their neighbours, as far as `world` has them. Stays empty when
  /// there are none, when memory is short (16 bytes per column and row) or when the record's
  /// offsets are no whole numbers, where a neighbour's position depends on how it is reached.
  FrameTables(const PlacementRecord& record, const PF_EffectWorld& world, const PF_LRect& area);

  /// Whether the tables hold the host's pixel (x, y) and were made for a record with these numbers.
  bool Cover(const PlacementRecord& record, A_long x, A_long y) const {
    return Hold(x, y) && MadeFor(record);
  }
  /// Whether they hold the pixel.
  bool Hold(A_long x, A_long y) const {
    return Offset(x, firstColumn_) < columns_ && Offset(y, firstRow_) < rows_;
  }

  // For held pixels only.
  const SineAndCosine& Column(A_long x) const { return entries_[Offset(x, firstColumn_)]; }
  const SineAndCosine& Row(A_long y) const { return rowEntries_[Offset(y, firstRow_)]; }
  Vector3Of<double> Direction(A_long x, A_long y) const { return DirectionOf(Column(x), Row(y)); }

  const SpanBounds& Bounds() const { return bounds_; }

 private:
  /// Everything of a record that the tables depend on, in pairs for the comparison.
  struct Numbers {
    __m128d scales;
    __m128d offsets;
    __m128d limits;
    __m128d ramp;
  };

  static VELTRA_FORCE_INLINE Numbers NumbersOf(const PlacementRecord& record) {
    return {_mm_set_pd(record.normScaleY, record.normScaleX),
            _mm_set_pd(record.originOffsetY, record.originOffsetX),
            _mm_set_pd(record.spanAngle, record.halfBandAngle),
            _mm_set1_pd(record.radiansPerPixel)};
  }
  VELTRA_FORCE_INLINE bool MadeFor(const PlacementRecord& record) const {
    const Numbers now = NumbersOf(record);
    const __m128d same = _mm_and_pd(_mm_and_pd(_mm_cmpeq_pd(now.scales, numbers_.scales),
                                               _mm_cmpeq_pd(now.offsets, numbers_.offsets)),
                                    _mm_and_pd(_mm_cmpeq_pd(now.limits, numbers_.limits),
                                               _mm_cmpeq_pd(now.ramp, numbers_.ramp)));
    return _mm_movemask_pd(same) == 3;
  }
  static std::uint32_t Offset(A_long position, A_long first) {
    return static_cast<std::uint32_t>(numerics::WrappingSubtract(position, first));
  }

  Numbers numbers_{};
  SpanBounds bounds_{};
  A_long firstColumn_ = 0;
  A_long firstRow_ = 0;
  std::uint32_t columns_ = 0;
  std::uint32_t rows_ = 0;
  const SineAndCosine* rowEntries_ = nullptr;
  std::unique_ptr<SineAndCosine[]> entries_;  ///< columns, then rows
};

/// Entries of the tables for one column or row, given its position in the frame.
FrameTables::SineAndCosine ColumnEntry(const PlacementRecord& record, double px);
FrameTables::SineAndCosine RowEntry(const PlacementRecord& record, double py);

/// A record with its frame's tables behind it. It is marked for the place where it lies: a copy, or
/// a record that somebody else made, has none, and its pixels work out their own share.
class TabledRecord : public PlacementRecord {
 public:
  TabledRecord(const PlacementRecord& record, const PF_EffectWorld& world, const PF_LRect& area)
      : PlacementRecord(record), tables_(record, world, area) {
    tablesMark = MarkFor(this);
  }
  ~TabledRecord() { tablesMark = 0; }
  TabledRecord(const TabledRecord&) = delete;
  TabledRecord& operator=(const TabledRecord&) = delete;

  /// The tables behind the record; null when it is no TabledRecord.
  static const FrameTables* TablesOf(const PlacementRecord& record) {
    return record.tablesMark == MarkFor(&record) ? &static_cast<const TabledRecord&>(record).tables_
                                                 : nullptr;
  }

 private:
  /// Never 0.
  static std::uint32_t MarkFor(const PlacementRecord* record) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(record) ^ 0x53454c54U) | 1U;
  }

  FrameTables tables_;
};

}  // namespace veltra
