// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Small frames for the tests of a frame's tables, drawn pixel by pixel.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "effect/render/pixel/frame_tables.h"
#include "effect/render/pixel/place_pixel.h"
#include "tests/conformance/stage.h"
#include "tests/reference/geometry.h"

namespace veltra::unit {

inline constexpr A_long kWidth = 96;
inline constexpr A_long kHeight = 48;

/// A pixel that tells where the layer was sampled and with what box.
template <class Pixel>
PF_Err SamplePosition(PF_ProgPtr /*effectRef*/, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                      Pixel* out) {
  using Channel = decltype(Pixel::alpha);
  const auto mixed = static_cast<std::uint32_t>(x) * 2654435761U ^
                     static_cast<std::uint32_t>(y) * 40503U ^
                     static_cast<std::uint32_t>(params->x_radius + params->y_radius);
  *out = {static_cast<Channel>(std::is_same_v<Channel, float> ? 1 : 200),
          static_cast<Channel>(mixed & 255U), static_cast<Channel>(mixed >> 8 & 255U),
          static_cast<Channel>(mixed >> 16 & 255U)};
  return PF_Err_NONE;
}

template <class Pixel>
struct Functions;
template <>
struct Functions<PF_Pixel8> {
  static constexpr auto kPlain = PlacePixel8;
  static constexpr auto kFiltered = PlacePixelFiltered8;
};
template <>
struct Functions<PF_Pixel16> {
  static constexpr auto kPlain = PlacePixel16;
  static constexpr auto kFiltered = PlacePixelFiltered16;
};
template <>
struct Functions<PF_PixelFloat> {
  static constexpr auto kPlain = PlacePixelFloat;
  static constexpr auto kFiltered = PlacePixelFilteredFloat;
};

/// A strip from the upper left to the lower right that covers a third of the frame.
inline PlacementRecord SlantedRecord() {
  reference::GeometryInput input;
  input.controls.startX = conformance::Fixed(20);
  input.controls.startY = conformance::Fixed(12);
  input.controls.endX = conformance::Fixed(70);
  input.controls.endY = conformance::Fixed(40);
  input.controls.size = conformance::Fixed(50);
  input.frameWidth = kWidth;
  input.frameHeight = kHeight;
  input.layerWidth = 64;
  input.layerHeight = 32;
  reference::Placement placement =
      reference::ComputePlacement(input, reference::StandardMaths()).value();
  placement.opacity = 1.0F;
  return reference::RecordFrom<PlacementRecord>(placement);
}

template <class Pixel>
PlacementRecord WithSampler(PlacementRecord record, bool filtered) {
  (filtered ? record.areaSample : record.subpixelSample) =
      reinterpret_cast<AnySampleFn>(SamplePosition<Pixel>);
  return record;
}

/// Every pixel of the frame, row by row or in another order.
inline std::vector<std::pair<A_long, A_long>> Positions(std::optional<unsigned> shuffle = {}) {
  std::vector<std::pair<A_long, A_long>> positions;
  for (A_long y = 0; y < kHeight; ++y) {
    for (A_long x = 0; x < kWidth; ++x) {
      positions.emplace_back(x, y);
    }
  }
  if (shuffle) {
    std::shuffle(positions.begin(), positions.end(), std::mt19937(*shuffle));
  }
  return positions;
}

template <class Pixel>
std::vector<Pixel> Draw(const PlacementRecord& record, bool filtered,
                        const std::vector<std::pair<A_long, A_long>>& positions = Positions()) {
  std::vector<Pixel> pixels(std::size_t{kWidth} * kHeight);
  PF_IteratePixelFn<Pixel> function =
      filtered ? Functions<Pixel>::kFiltered : Functions<Pixel>::kPlain;
  auto* refcon = const_cast<PlacementRecord*>(&record);
  for (const auto& [x, y] : positions) {
    function(
        refcon, x, y, nullptr,
        &pixels[std::size_t{kWidth} * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)]);
  }
  return pixels;
}

/// A layer for the seams of Tile, which read its pixels.
template <class Pixel>
struct PaintedLayer {
  static constexpr A_long kLayerWidth = 22;
  static constexpr A_long kLayerHeight = 32;

  PaintedLayer() : pixels(std::size_t{kLayerWidth} * kLayerHeight) {
    using Channel = decltype(Pixel::alpha);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      const auto value = static_cast<Channel>(i % 200 + 1);
      pixels[i] = {value, value, value, value};
    }
    world.data = pixels.data();
    world.rowbytes = static_cast<A_long>(kLayerWidth * sizeof(Pixel));
    world.width = kLayerWidth;
    world.height = kLayerHeight;
  }

  std::vector<Pixel> pixels;
  PF_EffectWorld world{};
};

/// The record with this layer; in Tile with several seams on the strip.
template <class Pixel>
PlacementRecord WithLayer(PlacementRecord record, PaintedLayer<Pixel>& layer, bool tile) {
  record.samplingParams.src = &layer.world;
  record.tileMode = tile ? 1 : 0;
  record.tilePeriod = PaintedLayer<Pixel>::kLayerWidth - 1;
  record.tileOffset = 5;
  return record;
}

template <class Pixel>
bool Same(const std::vector<Pixel>& a, const std::vector<Pixel>& b) {
  return std::memcmp(a.data(), b.data(), a.size() * sizeof(Pixel)) == 0;
}

template <class Pixel>
std::ptrdiff_t Drawn(const std::vector<Pixel>& pixels) {
  return std::count_if(pixels.begin(), pixels.end(), [](const Pixel& p) { return p.alpha > 0; });
}

}  // namespace veltra::unit
