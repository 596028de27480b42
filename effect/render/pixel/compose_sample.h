// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What both per-pixel families do with a position: sample there, scale the alpha, composite.
#pragma once

#include <algorithm>
#include <type_traits>

#include "effect/placement/placement_record.h"
#include "effect/render/pixel/pixel_depths.h"
#include "numerics/compiler.h"

namespace veltra {

/// The sample's alpha under the layer's opacity and the strip's coverage, in this order.
template <class Pixel>
float ScaledAlpha(const Pixel& sample, float opacity, float coverage) {
  return static_cast<float>(sample.alpha) * opacity * coverage;
}

/// By its bits, which are compared sooner than its value.
inline bool IsOne(float value) {
  return numerics::BitCast<std::uint32_t>(value) == numerics::BitCast<std::uint32_t>(1.0F);
}

/// The same limited to the depth's range. Of an opaque layer away from the strip's edges an integer
/// alpha stays as it is, and what follows need not wait for two conversions and two products.
template <class Depth>
typename Depth::Channel LimitedAlpha(const typename Depth::Pixel& sample, float opacity,
                                     float coverage) {
  if constexpr (std::is_integral_v<typename Depth::Channel>) {
    if (IsOne(opacity) && IsOne(coverage)) {
      return std::min(sample.alpha, Depth::kFull);
    }
  }
  return Depth::ClampAlpha(ScaledAlpha(sample, opacity, coverage));
}

/// Samples through the host and composites over `out`; returns the sampler's code.
template <class Depth>
PF_Err ComposeHostSample(const PlacementRecord& record, AnySampleFn sampler,
                         const PF_SampPB& params, PF_Fixed x, PF_Fixed y, float coverage,
                         typename Depth::Pixel* out) {
  typename Depth::Pixel sample{};
  PF_Err err = PF_Err_NONE;
  try {
    err = reinterpret_cast<PF_SampleFn<typename Depth::Pixel>>(sampler)(record.effectRef, x, y,
                                                                        &params, &sample);
  } catch (...) {
    // A sampler that throws would unwind through the host's iteration.
    err = PF_Err_BAD_CALLBACK_PARAM;
  }
  sample.alpha = LimitedAlpha<Depth>(sample, record.opacity, coverage);
  Depth::CompositeOver(sample, out);
  return err;
}

/// Samples across a tile seam and composites over `out`.
template <class Depth>
PF_Err ComposeSeamSample(const PlacementRecord& record, const PF_SampPB& params, float u, float v,
                         float radiusX, float radiusY, float coverage, typename Depth::Pixel* out) {
  typename Depth::Pixel sample{};
  Depth::kSampleWrapped(u, v, radiusX, radiusY, params, &sample);
  sample.alpha = Depth::SeamAlpha(ScaledAlpha(sample, record.opacity, coverage));
  Depth::CompositeOver(sample, out);
  return PF_Err_NONE;
}

}  // namespace veltra
