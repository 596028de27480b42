// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pixel buffers for tests: any depth, any stride, part of a larger buffer, guarded by canaries.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "host_api/world.h"

namespace veltra::conformance {

enum class Depth { k8, k16, kFloat };

A_long PixelSize(Depth depth);
PF_PixelFormat FormatOf(Depth depth);
/// The full value of a channel: 255, 32768 or 1.
double FullValue(Depth depth);
std::string NameOf(Depth depth);

template <class Pixel>
inline constexpr Depth kDepthOf = Depth::k8;
template <>
inline constexpr Depth kDepthOf<PF_Pixel16> = Depth::k16;
template <>
inline constexpr Depth kDepthOf<PF_PixelFloat> = Depth::kFloat;

/// A channel's value in 0 to 1 terms for any depth: integer channels are truncated.
template <class Pixel>
Pixel MakePixel(double alpha, double red, double green, double blue);

/// Where a world lies in its buffer.
struct Layout {
  A_long left = 3;        ///< pixels of the buffer left of the world
  A_long top = 2;         ///< rows above it
  A_long right = 2;       ///< pixels right of it
  A_long bottom = 2;      ///< rows below it
  A_long strayBytes = 0;  ///< added to every row; keep it a multiple of the channel's size
};

/// Owns a buffer filled with canaries and shows a world in the middle of it. The world's pixels
/// start out as noise, so that a pixel that should have been written and was not shows.
class TestWorld {
 public:
  TestWorld(Depth depth, A_long width, A_long height, const Layout& layout = {});
  TestWorld(TestWorld&&) = default;
  TestWorld& operator=(TestWorld&&) = default;

  PF_EffectWorld world{};

  Depth depth() const { return depth_; }

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
  const unsigned char* AddressOf(A_long x, A_long y) const;
  unsigned char* MutableAddressOf(A_long x, A_long y);

  Depth depth_;
  std::vector<unsigned char> buffer_;
  std::size_t offset_ = 0;
  A_long width_ = 0;
  A_long height_ = 0;
  A_long rowBytes_ = 0;
};

/// 64-bit FNV-1a of the world's pixels.
std::uint64_t HashOf(const TestWorld& world);

}  // namespace veltra::conformance
