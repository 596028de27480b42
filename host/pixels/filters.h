// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whole-image filters of the interface: blends, convolutions, matte colours, kernels.
#pragma once

#include "host/base/depth.h"
#include "host/pixels/row_work.h"
#include "host_api/suites.h"

namespace veltra::host {

// All work at the depth of their worlds, refuse mixed depths and what cannot be read with
// PF_Err_BAD_CALLBACK_PARAM, and answer PF_Interrupt_CANCEL when the work's abort is seen.

/// first (ratio 0) to second (ratio 65536), colour weighted by alpha, over the size that all three
/// worlds have in common. The destination may be one of the sources.
PF_Err BlendWorlds(const PF_EffectWorld& first, const PF_EffectWorld& second, PF_Fixed ratio,
                   PF_EffectWorld& destination, const RowWork& work = {});

/// Kernels by channel, alpha first: side x side numbers from the upper left, or `side` of them for
/// a line, each 255 times its weight and divided by their count.
struct Kernel {
  A_u_long flags = 0;  ///< PF_KernelFlag_...
  A_long side = 0;
  const A_long* channel[4] = {};
};

/// Filters the part `area` of the source into the same place of the destination, the channels each
/// by themselves, with transparent black around the image. Not in place.
PF_Err ConvolveWorld(const PF_EffectWorld& source, const PF_LRect& area, const Kernel& kernel,
                     PF_EffectWorld& destination, const RowWork& work = {});

/// Fills a kernel of `diameter` cells across: 255 in the centre, or, with PF_KernelFlag_NORMALIZED,
/// a sum of 255 per cell; each times the multiplier.
void FillGaussian(A_FpLong radius, A_u_long flags, A_FpLong multiplier, A_long diameter,
                  A_long* kernel);

/// Cells across a Gaussian of that radius: 2 ceil(radius) + 1. At least 1, at most 2 x 1024 + 1.
A_long GaussianDiameter(A_FpLong radius);

/// Multiplies colour by alpha over a matte colour, C' = C a + M (1 - a), or divides it out, which
/// gives 0 without alpha. The destination may be the source.
template <class Pixel>
PF_Err MatteWorld(const PF_EffectWorld& source, const Pixel& matte, bool forward,
                  PF_EffectWorld& destination, const RowWork& work = {});

}  // namespace veltra::host
