// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Render context, parameter readers and the scoped checkout.

#include "effect/context/render_context.h"

#include <algorithm>
#include <cstring>

#include "effect/context/require.h"

namespace veltra {
RenderContext::RenderContext(PF_InData* hostInData, PF_OutData* hostOutData,
                             PF_ParamDef** hostParams, PF_LayerDef* hostOutput)
    : inData(hostInData),
      outData(hostOutData),
      params(hostParams),
      output(hostOutput),
      suites(Require(hostInData).pica_basicP),
      highQuality(hostInData->quality == PF_Quality_HI ? 1 : 0) {}

// ---- Parameter readers ----

PF_ParamDef ReadParam(const PF_InData& inData, PF_ParamIndex index, A_long time, A_long timeStep,
                      A_u_long timeScale) {
  PF_ParamDef def{};
  inData.inter.checkout_param(inData.effect_ref, index, time, timeStep, timeScale, &def);
  const PF_ParamDef value = def;
  inData.inter.checkin_param(inData.effect_ref, &def);
  return value;
}

std::int32_t FirstWord(const PF_ParamDef& def) {
  std::int32_t word = 0;
  std::memcpy(&word, &def.u, sizeof(word));
  return word;
}

bool ReadParamFlag(const PF_InData& inData, PF_ParamIndex index, A_long time, A_long timeStep,
                   A_u_long timeScale) {
  return FirstWord(ReadParam(inData, index, time, timeStep, timeScale)) != 0;
}

double ReadParamFixed(const PF_InData& inData, PF_ParamIndex index, A_long time, A_long timeStep,
                      A_u_long timeScale) {
  return FirstWord(ReadParam(inData, index, time, timeStep, timeScale)) / kFixedOne;
}

// ---- ParamCheckout ----

ParamCheckout::ParamCheckout(RenderContext* context, std::uint32_t index)
    : context_(context),
      index_(index),
      time_(context->inData->current_time),
      timeStep_(context->inData->time_step),
      timeScale_(context->inData->time_scale) {}

ParamCheckout::~ParamCheckout() {
  try {
    Release();
  } catch (...) {
    // The layer is as good as returned: a destructor has nobody to tell.
  }
}

PF_Err ParamCheckout::Checkout() {
  if (checkedOut_ != 0) {
    const PF_Err err = Release();
    if (err != PF_Err_NONE) {
      return err;
    }
  }
  const PF_Err err = context_->smartExtra != nullptr ? CheckoutSmart() : CheckoutClassic();
  checkedOut_ = err == PF_Err_NONE ? 1 : 0;
  return err;
}

PF_Err ParamCheckout::CheckoutSmart() {
  const PF_SmartRenderCallbacks& callbacks = Require(context_->smartExtra->cb);
  const PF_ProgPtr effectRef = context_->inData->effect_ref;
  PF_EffectWorld* world = nullptr;
  const PF_Err err = index_ == kOutputIndex ? callbacks.checkout_output(effectRef, &world)
                                            : callbacks.checkout_layer_pixels(
                                                  effectRef, static_cast<A_long>(index_), &world);
  // A success without a world still counts as checked out: the host keeps books by the call.
  if (err == PF_Err_NONE && world != nullptr) {
    def_.u.ld = *world;
  }
  return err;
}

PF_Err ParamCheckout::CheckoutClassic() {
  if (index_ == kOutputIndex) {
    if (context_->output == nullptr) {
      return PF_Err_INVALID_INDEX;
    }
    def_.u.ld = *context_->output;
    return PF_Err_NONE;
  }
  const PF_InData& inData = *context_->inData;
  return inData.inter.checkout_param(inData.effect_ref, static_cast<PF_ParamIndex>(index_), time_,
                                     timeStep_, timeScale_, &def_);
}

PF_LayerDef* ParamCheckout::World() {
  return checkedOut_ != 0 && def_.u.ld.data != nullptr ? &def_.u.ld : nullptr;
}

PF_Err ParamCheckout::CheckoutWorld(PF_LayerDef** world) {
  *world = nullptr;
  const PF_Err err = Checkout();
  if (err == PF_Err_NONE) {
    *world = World();
  }
  return err;
}

PF_Err ParamCheckout::Release() {
  if (checkedOut_ == 0) {
    return PF_Err_NONE;
  }
  // Forgotten first, so that a host which throws is not asked a second time by the destructor.
  checkedOut_ = 0;
  PF_Err err = PF_Err_NONE;
  const PF_InData& inData = *context_->inData;
  if (index_ != kOutputIndex) {
    err = context_->smartExtra != nullptr ? context_->smartExtra->cb->checkin_layer_pixels(
                                                inData.effect_ref, static_cast<A_long>(index_))
                                          : inData.inter.checkin_param(inData.effect_ref, &def_);
  }
  def_ = PF_ParamDef{};
  return err;
}

// ---- Rectangles and formats ----

void ClampRect(const PF_LRect& bounds, PF_LRect* rect) {
  if (IsEmpty(bounds)) {
    *rect = bounds;
    return;
  }
  rect->left = std::clamp(rect->left, bounds.left, bounds.right);
  rect->right = std::clamp(rect->right, bounds.left, bounds.right);
  rect->top = std::clamp(rect->top, bounds.top, bounds.bottom);
  rect->bottom = std::clamp(rect->bottom, bounds.top, bounds.bottom);
}

PF_PixelFormat QueryPixelFormat(RenderContext* context) {
  if (context->pixelFormat != PF_PixelFormat_INVALID || context->output == nullptr) {
    return context->pixelFormat;
  }
  const ScopedSuite<PF_WorldSuite2> worldSuite(*context->inData->pica_basicP);
  if (worldSuite.Get() != nullptr) {
    worldSuite.Get()->PF_GetPixelFormat(context->output, &context->pixelFormat);
  } else {
    const bool deep = (context->output->world_flags & PF_WorldFlag_DEEP) != 0;
    context->pixelFormat = deep ? PF_PixelFormat_ARGB64 : PF_PixelFormat_ARGB32;
  }
  return context->pixelFormat;
}

}  // namespace veltra
