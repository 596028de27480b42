// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Runs a pixel function over a world on all cores.
#pragma once

#include "host_api/in_data.h"

namespace veltra::host {

/// The iterate callback of one depth. Without a source the function's input pixel is the
/// destination's own.
template <class Pixel>
PF_Err IteratePixels(PF_InData* inData, A_long progressBase, A_long progressFinal,
                     PF_EffectWorld* source, const PF_LRect* area, void* refcon,
                     PF_IteratePixelFn<Pixel> pixelFunction, PF_EffectWorld* destination) noexcept;

}  // namespace veltra::host
