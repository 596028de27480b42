// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Which frame of an input belongs to which frame of the output, by the frame number alone.
#pragma once

#include <cstdint>
#include <optional>

#include "cli/settings/options.h"
#include "host_api/types.h"

namespace veltra::cli {

/// A positive ratio of two whole numbers, kept exact.
struct Ratio {
  std::int64_t numerator = 1;
  std::int64_t denominator = 1;

  /// Throws UsageError where the product needs more than 64 bits.
  Ratio Times(std::int64_t by, std::int64_t over) const;
};

/// How far an input moves on with each frame of the output: `speed` times its own rate against the
/// output's. Exactly 1 where both rates are the same.
Ratio StepPerFrame(const PF_RationalScale& speed, const PF_RationalScale& ownRate,
                   const PF_RationalScale& outputRate);

/// The place of an input's frames among those of the output. Places count from 0: the input's
/// first frame is at place 0.
struct TimePlan {
  int start = 1;  ///< frame of the output that shows place 0
  Ratio step;     ///< places per frame of the output
  LayerEnd end = LayerEnd::kNone;

  /// The place that a frame of the output shows, rounded down, of an input of `count` frames (at
  /// least 1); nothing before the start, and after the end where nothing follows.
  std::optional<std::int64_t> PlaceAt(int frame, std::int64_t count) const;
};

}  // namespace veltra::cli
