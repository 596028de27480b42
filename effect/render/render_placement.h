// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The frame kernels: controls to placement record to the host's iteration, once per depth.
#pragma once

#include "effect/context/render_context.h"

namespace veltra {

/// Render one frame. The output is prepared before anything can end the kernel early, the layer
/// is checked out only when there is something to draw and returned on every path. Host errors
/// come back unchanged; PF_Err_OUT_OF_MEMORY for foreign pre-render data; a missing suite throws
/// PF_Err_BAD_CALLBACK_PARAM.
PF_Err RenderPlacement8(RenderContext* context);
PF_Err RenderPlacement16(RenderContext* context);
PF_Err RenderPlacementFloat(RenderContext* context);

/// The host's iteration of a depth, its suite acquired for this one call. A missing suite throws
/// PF_Err_BAD_CALLBACK_PARAM.
PF_Err IteratePixels8(PF_InData* inData, A_long progressBase, A_long progressFinal,
                      PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                      PF_IteratePixelFn<PF_Pixel8> pixelFn, PF_EffectWorld* dst);
PF_Err IteratePixels16(PF_InData* inData, A_long progressBase, A_long progressFinal,
                       PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                       PF_IteratePixelFn<PF_Pixel16> pixelFn, PF_EffectWorld* dst);
PF_Err IteratePixelsFloat(PF_InData* inData, A_long progressBase, A_long progressFinal,
                          PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                          PF_IteratePixelFn<PF_PixelFloat> pixelFn, PF_EffectWorld* dst);

}  // namespace veltra
