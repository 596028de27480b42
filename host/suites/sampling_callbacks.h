// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The samplers as the effect calls them: checked, and nearest in low quality.
#pragma once

#include "host/pixels/sampling.h"
#include "host/session/session.h"

namespace veltra::host {

/// The session of a sampler's call; null when the call cannot be served.
template <class Pixel>
Session* SamplingSession(PF_ProgPtr ref, const PF_SampPB* params, const Pixel* out) {
  const bool usable = params != nullptr && out != nullptr && params->src != nullptr &&
                      IsReadableAs(*params->src, sizeof(Pixel));
  return usable ? Session::From(ref) : nullptr;
}

template <class Pixel>
PF_Err NearestCallback(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                       Pixel* out) noexcept {
  Session* session = SamplingSession(ref, params, out);
  if (session == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kNearestSample)) {
      return refused;
    }
    *out = SampleNearest<Pixel>(*params->src, x, y);
    return PF_Err_NONE;
  });
}

template <class Pixel>
PF_Err SubpixelCallback(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        Pixel* out) noexcept {
  Session* session = SamplingSession(ref, params, out);
  if (session == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kSubpixelSample)) {
      return refused;
    }
    *out = session->Draft() ? SampleNearest<Pixel>(*params->src, x, y)
                            : SampleBetween<Pixel>(*params->src, x, y);
    return PF_Err_NONE;
  });
}

template <class Pixel>
PF_Err AreaCallback(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                    Pixel* out) noexcept {
  Session* session = SamplingSession(ref, params, out);
  if (session == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kAreaSample)) {
      return refused;
    }
    const PF_EffectWorld& image = *params->src;
    if (session->Draft()) {
      *out = SampleNearest<Pixel>(image, x, y);
      return PF_Err_NONE;
    }
    // An image is lent at one depth only; another sampler on it gets no sums.
    auto* sums = DepthOf(image) == kDepthOf<Pixel>
                     ? static_cast<AreaSums<Pixel>*>(session->FindAreaSums(image))
                     : nullptr;
    *out = SampleArea<Pixel>(image, sums, x, y, params->x_radius, params->y_radius);
    return PF_Err_NONE;
  });
}

}  // namespace veltra::host
