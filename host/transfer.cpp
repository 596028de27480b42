// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filling and copying of rectangles.

#include "host/transfer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "host/sampling.h"
#include "host/world_view.h"

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

bool IsZero(const PF_Pixel8& color) {
  return color.alpha == 0 && color.red == 0 && color.green == 0 && color.blue == 0;
}

template <class Pixel>
void FillPart(const PF_Pixel8& color, const PF_LRect& part, PF_EffectWorld& world) {
  Pixel value{};
  ConvertColor(color, value);
  const bool zero = IsZero(color);
  const auto count = static_cast<std::size_t>(part.right - part.left);
  for (A_long y = part.top; y < part.bottom; ++y) {
    auto* first = RowOf<Pixel>(world, y) + part.left;
    if (zero) {
      std::memset(static_cast<void*>(first), 0, count * sizeof(Pixel));
    } else {
      std::fill_n(first, count, value);
    }
  }
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

void CopySameSize(const PF_EffectWorld& source, PF_EffectWorld& destination,
                  const ClippedCopy& copy, A_long bytesPerPixel) {
  const auto address = [bytesPerPixel](const PF_EffectWorld& world, A_long x, A_long y) {
    return RowOf<std::byte>(world, y) + static_cast<std::ptrdiff_t>(x) * bytesPerPixel;
  };
  const auto bytes = static_cast<std::size_t>(copy.width) * static_cast<std::size_t>(bytesPerPixel);
  // Within one world a copy downwards runs from its last row, so that no row is overwritten
  // before it has been read.
  const bool upwards = copy.sourceY >= copy.destinationY;
  for (A_long i = 0; i < copy.height; ++i) {
    const A_long row = upwards ? i : copy.height - 1 - i;
    std::memmove(address(destination, copy.destinationX, copy.destinationY + row),
                 address(source, copy.sourceX, copy.sourceY + row), bytes);
  }
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

template <class Pixel>
void Stretch(const PF_EffectWorld& source, const PF_LRect& from, PF_EffectWorld& destination,
             const PF_LRect& to, bool draft) {
  const PF_LRect part = Intersection(to, BoundsOf(destination));
  if (IsEmpty(part) || IsEmpty(from)) {
    return;
  }
  const auto xs = StretchedPositions(to.left, to.right, from.left, from.right, part.left,
                                     part.right - part.left);
  const auto ys = StretchedPositions(to.top, to.bottom, from.top, from.bottom, part.top,
                                     part.bottom - part.top);
  std::vector<Pixel> stretched(xs.size() * ys.size());
  auto out = stretched.begin();
  for (const PF_Fixed y : ys) {
    for (const PF_Fixed x : xs) {
      *out++ = draft ? SampleNearest<Pixel>(source, x, y) : SampleBetween<Pixel>(source, x, y);
    }
  }
  // Written only now: source and destination may be the same pixels.
  auto row = stretched.begin();
  for (A_long y = part.top; y < part.bottom; ++y) {
    std::copy_n(row, xs.size(), RowOf<Pixel>(destination, y) + part.left);
    row += static_cast<std::ptrdiff_t>(xs.size());
  }
}

}  // namespace

PF_Err FillWorld(const PF_Pixel8* color, const PF_LRect* rect, PF_EffectWorld& world) {
  const Depth depth = DepthOf(world);
  if (!IsReadableAs(world, BytesPerPixel(depth))) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect bounds = BoundsOf(world);
  const PF_LRect part = rect != nullptr ? Intersection(*rect, bounds) : bounds;
  WithPixelType(depth, [&](auto pixel) {
    FillPart<decltype(pixel)>(color != nullptr ? *color : PF_Pixel8{}, part, world);
  });
  return PF_Err_NONE;
}

PF_Err CopyWorld(const PF_EffectWorld& source, const PF_LRect* sourceRect,
                 PF_EffectWorld& destination, const PF_LRect* destinationRect, bool draft) {
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
    CopySameSize(source, destination, Clip(source, from, destination, to), bytesPerPixel);
    return PF_Err_NONE;
  }
  WithPixelType(
      depth, [&](auto pixel) { Stretch<decltype(pixel)>(source, from, destination, to, draft); });
  return PF_Err_NONE;
}

}  // namespace veltra::host
