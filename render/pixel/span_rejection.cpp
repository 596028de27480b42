// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The constants of the single-precision rejection.

#include "render/pixel/span_rejection.h"

#include <bit>

namespace veltra::rejection {
namespace {

constexpr FourFloats Four(float value) {
  return {{value, value, value, value}};
}

constexpr float kAllBits = std::bit_cast<float>(0xffffffffU);

}  // namespace

constinit const Constants kConstants = {
    Four(-0.0F),
    Four(2.5F),
    // Minimax on half a half turn, by numerics/tools/coefficients.sollya.
    Four(-0x1.1bf83ep-1F),
    Four(0x1.455cd6p1F),
    Four(-0x1.4ab276p2F),
    Four(0x1.921f5cp1F),
    {{0.0F, 0.0F, 0.5F, 0.5F}},
    {{kAllBits, 0.0F, kAllBits, 0.0F}},
    {{0.0F, 1.0F, -0.0F, 0.0F}},
    // 3e-7 of rounding are still below 1.
    Four(1.0F - 5e-7F),
};

}  // namespace veltra::rejection
