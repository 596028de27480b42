// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Exact arithmetic of frame places.
#include "cli/job/layer_timing.h"

#include <limits>
#include <numeric>

#include "base/error.h"

namespace veltra::cli {
namespace {

std::int64_t Product(std::int64_t a, std::int64_t b) {
  // A frame number of 24 bits still has to fit on top.
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() >> 24;
  if (a > kMost / b) {
    throw UsageError("the rates and the speed cannot be combined (give simpler ones)");
  }
  return a * b;
}

}  // namespace

Ratio Ratio::Times(std::int64_t by, std::int64_t over) const {
  const std::int64_t down = std::gcd(numerator, over);
  const std::int64_t up = std::gcd(by, denominator);
  return {Product(numerator / down, by / up), Product(denominator / up, over / down)};
}

Ratio StepPerFrame(const PF_RationalScale& speed, const PF_RationalScale& ownRate,
                   const PF_RationalScale& outputRate) {
  const Ratio own = Ratio{speed.num, static_cast<std::int64_t>(speed.den)}.Times(
      ownRate.num, static_cast<std::int64_t>(ownRate.den));
  return own.Times(static_cast<std::int64_t>(outputRate.den), outputRate.num);
}

std::optional<std::int64_t> TimePlan::PlaceAt(int frame, std::int64_t count) const {
  const std::int64_t frames = std::int64_t{frame} - start;
  if (frames < 0) {
    return std::nullopt;
  }
  const std::int64_t place = frames * step.numerator / step.denominator;
  if (place < count) {
    return place;
  }
  switch (end) {
    case LayerEnd::kNone:
      return std::nullopt;
    case LayerEnd::kHold:
      return count - 1;
    case LayerEnd::kLoop:
      return place % count;
    case LayerEnd::kPingPong:
      break;
  }
  // 0 1 2 3 2 1 0 1 ...: the first and the last frame come once on each way.
  const std::int64_t period = count > 1 ? 2 * (count - 1) : 1;
  const std::int64_t within = place % period;
  return within < count ? within : period - within;
}

}  // namespace veltra::cli
