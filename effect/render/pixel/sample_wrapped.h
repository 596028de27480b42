// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Area sampler for tile seams: columns wrap around the tile period, rows end with the layer.
#pragma once

#include "host_api/world.h"

namespace veltra {

/// Averages the layer in `params.src` around (x, y) with the product of two parabolic weights,
/// 1 - d^2 with d the distance in radii. Positions in layer pixels, (0, 0) the centre of the first
/// one; radii are limited to [1, 250]. Columns are taken modulo width - 1, so the last column is
/// never read; in a layer of one column every column is that one. Colours are alpha-weighted and
/// straight, integer channels truncated. A centre wholly below the layer sets only the alpha, to
/// 0; without any alpha to average all four channels become 0.
void SampleWrapped8(float x, float y, float radiusX, float radiusY, const PF_SampPB& params,
                    PF_Pixel8* result);
void SampleWrapped16(float x, float y, float radiusX, float radiusY, const PF_SampPB& params,
                     PF_Pixel16* result);
void SampleWrappedFloat(float x, float y, float radiusX, float radiusY, const PF_SampPB& params,
                        PF_PixelFloat* result);

}  // namespace veltra
