// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What one command works with: the host's records, its suites, and scoped access to parameters.
#pragma once

#include "effect/context/suite_cache.h"
#include "host_api/in_data.h"
#include "host_api/smart_render.h"

namespace veltra {

/// Lives in the stack frame of one command; its suites go back when it ends.
struct RenderContext {
  /// Throws PF_Err_BAD_CALLBACK_PARAM when the host gave no basic suite.
  RenderContext(PF_InData* hostInData, PF_OutData* hostOutData, PF_ParamDef** hostParams,
                PF_LayerDef* hostOutput);

  PF_InData* inData;
  PF_OutData* outData;
  PF_ParamDef** params;
  PF_LayerDef* output;                        ///< null in parameter set-up
  PF_LayerDef* input = nullptr;               ///< the effect's own layer; may stay null
  PF_SmartRenderExtra* smartExtra = nullptr;  ///< its presence selects the smart callbacks
  SuiteCache suites;
  PF_PixelFormat pixelFormat = PF_PixelFormat_INVALID;  ///< known after the first query
  std::uint8_t highQuality;  ///< 1 exactly when the host asks for high quality
};

/// The value of a checkbox, popup or integer slider as a flag. A checkout that fails is not
/// reported: the value is then whatever the host left, or 0.
bool ReadParamFlag(const PF_InData& inData, PF_ParamIndex index, A_long time, A_long timeStep,
                   A_u_long timeScale);

/// The value of a 16.16 slider. A checkout that fails is not reported, as above.
double ReadParamFixed(const PF_InData& inData, PF_ParamIndex index, A_long time, A_long timeStep,
                      A_u_long timeScale);

/// Checks a parameter out at the in-data's current time, copies its value and checks it in
/// again, whatever the checkout answered. Only for parameters without pixels.
PF_ParamDef ReadParam(const PF_InData& inData, PF_ParamIndex index, A_long time, A_long timeStep,
                      A_u_long timeScale);

/// The first 32-bit word of a parameter's value: checkbox, popup and slider values lie there.
std::int32_t FirstWord(const PF_ParamDef& def);

/// One layer, or the output world, checked out for a scope.
class ParamCheckout {
 public:
  /// Stands for the output world instead of a parameter.
  static constexpr std::uint32_t kOutputIndex = 0xFFFFFFFFU;

  ParamCheckout(RenderContext* context, std::uint32_t index);
  ~ParamCheckout();
  ParamCheckout(const ParamCheckout&) = delete;
  ParamCheckout& operator=(const ParamCheckout&) = delete;

  /// Checks out, releasing an earlier checkout first. Host errors come back unchanged;
  /// PF_Err_INVALID_INDEX when the output is wanted and there is none.
  PF_Err Checkout();

  /// The world when one with pixels is checked out, else null: no layer chosen, for instance.
  PF_LayerDef* World();

  /// Checkout() and then World() into `world`, which is null on failure.
  PF_Err CheckoutWorld(PF_LayerDef** world);

  /// Checks in what is checked out and returns the host's result.
  PF_Err Release();

 private:
  PF_Err CheckoutSmart();
  PF_Err CheckoutClassic();

  std::uint32_t checkedOut_ = 0;
  RenderContext* context_;
  PF_ParamDef def_{};
  std::uint32_t index_;
  A_long time_;
  A_long timeStep_;
  A_u_long timeScale_;
};

/// Clamps each edge of `rect` into `bounds`; empty bounds are copied. The result may be empty,
/// no edge is reordered.
void ClampRect(const PF_LRect& bounds, PF_LRect* rect);

/// The output's pixel format, asked of the host once per context; PF_PixelFormat_INVALID without
/// an output. A host without the world suite is answered for by the world's depth flag.
PF_PixelFormat QueryPixelFormat(RenderContext* context);

}  // namespace veltra
