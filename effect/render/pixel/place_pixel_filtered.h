// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The per-pixel functions with Spherical Filtering, in the host's iteration signature.
#pragma once

#include "host_api/world.h"

namespace veltra {

/// As the plain family, but each pixel averages the part of the layer that it covers: a box sized
/// by the layer position of the diagonal neighbour.
PF_Err PlacePixelFiltered8(void* refcon, A_long x, A_long y, PF_Pixel8* in, PF_Pixel8* out);
PF_Err PlacePixelFiltered16(void* refcon, A_long x, A_long y, PF_Pixel16* in, PF_Pixel16* out);
PF_Err PlacePixelFilteredFloat(void* refcon, A_long x, A_long y, PF_PixelFloat* in,
                               PF_PixelFloat* out);

}  // namespace veltra
