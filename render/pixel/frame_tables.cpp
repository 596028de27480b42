// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filling a frame's tables.

#include "render/pixel/frame_tables.h"

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
  if (!entries_) {
    return;
  }
  SineAndCosine* entry = entries_.get();
  for (A_long x = columns.first; x < columns.end; ++x) {
    *entry++ = ColumnEntry(record, x - record.originOffsetX);
  }
  rowEntries_ = entry;
  for (A_long y = rows.first; y < rows.end; ++y) {
    *entry++ = RowEntry(record, y - record.originOffsetY);
  }
  numbers_ = NumbersOf(record);
  bounds_ = BoundsOf(record);
  firstColumn_ = columns.first;
  firstRow_ = rows.first;
  columns_ = columns.Count();
  rows_ = rows.Count();
}

}  // namespace veltra
