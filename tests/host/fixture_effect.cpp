// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A small effect for the host's tests: it does what its first slider says.

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "fixture_behaviour.h"
#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace veltra::fixture {
namespace {

constexpr A_long kOutFlags = PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_USE_OUTPUT_EXTENT;
constexpr A_long kOutFlags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
                              PF_OutFlag2_SUPPORTS_THREADED_RENDERING;

PF_Fixed FixedValue(PF_InData* in, PF_ParamIndex index) {
  PF_ParamDef param{};
  in->inter.checkout_param(in->effect_ref, index, in->current_time, in->time_step, in->time_scale,
                           &param);
  const PF_Fixed value = param.u.fd.value;
  in->inter.checkin_param(in->effect_ref, &param);
  return value;
}

int BehaviourOf(PF_InData* in) {
  return FixedValue(in, kBehaviour) >> 16;
}

// ---- Set-up ----

PF_Err AddControl(PF_InData* in, PF_ParamType type, const char* name, PF_ParamDef param) {
  param.uu.id = 100;
  param.param_type = type;
  std::strncpy(param.name, name, sizeof param.name - 1);
  return in->inter.add_param(in->effect_ref, -1, &param);
}

PF_Err SetUpParams(PF_InData* in, PF_OutData* out) {
  PF_ParamDef layer{};
  layer.u.ld.dephault = PF_LayerDefault_NONE;
  PF_ParamDef slider{};
  slider.u.fd.valid_max = 100 << 16;
  slider.u.fd.slider_max = 20 << 16;
  slider.u.fd.precision = 1;
  PF_ParamDef amount = slider;
  amount.u.fd.dephault = 50 << 16;
  PF_ParamDef checkbox{};
  checkbox.u.bd.dephault = 1;
  checkbox.u.bd.u.nameptr = "Brighten";
  PF_ParamDef point{};
  point.u.td.x_dephault = 25 << 16;
  point.u.td.y_dephault = 75 << 16;
  // The text is gone when this function ends, as the host must expect.
  char choices[] = "One|Two|Three";
  PF_ParamDef popup{};
  popup.u.pd = {0, 3, 2, {choices}};
  AddControl(in, PF_Param_LAYER, "Layer", layer);
  AddControl(in, PF_Param_FIX_SLIDER, "Behaviour", slider);
  AddControl(in, PF_Param_FIX_SLIDER, "Amount", amount);
  AddControl(in, PF_Param_CHECKBOX, "", checkbox);
  AddControl(in, PF_Param_POINT, "Place", point);
  const PF_Err error = AddControl(in, PF_Param_POPUP, "Choice", popup);
  std::memset(choices, '?', sizeof choices - 1);
  out->num_params = 7;
  return error;
}

// ---- Pixels ----

template <class Pixel>
PF_Err AddOneToRed(void* /*refcon*/, A_long, A_long, Pixel* in, Pixel* out) {
  *out = *in;
  out->red = static_cast<decltype(out->red)>(out->red + 1);
  return PF_Err_NONE;
}

template <class Suite, class Pixel>
PF_Err Iterate(PF_InData* in, const char* name, PF_EffectWorld* world) {
  const void* suite = nullptr;
  if (PF_Err error = in->pica_basicP->AcquireSuite(name, 1, &suite)) {
    return error;
  }
  const PF_Err error = static_cast<const Suite*>(suite)->iterate(
      in, 0, world->height, nullptr, nullptr, nullptr, &AddOneToRed<Pixel>, world);
  in->pica_basicP->ReleaseSuite(name, 1);
  return error;
}

PF_PixelFormat FormatOf(PF_InData* in, PF_EffectWorld* world) {
  const void* suite = nullptr;
  PF_PixelFormat format = PF_PixelFormat_INVALID;
  if (in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite) == PF_Err_NONE) {
    static_cast<const PF_WorldSuite2*>(suite)->PF_GetPixelFormat(world, &format);
    in->pica_basicP->ReleaseSuite("PF World Suite", 2);
  }
  return format;
}

PF_Err Brighten(PF_InData* in, PF_EffectWorld* world) {
  switch (FormatOf(in, world)) {
    case PF_PixelFormat_ARGB32:
      return Iterate<PF_Iterate8Suite1, PF_Pixel8>(in, "PF Iterate8 Suite", world);
    case PF_PixelFormat_ARGB64:
      return Iterate<PF_Iterate16Suite1, PF_Pixel16>(in, "PF iterate16 Suite", world);
    default:
      return Iterate<PF_iterateFloatSuite1, PF_PixelFloat>(in, "PF iterateFloat Suite", world);
  }
}

void Report(PF_InData* in, PF_OutData* out, PF_EffectWorld* input, PF_EffectWorld* output) {
  PF_ParamDef place{};
  in->inter.checkout_param(in->effect_ref, kPlace, in->current_time, in->time_step, in->time_scale,
                           &place);
  in->inter.checkin_param(in->effect_ref, &place);
  in->utils->ansi.sprintf(
      out->return_msg,
      "frame %d x %d, 1/%d, quality %d, place %d,%d, input %d x %d at %d,%d sees %d,%d,%d,%d, "
      "output %d x %d at %d,%d",
      static_cast<int>(in->width), static_cast<int>(in->height),
      static_cast<int>(in->downsample_x.den), static_cast<int>(in->quality),
      static_cast<int>(place.u.td.x_value), static_cast<int>(place.u.td.y_value),
      static_cast<int>(input->width), static_cast<int>(input->height),
      static_cast<int>(input->origin_x), static_cast<int>(input->origin_y),
      static_cast<int>(input->extent_hint.left), static_cast<int>(input->extent_hint.top),
      static_cast<int>(input->extent_hint.right), static_cast<int>(input->extent_hint.bottom),
      static_cast<int>(output->width), static_cast<int>(output->height),
      static_cast<int>(output->origin_x), static_cast<int>(output->origin_y));
}

void FillWhite(PF_InData* in, PF_EffectWorld* output) {
  const PF_Pixel8 white{255, 255, 255, 255};
  in->utils->fill(in->effect_ref, &white, nullptr, output);
}

PF_Err CopyTo(PF_InData* in, PF_EffectWorld* from, PF_EffectWorld* to) {
  const A_long x = from->origin_x - to->origin_x;
  const A_long y = from->origin_y - to->origin_y;
  PF_LRect source{0, 0, from->width, from->height};
  PF_LRect destination{x, y, x + from->width, y + from->height};
  return in->utils->copy(in->effect_ref, from, to, &source, &destination);
}

/// The pixels themselves, once input and output are at hand; the same for both render paths.
PF_Err Draw(PF_InData* in, PF_OutData* out, PF_EffectWorld* input, PF_EffectWorld* output) {
  switch (BehaviourOf(in)) {
    case kThrow:
      throw std::runtime_error("thrown by the fixture");
    case kFail:
      std::strcpy(out->return_msg, "cannot do this");
      return PF_Err_OUT_OF_MEMORY;
    case kKeepEverything: {
      PF_ParamDef kept{};
      const void* suite = nullptr;
      in->inter.checkout_param(in->effect_ref, kAmount, 0, 1, 1, &kept);
      return in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite);
    }
    case kWriteOutside:
      static_cast<char*>(output->data)[output->rowbytes - 1] = 1;
      return PF_Err_NONE;
    case kHalfResult:
    case kExtraPixels:
    case kExceedRequest:
      FillWhite(in, output);
      return PF_Err_NONE;
    case kReport:
      Report(in, out, input, output);
      return CopyTo(in, input, output);
    default:
      break;
  }
  if (PF_Err error = CopyTo(in, input, output)) {
    return error;
  }
  PF_ParamDef brighten{};
  in->inter.checkout_param(in->effect_ref, kSwitch, in->current_time, in->time_step, in->time_scale,
                           &brighten);
  in->inter.checkin_param(in->effect_ref, &brighten);
  return brighten.u.bd.value != 0 ? Brighten(in, output) : PF_Err_NONE;
}

// ---- Smart render ----

PF_LRect ResultRect(int behaviour, const PF_LRect& request) {
  switch (behaviour) {
    case kHalfResult:
      return {request.left, request.top, (request.left + request.right) / 2, request.bottom};
    case kEmptyResult:
      return {0, 0, 0, 0};
    case kExtraPixels:
    case kExceedRequest:
      return {request.left - 3, request.top - 3, request.right + 3, request.bottom + 3};
    default:
      return request;
  }
}

PF_Err PreRender(PF_InData* in, PF_PreRenderExtra* extra) {
  const int behaviour = BehaviourOf(in);
  const PF_LRect request = extra->input->output_request.rect;
  PF_PreRenderOutput& output = *extra->output;
  output.result_rect = ResultRect(behaviour, request);
  output.max_result_rect = {-1000, -1000, 31000, 31000};
  if (behaviour == kExtraPixels) {
    output.flags = PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS;
  }
  if (behaviour == kPlainFree) {
    output.pre_render_data = std::malloc(100);
  }
  PF_CheckoutResult result{};
  PF_RenderRequest whole = extra->input->output_request;
  const PF_ParamIndex index = behaviour == kLayerOnly ? kLayer : 0;
  if (index == kLayer) {
    whole.rect = {0, 0, 16384, 16384};
  }
  return extra->cb->checkout_layer(in->effect_ref, index, 7, &whole, in->current_time,
                                   in->time_step, in->time_scale, &result);
}

PF_Err SmartRender(PF_InData* in, PF_OutData* out, PF_SmartRenderExtra* extra) {
  PF_EffectWorld* input = nullptr;
  PF_EffectWorld* output = nullptr;
  const int behaviour = BehaviourOf(in);
  if (behaviour == kOutputFirst) {
    return extra->cb->checkout_output(in->effect_ref, &output);
  }
  if (behaviour == kFetchUnrequested) {
    return extra->cb->checkout_layer_pixels(in->effect_ref, 8, &input);
  }
  if (PF_Err error = extra->cb->checkout_layer_pixels(in->effect_ref, 7, &input)) {
    return error;
  }
  if (behaviour == kFetchTwice) {
    return extra->cb->checkout_layer_pixels(in->effect_ref, 7, &input);
  }
  if (PF_Err error = extra->cb->checkout_output(in->effect_ref, &output)) {
    return error;
  }
  if (input == nullptr) {
    return PF_Err_NONE;
  }
  const PF_Err error = Draw(in, out, input, output);
  extra->cb->checkin_layer_pixels(in->effect_ref, 7);
  return error;
}

PF_Err Dispatch(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                PF_LayerDef* output, void* extra) {
  switch (cmd) {
    case PF_Cmd_ABOUT:
      std::strcpy(out->return_msg, "A fixture.");
      return PF_Err_NONE;
    case PF_Cmd_GLOBAL_SETUP:
      out->my_version = PF_VERSION(1, 2, 3, PF_Stage_RELEASE, 4);
      out->out_flags = kOutFlags;
      out->out_flags2 = kOutFlags2;
      return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP:
      return SetUpParams(in, out);
    case PF_Cmd_RENDER:
      return Draw(in, out, &params[0]->u.ld, output);
    case PF_Cmd_SMART_PRE_RENDER:
      return PreRender(in, static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER:
      return SmartRender(in, out, static_cast<PF_SmartRenderExtra*>(extra));
    default:
      return PF_Err_NONE;
  }
}

const A_u_char* Text(const char* text) {
  return reinterpret_cast<const A_u_char*>(text);
}

}  // namespace
}  // namespace veltra::fixture

extern "C" {

VELTRA_EXPORT veltra::PF_Err FixtureMain(veltra::PF_Cmd cmd, veltra::PF_InData* in,
                                         veltra::PF_OutData* out, veltra::PF_ParamDef* params[],
                                         veltra::PF_LayerDef* output, void* extra) {
  return veltra::fixture::Dispatch(cmd, in, out, params, output, extra);
}

VELTRA_EXPORT veltra::PF_Err PluginDataEntryFunction2(void* hostPointer,
                                                      veltra::PF_PluginDataCB callback,
                                                      veltra::SPBasicSuite*, const char*,
                                                      const char*) {
  using veltra::fixture::Text;
  // The entry point has a name of its own: the host must go by the registration.
  return callback(hostPointer, Text("Fixture"), Text("HostFixture"), Text("Tests"),
                  Text("FixtureMain"), veltra::kEffectPluginKind, 13, 28, 8,
                  Text("https://fixture.example"));
}
}
