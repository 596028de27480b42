// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Render driver.

#include "effect/render/render_frame.h"

#include "effect/render/render_placement.h"

namespace veltra {

PF_Err RenderFrame(RenderContext* context) {
  switch (QueryPixelFormat(context)) {
    case PF_PixelFormat_ARGB128:
      return RenderPlacementFloat(context);
    case PF_PixelFormat_ARGB64:
      return RenderPlacement16(context);
    case PF_PixelFormat_ARGB32:
      return RenderPlacement8(context);
    default:
      return PF_Err_BAD_CALLBACK_PARAM;
  }
}

}  // namespace veltra
