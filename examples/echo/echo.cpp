// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An example effect that looks at other times: lays earlier frames over the current one.

#include <algorithm>
#include <cstring>

#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace {

using namespace veltra;  // NOLINT(google-build-using-namespace): the interface's names

enum Control : PF_ParamIndex { kEchoes = 1, kSpacing, kDecay, kControlCount };

constexpr A_long kMostEchoes = 8;

PF_Err AddSlider(PF_InData* in, A_long id, const char* name, A_long least, A_long most,
                 A_long standard) {
  PF_ParamDef def{};
  def.uu.id = id;
  def.param_type = PF_Param_SLIDER;
  std::strncpy(def.name, name, sizeof(def.name) - 1);
  def.u.sd.valid_min = def.u.sd.slider_min = least;
  def.u.sd.valid_max = def.u.sd.slider_max = most;
  def.u.sd.value = def.u.sd.dephault = standard;
  return in->inter.add_param(in->effect_ref, -1, &def);
}

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
  PF_Err error = AddSlider(in, kEchoes, "Echoes", 0, kMostEchoes, 3);
  error = error != PF_Err_NONE ? error : AddSlider(in, kSpacing, "Spacing", 1, 100, 2);
  error = error != PF_Err_NONE ? error : AddSlider(in, kDecay, "Decay", 0, 100, 50);
  out->num_params = kControlCount;
  return error;
}

/// The whole number of a slider at the frame's time.
PF_Err ReadSlider(const PF_InData& in, Control control, A_long* number) {
  PF_ParamDef value{};
  const PF_Err error = in.inter.checkout_param(in.effect_ref, control, in.current_time,
                                               in.time_step, in.time_scale, &value);
  if (error != PF_Err_NONE) {
    return error;
  }
  *number = value.u.sd.value;
  return in.inter.checkin_param(in.effect_ref, &value);
}

template <class Table, class Use>
PF_Err WithSuite(const PF_InData& in, const char* name, A_long version, Use use) {
  const void* table = nullptr;
  const SPErr refused = in.pica_basicP->AcquireSuite(name, version, &table);
  if (refused != PF_Err_NONE || table == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_Err error = use(*static_cast<const Table*>(table));
  in.pica_basicP->ReleaseSuite(name, version);
  return error;
}

PF_LRect Union(const PF_LRect& a, const PF_LRect& b) {
  if (a.left >= a.right || a.top >= a.bottom) {
    return b;
  }
  if (b.left >= b.right || b.top >= b.bottom) {
    return a;
  }
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

// ---- Commands ----

/// Asks for the input at each of the times, under a number of its own; 0 is the current one.
PF_Err PreRender(PF_InData* in, PF_PreRenderExtra* extra) {
  A_long echoes = 0;
  A_long spacing = 1;
  PF_Err error = ReadSlider(*in, kEchoes, &echoes);
  error = error != PF_Err_NONE ? error : ReadSlider(*in, kSpacing, &spacing);
  PF_LRect result{};
  PF_LRect most{};
  for (A_long echo = 0; echo <= echoes && error == PF_Err_NONE; ++echo) {
    PF_RenderRequest request = extra->input->output_request;
    PF_CheckoutResult found{};
    const A_long then = in->current_time - echo * spacing * in->time_step;
    error = extra->cb->checkout_layer(in->effect_ref, 0, echo, &request, then, in->time_step,
                                      in->time_scale, &found);
    result = Union(result, found.result_rect);
    most = Union(most, found.max_result_rect);
  }
  extra->output->result_rect = result;
  extra->output->max_result_rect = most;
  return error;
}

/// Draws one of the times over the output, behind what is there.
PF_Err DrawEcho(PF_InData* in, PF_EffectWorld* then, A_long opacity, PF_EffectWorld* output) {
  PF_CompositeMode mode{};
  mode.xfer = PF_Xfer_BEHIND;
  mode.opacity = static_cast<A_u_char>(opacity * PF_MAX_CHAN8 / 100);
  mode.opacitySu = static_cast<A_u_short>(opacity * PF_MAX_CHAN16 / 100);
  const PF_LRect whole{0, 0, then->width, then->height};
  return WithSuite<PF_WorldTransformSuite1>(
      *in, "PF World Transform Suite", 1, [&](const PF_WorldTransformSuite1& suite) {
        return suite.transfer_rect(
            in->effect_ref, in->quality, PF_MF_Alpha_STRAIGHT, PF_Field_FRAME, &whole, then, &mode,
            nullptr, then->origin_x - output->origin_x, then->origin_y - output->origin_y, output);
      });
}

/// The current frame is at full strength, and what is earlier lies behind what is later.
PF_Err SmartRender(PF_InData* in, PF_SmartRenderExtra* extra) {
  A_long echoes = 0;
  A_long decay = 0;
  PF_Err error = ReadSlider(*in, kEchoes, &echoes);
  error = error != PF_Err_NONE ? error : ReadSlider(*in, kDecay, &decay);
  PF_EffectWorld* output = nullptr;
  A_long opacity = 100;
  for (A_long echo = 0; echo <= echoes && error == PF_Err_NONE; ++echo) {
    PF_EffectWorld* then = nullptr;
    error = extra->cb->checkout_layer_pixels(in->effect_ref, echo, &then);
    if (error != PF_Err_NONE) {
      break;
    }
    if (output == nullptr) {  // the output comes after the first input
      error = extra->cb->checkout_output(in->effect_ref, &output);
      error = error == PF_Err_NONE && output != nullptr
                  ? in->utils->fill(in->effect_ref, nullptr, nullptr, output)
                  : error;
    }
    if (error == PF_Err_NONE && output != nullptr && then != nullptr && then->data != nullptr) {
      error = DrawEcho(in, then, opacity, output);
    }
    const PF_Err returned = extra->cb->checkin_layer_pixels(in->effect_ref, echo);
    error = error != PF_Err_NONE ? error : returned;
    opacity = opacity * (100 - decay) / 100;
  }
  return error;
}

}  // namespace

extern "C" VELTRA_EXPORT PF_Err MainEntry(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData,
                                          PF_ParamDef* /*params*/[], PF_LayerDef* /*output*/,
                                          void* extra) {
  switch (cmd) {
    case PF_Cmd_ABOUT:
      std::strcpy(outData->return_msg, "Echo 1.0: earlier frames behind the current one.");
      return PF_Err_NONE;
    case PF_Cmd_GLOBAL_SETUP:
      outData->my_version = PF_VERSION(1, 0, 0, PF_Stage_RELEASE, 0);
      outData->out_flags = PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_WIDE_TIME_INPUT;
      outData->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
                            PF_OutFlag2_SUPPORTS_THREADED_RENDERING |
                            PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT;
      return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP:
      return ParamsSetup(inData, outData);
    case PF_Cmd_SMART_PRE_RENDER:
      return PreRender(inData, static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER:
      return SmartRender(inData, static_cast<PF_SmartRenderExtra*>(extra));
    default:
      return PF_Err_NONE;  // hosts send commands that are not meant for every effect
  }
}

extern "C" VELTRA_EXPORT PF_Err PluginDataEntryFunction2(void* host, PF_PluginDataCB callback,
                                                         SPBasicSuite* /*basicSuite*/,
                                                         const char* /*hostName*/,
                                                         const char* /*hostVersion*/) {
  const auto text = [](const char* bytes) { return reinterpret_cast<const A_u_char*>(bytes); };
  return callback(host, text("Echo"), text("Veltra Example Echo"), text("Veltra Examples"),
                  text(kMainEntryName), kEffectPluginKind, 13, 28, 8,
                  text("https://veltra.example"));
}
