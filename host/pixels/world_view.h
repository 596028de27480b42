// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Small helpers around rectangles and the effect's views of pixels, for the host's own use.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>

#include "host/base/depth.h"
#include "host_api/world.h"

namespace veltra::host {

/// Common part of two rectangles; all zero when there is none.
constexpr PF_LRect Intersection(const PF_LRect& a, const PF_LRect& b) {
  const PF_LRect both{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                      std::min(a.bottom, b.bottom)};
  return IsEmpty(both) ? PF_LRect{0, 0, 0, 0} : both;
}

/// The smallest rectangle around two, neither of them empty.
constexpr PF_LRect Union(const PF_LRect& a, const PF_LRect& b) {
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

constexpr bool Contains(const PF_LRect& outer, const PF_LRect& inner) {
  return IsEmpty(inner) || (inner.left >= outer.left && inner.top >= outer.top &&
                            inner.right <= outer.right && inner.bottom <= outer.bottom);
}

constexpr PF_LRect BoundsOf(const PF_EffectWorld& view) {
  return {0, 0, view.width, view.height};
}

/// Row y of a view's pixels.
template <class Pixel>
Pixel* RowOf(const PF_EffectWorld& view, A_long y) {
  auto* first = static_cast<std::byte*>(view.data);
  return reinterpret_cast<Pixel*>(first + static_cast<std::ptrdiff_t>(y) * view.rowbytes);
}

/// Marks a view as this host's, of that depth, so that copies of the record keep it.
void MarkDepth(PF_EffectWorld& view, Depth depth);

/// The depth of a view; one that is not from this host is taken by its flag for 16 or 8 bit.
Depth DepthOf(const PF_EffectWorld& view);

/// Whether the record can be read as pixels of that depth without leaving its rows.
inline bool IsReadableAs(const PF_EffectWorld& view, A_long bytesPerPixel) {
  return view.data != nullptr && view.width > 0 && view.height > 0 &&
         view.width <= kHostMaxWorldSide && view.rowbytes >= view.width * bytesPerPixel;
}

/// Calls function(Pixel{}) with the depth's pixel type.
template <class Function>
auto WithPixelType(Depth depth, Function&& function) {
  switch (depth) {
    case Depth::k8:
      return function(PF_Pixel8{});
    case Depth::k16:
      return function(PF_Pixel16{});
    case Depth::kFloat:
      break;
  }
  return function(PF_PixelFloat{});
}

}  // namespace veltra::host
