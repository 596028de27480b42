// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Records of the smart-render protocol: requests, checkouts and the two commands' extras.
#pragma once

#include "host_api/world.h"

namespace veltra {

struct PF_RenderRequest {
  PF_LRect rect;
  PF_Field field;
  A_long channel_mask;
  PF_Boolean preserve_rgb_of_zero_alpha;
  A_char unused[3];
  A_long reserved[4];
};

struct PF_PreRenderInput {
  PF_RenderRequest output_request;
  A_short bitdepth;
  const void* gpu_data;
  A_long what_gpu;
  A_u_long device_index;
};

/// The effect's answer to a pre-render: rectangles in layer coordinates at the current
/// downsampling, and a block for the render with the function that frees it.
struct PF_PreRenderOutput {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_Boolean solid;
  PF_Boolean reserved;
  A_short flags;
  void* pre_render_data;
  void (*delete_pre_render_data_func)(void* data);
};

struct PF_CheckoutResult {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_RationalScale par;
  PF_Boolean solid;
  PF_Boolean reservedB[3];
  A_long ref_width;
  A_long ref_height;
  A_long reserved[6];
};

struct PF_PreRenderCallbacks {
  PF_Err (*checkout_layer)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long checkoutId,
                           const PF_RenderRequest* request, A_long whatTime, A_long timeStep,
                           A_u_long timeScale, PF_CheckoutResult* result);
  PF_Err (*GuidMixInPtr)(PF_ProgPtr effectRef, A_u_long size, const void* data);
};

struct PF_PreRenderExtra {
  PF_PreRenderInput* input;
  PF_PreRenderOutput* output;
  PF_PreRenderCallbacks* cb;
};

struct PF_SmartRenderInput {
  PF_RenderRequest output_request;
  A_short bitdepth;
  void* pre_render_data;
  const void* gpu_data;
  A_long what_gpu;
  A_u_long device_index;
};

struct PF_SmartRenderCallbacks {
  PF_Err (*checkout_layer_pixels)(PF_ProgPtr effectRef, A_long checkoutId, PF_EffectWorld** world);
  PF_Err (*checkin_layer_pixels)(PF_ProgPtr effectRef, A_long checkoutId);
  PF_Err (*checkout_output)(PF_ProgPtr effectRef, PF_EffectWorld** world);
};

struct PF_SmartRenderExtra {
  PF_SmartRenderInput* input;
  PF_SmartRenderCallbacks* cb;
};

}  // namespace veltra
