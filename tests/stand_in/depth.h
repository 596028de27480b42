// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The three pixel depths, for tests that do without the host library.
#pragma once

#include <string>

#include "host_api/world.h"

namespace veltra::stand_in {

enum class Depth { k8, k16, kFloat };
inline constexpr Depth kAllDepths[] = {Depth::k8, Depth::k16, Depth::kFloat};

/// In bytes.
constexpr A_long PixelSize(Depth depth) {
  return depth == Depth::k8 ? 4 : depth == Depth::k16 ? 8 : 16;
}

constexpr PF_PixelFormat FormatOf(Depth depth) {
  return depth == Depth::k8    ? PF_PixelFormat_ARGB32
         : depth == Depth::k16 ? PF_PixelFormat_ARGB64
                               : PF_PixelFormat_ARGB128;
}

/// The full value of a channel: 255, 32768 or 1.
constexpr double FullValue(Depth depth) {
  return depth == Depth::k8 ? 255.0 : depth == Depth::k16 ? 32768.0 : 1.0;
}

/// "8", "16" or "Float".
inline std::string NameOf(Depth depth) {
  return depth == Depth::k8 ? "8" : depth == Depth::k16 ? "16" : "Float";
}

template <class Pixel>
inline constexpr Depth kDepthOf = Depth::k8;
template <>
inline constexpr Depth kDepthOf<PF_Pixel16> = Depth::k16;
template <>
inline constexpr Depth kDepthOf<PF_PixelFloat> = Depth::kFloat;

}  // namespace veltra::stand_in
