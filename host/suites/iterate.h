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

/// iterate_origin: destination (x, y) goes with source (x - origin.h, y - origin.v), and only
/// pixels that have one are visited.
template <class Pixel>
PF_Err IterateOrigin(PF_InData* inData, A_long progressBase, A_long progressFinal,
                     PF_EffectWorld* source, const PF_LRect* area, const PF_Point* origin,
                     void* refcon, PF_IteratePixelFn<Pixel> pixelFunction,
                     PF_EffectWorld* destination) noexcept;

/// iterate_origin_non_clip_src: every pixel of the area is visited; where the source has none the
/// input is a transparent one.
template <class Pixel>
PF_Err IterateOriginNonClip(PF_InData* inData, A_long progressBase, A_long progressFinal,
                            PF_EffectWorld* source, const PF_LRect* area, const PF_Point* origin,
                            void* refcon, PF_IteratePixelFn<Pixel> pixelFunction,
                            PF_EffectWorld* destination) noexcept;

/// iterate_lut: 8 bit; a null table keeps its channel.
PF_Err IterateLut(PF_InData* inData, A_long progressBase, A_long progressFinal,
                  PF_EffectWorld* source, const PF_LRect* area, A_u_char* alpha, A_u_char* red,
                  A_u_char* green, A_u_char* blue, PF_EffectWorld* destination) noexcept;

/// iterate_generic: i from 0 to iterations - 1, or once per thread for
/// PF_Iterations_ONCE_PER_PROCESSOR. The thread index is unique among calls that run at the same
/// time, and 0 on the caller's own thread.
PF_Err IterateGeneric(A_long iterations, void* refcon, PF_GenericFn function) noexcept;

}  // namespace veltra::host
