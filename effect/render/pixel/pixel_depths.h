// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The three colour depths: how alpha is limited, how "over" is computed, how a pixel is addressed,
// and one type for each with everything that differs.
#pragma once

#include <cstddef>
#include <cstring>

#include "effect/render/pixel/place_pixel.h"
#include "effect/render/pixel/sample_wrapped.h"
#include "host_api/suites.h"
#include "host_api/world.h"
#include "numerics/convert.h"

namespace veltra {

// ---- Alpha limits ----

/// Limits a scaled alpha to [0, full value] and truncates it toward zero; NaN gives 0.
inline A_u_char ClampAlpha8(float alpha) {
  if (!(alpha > 0.0F)) {
    return 0;
  }
  return alpha >= 255.0F ? A_u_char{255} : static_cast<A_u_char>(numerics::TruncateToInt32(alpha));
}

inline A_u_short ClampAlpha16(float alpha) {
  if (!(alpha > 0.0F)) {
    return 0;
  }
  return alpha >= 32768.0F ? A_u_short{32768}
                           : static_cast<A_u_short>(numerics::TruncateToInt32(alpha));
}

inline float ClampAlphaFloat(float alpha) {
  if (!(alpha > 0.0F)) {
    return 0.0F;
  }
  return alpha >= 1.0F ? 1.0F : alpha;
}

// ---- Composite ----

// Top over bottom, straight alpha. `result` may be the same storage as `bottom`, whose values are
// therefore all read before anything is written. A transparent bottom gives the top whole, colour
// included, also when both are transparent.

/// Integer steps of this depth: both weights scaled by 255 and exact divisions.
inline void CompositeOver8(const PF_Pixel8& top, const PF_Pixel8& bottom, PF_Pixel8* result) {
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
    const std::uint32_t sum = topChannel * topWeight + bottomChannel * bottomWeight;
    // Footage is opaque as a rule, and dividing by a constant is a multiplication.
    return static_cast<A_u_char>(bottomAlpha == 255 ? sum / (255 * 255) : sum / weight);
  };
  *result = {static_cast<A_u_char>(bottomAlpha - topAlpha * bottomAlpha / 255 + topAlpha),
             mix(top.red, bottom.red), mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

/// Integer steps of this depth: divisions by 32768 are shifts. The result's alpha and the divisor
/// of the colours may differ by one; an opaque top needs no short cut to come out exactly.
inline void CompositeOver16(const PF_Pixel16& top, const PF_Pixel16& bottom, PF_Pixel16* result) {
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
    const std::uint32_t sum = bottomChannel * bottomWeight + topChannel * topAlpha;
    // Over an opaque bottom the weight is known, and the division a shift.
    return static_cast<A_u_short>(bottomAlpha == 32768 && topAlpha <= 32768 ? sum >> 15
                                                                            : sum / weight);
  };
  *result = {static_cast<A_u_short>(bottomAlpha - ((topAlpha * bottomAlpha) >> 15) + topAlpha),
             mix(top.red, bottom.red), mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

/// Single precision; nothing is clamped.
inline void CompositeOverFloat(const PF_PixelFloat& top, const PF_PixelFloat& bottom,
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

// ---- One type per depth ----

// All that differs between the depths: arithmetic, the host's suites and the functions by name. A
// mean of channels becomes a channel by truncation, being within the range but for rounding. An
// alpha from a tile seam is limited in the integer depths only.

struct Depth8 {
  using Pixel = PF_Pixel8;
  using Channel = A_u_char;
  static constexpr Channel kFull = 255;
  static Channel ClampAlpha(float alpha) { return ClampAlpha8(alpha); }
  static Channel SeamAlpha(float alpha) { return ClampAlpha8(alpha); }
  static void CompositeOver(const Pixel& top, Pixel* bottom) {
    CompositeOver8(top, *bottom, bottom);
  }
  static Channel FromFloat(float value) {
    return static_cast<Channel>(numerics::TruncateToInt32(value));
  }

  using SamplingSuite = PF_Sampling8Suite1;
  using IterateSuite = PF_Iterate8Suite1;
  static constexpr auto kSubpixel = &SamplingSuite::subpixel_sample;
  static constexpr auto kArea = &SamplingSuite::area_sample;
  static constexpr auto kSampleWrapped = SampleWrapped8;
  static constexpr auto kPlacePixel = PlacePixel8;
  static constexpr auto kPlacePixelFiltered = PlacePixelFiltered8;
};

struct Depth16 {
  using Pixel = PF_Pixel16;
  using Channel = A_u_short;
  static constexpr Channel kFull = 32768;
  static Channel ClampAlpha(float alpha) { return ClampAlpha16(alpha); }
  static Channel SeamAlpha(float alpha) { return ClampAlpha16(alpha); }
  static void CompositeOver(const Pixel& top, Pixel* bottom) {
    CompositeOver16(top, *bottom, bottom);
  }
  static Channel FromFloat(float value) {
    return static_cast<Channel>(numerics::TruncateToInt32(value));
  }

  using SamplingSuite = PF_Sampling16Suite1;
  using IterateSuite = PF_Iterate16Suite1;
  static constexpr auto kSubpixel = &SamplingSuite::subpixel_sample16;
  static constexpr auto kArea = &SamplingSuite::area_sample16;
  static constexpr auto kSampleWrapped = SampleWrapped16;
  static constexpr auto kPlacePixel = PlacePixel16;
  static constexpr auto kPlacePixelFiltered = PlacePixelFiltered16;
};

struct DepthFloat {
  using Pixel = PF_PixelFloat;
  using Channel = float;
  static constexpr Channel kFull = 1.0F;
  static Channel ClampAlpha(float alpha) { return ClampAlphaFloat(alpha); }
  static Channel SeamAlpha(float alpha) { return alpha; }
  static void CompositeOver(const Pixel& top, Pixel* bottom) {
    CompositeOverFloat(top, *bottom, bottom);
  }
  static Channel FromFloat(float value) { return value; }

  using SamplingSuite = PF_SamplingFloatSuite1;
  using IterateSuite = PF_iterateFloatSuite1;
  static constexpr auto kSubpixel = &SamplingSuite::subpixel_sample_float;
  static constexpr auto kArea = &SamplingSuite::area_sample_float;
  static constexpr auto kSampleWrapped = SampleWrappedFloat;
  static constexpr auto kPlacePixel = PlacePixelFloat;
  static constexpr auto kPlacePixelFiltered = PlacePixelFilteredFloat;
};

// ---- Addressing ----

/// First byte of a row. The product is formed in the address's own width: a float world of the
/// host's largest size exceeds 2 GiB, where a 32-bit product would point outside it.
inline const std::byte* RowOf(const PF_EffectWorld& world, A_long row) {
  return static_cast<const std::byte*>(world.data) +
         static_cast<std::ptrdiff_t>(row) * static_cast<std::ptrdiff_t>(world.rowbytes);
}

/// The pixel of a column. Copied, since a host's row need not be aligned for the pixel's type.
template <class Pixel>
Pixel LoadPixel(const std::byte* row, A_long column) {
  Pixel pixel;
  std::memcpy(&pixel, row + static_cast<std::ptrdiff_t>(column) * std::ptrdiff_t{sizeof(Pixel)},
              sizeof(Pixel));
  return pixel;
}

}  // namespace veltra
