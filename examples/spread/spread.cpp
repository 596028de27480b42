// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// An example effect that grows its output: a blur that spreads beyond the frame, in classic render.

#include <cstring>

#include "host_api/entry_points.h"
#include "numerics/compiler.h"

namespace {

using namespace veltra;  // NOLINT(google-build-using-namespace): the interface's names

enum Control : PF_ParamIndex { kRadius = 1, kControlCount };

constexpr A_long kMostRadius = 24;

PF_Err ParamsSetup(PF_InData* in, PF_OutData* out) {
  PF_ParamDef radius{};
  radius.uu.id = kRadius;
  radius.param_type = PF_Param_SLIDER;
  std::strncpy(radius.name, "Radius", sizeof(radius.name) - 1);
  radius.u.sd.valid_max = radius.u.sd.slider_max = kMostRadius;
  radius.u.sd.value = radius.u.sd.dephault = 6;
  out->num_params = kControlCount;
  return in->inter.add_param(in->effect_ref, -1, &radius);
}

// ---- What a frame keeps between its commands ----

/// Worked out in FRAME_SETUP, used by RENDER, given back in FRAME_SETDOWN.
struct Frame {
  A_long radius = 0;  ///< pixels of the frame as it is rendered
};

Frame* FrameIn(PF_Handle handle) {
  return handle != nullptr ? static_cast<Frame*>(*handle) : nullptr;
}

/// Answers an output that is larger by the radius on each side.
PF_Err FrameSetup(PF_InData* in, PF_OutData* out, PF_ParamDef* params[]) {
  const PF_Handle handle = in->utils->host_new_handle(sizeof(Frame));
  if (handle == nullptr) {
    return PF_Err_OUT_OF_MEMORY;
  }
  Frame* frame = FrameIn(handle);
  // The value is in full-resolution pixels.
  frame->radius = params[kRadius]->u.sd.value * in->downsample_x.num /
                  static_cast<A_long>(in->downsample_x.den);
  out->frame_data = handle;
  out->width = params[0]->u.ld.width + 2 * frame->radius;
  out->height = params[0]->u.ld.height + 2 * frame->radius;
  out->origin = {frame->radius, frame->radius};
  return PF_Err_NONE;
}

PF_Err FrameSetdown(PF_InData* in, PF_OutData* out) {
  in->utils->host_dispose_handle(in->frame_data);
  out->frame_data = nullptr;
  return PF_Err_NONE;
}

// ---- The picture ----

/// One pass over the rows or the columns. Every cell of the kernel weighs the same; the host takes
/// 255 in all cells for the average.
PF_Err Average(PF_InData* in, PF_EffectWorld* from, A_long radius, A_u_long direction,
               PF_EffectWorld* to) {
  A_long kernel[2 * kMostRadius + 1];
  for (A_long& cell : kernel) {
    cell = 255;
  }
  return in->utils->convolve(in->effect_ref, from, nullptr, PF_KernelFlag_1D | direction,
                             2 * radius + 1, kernel, kernel, kernel, kernel, to);
}

/// Straight colours must not be averaged, since those of transparent pixels mean nothing.
PF_Err BlurPremultiplied(PF_InData* in, A_long radius, PF_EffectWorld* other,
                         PF_EffectWorld* output) {
  PF_Err error = in->utils->premultiply(in->effect_ref, 1, output);
  error = error != PF_Err_NONE ? error : Average(in, output, radius, 0, other);
  error = error != PF_Err_NONE ? error : Average(in, other, radius, PF_KernelFlag_VERTICAL, output);
  return error != PF_Err_NONE ? error : in->utils->premultiply(in->effect_ref, 0, output);
}

PF_Err Render(PF_InData* in, PF_EffectWorld* input, PF_EffectWorld* output) {
  const Frame* frame = FrameIn(in->frame_data);
  if (frame == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  PF_Err error = in->utils->fill(in->effect_ref, nullptr, nullptr, output);
  PF_LRect from{0, 0, input->width, input->height};
  PF_LRect to{in->output_origin_x, in->output_origin_y, in->output_origin_x + input->width,
              in->output_origin_y + input->height};
  error = error != PF_Err_NONE ? error : in->utils->copy(in->effect_ref, input, output, &from, &to);
  if (error != PF_Err_NONE || frame->radius == 0) {
    return error;
  }
  const A_long deep = output->world_flags & PF_WorldFlag_DEEP;
  PF_EffectWorld other{};
  error = in->utils->new_world(
      in->effect_ref, output->width, output->height,
      PF_NewWorldFlag_CLEAR_PIXELS | (deep != 0 ? PF_NewWorldFlag_DEEP_PIXELS : 0), &other);
  if (error != PF_Err_NONE) {
    return error;
  }
  error = BlurPremultiplied(in, frame->radius, &other, output);
  const PF_Err returned = in->utils->dispose_world(in->effect_ref, &other);
  return error != PF_Err_NONE ? error : returned;
}

}  // namespace

extern "C" VELTRA_EXPORT PF_Err MainEntry(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData,
                                          PF_ParamDef* params[], PF_LayerDef* output,
                                          void* /*extra*/) {
  switch (cmd) {
    case PF_Cmd_ABOUT:
      std::strcpy(outData->return_msg, "Spread 1.0: a blur that grows beyond the frame.");
      return PF_Err_NONE;
    case PF_Cmd_GLOBAL_SETUP:
      outData->my_version = PF_VERSION(1, 0, 0, PF_Stage_RELEASE, 0);
      outData->out_flags = PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_I_EXPAND_BUFFER;
      return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP:
      return ParamsSetup(inData, outData);
    case PF_Cmd_FRAME_SETUP:
      return FrameSetup(inData, outData, params);
    case PF_Cmd_RENDER:
      return Render(inData, &params[0]->u.ld, output);
    case PF_Cmd_FRAME_SETDOWN:
      return FrameSetdown(inData, outData);
    default:
      return PF_Err_NONE;  // hosts send commands that are not meant for every effect
  }
}

extern "C" VELTRA_EXPORT PF_Err PluginDataEntryFunction2(void* host, PF_PluginDataCB callback,
                                                         SPBasicSuite* /*basicSuite*/,
                                                         const char* /*hostName*/,
                                                         const char* /*hostVersion*/) {
  const auto text = [](const char* bytes) { return reinterpret_cast<const A_u_char*>(bytes); };
  return callback(host, text("Spread"), text("Veltra Example Spread"), text("Veltra Examples"),
                  text(kMainEntryName), kEffectPluginKind, 13, 28, 8,
                  text("https://veltra.example"));
}
