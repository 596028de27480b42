// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The three pixel depths and what belongs to each.
#pragma once

#include <cstddef>

#include "host_api/types.h"

namespace veltra::host {

/// Full scale of a channel: 255, 32768 and 1.0.
enum class Depth { k8, k16, kFloat };

inline constexpr Depth kAllDepths[] = {Depth::k8, Depth::k16, Depth::kFloat};

constexpr A_long BytesPerPixel(Depth depth) {
  return depth == Depth::k8 ? 4 : depth == Depth::k16 ? 8 : 16;
}

/// Bits per channel as the smart commands state them: 8, 16 or 32.
constexpr A_short BitDepth(Depth depth) {
  return depth == Depth::k8 ? A_short{8} : depth == Depth::k16 ? A_short{16} : A_short{32};
}

constexpr PF_PixelFormat PixelFormatOf(Depth depth) {
  return depth == Depth::k8    ? PF_PixelFormat_ARGB32
         : depth == Depth::k16 ? PF_PixelFormat_ARGB64
                               : PF_PixelFormat_ARGB128;
}

/// "8", "16" or "float", as users write it.
constexpr const char* DepthName(Depth depth) {
  return depth == Depth::k8 ? "8" : depth == Depth::k16 ? "16" : "float";
}

/// What belongs to a depth, by its pixel type: one structure each.
template <class Pixel>
struct DepthTraits;

template <>
struct DepthTraits<PF_Pixel8> {
  static constexpr Depth kDepth = Depth::k8;
  using Channel = A_u_char;
  static constexpr double kFullScale = PF_MAX_CHAN8;
};

template <>
struct DepthTraits<PF_Pixel16> {
  static constexpr Depth kDepth = Depth::k16;
  using Channel = A_u_short;
  static constexpr double kFullScale = PF_MAX_CHAN16;
};

template <>
struct DepthTraits<PF_PixelFloat> {
  static constexpr Depth kDepth = Depth::kFloat;
  using Channel = float;
  static constexpr double kFullScale = 1.0;
};

template <class Pixel>
inline constexpr Depth kDepthOf = DepthTraits<Pixel>::kDepth;

/// A channel in units of the full scale.
template <class Pixel>
constexpr double UnitOf(typename DepthTraits<Pixel>::Channel channel) {
  return static_cast<double>(channel) / DepthTraits<Pixel>::kFullScale;
}

/// The channel nearest to a value in units of the full scale. Integers are rounded, halves up, and
/// held to their range, NaN to 0; floating point keeps what it is given.
template <class Pixel>
constexpr typename DepthTraits<Pixel>::Channel ChannelOf(double unit) {
  using Channel = typename DepthTraits<Pixel>::Channel;
  if constexpr (kDepthOf<Pixel> == Depth::kFloat) {
    return static_cast<Channel>(unit);
  } else {
    constexpr double kFull = DepthTraits<Pixel>::kFullScale;
    const double scaled = unit * kFull + 0.5;
    return scaled >= kFull ? static_cast<Channel>(kFull)
           : scaled > 0    ? static_cast<Channel>(scaled)
                           : Channel{0};
  }
}

}  // namespace veltra::host
