// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Makes the block sums that fit a depth.

#include "host/pixels/area_sums.h"

namespace veltra::host {

std::unique_ptr<AreaSumsBase> MakeAreaSums(const PF_EffectWorld& image, Depth depth) {
  return WithPixelType(depth, [&image](auto pixel) -> std::unique_ptr<AreaSumsBase> {
    auto sums = std::make_unique<AreaSums<decltype(pixel)>>(image);
    if (!sums->Usable()) {
      return nullptr;
    }
    return sums;
  });
}

}  // namespace veltra::host
