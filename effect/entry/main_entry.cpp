// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The exported command entry: dispatch, About, global set-up and the smart-render hand-off.

#include <new>

#include "effect/context/render_context.h"
#include "effect/context/require.h"
#include "effect/entry/identity.h"
#include "effect/params/params_setup.h"
#include "effect/render/render_frame.h"
#include "effect/render/smart_pre_render.h"
#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace veltra {
namespace {

static_assert(VELTRA_EFFECT_VERSION ==
              PF_VERSION(VELTRA_VERSION_MAJOR, VELTRA_VERSION_MINOR, 0, PF_Stage_RELEASE, 0));
static_assert(VELTRA_OUT_FLAGS == (PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_USE_OUTPUT_EXTENT));
static_assert(VELTRA_OUT_FLAGS2 ==
              (PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
               PF_OutFlag2_SUPPORTS_THREADED_RENDERING));

constexpr char kFamily[] = "Orbelle 1.3.3";
constexpr char kPlatform[] = "Win x64";
constexpr char kDescription[] = "Place selected layer along spherical line.";

// The oldest interface whose smart rendering and suites the effect can work with.
constexpr PF_SpecVersion kOldestHost{12, 12};

bool IsTooOld(const PF_SpecVersion& version) {
  return version.major < kOldestHost.major ||
         (version.major == kOldestHost.major && version.minor < kOldestHost.minor);
}

PF_Err About(PF_InData* inData, PF_OutData* outData) {
  const PF_ANSICallbacks& ansi = Require(Require(inData).utils).ansi;
  char text[kHostMessageCapacity] = {};
  ansi.sprintf(text, "%s\r%s, v%d.%d  (%s)\r%s%s", kFamily, VELTRA_DISPLAY_NAME,
               VELTRA_VERSION_MAJOR, VELTRA_VERSION_MINOR, kPlatform, kDescription, "");
  text[kHostMessageCapacity - 1] = '\0';
  ansi.sprintf(Require(outData).return_msg, "%s", text);
  return PF_Err_NONE;
}

PF_Err GlobalSetup(PF_InData* inData, PF_OutData* outData) {
  const PF_InData& in = Require(inData);
  PF_OutData& out = Require(outData);
  if (IsTooOld(in.version)) {
    Require(in.utils).ansi.sprintf(out.return_msg, "%s require Adobe After Effects 7.0 or later",
                                   VELTRA_DISPLAY_NAME);
    return PF_Interrupt_CANCEL;
  }
  out.my_version = VELTRA_EFFECT_VERSION;
  out.out_flags |= VELTRA_OUT_FLAGS;
  out.out_flags2 |= VELTRA_OUT_FLAGS2;
  return PF_Err_NONE;
}

PF_Err Render(PF_InData* inData, PF_OutData* outData, PF_ParamDef** params, PF_LayerDef* output) {
  RenderContext context(inData, outData, params, output);
  context.input = &Require(Require(params)).u.ld;
  return RenderFrame(&context);
}

/// Both worlds are left to the host's own check-in after the command.
PF_Err SmartRender(PF_InData* inData, PF_OutData* outData, PF_ParamDef** params,
                   PF_LayerDef* output, PF_SmartRenderExtra* extra) {
  RenderContext context(inData, outData, params, output);
  const PF_SmartRenderCallbacks& callbacks = Require(Require(extra).cb);
  const PF_RenderRequest& request = Require(extra->input).output_request;

  PF_EffectWorld* inputWorld = nullptr;
  PF_Err err =
      callbacks.checkout_layer_pixels(inData->effect_ref, InputCheckoutId(*inData), &inputWorld);
  if (err != PF_Err_NONE) {
    return err;
  }
  PF_EffectWorld* outputWorld = nullptr;
  err = callbacks.checkout_output(inData->effect_ref, &outputWorld);
  if (err != PF_Err_NONE || outputWorld == nullptr) {
    return err;
  }
  context.output = outputWorld;
  context.input = inputWorld;
  context.smartExtra = extra;

  if (IsEmpty(request.rect)) {
    return Require(inData->utils).fill(inData->effect_ref, nullptr, nullptr, outputWorld);
  }
  if (outputWorld->width <= 0 || outputWorld->height <= 0) {
    return PF_Err_NONE;
  }
  return RenderFrame(&context);
}

PF_Err ParamsSetupCommand(PF_InData* inData, PF_OutData* outData, PF_ParamDef** params) {
  RenderContext context(inData, outData, params, nullptr);
  return ParamsSetup(&context);
}

PF_Err Dispatch(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef** params,
                PF_LayerDef* output, void* extra) {
  switch (cmd) {
    case PF_Cmd_ABOUT:
      return About(inData, outData);
    case PF_Cmd_GLOBAL_SETUP:
      return GlobalSetup(inData, outData);
    case PF_Cmd_PARAMS_SETUP:
      return ParamsSetupCommand(inData, outData, params);
    case PF_Cmd_RENDER:
      return Render(inData, outData, params, output);
    case PF_Cmd_SMART_PRE_RENDER:
      return SmartPreRender(&Require(inData), outData, static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER:
      return SmartRender(inData, outData, params, output, static_cast<PF_SmartRenderExtra*>(extra));
    default:
      return PF_Err_NONE;
  }
}

}  // namespace
}  // namespace veltra

extern "C" VELTRA_EXPORT veltra::PF_Err MainEntry(veltra::PF_Cmd cmd, veltra::PF_InData* inData,
                                                  veltra::PF_OutData* outData,
                                                  veltra::PF_ParamDef* params[],
                                                  veltra::PF_LayerDef* output, void* extra) {
  try {
    return veltra::Dispatch(cmd, inData, outData, params, output, extra);
  } catch (veltra::PF_Err code) {
    return code;
  } catch (const std::bad_alloc&) {
    return veltra::PF_Err_OUT_OF_MEMORY;
  } catch (...) {
    return veltra::PF_Err_BAD_CALLBACK_PARAM;
  }
}
