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

/// The depth of a pixel type.
template <class Pixel>
struct PixelDepth;
template <>
struct PixelDepth<PF_Pixel8> {
  static constexpr Depth kValue = Depth::k8;
};
template <>
struct PixelDepth<PF_Pixel16> {
  static constexpr Depth kValue = Depth::k16;
};
template <>
struct PixelDepth<PF_PixelFloat> {
  static constexpr Depth kValue = Depth::kFloat;
};
template <class Pixel>
inline constexpr Depth kDepthOf = PixelDepth<Pixel>::kValue;

}  // namespace veltra::host
