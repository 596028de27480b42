// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The stand-in host's samplers: brute force in double precision, no library mathematics, so that
// they give the same bits everywhere.
#pragma once

#include "host_api/world.h"

namespace veltra::stand_in {

/// Bilinear between the four neighbours, weighted by alpha; outside the layer is transparent.
template <class Pixel>
PF_Err SubpixelSample(PF_ProgPtr effectRef, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                      Pixel* out);

/// Mean of the box of the block's radii, border pixels by their overlap, weighted by alpha.
template <class Pixel>
PF_Err AreaSample(PF_ProgPtr effectRef, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                  Pixel* out);

}  // namespace veltra::stand_in
