// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What a frame's pixels share, worked out once per frame: the sines of its columns and rows, the
// gap in every row that the strip does not reach, and the strip's ends side by side.
//
// A frame of w x h pixels has w longitudes and h latitudes; two sines and two cosines for each of
// its pixels would find the same values h and w times over.
#pragma once

#include <cstdint>
#include <memory>

#include "effect/render/pixel/row_gaps.h"
#include "effect/render/pixel/sphere_steps.h"

namespace veltra {

/// Immutable once made; read by all pixels of the frame at once. The values have the bits that the
/// steps compute without them.
class FrameTables {
 public:
  using SineAndCosine = SineAndCosineOf<double>;

  /// For the host's first `width` columns and `height` rows, and their neighbours. Stays empty when
  /// there are none or far too many, when memory is short (16 bytes per column, 28 per row) or when
  /// the record's offsets are no whole numbers, where a neighbour's position depends on how it is
  /// reached.
  FrameTables(const PlacementRecord& record, A_long width, A_long height);

  /// Whether the tables hold the host's pixel (x, y) and its eight neighbours.
  bool Hold(A_long x, A_long y) const {
    return static_cast<std::uint32_t>(x) < width_ && HoldRow(y);
  }
  /// Whether they hold the pixel and it is surely off the strip. Others may be off it, too.
  bool IsOffStrip(A_long x, A_long y) const {
    return HoldRow(y) && gaps_[static_cast<std::uint32_t>(y)].Holds(x);
  }

  // For held pixels and their neighbours.
  const SineAndCosine& Column(A_long x) const { return columns_[Entry(x)]; }
  const SineAndCosine& Row(A_long y) const { return rows_[Entry(y)]; }

  const SpanEnds& Ends() const { return ends_; }

 private:
  bool HoldRow(A_long y) const { return static_cast<std::uint32_t>(y) < height_; }
  static std::uint32_t Entry(A_long position) { return static_cast<std::uint32_t>(position + 1); }

  SpanEnds ends_;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  // One per row.
  std::unique_ptr<RowGap[]> gaps_;
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
  /// With tables for the host's first `width` columns and `height` rows.
  TabledRecord(const PlacementRecord& record, A_long width, A_long height);
  ~TabledRecord();
  TabledRecord(const TabledRecord&) = delete;
  TabledRecord& operator=(const TabledRecord&) = delete;

  /// The tables behind the record; null when it is no TabledRecord.
  static const FrameTables* TablesOf(const PlacementRecord& record) {
    const std::uint64_t mark = record.tablesMarkLow.bits | std::uint64_t{record.tablesMarkHigh.bits}
                                                               << 32;
    return mark == MarkFor(record) ? &static_cast<const TabledRecord&>(record).tables_ : nullptr;
  }

 private:
  /// The record's address and 64 bits that no other would come upon.
  static std::uint64_t MarkFor(const PlacementRecord& record) {
    return reinterpret_cast<std::uintptr_t>(&record) ^ std::uint64_t{0x9d3a5c61e84b27f3};
  }

  FrameTables tables_;
};

}  // namespace veltra
