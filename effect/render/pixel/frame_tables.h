// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a frame's pixels share, worked out once per frame: the sines of its columns and rows, and
// the gap in every row that the strip does not reach.
//
// A frame of w x h pixels has w longitudes and h latitudes; two sines and two cosines for each of
// its pixels would find the same values h and w times over.
#pragma once

#include <cstdint>
#include <memory>

#include "effect/render/pixel/row_gaps.h"
#include "effect/render/pixel/sphere_steps.h"
#include "numerics/convert.h"

namespace veltra {

/// Immutable once made; read by all pixels of the frame at once. The values have the bits that the
/// steps compute without them.
class FrameTables {
 public:
  using SineAndCosine = SineAndCosineOf<double>;

  /// For the pixels of `area` that `world` has, and their neighbours. Stays empty when there are
  /// none, when memory is short (16 bytes per column, 28 per row) or when the record's offsets are
  /// no whole numbers, where a neighbour's position depends on how it is reached.
  FrameTables(const PlacementRecord& record, const PF_EffectWorld& world, const PF_LRect& area);

  /// Whether the tables hold the host's pixel (x, y) and its eight neighbours.
  bool Hold(A_long x, A_long y) const {
    return Offset(x, left_) < width_ && Offset(y, top_) < height_;
  }
  /// Whether they hold the pixel and it is surely off the strip. Others may be off it, too.
  bool IsOffStrip(A_long x, A_long y) const {
    const std::uint32_t row = Offset(y, top_);
    return row < height_ && (gaps_[row].Holds(x) || Offset(x, left_) < heads_[row]);
  }

  // For held pixels and their neighbours.
  const SineAndCosine& Column(A_long x) const {
    return columns_[Offset(numerics::WrappingAdd(x, 1), left_)];
  }
  const SineAndCosine& Row(A_long y) const {
    return rows_[Offset(numerics::WrappingAdd(y, 1), top_)];
  }

 private:
  static std::uint32_t Offset(A_long position, A_long first) {
    return static_cast<std::uint32_t>(numerics::WrappingSubtract(position, first));
  }

  A_long left_ = 0;
  A_long top_ = 0;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  // One per row: its gap, in two parts.
  std::unique_ptr<ColumnGap[]> gaps_;
  std::unique_ptr<std::uint32_t[]> heads_;
  // With the neighbours: one more before the first and one after the last.
  std::unique_ptr<SineAndCosine[]> columns_;
  std::unique_ptr<SineAndCosine[]> rows_;
};

/// Entries of the tables for one column or row, given its position in the frame.
FrameTables::SineAndCosine ColumnEntry(const PlacementRecord& record, double px);
FrameTables::SineAndCosine RowEntry(const PlacementRecord& record, double py);

/// A record with its frame's tables behind it. It is marked for the place where it lies: a copy, or
/// a record that somebody else made, has none, and its pixels work out their own share. The record
/// must not change while pixels are drawn with it.
class TabledRecord : public PlacementRecord {
 public:
  TabledRecord(const PlacementRecord& record, const PF_EffectWorld& world, const PF_LRect& area);
  ~TabledRecord();
  TabledRecord(const TabledRecord&) = delete;
  TabledRecord& operator=(const TabledRecord&) = delete;

  /// The tables behind the record; null when it is no TabledRecord.
  static const FrameTables* TablesOf(const PlacementRecord& record) {
    const Mark mark = MarkFor(record);
    return record.tablesMarkLow.bits == mark.low && record.tablesMarkHigh.bits == mark.high
               ? &static_cast<const TabledRecord&>(record).tables_
               : nullptr;
  }

 private:
  struct Mark {
    std::uint32_t low;
    std::uint32_t high;
  };
  /// The record's address and 64 bits that no other would come upon.
  static Mark MarkFor(const PlacementRecord& record) {
    const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&record));
    return {static_cast<std::uint32_t>(address) ^ 0xe84b27f3U,
            static_cast<std::uint32_t>(address >> 32) ^ 0x9d3a5c61U};
  }

  FrameTables tables_;
};

}  // namespace veltra
