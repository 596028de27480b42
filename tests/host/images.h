// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Images and exact averages for the host's tests.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>

#include "host/pixels/world.h"

namespace veltra::host {

using AllPixels = ::testing::Types<PF_Pixel8, PF_Pixel16, PF_PixelFloat>;

template <class Pixel>
using Channel = decltype(Pixel::alpha);

/// Full scale of a channel.
template <class Pixel>
constexpr double FullScale() {
  return std::is_same_v<Pixel, PF_Pixel8>    ? 255.0
         : std::is_same_v<Pixel, PF_Pixel16> ? 32768.0
                                             : 1.0;
}

inline World MakeWorld(A_long width, A_long height, Depth depth, const WorldLayout& layout = {}) {
  auto made = World::Create(width, height, depth, layout);
  EXPECT_TRUE(made) << made.ErrorText();
  return made ? std::move(*made) : World();
}

template <class Pixel>
Pixel MakePixel(double alpha, double red, double green, double blue) {
  const auto channel = [](double value) {
    return static_cast<Channel<Pixel>>(std::is_floating_point_v<Channel<Pixel>>
                                           ? value
                                           : std::floor(value * FullScale<Pixel>() + 0.5));
  };
  return {channel(alpha), channel(red), channel(green), channel(blue)};
}

/// Every pixel random, a quarter of them transparent but coloured, a quarter opaque.
template <class Pixel>
World RandomWorld(A_long width, A_long height, unsigned seed) {
  World world = MakeWorld(width, height, kDepthOf<Pixel>);
  std::mt19937 random(seed);
  const auto unit = [&random] { return static_cast<double>(random()) / 4294967295.0; };
  for (A_long y = 0; y < height; ++y) {
    for (Pixel& pixel : world.Row<Pixel>(y)) {
      const double kind = unit();
      pixel = MakePixel<Pixel>(kind < 0.25  ? 0.0
                               : kind < 0.5 ? 1.0
                                            : unit(),
                               unit(), unit(), unit());
    }
  }
  return world;
}

template <class Pixel>
bool Same(const Pixel& a, const Pixel& b) {
  return a.alpha == b.alpha && a.red == b.red && a.green == b.green && a.blue == b.blue;
}

template <class Pixel>
std::string Show(const Pixel& pixel) {
  return std::to_string(pixel.alpha) + " " + std::to_string(pixel.red) + " " +
         std::to_string(pixel.green) + " " + std::to_string(pixel.blue);
}

/// The first pixel in which two images of one size differ, with both values; empty when none.
template <class Pixel>
std::string FirstDifference(const World& a, const World& b) {
  for (A_long y = 0; y < a.Height(); ++y) {
    for (A_long x = 0; x < a.Width(); ++x) {
      const Pixel& left = a.Row<Pixel>(y)[static_cast<std::size_t>(x)];
      const Pixel& right = b.Row<Pixel>(y)[static_cast<std::size_t>(x)];
      if (!Same(left, right)) {
        return "(" + std::to_string(x) + ", " + std::to_string(y) + "): " + Show(left) + " / " +
               Show(right);
      }
    }
  }
  return {};
}

}  // namespace veltra::host
