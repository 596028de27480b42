// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The per-pixel functions in the host's iteration signature.
#pragma once

#include "host_api/world.h"

namespace veltra {

/// Without Spherical Filtering. `refcon` is the PlacementRecord; `in` is never read; `out` is
/// composited over in place, or left alone where the strip does not reach. Returns the host
/// sampler's code, the pixel having been composited whatever it is.
PF_Err PlacePixel8(void* refcon, A_long x, A_long y, PF_Pixel8* in, PF_Pixel8* out);
PF_Err PlacePixel16(void* refcon, A_long x, A_long y, PF_Pixel16* in, PF_Pixel16* out);
PF_Err PlacePixelFloat(void* refcon, A_long x, A_long y, PF_PixelFloat* in, PF_PixelFloat* out);

/// With it: the same, but each pixel averages the part of the layer that it covers: a box sized by
/// the layer position of the diagonal neighbour.
PF_Err PlacePixelFiltered8(void* refcon, A_long x, A_long y, PF_Pixel8* in, PF_Pixel8* out);
PF_Err PlacePixelFiltered16(void* refcon, A_long x, A_long y, PF_Pixel16* in, PF_Pixel16* out);
PF_Err PlacePixelFilteredFloat(void* refcon, A_long x, A_long y, PF_PixelFloat* in,
                               PF_PixelFloat* out);

}  // namespace veltra
