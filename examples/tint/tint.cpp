// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An example effect with a colour and a float slider: colours the picture by its brightness.

#include <cstring>
#include <type_traits>

#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace {

using namespace veltra;  // NOLINT(google-build-using-namespace): the interface's names

// ---- Controls ----

enum Control : PF_ParamIndex { kColor = 1, kAmount, kControlCount };

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
  PF_ParamDef color{};
  color.uu.id = kColor;
  color.param_type = PF_Param_COLOR;
  std::strncpy(color.name, "Tint", sizeof(color.name) - 1);
  color.u.cd.value = color.u.cd.dephault = {PF_MAX_CHAN8, 255, 176, 96};
  PF_ParamDef amount{};
  amount.uu.id = kAmount;
  amount.param_type = PF_Param_FLOAT_SLIDER;
  std::strncpy(amount.name, "Amount", sizeof(amount.name) - 1);
  amount.u.fs_d.valid_max = amount.u.fs_d.slider_max = 100.0F;
  amount.u.fs_d.dephault = 75.0F;
  amount.u.fs_d.value = 75.0;
  amount.u.fs_d.precision = 1;
  amount.u.fs_d.display_flags = 1;  // with a percent sign
  PF_Err error = in->inter.add_param(in->effect_ref, -1, &color);
  error = error != PF_Err_NONE ? error : in->inter.add_param(in->effect_ref, -1, &amount);
  out->num_params = kControlCount;
  return error;
}

/// Runs `use` with a suite of the host's and gives the suite back. A host may refuse one, or grant
/// it without a table.
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

/// Gives the value of a control at the frame's time to `use`, and gives it back.
template <class Use>
PF_Err WithControl(const PF_InData& in, Control control, Use use) {
  PF_ParamDef value{};
  PF_Err error = in.inter.checkout_param(in.effect_ref, control, in.current_time, in.time_step,
                                         in.time_scale, &value);
  if (error != PF_Err_NONE) {
    return error;
  }
  error = use(value);
  const PF_Err returned = in.inter.checkin_param(in.effect_ref, &value);
  return error != PF_Err_NONE ? error : returned;
}

// ---- The picture ----

struct Tint {
  PF_PixelFloat color{};  ///< 0 to 1
  float amount = 0.0F;    ///< 0 to 1
};

PF_Err ReadTint(const PF_InData& in, Tint* tint) {
  // The host may know the colour more exactly than the 8 bits in the definition.
  PF_Err error = WithControl(in, kColor, [&](const PF_ParamDef& value) {
    return WithSuite<PF_ColorParamSuite1>(
        in, "PF ColorParamSuite", 1, [&](const PF_ColorParamSuite1& suite) {
          return suite.PF_GetFloatingPointColorFromColorDef(in.effect_ref, &value, &tint->color);
        });
  });
  return error != PF_Err_NONE ? error : WithControl(in, kAmount, [&](const PF_ParamDef& value) {
    tint->amount = static_cast<float>(value.u.fs_d.value) / 100.0F;
    return PF_Err_NONE;
  });
}

template <class Pixel>
PF_Err TintPixel(void* refcon, A_long /*x*/, A_long /*y*/, Pixel* in, Pixel* out) {
  using Channel = decltype(Pixel::alpha);
  const Tint& tint = *static_cast<const Tint*>(refcon);
  const float light = 0.299F * static_cast<float>(in->red) +
                      0.587F * static_cast<float>(in->green) +
                      0.114F * static_cast<float>(in->blue);
  const auto mix = [&](Channel channel, float tinted) {
    const auto from = static_cast<float>(channel);
    const float rounding = std::is_integral_v<Channel> ? 0.5F : 0.0F;
    return static_cast<Channel>(from + (light * tinted - from) * tint.amount + rounding);
  };
  *out = {in->alpha, mix(in->red, tint.color.red), mix(in->green, tint.color.green),
          mix(in->blue, tint.color.blue)};
  return PF_Err_NONE;
}

template <class Table, class Pixel>
PF_Err DrawDepth(PF_InData* in, const char* suite, Tint* tint, PF_EffectWorld* input,
                 PF_EffectWorld* output) {
  return WithSuite<Table>(*in, suite, 2, [&](const Table& table) {
    // Where the output's first pixel lies in the input, if they cover different parts.
    const PF_Point origin{input->origin_x - output->origin_x, input->origin_y - output->origin_y};
    return table.iterate_origin(in, 0, output->height, input, nullptr, &origin, tint,
                                &TintPixel<Pixel>, output);
  });
}

PF_Err Draw(PF_InData* in, PF_EffectWorld* input, PF_EffectWorld* output) {
  Tint tint;
  PF_PixelFormat format = PF_PixelFormat_INVALID;
  PF_Err error = in->utils->fill(in->effect_ref, nullptr, nullptr, output);
  error = error != PF_Err_NONE ? error : ReadTint(*in, &tint);
  if (error != PF_Err_NONE || input == nullptr || input->data == nullptr) {
    return error;
  }
  error = WithSuite<PF_WorldSuite2>(*in, "PF World Suite", 2, [&](const PF_WorldSuite2& suite) {
    return suite.PF_GetPixelFormat(output, &format);
  });
  if (error != PF_Err_NONE) {
    return error;
  }
  if (format == PF_PixelFormat_ARGB128) {
    return DrawDepth<PF_iterateFloatSuite1, PF_PixelFloat>(in, "PF iterateFloat Suite", &tint,
                                                           input, output);
  }
  if (format == PF_PixelFormat_ARGB64) {
    return DrawDepth<PF_Iterate16Suite1, PF_Pixel16>(in, "PF iterate16 Suite", &tint, input,
                                                     output);
  }
  return DrawDepth<PF_Iterate8Suite1, PF_Pixel8>(in, "PF Iterate8 Suite", &tint, input, output);
}

// ---- Commands ----

PF_Err PreRender(PF_InData* in, PF_PreRenderExtra* extra) {
  PF_RenderRequest request = extra->input->output_request;
  PF_CheckoutResult found{};
  const PF_Err error = extra->cb->checkout_layer(in->effect_ref, 0, 0, &request, in->current_time,
                                                 in->time_step, in->time_scale, &found);
  extra->output->result_rect = found.result_rect;
  extra->output->max_result_rect = found.max_result_rect;
  return error;
}

PF_Err SmartRender(PF_InData* in, PF_SmartRenderExtra* extra) {
  PF_EffectWorld* input = nullptr;
  PF_EffectWorld* output = nullptr;
  PF_Err error = extra->cb->checkout_layer_pixels(in->effect_ref, 0, &input);
  if (error != PF_Err_NONE) {
    return error;
  }
  error = extra->cb->checkout_output(in->effect_ref, &output);
  if (error == PF_Err_NONE && output != nullptr && output->data != nullptr) {
    error = Draw(in, input, output);
  }
  const PF_Err returned = extra->cb->checkin_layer_pixels(in->effect_ref, 0);
  return error != PF_Err_NONE ? error : returned;
}

}  // namespace

extern "C" VELTRA_EXPORT PF_Err MainEntry(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData,
                                          PF_ParamDef* params[], PF_LayerDef* output, void* extra) {
  switch (cmd) {
    case PF_Cmd_ABOUT:
      std::strcpy(outData->return_msg, "Tint 1.0: colours the picture by its brightness.");
      return PF_Err_NONE;
    case PF_Cmd_GLOBAL_SETUP:
      outData->my_version = PF_VERSION(1, 0, 0, PF_Stage_RELEASE, 0);
      outData->out_flags = PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_PIX_INDEPENDENT;
      outData->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
                            PF_OutFlag2_SUPPORTS_THREADED_RENDERING;
      return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP:
      return ParamsSetup(inData, outData);
    case PF_Cmd_RENDER:
      return Draw(inData, &params[0]->u.ld, output);
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
  return callback(host, text("Tint"), text("Veltra Example Tint"), text("Veltra Examples"),
                  text(kMainEntryName), kEffectPluginKind, 13, 28, 8,
                  text("https://veltra.example"));
}
