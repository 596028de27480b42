// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Straight-alpha composites of the three depths.

#include "render/pixel/pixel_depths.h"

namespace veltra {

void CompositeOver8(const PF_Pixel8& top, const PF_Pixel8& bottom, PF_Pixel8* result) {
  const std::uint32_t topAlpha = top.alpha;
  const std::uint32_t bottomAlpha = bottom.alpha;
  if (bottomAlpha == 0 || topAlpha == 255) {
    *result = top;
    return;
  }
  if (topAlpha == 0) {
    *result = bottom;
    return;
  }
  const std::uint32_t topWeight = topAlpha * 255;
  const std::uint32_t bottomWeight = (255 - topAlpha) * bottomAlpha;
  const std::uint32_t weight = topWeight + bottomWeight;
  const auto mix = [&](std::uint32_t topChannel, std::uint32_t bottomChannel) {
    return static_cast<A_u_char>((topChannel * topWeight + bottomChannel * bottomWeight) / weight);
  };
  *result = {static_cast<A_u_char>(bottomAlpha - topAlpha * bottomAlpha / 255 + topAlpha),
             mix(top.red, bottom.red), mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

void CompositeOver16(const PF_Pixel16& top, const PF_Pixel16& bottom, PF_Pixel16* result) {
  const std::uint32_t topAlpha = top.alpha;
  const std::uint32_t bottomAlpha = bottom.alpha;
  if (bottomAlpha == 0) {
    *result = top;
    return;
  }
  if (topAlpha == 0) {
    *result = bottom;
    return;
  }
  const std::uint32_t bottomWeight = ((32768U - topAlpha) * bottomAlpha) >> 15;
  const std::uint32_t weight = bottomWeight + topAlpha;
  const auto mix = [&](std::uint32_t topChannel, std::uint32_t bottomChannel) {
    return static_cast<A_u_short>((bottomChannel * bottomWeight + topChannel * topAlpha) / weight);
  };
  *result = {static_cast<A_u_short>(bottomAlpha - ((topAlpha * bottomAlpha) >> 15) + topAlpha),
             mix(top.red, bottom.red), mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

void CompositeOverFloat(const PF_PixelFloat& top, const PF_PixelFloat& bottom,
                        PF_PixelFloat* result) {
  if (bottom.alpha <= 0.0F) {
    *result = top;
    return;
  }
  if (top.alpha <= 0.0F) {
    *result = bottom;
    return;
  }
  const float bottomWeight = (1.0F - top.alpha) * bottom.alpha;
  const float k = 1.0F / (bottomWeight + top.alpha);
  const auto mix = [&](float topChannel, float bottomChannel) {
    return (bottomWeight * bottomChannel + top.alpha * topChannel) * k;
  };
  *result = {(top.alpha + bottom.alpha) - top.alpha * bottom.alpha, mix(top.red, bottom.red),
             mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

}  // namespace veltra
