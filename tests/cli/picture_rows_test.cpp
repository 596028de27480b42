// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Conversions of samples, over all values where that is possible.
#include "pictures/picture_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace veltra::pictures {
namespace {

using host::Depth;

std::vector<std::byte> Unpacked(SampleType type, Depth depth, const void* rgba, int pixels,
                                bool premultiplied = false) {
  PictureInfo info;
  info.width = pixels;
  info.height = 1;
  info.channels = 4;
  info.stored = type;
  info.rowType = type;
  info.premultiplied = premultiplied;
  std::vector<std::byte> out(static_cast<std::size_t>(pixels * host::BytesPerPixel(depth)));
  UnpackRow(info, static_cast<const std::byte*>(rgba), depth, out.data());
  return out;
}

template <class Sample>
std::vector<Sample> Packed(const std::vector<std::byte>& world, Depth depth, SampleType type,
                           bool premultiplied = false) {
  const int pixels = static_cast<int>(world.size()) / host::BytesPerPixel(depth);
  std::vector<Sample> out(static_cast<std::size_t>(pixels) * 4);
  PackRow(depth, world.data(), pixels, {type, true, premultiplied},
          reinterpret_cast<std::byte*>(out.data()));
  return out;
}

TEST(PictureRows, EveryEightBitValueSurvivesEveryDepth) {
  std::vector<std::uint8_t> rgba(256 * 4);
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    rgba[i] = static_cast<std::uint8_t>((i / 4 + 61 * (i % 4)) & 255U);
  }
  for (const Depth depth : host::kAllDepths) {
    const auto world = Unpacked(SampleType::kUint8, depth, rgba.data(), 256);
    EXPECT_EQ(Packed<std::uint8_t>(world, depth, SampleType::kUint8), rgba)
        << host::DepthName(depth);
  }
}

TEST(PictureRows, EverySixteenBitValueComesBackWithinOneStepAndFromFloatExactly) {
  std::vector<std::uint16_t> rgba(65536 * 4);
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    rgba[i] = static_cast<std::uint16_t>(i / 4);
  }
  const auto world = Unpacked(SampleType::kUint16, Depth::k16, rgba.data(), 65536);
  const auto back = Packed<std::uint16_t>(world, Depth::k16, SampleType::kUint16);
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    ASSERT_LE(std::abs(static_cast<int>(back[i]) - rgba[i]), 1) << rgba[i];
  }
  const auto wide = Unpacked(SampleType::kUint16, Depth::kFloat, rgba.data(), 65536);
  EXPECT_EQ(Packed<std::uint16_t>(wide, Depth::kFloat, SampleType::kUint16), rgba);
}

TEST(PictureRows, FullScaleStaysFullScale) {
  const std::vector<std::uint8_t> white(4, 255);
  const auto world = Unpacked(SampleType::kUint8, Depth::k16, white.data(), 1);
  EXPECT_EQ(reinterpret_cast<const PF_Pixel16*>(world.data())->alpha, 32768);
  EXPECT_EQ(Packed<float>(world, Depth::k16, SampleType::kFloat)[0], 1.0F);
}

TEST(PictureRows, ChannelsKeepTheirPlaces) {
  const std::vector<std::uint8_t> rgba = {1, 2, 3, 4, 5, 6, 7, 8};
  const auto world = Unpacked(SampleType::kUint8, Depth::k8, rgba.data(), 2);
  const auto* pixel = reinterpret_cast<const PF_Pixel8*>(world.data()) + 1;
  EXPECT_EQ(pixel->red, 5);
  EXPECT_EQ(pixel->green, 6);
  EXPECT_EQ(pixel->blue, 7);
  EXPECT_EQ(pixel->alpha, 8);
}

TEST(PictureRows, DividingByTinyAlphaStaysFinite) {
  const std::vector<float> rgba = {1.0F, 0.5F, 0.0F, 1e-45F};
  const auto world = Unpacked(SampleType::kFloat, Depth::kFloat, rgba.data(), 1, true);
  const auto* pixel = reinterpret_cast<const PF_PixelFloat*>(world.data());
  EXPECT_LT(pixel->red, std::numeric_limits<float>::infinity());
  EXPECT_EQ(pixel->blue, 0.0F);
}

TEST(PictureRows, MultipliedIntegersNeverExceedFullScale) {
  const std::vector<std::uint8_t> rgba = {200, 100, 50, 100};  // brighter than its alpha allows
  const auto world = Unpacked(SampleType::kUint8, Depth::k8, rgba.data(), 1, true);
  const auto* pixel = reinterpret_cast<const PF_Pixel8*>(world.data());
  EXPECT_EQ(pixel->red, 255);
  EXPECT_EQ(pixel->green, 255);
  EXPECT_EQ(pixel->blue, 128);
}

/// A multiplied colour of every alpha, and what dividing it should give, rounded to nearest.
template <class Sample>
void ExpectDivided(SampleType type, Depth depth, std::uint32_t full, std::uint32_t step) {
  std::vector<Sample> rgba;
  std::vector<std::uint32_t> expected;
  for (std::uint32_t alpha = 0; alpha <= full; ++alpha) {
    for (std::uint32_t colour = 0; colour <= full; colour += step) {
      rgba.insert(rgba.end(), {static_cast<Sample>(colour), static_cast<Sample>(full),
                               static_cast<Sample>(0), static_cast<Sample>(alpha)});
      expected.push_back(alpha == 0
                             ? colour
                             : static_cast<std::uint32_t>(std::min<std::uint64_t>(
                                   full, (std::uint64_t{colour} * full + alpha / 2) / alpha)));
    }
  }
  const auto world = Unpacked(type, depth, rgba.data(), static_cast<int>(expected.size()), true);
  const auto back = Packed<Sample>(world, depth, type);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_EQ(back[4 * i], expected[i]) << rgba[4 * i] + 0 << " / " << rgba[4 * i + 3] + 0;
    ASSERT_EQ(back[4 * i + 1], full);
    ASSERT_EQ(back[4 * i + 2], 0);
    ASSERT_EQ(back[4 * i + 3], rgba[4 * i + 3]);
  }
}

TEST(PictureRows, MultipliedIntegersAreDividedToTheNearest) {
  ExpectDivided<std::uint8_t>(SampleType::kUint8, Depth::k8, 255, 1);
  // The float world keeps what 16 bits hold, where the 16-bit one would round again.
  ExpectDivided<std::uint16_t>(SampleType::kUint16, Depth::kFloat, 65535, 257 * 51);
}

}  // namespace
}  // namespace veltra::pictures
