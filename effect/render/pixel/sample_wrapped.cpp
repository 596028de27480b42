// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tile seam sampler.

#include "effect/render/pixel/sample_wrapped.h"

#include <algorithm>
#include <cmath>

#include "effect/render/pixel/pixel_depths.h"

namespace veltra {
namespace {

constexpr float kMinRadius = 1.0F;
constexpr float kMaxRadius = 250.0F;

// Weights below it do not count; with both profiles above it a pixel weighs at least 0.0001.
constexpr float kMinWeight = 0.01F;

/// NaN counts as the smallest radius.
float ClampRadius(float radius) {
  const float atLeast = radius > kMinRadius ? radius : kMinRadius;
  return atLeast < kMaxRadius ? atLeast : kMaxRadius;
}

std::int32_t FloorToInt32(float value) {
  return numerics::TruncateToInt32(std::floor(value));
}

/// Inclusive range of rows or columns with a positive weight; the + 1 drops the first one, whose
/// weight would not be positive.
struct Range {
  std::int32_t first;
  std::int32_t last;
};

Range RangeAround(float centre, float radius) {
  return {FloorToInt32(centre - radius) + 1, FloorToInt32(centre + radius)};
}

/// At least two entries long, as far as nothing else limits it.
std::int32_t LastOf(std::int32_t first, std::int32_t last) {
  return last > first ? last : first + 1;
}

float ParabolicWeight(float centre, std::int32_t position, float radius) {
  const float distance = (centre - static_cast<float>(position)) / radius;
  return 1.0F - distance * distance;
}

/// A column of the layer for any column of the endless strip.
std::int32_t WrapColumn(std::int32_t column, std::int32_t period) {
  if (period <= 0) {
    return 0;
  }
  const std::int32_t remainder = column % period;
  return remainder < 0 ? remainder + period : remainder;
}

struct Sums {
  float weight = 0.0F;
  float alpha = 0.0F;
  float red = 0.0F;
  float green = 0.0F;
  float blue = 0.0F;
};

template <class Pixel>
void AddPixel(const Pixel& pixel, float weight, Sums* sums) {
  const float alphaWeight = static_cast<float>(pixel.alpha) * weight;
  sums->weight += weight;
  sums->alpha += alphaWeight;
  sums->red += static_cast<float>(pixel.red) * alphaWeight;
  sums->green += static_cast<float>(pixel.green) * alphaWeight;
  sums->blue += static_cast<float>(pixel.blue) * alphaWeight;
}

/// Row by row and within a row column by column: float sums depend on the order.
template <class Pixel>
Sums SumArea(const PF_EffectWorld& layer, float x, float y, float radiusX, float radiusY,
             Range columns, Range rows) {
  const std::int32_t period = layer.width - 1;
  Sums sums;
  for (std::int32_t r = rows.first; r <= rows.last; ++r) {
    const float weightY = ParabolicWeight(y, r, radiusY);
    if (weightY < kMinWeight) {
      continue;
    }
    const std::byte* row = RowOf(layer, r);
    for (std::int32_t c = columns.first; c <= columns.last; ++c) {
      const float weightX = ParabolicWeight(x, c, radiusX);
      if (weightX < kMinWeight) {
        continue;
      }
      AddPixel(LoadPixel<Pixel>(row, WrapColumn(c, period)), weightX * weightY, &sums);
    }
  }
  return sums;
}

template <class Depth>
void SampleWrapped(float x, float y, float radiusX, float radiusY, const PF_SampPB& params,
                   typename Depth::Pixel* result) {
  const PF_EffectWorld& layer = *params.src;
  const float rx = ClampRadius(radiusX);
  const float ry = ClampRadius(radiusY);
  Range columns = RangeAround(x, rx);
  columns.last = LastOf(columns.first, columns.last);
  Range rows = RangeAround(y, ry);
  rows.first = std::max(rows.first, 0);
  if (rows.first > layer.height - 1) {
    result->alpha = 0;
    return;
  }
  rows.last = std::min(LastOf(rows.first, rows.last), layer.height - 1);

  const Sums sums = SumArea<typename Depth::Pixel>(layer, x, y, rx, ry, columns, rows);
  if (!(sums.alpha > 0.0F) || !(sums.weight > 0.0F)) {
    *result = {};
    return;
  }
  const float k = 1.0F / sums.alpha;
  *result = {Depth::FromFloat(sums.alpha / sums.weight), Depth::FromFloat(sums.red * k),
             Depth::FromFloat(sums.green * k), Depth::FromFloat(sums.blue * k)};
}

}  // namespace

void SampleWrapped8(float x, float y, float radiusX, float radiusY, const PF_SampPB& params,
                    PF_Pixel8* result) {
  SampleWrapped<Depth8>(x, y, radiusX, radiusY, params, result);
}

void SampleWrapped16(float x, float y, float radiusX, float radiusY, const PF_SampPB& params,
                     PF_Pixel16* result) {
  SampleWrapped<Depth16>(x, y, radiusX, radiusY, params, result);
}

void SampleWrappedFloat(float x, float y, float radiusX, float radiusY, const PF_SampPB& params,
                        PF_PixelFloat* result) {
  SampleWrapped<DepthFloat>(x, y, radiusX, radiusY, params, result);
}

}  // namespace veltra
