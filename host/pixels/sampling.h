// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The host's three ways to sample an image: nearest, between pixels, and over a box.
#pragma once

#include <cstdint>

#include "host/pixels/area_sums.h"
#include "host/pixels/pixel_maths.h"
#include "host/pixels/world_view.h"

namespace veltra::host {

inline constexpr std::int64_t kOnePixel = 65536;  ///< one pixel in 16.16
inline constexpr std::int64_t kHalfPixel = 32768;
/// Just under 128 pixels, so that a box never spans more than 256.
inline constexpr std::int64_t kMaxAreaRadius = 128 * kOnePixel - 1;

/// Positions are 16.16 with (0, 0) the centre of the first pixel; everything outside the image is
/// transparent. The view must be readable at the pixel's depth.
template <class Pixel>
Pixel SampleNearest(const PF_EffectWorld& image, PF_Fixed x, PF_Fixed y) {
  const std::int64_t column = (x + kHalfPixel) >> 16;
  const std::int64_t row = (y + kHalfPixel) >> 16;
  if (column < 0 || column >= image.width || row < 0 || row >= image.height) {
    return Pixel{};
  }
  return RowOf<const Pixel>(image, static_cast<A_long>(row))[column];
}

/// As SampleBetween where neighbours may lie outside or have no weight at all.
template <class Pixel>
Pixel SampleBetweenAtEdge(const PF_EffectWorld& image, A_long column, A_long row, A_long fx,
                          A_long fy) {
  WeightedSum sum;
  for (A_long j = 0; j < 2; ++j) {
    for (A_long i = 0; i < 2; ++i) {
      const double weight = static_cast<double>(i != 0 ? fx : kOnePixel - fx) *
                            static_cast<double>(j != 0 ? fy : kOnePixel - fy);
      const bool inside =
          column + i >= 0 && column + i < image.width && row + j >= 0 && row + j < image.height;
      // Not even an infinite colour may shine through a weight of nothing.
      if (inside && weight > 0) {
        sum.Add(RowOf<const Pixel>(image, row + j)[column + i], weight);
      }
    }
  }
  return sum.Average<Pixel>(static_cast<double>(kOnePixel * kOnePixel));
}

/// The four neighbours, weighted by nearness and alpha; colour comes back straight. Exact and
/// rounded to nearest at 8 bit, within a rounding of double elsewhere.
template <class Pixel>
Pixel SampleBetween(const PF_EffectWorld& image, PF_Fixed x, PF_Fixed y) {
  const A_long column = x >> 16;
  const A_long row = y >> 16;
  if (column < -1 || column >= image.width || row < -1 || row >= image.height) {
    return Pixel{};
  }
  const A_long fx = x & 0xFFFF;
  const A_long fy = y & 0xFFFF;
  if (column < 0 || column >= image.width - 1 || row < 0 || row >= image.height - 1 || fx == 0 ||
      fy == 0) {
    return SampleBetweenAtEdge<Pixel>(image, column, row, fx, fy);
  }
  const Pixel* upper = RowOf<const Pixel>(image, row) + column;
  const Pixel* lower = RowOf<const Pixel>(image, row + 1) + column;
  const double below = fy;
  const Lanes sum = WeightedPair(upper, fx) * (static_cast<double>(kOnePixel) - below) +
                    WeightedPair(lower, fx) * below;
  return StraightAverageOfFour<Pixel>(sum);
}

/// A stretch of one axis that a box covers inside the image: a first and a last pixel with their
/// covered parts in 16.16, and the whole pixels [first + 1, last) between.
struct BoxAxis {
  A_long first = 0;
  A_long last = 0;
  std::int64_t firstCover = 0;
  std::int64_t lastCover = 0;  ///< 0 where first and last are the same pixel
};

/// The axis of a box of `radius` around `centre`, cut to [0, length); false when nothing is left.
inline bool CoverAxis(PF_Fixed centre, std::int64_t radius, A_long length, BoxAxis& axis) {
  const std::int64_t low = std::max<std::int64_t>(centre + kHalfPixel - radius, 0);
  const std::int64_t high =
      std::min<std::int64_t>(centre + kHalfPixel + radius, length * kOnePixel);
  if (low >= high) {
    return false;
  }
  axis.first = static_cast<A_long>(low >> 16);
  axis.last = static_cast<A_long>((high - 1) >> 16);
  axis.firstCover = std::min(high, (axis.first + 1) * kOnePixel) - low;
  axis.lastCover = axis.last > axis.first ? high - axis.last * kOnePixel : 0;
  return true;
}

/// The weighted sum of one row under a box.
template <bool kCareful, class Pixel>
Lanes SumRow(const PF_EffectWorld& image, A_long row, const BoxAxis& across) {
  const auto* pixels = RowOf<const Pixel>(image, row);
  Lanes total = LoadPremultiplied(pixels[across.first]) * static_cast<double>(across.firstCover);
  if (across.last > across.first) {
    PixelSum<Pixel, kCareful> middle;
    middle.AddRun(pixels + across.first + 1, pixels + across.last);
    total = total + middle.ToLanes() * static_cast<double>(kOnePixel) +
            LoadPremultiplied(pixels[across.last]) * static_cast<double>(across.lastCover);
  }
  return total;
}

/// The same over the rows that a box covers wholly: its left column, its inside, its right column.
template <bool kCareful, class Pixel>
VELTRA_FORCE_INLINE Lanes SumWholeRows(const PF_EffectWorld& image, AreaSums<Pixel>* sums,
                                       const BoxAxis& across, const BoxAxis& down) {
  PixelSum<Pixel, kCareful> left;
  PixelSum<Pixel, kCareful> middle;
  PixelSum<Pixel, kCareful> right;
  for (A_long row = down.first + 1; row < down.last; ++row) {
    const auto* pixels = RowOf<const Pixel>(image, row);
    left.Add(pixels[across.first]);
    right.Add(pixels[across.last]);
  }
  AddRectangle(image, sums, {across.first + 1, down.first + 1, across.last, down.last}, middle);
  Lanes total = left.ToLanes() * static_cast<double>(across.firstCover);
  if (across.last > across.first) {
    total = total + middle.ToLanes() * static_cast<double>(kOnePixel) +
            right.ToLanes() * static_cast<double>(across.lastCover);
  }
  return total;
}

template <bool kCareful, class Pixel>
VELTRA_FORCE_INLINE Lanes SumBox(const PF_EffectWorld& image, AreaSums<Pixel>* sums,
                                 const BoxAxis& across, const BoxAxis& down) {
  Lanes total =
      SumRow<kCareful, Pixel>(image, down.first, across) * static_cast<double>(down.firstCover);
  if (down.last > down.first) {
    total = total +
            SumWholeRows<kCareful>(image, sums, across, down) * static_cast<double>(kOnePixel) +
            SumRow<kCareful, Pixel>(image, down.last, across) * static_cast<double>(down.lastCover);
  }
  return total;
}

/// For boxes where the quick way came upon a colour that is NaN.
inline VELTRA_NOINLINE Lanes SumBoxCarefully(const PF_EffectWorld& image,
                                             AreaSums<PF_PixelFloat>* sums, const BoxAxis& across,
                                             const BoxAxis& down) {
  return SumBox<true>(image, sums, across, down);
}

/// The exact average over the box of the given 16.16 radii: partly covered pixels count by their
/// covered part, the outside as transparent, colour by alpha. Radii are held between the smallest
/// step and kMaxAreaRadius. `sums` may be null; where given, they must be of this image.
template <class Pixel>
Pixel SampleArea(const PF_EffectWorld& image, AreaSums<Pixel>* sums, PF_Fixed x, PF_Fixed y,
                 PF_Fixed xRadius, PF_Fixed yRadius) {
  const std::int64_t rx = std::clamp<std::int64_t>(xRadius, 1, kMaxAreaRadius);
  const std::int64_t ry = std::clamp<std::int64_t>(yRadius, 1, kMaxAreaRadius);
  BoxAxis across;
  BoxAxis down;
  if (!CoverAxis(x, rx, image.width, across) || !CoverAxis(y, ry, image.height, down)) {
    return Pixel{};
  }
  Lanes total = SumBox<false>(image, sums, across, down);
  if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
    if (AnyNan(total)) {
      total = SumBoxCarefully(image, sums, across, down);
    }
  }
  return StraightAverage<Pixel>(total, static_cast<double>(4 * rx * ry));
}

}  // namespace veltra::host
