// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Smart pre-render.

#include "effect/render/smart_pre_render.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include "effect/context/render_context.h"
#include "effect/context/require.h"
#include "effect/params/params_setup.h"
#include "effect/placement/placement_record.h"
#include "numerics/convert.h"

namespace veltra {
namespace {

// The host offers no rectangle that means "all of the layer"; this one holds every layer.
constexpr PF_LRect kWholeLayer{0, 0, 16384, 16384};
constexpr PF_LRect kNothing{0, 0, 0, 0};

/// The frame at the current downsampling.
PF_LRect FullFrame(const PF_InData& inData) {
  const FrameSize size = ComputeFrameSize(inData, ComputeScaleFactors(inData));
  return {0, 0, numerics::TruncateToInt32(size.width + 0.5),
          numerics::TruncateToInt32(size.height + 0.5)};
}

PF_Err CheckoutLayer(const PF_InData& inData, const PF_PreRenderCallbacks& callbacks,
                     PF_ParamIndex index, A_long checkoutId, const PF_RenderRequest& request,
                     PF_CheckoutResult* result) {
  return callbacks.checkout_layer(inData.effect_ref, index, checkoutId, &request,
                                  inData.current_time, inData.time_step, inData.time_scale, result);
}

}  // namespace

bool IsPreRenderRecord(const void* data) {
  // Byte by byte: a library comparison would read all four at once.
  const char* bytes = static_cast<const char*>(data);
  for (const char expected : kPreRenderTag) {
    if (*bytes != expected) {
      return false;
    }
    ++bytes;
  }
  return true;
}

void FreePreRenderRecord(void* data) {
  if (data != nullptr && IsPreRenderRecord(data)) {
    delete static_cast<PreRenderRecord*>(data);
  }
}

A_long InputCheckoutId(const PF_InData& inData) {
  const bool composite = ReadParamFlag(inData, kParamComposite, inData.current_time,
                                       inData.time_step, inData.time_scale);
  return composite ? kInputCheckoutId : kUnusedInputCheckoutId;
}

PF_Err SmartPreRender(PF_InData* inData, PF_OutData* /*outData*/, PF_PreRenderExtra* extra) {
  const PF_PreRenderCallbacks& callbacks = Require(Require(extra).cb);
  const PF_RenderRequest& requested = Require(extra->input).output_request;
  PF_PreRenderOutput& output = Require(extra->output);

  const A_long inputId = InputCheckoutId(*inData);
  const PF_LRect frame = FullFrame(*inData);
  output.max_result_rect = frame;
  output.result_rect = requested.rect;
  ClampRect(frame, &output.result_rect);

  PF_RenderRequest request = requested;
  request.field = PF_Field_FRAME;
  request.preserve_rgb_of_zero_alpha = 0;
  if (inputId == kInputCheckoutId) {
    request.rect = frame;
    ClampRect(requested.rect, &request.rect);
  } else {
    request.rect = kNothing;
  }
  PF_CheckoutResult result{};
  PF_Err err = CheckoutLayer(*inData, callbacks, kParamInput, inputId, request, &result);
  if (err != PF_Err_NONE) {
    return err;
  }

  request.rect = kWholeLayer;
  err = CheckoutLayer(*inData, callbacks, kParamLayer, kParamLayer, request, &result);
  if (err != PF_Err_NONE) {
    return err;
  }

  auto record = std::make_unique<PreRenderRecord>();
  std::copy(std::begin(kPreRenderTag), std::end(kPreRenderTag), record->tag);
  record->inversePixelAspect =
      static_cast<double>(result.par.den) / static_cast<double>(result.par.num);
  output.pre_render_data = record.release();
  output.delete_pre_render_data_func = FreePreRenderRecord;
  return PF_Err_NONE;
}

}  // namespace veltra
