// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs one per-pixel function and its plain transcription side by side: same bits or a finding.
#pragma once

#include "effect/placement/placement_record.h"
#include "host_api/world.h"

namespace veltra::fuzz {

/// The host's samplers of the fuzz targets: any pixel for any position, always the same one. Some
/// positions show the layer's own pixels, so that its memory is in play too.
template <class Pixel>
PF_Err SampleAnything(PF_ProgPtr effectRef, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                      Pixel* out);

/// What the plain transcription makes of the pixel, with SampleAnything as the host's sampler.
template <class Pixel>
struct Expectation {
  Pixel pixel;
  PF_Err result;
  bool known;  ///< false where the transcription has no answer
};

template <class Pixel>
Expectation<Pixel> Expected(const PlacementRecord& record, bool filtered, A_long x, A_long y,
                            const Pixel& before);

/// Equal bits in every channel; two float channels that are not numbers count as equal.
template <class Pixel>
bool SamePixel(const Pixel& a, const Pixel& b);

/// Prints record, position and both pixels, and ends the run.
template <class Pixel>
[[noreturn]] void ReportPixel(const PlacementRecord& record, bool filtered, A_long x, A_long y,
                              const Pixel& got, const Pixel& expected);

}  // namespace veltra::fuzz
