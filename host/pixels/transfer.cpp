// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filling and copying of rectangles.

#include "host/pixels/transfer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "host/pixels/sampling.h"
#include "host/pixels/world.h"
#include "host/pixels/world_view.h"

namespace veltra::host {
namespace {

void ConvertColor(const PF_Pixel8& color, PF_Pixel8& out) {
  out = color;
}

void ConvertColor(const PF_Pixel8& color, PF_Pixel16& out) {
  const auto scale = [](int value) {
    return static_cast<A_u_short>((value * PF_MAX_CHAN16 * 2 + PF_MAX_CHAN8) / (PF_MAX_CHAN8 * 2));
  };
  out = {scale(color.alpha), scale(color.red), scale(color.green), scale(color.blue)};
}

void ConvertColor(const PF_Pixel8& color, PF_PixelFloat& out) {
  const auto scale = [](int value) { return static_cast<float>(value) / 255.0F; };
  out = {scale(color.alpha), scale(color.red), scale(color.green), scale(color.blue)};
}

template <class Pixel>
bool IsZero(const Pixel& color) {
  std::array<std::byte, sizeof color> bytes{};  // a float's zero with a minus is none
  std::memcpy(bytes.data(), &color, sizeof color);
  return bytes == std::array<std::byte, sizeof color>{};
}

template <class Pixel>
PF_Err FillPart(const Pixel& value, const PF_LRect& part, const PF_EffectWorld& world,
                const RowWork& work) {
  const bool zero = IsZero(value);
  const auto count = static_cast<std::size_t>(part.right - part.left);
  const std::size_t bytes = count * sizeof(Pixel);
  return work.Run(part.bottom - part.top, static_cast<std::int64_t>(bytes),
                  [&](A_long firstRow, A_long lastRow) {
                    for (A_long y = part.top + firstRow; y < part.top + lastRow; ++y) {
                      auto* first = RowOf<Pixel>(world, y) + part.left;
                      if (zero) {
                        std::memset(static_cast<void*>(first), 0, bytes);
                      } else {
                        std::fill_n(first, count, value);
                      }
                    }
                  });
}

/// A copy of one size after clipping: where it starts on both sides, and how large it is.
struct ClippedCopy {
  A_long sourceX;
  A_long sourceY;
  A_long destinationX;
  A_long destinationY;
  A_long width;
  A_long height;
};

/// Clips one axis: moves both starts by what either lacks and shortens the length.
void ClipAxis(std::int64_t& source, std::int64_t& destination, std::int64_t& length,
              std::int64_t sourceSize, std::int64_t destinationSize) {
  const auto skip = std::max<std::int64_t>({0, -source, -destination});
  source += skip;
  destination += skip;
  length = std::min({length - skip, sourceSize - source, destinationSize - destination});
}

ClippedCopy Clip(const PF_EffectWorld& source, const PF_LRect& from,
                 const PF_EffectWorld& destination, const PF_LRect& to) {
  std::int64_t sx = from.left;
  std::int64_t sy = from.top;
  std::int64_t dx = to.left;
  std::int64_t dy = to.top;
  std::int64_t width = std::int64_t{from.right} - from.left;
  std::int64_t height = std::int64_t{from.bottom} - from.top;
  ClipAxis(sx, dx, width, source.width, destination.width);
  ClipAxis(sy, dy, height, source.height, destination.height);
  if (width <= 0 || height <= 0) {
    return {0, 0, 0, 0, 0, 0};
  }
  return {static_cast<A_long>(sx), static_cast<A_long>(sy),    static_cast<A_long>(dx),
          static_cast<A_long>(dy), static_cast<A_long>(width), static_cast<A_long>(height)};
}

/// The addresses that a part of some rows lies between.
struct ByteRange {
  std::uintptr_t first;
  std::uintptr_t last;
};

std::byte* AddressOf(const PF_EffectWorld& world, A_long x, A_long y, A_long bytesPerPixel) {
  return RowOf<std::byte>(world, y) + static_cast<std::ptrdiff_t>(x) * bytesPerPixel;
}

ByteRange BytesOf(const PF_EffectWorld& world, A_long x, A_long y, A_long width, A_long height,
                  A_long bytesPerPixel) {
  const auto at = [&](A_long column, A_long row) {
    return reinterpret_cast<std::uintptr_t>(AddressOf(world, column, row, bytesPerPixel));
  };
  return {at(x, y), at(x + width, y + height - 1)};
}

bool Overlap(const ByteRange& a, const ByteRange& b) {
  return a.first < b.last && b.first < a.last;
}

PF_Err CopySameSize(const PF_EffectWorld& source, const PF_EffectWorld& destination,
                    const ClippedCopy& copy, A_long bytesPerPixel, const RowWork& work) {
  if (copy.height == 0) {
    return PF_Err_NONE;
  }
  const auto bytes = static_cast<std::size_t>(copy.width) * static_cast<std::size_t>(bytesPerPixel);
  const ByteRange from =
      BytesOf(source, copy.sourceX, copy.sourceY, copy.width, copy.height, bytesPerPixel);
  const ByteRange to = BytesOf(destination, copy.destinationX, copy.destinationY, copy.width,
                               copy.height, bytesPerPixel);
  // Within the same pixels rows go one after the other, and a copy downwards from its last row, so
  // that no row is overwritten before it has been read.
  const bool shared = Overlap(from, to);
  const bool downwards = shared && to.first > from.first;
  return (shared ? work.InOrder() : work)
      .Run(copy.height, static_cast<std::int64_t>(bytes), [&](A_long first, A_long last) {
        for (A_long i = first; i < last; ++i) {
          const A_long row = downwards ? copy.height - 1 - i : i;
          std::memmove(
              AddressOf(destination, copy.destinationX, copy.destinationY + row, bytesPerPixel),
              AddressOf(source, copy.sourceX, copy.sourceY + row, bytesPerPixel), bytes);
        }
      });
}

/// The 16.16 source position of a destination pixel's centre, held inside the rectangle's pixel
/// centres so that no edge fades into the transparent outside.
std::vector<PF_Fixed> StretchedPositions(A_long first, A_long last, A_long sourceFirst,
                                         A_long sourceLast, A_long start, A_long count) {
  const double scale =
      (static_cast<double>(sourceLast) - sourceFirst) / (static_cast<double>(last) - first);
  std::vector<PF_Fixed> positions(static_cast<std::size_t>(count));
  A_long place = start;
  for (PF_Fixed& position : positions) {
    const double exact = sourceFirst + (place + 0.5 - first) * scale - 0.5;
    const double held = std::clamp(exact, std::clamp<double>(sourceFirst, -1.0, 32767.0),
                                   std::clamp<double>(sourceLast - 1.0, -1.0, 32767.0));
    position = static_cast<PF_Fixed>(held * kFixedOne);
    ++place;
  }
  return positions;
}

/// The places in a source that the columns and rows of a destination's part are taken from.
struct StretchGrid {
  PF_LRect part;
  std::vector<PF_Fixed> xs;
  std::vector<PF_Fixed> ys;
};

template <class Pixel>
PF_Err StretchInto(const PF_EffectWorld& source, const StretchGrid& grid,
                   const PF_EffectWorld& destination, bool draft, const RowWork& work) {
  const A_long width = grid.part.right - grid.part.left;
  return work.Run(grid.part.bottom - grid.part.top, std::int64_t{width} * A_long{sizeof(Pixel)},
                  [&](A_long first, A_long last) {
                    for (A_long row = first; row < last; ++row) {
                      Pixel* out = RowOf<Pixel>(destination, grid.part.top + row) + grid.part.left;
                      const PF_Fixed y = grid.ys[static_cast<std::size_t>(row)];
                      for (const PF_Fixed x : grid.xs) {
                        *out++ = draft ? SampleNearest<Pixel>(source, x, y)
                                       : SampleBetween<Pixel>(source, x, y);
                      }
                    }
                  });
}

/// Through a picture of its own where source and destination are the same pixels.
template <class Pixel>
PF_Err StretchWithin(const PF_EffectWorld& source, const StretchGrid& grid,
                     PF_EffectWorld& destination, bool draft, const RowWork& work) {
  const A_long width = grid.part.right - grid.part.left;
  const A_long height = grid.part.bottom - grid.part.top;
  auto between = World::Create(width, height, kDepthOf<Pixel>);
  if (!between) {
    return PF_Err_OUT_OF_MEMORY;
  }
  const PF_EffectWorld view = between->View();
  if (const PF_Err error =
          StretchInto<Pixel>(source, {BoundsOf(view), grid.xs, grid.ys}, view, draft, work)) {
    return error;
  }
  return CopySameSize(view, destination, {0, 0, grid.part.left, grid.part.top, width, height},
                      sizeof(Pixel), work);
}

template <class Pixel>
PF_Err Stretch(const PF_EffectWorld& source, const PF_LRect& from, PF_EffectWorld& destination,
               const PF_LRect& to, bool draft, const RowWork& work) {
  const PF_LRect part = Intersection(to, BoundsOf(destination));
  if (IsEmpty(part) || IsEmpty(from)) {
    return PF_Err_NONE;
  }
  const A_long width = part.right - part.left;
  const A_long height = part.bottom - part.top;
  const StretchGrid grid{
      part, StretchedPositions(to.left, to.right, from.left, from.right, part.left, width),
      StretchedPositions(to.top, to.bottom, from.top, from.bottom, part.top, height)};
  constexpr A_long bytes = sizeof(Pixel);
  return Overlap(BytesOf(source, 0, 0, source.width, source.height, bytes),
                 BytesOf(destination, part.left, part.top, width, height, bytes))
             ? StretchWithin<Pixel>(source, grid, destination, draft, work)
             : StretchInto<Pixel>(source, grid, destination, draft, work);
}

}  // namespace

PF_Err FillWorld(const PF_Pixel8* color, const PF_LRect* rect, PF_EffectWorld& world,
                 const RowWork& work) {
  const Depth depth = DepthOf(world);
  if (!IsReadableAs(world, BytesPerPixel(depth))) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect bounds = BoundsOf(world);
  const PF_LRect part = rect != nullptr ? Intersection(*rect, bounds) : bounds;
  return WithPixelType(depth, [&](auto value) {
    if (color != nullptr) {
      ConvertColor(*color, value);
    }
    return FillPart(value, part, world, work);
  });
}

template <class Pixel>
PF_Err FillSameDepth(const Pixel* color, const PF_LRect* rect, PF_EffectWorld& world,
                     const RowWork& work) {
  if (color == nullptr) {
    return FillWorld(nullptr, rect, world, work);
  }
  if (DepthOf(world) != kDepthOf<Pixel> || !IsReadableAs(world, A_long{sizeof(Pixel)})) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect bounds = BoundsOf(world);
  const PF_LRect part = rect != nullptr ? Intersection(*rect, bounds) : bounds;
  return FillPart(*color, part, world, work);
}

template PF_Err FillSameDepth(const PF_Pixel16*, const PF_LRect*, PF_EffectWorld&, const RowWork&);
template PF_Err FillSameDepth(const PF_PixelFloat*, const PF_LRect*, PF_EffectWorld&,
                              const RowWork&);

PF_Err CopyWorld(const PF_EffectWorld& source, const PF_LRect* sourceRect,
                 PF_EffectWorld& destination, const PF_LRect* destinationRect, bool draft,
                 const RowWork& work) {
  const Depth depth = DepthOf(source);
  const A_long bytesPerPixel = BytesPerPixel(depth);
  if (depth != DepthOf(destination) || !IsReadableAs(source, bytesPerPixel) ||
      !IsReadableAs(destination, bytesPerPixel)) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect from = sourceRect != nullptr ? *sourceRect : BoundsOf(source);
  const PF_LRect to = destinationRect != nullptr ? *destinationRect : BoundsOf(destination);
  const auto length = [](A_long first, A_long last) { return std::int64_t{last} - first; };
  if (length(from.left, from.right) == length(to.left, to.right) &&
      length(from.top, from.bottom) == length(to.top, to.bottom)) {
    return CopySameSize(source, destination, Clip(source, from, destination, to), bytesPerPixel,
                        work);
  }
  return WithPixelType(depth, [&](auto pixel) {
    return Stretch<decltype(pixel)>(source, from, destination, to, draft, work);
  });
}

}  // namespace veltra::host
