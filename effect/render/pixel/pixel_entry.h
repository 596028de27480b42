// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The way into the pixel functions of both families, which ends for most pixels where it begins.
//
// A Family is a type with two templates over the depth: ByItself(record, x, y, out) for a pixel
// that works out its own share of the frame, and WithTables(record, x, y, tables, out) for one that
// the tables hold. Both give the same bits.
#pragma once

#include "effect/render/pixel/frame_tables.h"

namespace veltra {

template <class Family, class Depth>
VELTRA_NOINLINE PF_Err PlaceByItself(const PlacementRecord& record, A_long x, A_long y,
                                     typename Depth::Pixel* out) {
  return Family::template ByItself<Depth>(record, x, y, out);
}

/// Takes its arguments in the places where the entry has them, which then moves none.
template <class Family, class Depth>
VELTRA_NOINLINE PF_Err PlaceWithTables(const PlacementRecord& record, A_long x, A_long y,
                                       const FrameTables& tables, typename Depth::Pixel* out) {
  if (!tables.Hold(x, y)) {
    return PlaceByItself<Family, Depth>(record, x, y, out);
  }
  return Family::template WithTables<Depth>(record, x, y, tables, out);
}

/// What follows a pixel's gap is out of line, so that this entry saves no registers for it.
template <class Family, class Depth>
VELTRA_FORCE_INLINE PF_Err EnterPixel(void* refcon, A_long x, A_long y,
                                      typename Depth::Pixel* out) {
  const PlacementRecord& record = *static_cast<const PlacementRecord*>(refcon);
  const FrameTables* tables = TabledRecord::TablesOf(record);
  if (tables == nullptr) [[unlikely]] {
    return PlaceByItself<Family, Depth>(record, x, y, out);
  }
  if (tables->IsOffStrip(x, y)) [[likely]] {
    return PF_Err_NONE;
  }
  return PlaceWithTables<Family, Depth>(record, x, y, *tables, out);
}

}  // namespace veltra
