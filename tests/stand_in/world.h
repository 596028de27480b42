// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pixel buffers for tests: any depth, any stride, part of a larger buffer, guarded by canaries.
#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

#include "tests/stand_in/depth.h"

namespace veltra::stand_in {

/// A pixel of channels in 0 to 1: integer channels are truncated.
template <class Pixel>
Pixel MakePixel(double alpha, double red, double green, double blue);

/// Where a world lies in its buffer.
struct Layout {
  A_long left = 3;        ///< pixels of the buffer left of the world
  A_long top = 2;         ///< rows above it
  A_long right = 2;       ///< pixels right of it
  A_long bottom = 2;      ///< rows below it
  A_long strayBytes = 0;  ///< added to every row; a multiple of the channel's size aligns pixels
  A_long leadBytes = 0;   ///< in front of the buffer's first row
  bool upwards = false;   ///< the first row lies last in memory, and the row length is negative
  A_long guardBytes = 0;  ///< in front of all and after all
};

/// Owns a buffer filled with canaries and shows a world in the middle of it. The world's pixels
/// start out as noise, so that a pixel that should have been written and was not shows.
class World {
 public:
  World(Depth depth, A_long width, A_long height, const Layout& layout = {});
  World(World&&) = default;
  World& operator=(World&&) = default;

  /// As the effect sees it. A test may change what it says of itself.
  PF_EffectWorld world{};

  Depth depth() const { return depth_; }
  /// As it was made, whatever `world` says.
  A_long width() const { return width_; }
  A_long height() const { return height_; }

  template <class Pixel>
  Pixel At(A_long x, A_long y) const {
    Pixel pixel;
    std::memcpy(&pixel, AddressOf(x, y), sizeof(pixel));
    return pixel;
  }
  template <class Pixel>
  void Set(A_long x, A_long y, const Pixel& pixel) {
    std::memcpy(MutableAddressOf(x, y), &pixel, sizeof(pixel));
  }

  /// Every pixel from values in 0 to 1; out-of-range ones only make sense in float.
  void Fill(double alpha, double red, double green, double blue);
  void SetChannels(A_long x, A_long y, const double (&argb)[4]);
  /// A channel as stored (not scaled), 0 alpha to 3 blue.
  double Channel(A_long x, A_long y, int channel) const;

  /// The pixels without padding, row by row.
  std::vector<unsigned char> Pixels() const;
  void SetPixels(const std::vector<unsigned char>& bytes);
  /// Whether every byte outside the world's pixels is as it was made.
  bool CanariesIntact() const;

 private:
  std::size_t OffsetOf(A_long x, A_long y) const;
  const unsigned char* AddressOf(A_long x, A_long y) const;
  unsigned char* MutableAddressOf(A_long x, A_long y);

  Depth depth_;
  std::vector<unsigned char> buffer_;
  std::size_t offset_ = 0;  ///< of the first pixel of the first row
  A_long width_ = 0;
  A_long height_ = 0;
  A_long rowBytes_ = 0;
};

/// Of the world's pixels.
std::uint64_t HashOf(const World& world);

}  // namespace veltra::stand_in
