// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// How two pictures differ.
#pragma once

#include <array>
#include <cstdint>

#include "host/pixels/world.h"

namespace veltra::cli {

/// Channels count from 0 to 1 and are straight; each array has red, green, blue, alpha.
struct PictureDifference {
  double worst = 0;  ///< largest difference of a channel; infinite where one alone is NaN
  int x = 0;         ///< of the first pixel that has it
  int y = 0;
  std::array<double, 4> first{};   ///< there
  std::array<double, 4> second{};  ///< there
  std::uint64_t pixels = 0;        ///< that differ at all
  double meanSquare = 0;           ///< of all channels of all pixels

  /// Peak signal to noise ratio in decibels with 1 as the peak; infinite for equal pictures.
  double Psnr() const;
};

/// Compares two float worlds of the same size, every channel, also colour where alpha is zero. NaN
/// equals NaN, and each infinity itself.
PictureDifference CompareWorlds(const host::World& first, const host::World& second);

/// The differences times `gain` as an opaque 8-bit picture: each colour shows its own or alpha's
/// difference, whichever is larger.
host::World DifferencePicture(const host::World& first, const host::World& second, double gain);

}  // namespace veltra::cli
