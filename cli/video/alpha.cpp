// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Looks for transparent pixels.
#include "cli/video/alpha.h"

#include <algorithm>

#include "host_api/world.h"

namespace veltra::cli {
namespace {

template <class Pixel, class Channel>
bool AnyBelow(const host::World& picture, Channel full) {
  for (A_long y = 0; y < picture.Height(); ++y) {
    const auto* const row = reinterpret_cast<const Pixel*>(picture.RowAddress(y));
    if (std::any_of(row, row + picture.Width(),
                    [full](const Pixel& pixel) { return pixel.alpha < full; })) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool HasTransparency(const host::World& picture) {
  constexpr A_u_char kFull8 = 255;
  constexpr A_u_short kFull16 = 32768;
  switch (picture.PixelDepth()) {
    case host::Depth::k8:
      return AnyBelow<PF_Pixel8>(picture, kFull8);
    case host::Depth::k16:
      return AnyBelow<PF_Pixel16>(picture, kFull16);
    case host::Depth::kFloat:
      break;
  }
  return AnyBelow<PF_PixelFloat>(picture, 1.0F);
}

}  // namespace veltra::cli
