// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An example effect: darkens the picture away from a centre, at every depth, in both protocols.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace {

using namespace veltra;  // NOLINT(google-build-using-namespace): the interface's names

// ---- What differs between the depths ----

template <class Pixel>
struct Iteration;
template <>
struct Iteration<PF_Pixel8> {
  using Table = PF_Iterate8Suite1;
  static constexpr const char* kName = "PF Iterate8 Suite";
};
template <>
struct Iteration<PF_Pixel16> {
  using Table = PF_Iterate16Suite1;
  static constexpr const char* kName = "PF iterate16 Suite";
};
template <>
struct Iteration<PF_PixelFloat> {
  using Table = PF_iterateFloatSuite1;
  static constexpr const char* kName = "PF iterateFloat Suite";
};

/// Rounded where channels are integers.
template <class Channel>
Channel Times(Channel channel, float factor) {
  const float rounding = std::is_integral_v<Channel> ? 0.5F : 0.0F;
  return static_cast<Channel>(static_cast<float>(channel) * factor + rounding);
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

// ---- Controls ----

enum Control : PF_ParamIndex { kCentre = 1, kRadius, kSoftness, kStrength, kControlCount };

constexpr PF_Fixed kPercent = 65536;

PF_Err AddSlider(PF_InData* in, A_long id, const char* name, int most, int standard) {
  PF_ParamDef def{};
  def.uu.id = id;
  def.param_type = PF_Param_FIX_SLIDER;
  std::strncpy(def.name, name, sizeof(def.name) - 1);
  def.u.fd.valid_max = def.u.fd.slider_max = most * kPercent;
  def.u.fd.value = def.u.fd.dephault = standard * kPercent;
  def.u.fd.precision = 1;
  return in->inter.add_param(in->effect_ref, -1, &def);
}

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
  PF_ParamDef centre{};
  centre.uu.id = kCentre;
  centre.param_type = PF_Param_POINT;
  std::strncpy(centre.name, "Centre", sizeof(centre.name) - 1);
  centre.u.td.x_value = centre.u.td.x_dephault = 50 * kPercent;
  centre.u.td.y_value = centre.u.td.y_dephault = 50 * kPercent;
  PF_Err error = in->inter.add_param(in->effect_ref, -1, &centre);
  error = error != PF_Err_NONE ? error : AddSlider(in, kRadius, "Radius", 200, 60);
  error = error != PF_Err_NONE ? error : AddSlider(in, kSoftness, "Softness", 100, 50);
  error = error != PF_Err_NONE ? error : AddSlider(in, kStrength, "Strength", 100, 80);
  out->num_params = kControlCount;
  return error;
}

// ---- The picture ----

/// What every pixel works from; lengths are pixels of the frame as it is rendered.
struct Shade {
  float centreX = 0.0F;
  float centreY = 0.0F;
  float aspect = 1.0F;    ///< width of a pixel by its height, where the frame's are not square
  float radius = 0.0F;    ///< up to here nothing is darkened
  float softness = 1.0F;  ///< over this length the darkening grows to its full strength
  float strength = 0.0F;  ///< 0 to 1
  A_long originX = 0;     ///< of the output in the frame
  A_long originY = 0;
};

float Scaled(A_long length, const PF_RationalScale& scale) {
  return static_cast<float>(length) * static_cast<float>(scale.num) / static_cast<float>(scale.den);
}

/// From the controls at the frame's time.
PF_Err ReadShade(const PF_InData& in, Shade* shade) {
  PF_ParamDef values[kControlCount] = {};
  for (PF_ParamIndex index = kCentre; index < kControlCount; ++index) {
    PF_Err error = in.inter.checkout_param(in.effect_ref, index, in.current_time, in.time_step,
                                           in.time_scale, &values[index]);
    if (error == PF_Err_NONE) {
      PF_ParamDef lent = values[index];
      error = in.inter.checkin_param(in.effect_ref, &lent);
    }
    if (error != PF_Err_NONE) {
      return error;
    }
  }
  const auto share = [&](Control control) {
    return static_cast<float>(values[control].u.fd.value) / (100.0F * kPercent);
  };
  // A part of the frame must look as it does in the whole, so nothing depends on the output's size.
  const float half =
      0.5F * std::hypot(Scaled(in.width, in.downsample_x), Scaled(in.height, in.downsample_y));
  shade->centreX = static_cast<float>(values[kCentre].u.td.x_value) / 65536.0F;
  shade->centreY = static_cast<float>(values[kCentre].u.td.y_value) / 65536.0F;
  shade->aspect = Scaled(1, in.pixel_aspect_ratio);
  shade->radius = share(kRadius) * half;
  shade->softness = std::max(1.0F, share(kSoftness) * half);
  shade->strength = share(kStrength);
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err DarkenPixel(void* refcon, A_long x, A_long y, Pixel* /*in*/, Pixel* out) {
  const Shade& shade = *static_cast<const Shade*>(refcon);
  const float dx = (static_cast<float>(x + shade.originX) - shade.centreX) * shade.aspect;
  const float dy = static_cast<float>(y + shade.originY) - shade.centreY;
  const float t = std::clamp((std::hypot(dx, dy) - shade.radius) / shade.softness, 0.0F, 1.0F);
  const float light = 1.0F - shade.strength * t * t * (3.0F - 2.0F * t);
  out->red = Times(out->red, light);
  out->green = Times(out->green, light);
  out->blue = Times(out->blue, light);
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Darken(PF_InData* in, Shade* shade, PF_EffectWorld* output) {
  using I = Iteration<Pixel>;
  return WithSuite<typename I::Table>(*in, I::kName, 1, [&](const auto& suite) {
    return suite.iterate(in, 0, output->height, nullptr, nullptr, shade, &DarkenPixel<Pixel>,
                         output);
  });
}

/// Draws into the output, which need not cover the same part of the frame as the input.
PF_Err Draw(PF_InData* in, PF_EffectWorld* input, PF_EffectWorld* output) {
  PF_Err error = in->utils->fill(in->effect_ref, nullptr, nullptr, output);
  if (error != PF_Err_NONE || input == nullptr || input->data == nullptr) {
    return error;
  }
  const A_long dx = input->origin_x - output->origin_x;
  const A_long dy = input->origin_y - output->origin_y;
  PF_LRect from{0, 0, input->width, input->height};
  PF_LRect to{dx, dy, dx + input->width, dy + input->height};
  error = in->utils->copy(in->effect_ref, input, output, &from, &to);
  Shade shade;
  error = error != PF_Err_NONE ? error : ReadShade(*in, &shade);
  if (error != PF_Err_NONE) {
    return error;
  }
  shade.originX = output->origin_x;
  shade.originY = output->origin_y;
  PF_PixelFormat format = PF_PixelFormat_INVALID;
  error = WithSuite<PF_WorldSuite2>(*in, "PF World Suite", 2, [&](const PF_WorldSuite2& suite) {
    return suite.PF_GetPixelFormat(output, &format);
  });
  return error != PF_Err_NONE               ? error
         : format == PF_PixelFormat_ARGB128 ? Darken<PF_PixelFloat>(in, &shade, output)
         : format == PF_PixelFormat_ARGB64  ? Darken<PF_Pixel16>(in, &shade, output)
                                            : Darken<PF_Pixel8>(in, &shade, output);
}

// ---- Commands ----

/// The output is what the input is: as large, and as much of it as was asked for.
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
      std::strcpy(outData->return_msg, "Vignette 1.0: darkens the picture away from a centre.");
      return PF_Err_NONE;
    case PF_Cmd_GLOBAL_SETUP:
      outData->my_version = PF_VERSION(1, 0, 0, PF_Stage_RELEASE, 0);
      outData->out_flags = PF_OutFlag_DEEP_COLOR_AWARE;
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
  return callback(host, text("Vignette"), text("Veltra Example Vignette"), text("Veltra Examples"),
                  text(kMainEntryName), kEffectPluginKind, 13, 28, 8,
                  text("https://veltra.example"));
}
