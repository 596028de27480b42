// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a frame's pixels share: the sines of its columns and rows and the bounds that reject most
// pixels, worked out once per frame, and a note in every row from one pixel to the next.
//
// A frame of w x h pixels has w longitudes and h latitudes; two sines and two cosines for each of
// its pixels would find the same values h and w times over.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "effect/render/pixel/neighbour_note.h"
#include "effect/render/pixel/span_rejection.h"
#include "effect/render/pixel/sphere_steps.h"
#include "numerics/convert.h"

namespace veltra {

/// Immutable once made, the notes apart; read by all pixels of the frame at once. The values have
/// the bits that the steps compute without them.
class FrameTables {
 public:
  using SineAndCosine = SineAndCosineOf<double>;

  /// Empty: covers nothing.
  FrameTables() = default;

  /// For the pixels of `area` and their neighbours, as far as `world` has them. Stays empty when
  /// there are none, when memory is short (16 bytes per column, 80 per row) or when the record's
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

  /// The note in a held row.
  NeighbourNote& Note(A_long y) const { return notes_[Offset(y, firstRow_)]; }
  /// Whether the notes are for a record with these numbers, beyond those that Cover looks at.
  bool NotesAreFor(const PlacementRecord& record) const {
    return AllEqual(StripNumbersOf(record), stripNumbers_) && record.tileMode == tileMode_;
  }

 private:
  /// Numbers of a record, two at a time for the comparison.
  template <std::size_t kCount>
  using Pairs = std::array<TwoDoubles, kCount>;

  template <std::size_t kCount>
  static VELTRA_FORCE_INLINE bool AllEqual(const Pairs<kCount>& a, const Pairs<kCount>& b) {
    __m128d same = _mm_cmpeq_pd(a[0].lanes, b[0].lanes);
    for (std::size_t i = 1; i < kCount; ++i) {
      same = _mm_and_pd(same, _mm_cmpeq_pd(a[i].lanes, b[i].lanes));
    }
    return _mm_movemask_pd(same) == 3;
  }

  /// What the tables depend on.
  static VELTRA_FORCE_INLINE Pairs<4> NumbersOf(const PlacementRecord& record) {
    return {Pair(record.normScaleX, record.normScaleY),
            Pair(record.originOffsetX, record.originOffsetY),
            Pair(record.halfBandAngle, record.spanAngle),
            Pair(record.radiansPerPixel, record.radiansPerPixel)};
  }
  /// What the notes depend on besides.
  static VELTRA_FORCE_INLINE Pairs<7> StripNumbersOf(const PlacementRecord& record) {
    return {Pair(record.spanStart.x, record.spanStart.y),
            Pair(record.spanStart.z, record.spanEnd.x),
            Pair(record.spanEnd.y, record.spanEnd.z),
            Pair(record.spanNormal.x, record.spanNormal.y),
            Pair(record.spanNormal.z, record.layerPixelsPerRadian),
            Pair(record.layerHalfHeight, record.layerHalfHeight),
            Pair(record.tilePeriod, record.tileOffset)};
  }
  VELTRA_FORCE_INLINE bool MadeFor(const PlacementRecord& record) const {
    return AllEqual(NumbersOf(record), numbers_);
  }
  static std::uint32_t Offset(A_long position, A_long first) {
    return static_cast<std::uint32_t>(numerics::WrappingSubtract(position, first));
  }

  Pairs<4> numbers_{};
  Pairs<7> stripNumbers_{};
  SpanBounds bounds_{};
  A_long firstColumn_ = 0;
  A_long firstRow_ = 0;
  std::uint32_t columns_ = 0;
  std::uint32_t rows_ = 0;
  const SineAndCosine* rowEntries_ = nullptr;
  std::unique_ptr<SineAndCosine[]> entries_;  ///< columns, then rows
  std::unique_ptr<NeighbourNote[]> notes_;    ///< one per row
  std::uint8_t tileMode_ = 0;
};

/// Two entries in lanes.
VELTRA_FORCE_INLINE SineAndCosineOf<TwoDoubles> SideBySide(
    const FrameTables::SineAndCosine& first, const FrameTables::SineAndCosine& second) {
  const __m128d a = _mm_loadu_pd(&first.sine);
  const __m128d b = _mm_loadu_pd(&second.sine);
  return {{_mm_unpacklo_pd(a, b)}, {_mm_unpackhi_pd(a, b)}};
}

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
