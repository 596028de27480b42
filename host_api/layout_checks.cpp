// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Proves at compile time, on every target, that the declarations have the host's binary layout.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "host_api/entry_points.h"

#define VELTRA_CHECK_RECORD(Record, size, alignment)                      \
  static_assert(sizeof(Record) == (size), #Record " has the wrong size"); \
  static_assert(alignof(Record) == (alignment), #Record " is misaligned")
#define VELTRA_CHECK_FIELD(Record, field, offset) \
  static_assert(offsetof(Record, field) == (offset), #Record "::" #field " is misplaced")
// The place of a function, and its type in the widths that callers and callees agree on: a function
// of another type answers in other registers.
#define VELTRA_CHECK_SLOT(Record, field, offset, ...)                                     \
  VELTRA_CHECK_FIELD(Record, field, offset);                                              \
  static_assert(std::is_same_v<decltype(Record::field), std::add_pointer_t<__VA_ARGS__>>, \
                #Record "::" #field " has the wrong type")

namespace veltra {
namespace {

using i16 = std::int16_t;
using i32 = std::int32_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using u8 = std::uint8_t;
using f32 = float;
using f64 = double;
using Ref = PF_OpaqueProgress*;
using InData = PF_InData*;
using World = PF_LayerDef*;
using ConstWorld = const PF_LayerDef*;
using Rect = const PF_LRect*;
using Pixel8 = PF_Pixel8;
using Pixel16 = PF_Pixel16;
using PixelF = PF_PixelFloat;
using Function8 = i32 (*)(void*, i32, i32, Pixel8*, Pixel8*);
using Function16 = i32 (*)(void*, i32, i32, Pixel16*, Pixel16*);
using FunctionF = i32 (*)(void*, i32, i32, PixelF*, PixelF*);
using Generic = i32 (*)(void*, i32, i32, i32);
using Handle = void**;

}  // namespace

// With 32-bit pointers (WebAssembly) host and effect come from one build and meet no foreign one.
#if UINTPTR_MAX > 0xffffffffU

static_assert(sizeof(void*) == 8, "the host's interface is declared for 64-bit targets");
static_assert(sizeof(PF_AnyFn) == 8);

VELTRA_CHECK_RECORD(PF_SpecVersion, 4, 2);
VELTRA_CHECK_FIELD(PF_SpecVersion, major, 0);
VELTRA_CHECK_FIELD(PF_SpecVersion, minor, 2);

VELTRA_CHECK_RECORD(PF_LRect, 16, 4);
VELTRA_CHECK_FIELD(PF_LRect, left, 0);
VELTRA_CHECK_FIELD(PF_LRect, top, 4);
VELTRA_CHECK_FIELD(PF_LRect, right, 8);
VELTRA_CHECK_FIELD(PF_LRect, bottom, 12);

VELTRA_CHECK_RECORD(PF_RationalScale, 8, 4);
VELTRA_CHECK_FIELD(PF_RationalScale, num, 0);
VELTRA_CHECK_FIELD(PF_RationalScale, den, 4);

VELTRA_CHECK_RECORD(PF_Pixel8, 4, 1);
VELTRA_CHECK_FIELD(PF_Pixel8, alpha, 0);
VELTRA_CHECK_FIELD(PF_Pixel8, red, 1);
VELTRA_CHECK_FIELD(PF_Pixel8, green, 2);
VELTRA_CHECK_FIELD(PF_Pixel8, blue, 3);

VELTRA_CHECK_RECORD(PF_Pixel16, 8, 2);
VELTRA_CHECK_FIELD(PF_Pixel16, alpha, 0);
VELTRA_CHECK_FIELD(PF_Pixel16, red, 2);
VELTRA_CHECK_FIELD(PF_Pixel16, green, 4);
VELTRA_CHECK_FIELD(PF_Pixel16, blue, 6);

VELTRA_CHECK_RECORD(PF_PixelFloat, 16, 4);
VELTRA_CHECK_FIELD(PF_PixelFloat, alpha, 0);
VELTRA_CHECK_FIELD(PF_PixelFloat, red, 4);
VELTRA_CHECK_FIELD(PF_PixelFloat, green, 8);
VELTRA_CHECK_FIELD(PF_PixelFloat, blue, 12);

VELTRA_CHECK_RECORD(PF_LayerDef, 120, 8);
VELTRA_CHECK_FIELD(PF_LayerDef, reserved0, 0);
VELTRA_CHECK_FIELD(PF_LayerDef, reserved1, 8);
VELTRA_CHECK_FIELD(PF_LayerDef, world_flags, 16);
VELTRA_CHECK_FIELD(PF_LayerDef, data, 24);
VELTRA_CHECK_FIELD(PF_LayerDef, rowbytes, 32);
VELTRA_CHECK_FIELD(PF_LayerDef, width, 36);
VELTRA_CHECK_FIELD(PF_LayerDef, height, 40);
VELTRA_CHECK_FIELD(PF_LayerDef, extent_hint, 44);
VELTRA_CHECK_FIELD(PF_LayerDef, platform_ref, 64);
VELTRA_CHECK_FIELD(PF_LayerDef, reserved_long1, 72);
VELTRA_CHECK_FIELD(PF_LayerDef, reserved_long4, 80);
VELTRA_CHECK_FIELD(PF_LayerDef, pix_aspect_ratio, 88);
VELTRA_CHECK_FIELD(PF_LayerDef, reserved_long2, 96);
VELTRA_CHECK_FIELD(PF_LayerDef, origin_x, 104);
VELTRA_CHECK_FIELD(PF_LayerDef, origin_y, 108);
VELTRA_CHECK_FIELD(PF_LayerDef, reserved_long3, 112);
VELTRA_CHECK_FIELD(PF_LayerDef, dephault, 116);

VELTRA_CHECK_RECORD(PF_FixedSliderDef, 92, 4);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, value, 0);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, value_str, 4);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, value_desc, 36);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, valid_min, 68);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, valid_max, 72);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, slider_min, 76);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, slider_max, 80);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, dephault, 84);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, precision, 88);
VELTRA_CHECK_FIELD(PF_FixedSliderDef, display_flags, 90);

VELTRA_CHECK_RECORD(PF_CheckBoxDef, 16, 8);
VELTRA_CHECK_FIELD(PF_CheckBoxDef, value, 0);
VELTRA_CHECK_FIELD(PF_CheckBoxDef, dephault, 4);
VELTRA_CHECK_FIELD(PF_CheckBoxDef, reserved, 5);
VELTRA_CHECK_FIELD(PF_CheckBoxDef, reserved1, 6);
VELTRA_CHECK_FIELD(PF_CheckBoxDef, u, 8);

VELTRA_CHECK_RECORD(PF_PointDef, 20, 4);
VELTRA_CHECK_FIELD(PF_PointDef, x_value, 0);
VELTRA_CHECK_FIELD(PF_PointDef, y_value, 4);
VELTRA_CHECK_FIELD(PF_PointDef, reserved, 8);
VELTRA_CHECK_FIELD(PF_PointDef, restrict_bounds, 11);
VELTRA_CHECK_FIELD(PF_PointDef, x_dephault, 12);
VELTRA_CHECK_FIELD(PF_PointDef, y_dephault, 16);

VELTRA_CHECK_RECORD(PF_PopupDef, 16, 8);
VELTRA_CHECK_FIELD(PF_PopupDef, value, 0);
VELTRA_CHECK_FIELD(PF_PopupDef, num_choices, 4);
VELTRA_CHECK_FIELD(PF_PopupDef, dephault, 6);
VELTRA_CHECK_FIELD(PF_PopupDef, u, 8);

VELTRA_CHECK_RECORD(PF_ParamDefUnion, 120, 8);

VELTRA_CHECK_RECORD(PF_ParamDef, 176, 8);
VELTRA_CHECK_FIELD(PF_ParamDef, uu, 0);
VELTRA_CHECK_FIELD(PF_ParamDef, ui_flags, 4);
VELTRA_CHECK_FIELD(PF_ParamDef, ui_width, 8);
VELTRA_CHECK_FIELD(PF_ParamDef, ui_height, 10);
VELTRA_CHECK_FIELD(PF_ParamDef, param_type, 12);
VELTRA_CHECK_FIELD(PF_ParamDef, name, 16);
VELTRA_CHECK_FIELD(PF_ParamDef, flags, 48);
VELTRA_CHECK_FIELD(PF_ParamDef, unused, 52);
VELTRA_CHECK_FIELD(PF_ParamDef, u, 56);

VELTRA_CHECK_RECORD(PF_InteractCallbacks, 176, 8);
VELTRA_CHECK_SLOT(PF_InteractCallbacks, checkout_param, 0,
                  i32(Ref, i32, i32, i32, u32, PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, checkin_param, 8, i32(Ref, PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, add_param, 16, i32(Ref, i32, PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, abort, 24, i32(Ref));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, progress, 32, i32(Ref, i32, i32));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, register_ui, 40, i32(Ref, void*));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, checkout_layer_audio, 48,
                  i32(Ref, i32, i32, i32, u32, u32, i32, i32, i32, void**));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, checkin_layer_audio, 56, i32(Ref, void*));
VELTRA_CHECK_SLOT(PF_InteractCallbacks, get_audio_data, 64,
                  i32(Ref, void*, void**, i32*, u32*, i32*, i32*, i32*));
VELTRA_CHECK_FIELD(PF_InteractCallbacks, reserved_str, 72);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, reserved, 96);

VELTRA_CHECK_RECORD(PF_SoundWorld, 32, 8);
VELTRA_CHECK_FIELD(PF_SoundWorld, fi, 0);
VELTRA_CHECK_FIELD(PF_SoundWorld, num_samples, 16);
VELTRA_CHECK_FIELD(PF_SoundWorld, dataP, 24);

VELTRA_CHECK_RECORD(PF_InData, 408, 8);
VELTRA_CHECK_FIELD(PF_InData, inter, 0);
VELTRA_CHECK_FIELD(PF_InData, utils, 176);
VELTRA_CHECK_FIELD(PF_InData, effect_ref, 184);
VELTRA_CHECK_FIELD(PF_InData, quality, 192);
VELTRA_CHECK_FIELD(PF_InData, version, 196);
VELTRA_CHECK_FIELD(PF_InData, serial_num, 200);
VELTRA_CHECK_FIELD(PF_InData, appl_id, 204);
VELTRA_CHECK_FIELD(PF_InData, num_params, 208);
VELTRA_CHECK_FIELD(PF_InData, reserved, 212);
VELTRA_CHECK_FIELD(PF_InData, what_cpu, 216);
VELTRA_CHECK_FIELD(PF_InData, what_fpu, 220);
VELTRA_CHECK_FIELD(PF_InData, current_time, 224);
VELTRA_CHECK_FIELD(PF_InData, time_step, 228);
VELTRA_CHECK_FIELD(PF_InData, total_time, 232);
VELTRA_CHECK_FIELD(PF_InData, local_time_step, 236);
VELTRA_CHECK_FIELD(PF_InData, time_scale, 240);
VELTRA_CHECK_FIELD(PF_InData, field, 244);
VELTRA_CHECK_FIELD(PF_InData, shutter_angle, 248);
VELTRA_CHECK_FIELD(PF_InData, width, 252);
VELTRA_CHECK_FIELD(PF_InData, height, 256);
VELTRA_CHECK_FIELD(PF_InData, extent_hint, 260);
VELTRA_CHECK_FIELD(PF_InData, output_origin_x, 276);
VELTRA_CHECK_FIELD(PF_InData, output_origin_y, 280);
VELTRA_CHECK_FIELD(PF_InData, downsample_x, 284);
VELTRA_CHECK_FIELD(PF_InData, downsample_y, 292);
VELTRA_CHECK_FIELD(PF_InData, pixel_aspect_ratio, 300);
VELTRA_CHECK_FIELD(PF_InData, in_flags, 308);
VELTRA_CHECK_FIELD(PF_InData, global_data, 312);
VELTRA_CHECK_FIELD(PF_InData, sequence_data, 320);
VELTRA_CHECK_FIELD(PF_InData, frame_data, 328);
VELTRA_CHECK_FIELD(PF_InData, start_sampL, 336);
VELTRA_CHECK_FIELD(PF_InData, dur_sampL, 340);
VELTRA_CHECK_FIELD(PF_InData, total_sampL, 344);
VELTRA_CHECK_FIELD(PF_InData, src_snd, 352);
VELTRA_CHECK_FIELD(PF_InData, pica_basicP, 384);
VELTRA_CHECK_FIELD(PF_InData, pre_effect_source_origin_x, 392);
VELTRA_CHECK_FIELD(PF_InData, pre_effect_source_origin_y, 396);
VELTRA_CHECK_FIELD(PF_InData, shutter_phase, 400);

VELTRA_CHECK_RECORD(PF_OutData, 408, 8);
VELTRA_CHECK_FIELD(PF_OutData, my_version, 0);
VELTRA_CHECK_FIELD(PF_OutData, name, 4);
VELTRA_CHECK_FIELD(PF_OutData, global_data, 40);
VELTRA_CHECK_FIELD(PF_OutData, num_params, 48);
VELTRA_CHECK_FIELD(PF_OutData, sequence_data, 56);
VELTRA_CHECK_FIELD(PF_OutData, flat_sdata_size, 64);
VELTRA_CHECK_FIELD(PF_OutData, frame_data, 72);
VELTRA_CHECK_FIELD(PF_OutData, width, 80);
VELTRA_CHECK_FIELD(PF_OutData, height, 84);
VELTRA_CHECK_FIELD(PF_OutData, origin, 88);
VELTRA_CHECK_FIELD(PF_OutData, out_flags, 96);
VELTRA_CHECK_FIELD(PF_OutData, return_msg, 100);
VELTRA_CHECK_FIELD(PF_OutData, start_sampL, 356);
VELTRA_CHECK_FIELD(PF_OutData, dur_sampL, 360);
VELTRA_CHECK_FIELD(PF_OutData, dest_snd, 368);
VELTRA_CHECK_FIELD(PF_OutData, out_flags2, 400);

VELTRA_CHECK_RECORD(PF_RenderRequest, 44, 4);
VELTRA_CHECK_FIELD(PF_RenderRequest, rect, 0);
VELTRA_CHECK_FIELD(PF_RenderRequest, field, 16);
VELTRA_CHECK_FIELD(PF_RenderRequest, channel_mask, 20);
VELTRA_CHECK_FIELD(PF_RenderRequest, preserve_rgb_of_zero_alpha, 24);
VELTRA_CHECK_FIELD(PF_RenderRequest, unused, 25);
VELTRA_CHECK_FIELD(PF_RenderRequest, reserved, 28);

VELTRA_CHECK_RECORD(PF_PreRenderInput, 64, 8);
VELTRA_CHECK_FIELD(PF_PreRenderInput, output_request, 0);
VELTRA_CHECK_FIELD(PF_PreRenderInput, bitdepth, 44);
VELTRA_CHECK_FIELD(PF_PreRenderInput, gpu_data, 48);
VELTRA_CHECK_FIELD(PF_PreRenderInput, what_gpu, 56);
VELTRA_CHECK_FIELD(PF_PreRenderInput, device_index, 60);

VELTRA_CHECK_RECORD(PF_PreRenderOutput, 56, 8);
VELTRA_CHECK_FIELD(PF_PreRenderOutput, result_rect, 0);
VELTRA_CHECK_FIELD(PF_PreRenderOutput, max_result_rect, 16);
VELTRA_CHECK_FIELD(PF_PreRenderOutput, solid, 32);
VELTRA_CHECK_FIELD(PF_PreRenderOutput, reserved, 33);
VELTRA_CHECK_FIELD(PF_PreRenderOutput, flags, 34);
VELTRA_CHECK_FIELD(PF_PreRenderOutput, pre_render_data, 40);
VELTRA_CHECK_SLOT(PF_PreRenderOutput, delete_pre_render_data_func, 48, void(void*));

VELTRA_CHECK_RECORD(PF_CheckoutResult, 76, 4);
VELTRA_CHECK_FIELD(PF_CheckoutResult, result_rect, 0);
VELTRA_CHECK_FIELD(PF_CheckoutResult, max_result_rect, 16);
VELTRA_CHECK_FIELD(PF_CheckoutResult, par, 32);
VELTRA_CHECK_FIELD(PF_CheckoutResult, solid, 40);
VELTRA_CHECK_FIELD(PF_CheckoutResult, reservedB, 41);
VELTRA_CHECK_FIELD(PF_CheckoutResult, ref_width, 44);
VELTRA_CHECK_FIELD(PF_CheckoutResult, ref_height, 48);
VELTRA_CHECK_FIELD(PF_CheckoutResult, reserved, 52);

VELTRA_CHECK_RECORD(PF_PreRenderCallbacks, 16, 8);
VELTRA_CHECK_SLOT(PF_PreRenderCallbacks, checkout_layer, 0,
                  i32(Ref, i32, i32, const PF_RenderRequest*, i32, i32, u32, PF_CheckoutResult*));
VELTRA_CHECK_SLOT(PF_PreRenderCallbacks, GuidMixInPtr, 8, i32(Ref, u32, const void*));

VELTRA_CHECK_RECORD(PF_PreRenderExtra, 24, 8);
VELTRA_CHECK_FIELD(PF_PreRenderExtra, input, 0);
VELTRA_CHECK_FIELD(PF_PreRenderExtra, output, 8);
VELTRA_CHECK_FIELD(PF_PreRenderExtra, cb, 16);

VELTRA_CHECK_RECORD(PF_SmartRenderInput, 72, 8);
VELTRA_CHECK_FIELD(PF_SmartRenderInput, output_request, 0);
VELTRA_CHECK_FIELD(PF_SmartRenderInput, bitdepth, 44);
VELTRA_CHECK_FIELD(PF_SmartRenderInput, pre_render_data, 48);
VELTRA_CHECK_FIELD(PF_SmartRenderInput, gpu_data, 56);
VELTRA_CHECK_FIELD(PF_SmartRenderInput, what_gpu, 64);
VELTRA_CHECK_FIELD(PF_SmartRenderInput, device_index, 68);

VELTRA_CHECK_RECORD(PF_SmartRenderCallbacks, 24, 8);
VELTRA_CHECK_SLOT(PF_SmartRenderCallbacks, checkout_layer_pixels, 0,
                  i32(Ref, i32, PF_EffectWorld**));
VELTRA_CHECK_SLOT(PF_SmartRenderCallbacks, checkin_layer_pixels, 8, i32(Ref, i32));
VELTRA_CHECK_SLOT(PF_SmartRenderCallbacks, checkout_output, 16, i32(Ref, PF_EffectWorld**));

VELTRA_CHECK_RECORD(PF_SmartRenderExtra, 16, 8);
VELTRA_CHECK_FIELD(PF_SmartRenderExtra, input, 0);
VELTRA_CHECK_FIELD(PF_SmartRenderExtra, cb, 8);

VELTRA_CHECK_RECORD(PF_CompositeMode, 12, 4);
VELTRA_CHECK_FIELD(PF_CompositeMode, xfer, 0);
VELTRA_CHECK_FIELD(PF_CompositeMode, rand_seed, 4);
VELTRA_CHECK_FIELD(PF_CompositeMode, opacity, 8);
VELTRA_CHECK_FIELD(PF_CompositeMode, rgb_only, 9);
VELTRA_CHECK_FIELD(PF_CompositeMode, opacitySu, 10);

VELTRA_CHECK_RECORD(PF_SampPB, 104, 8);
VELTRA_CHECK_FIELD(PF_SampPB, x_radius, 0);
VELTRA_CHECK_FIELD(PF_SampPB, y_radius, 4);
VELTRA_CHECK_FIELD(PF_SampPB, area, 8);
VELTRA_CHECK_FIELD(PF_SampPB, src, 16);
VELTRA_CHECK_FIELD(PF_SampPB, samp_behave, 24);
VELTRA_CHECK_FIELD(PF_SampPB, allow_asynch, 28);
VELTRA_CHECK_FIELD(PF_SampPB, motion_blur, 32);
VELTRA_CHECK_FIELD(PF_SampPB, comp_mode, 36);
VELTRA_CHECK_FIELD(PF_SampPB, mask0, 48);
VELTRA_CHECK_FIELD(PF_SampPB, fcm_table, 56);
VELTRA_CHECK_FIELD(PF_SampPB, fcd_table, 64);
VELTRA_CHECK_FIELD(PF_SampPB, reserved, 72);

VELTRA_CHECK_RECORD(PF_ANSICallbacks, 160, 8);
VELTRA_CHECK_SLOT(PF_ANSICallbacks, atan, 0, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, atan2, 8, f64(f64, f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, ceil, 16, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, cos, 24, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, exp, 32, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, fabs, 40, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, floor, 48, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, fmod, 56, f64(f64, f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, hypot, 64, f64(f64, f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, log, 72, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, log10, 80, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, pow, 88, f64(f64, f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, sin, 96, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, sqrt, 104, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, tan, 112, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, sprintf, 120, int(char*, const char*, ...));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, strcpy, 128, char*(char*, const char*));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, asin, 136, f64(f64));
VELTRA_CHECK_SLOT(PF_ANSICallbacks, acos, 144, f64(f64));
VELTRA_CHECK_FIELD(PF_ANSICallbacks, ansi_procs, 152);

VELTRA_CHECK_RECORD(PF_UtilCallbacks, 552, 8);
VELTRA_CHECK_SLOT(PF_UtilCallbacks, begin_sampling, 0, i32(Ref, i32, i32, PF_SampPB*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, subpixel_sample, 8,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel8*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, area_sample, 16, i32(Ref, i32, i32, const PF_SampPB*, Pixel8*));
VELTRA_CHECK_FIELD(PF_UtilCallbacks, get_batch_func_is_deprecated, 24);
VELTRA_CHECK_SLOT(PF_UtilCallbacks, end_sampling, 32, i32(Ref, i32, i32, PF_SampPB*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, composite_rect, 40,
                  i32(Ref, PF_LRect*, i32, World, i32, i32, i32, i32, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, blend, 48, i32(Ref, ConstWorld, ConstWorld, i32, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, convolve, 56,
                  i32(Ref, World, Rect, u32, i32, void*, void*, void*, void*, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, copy, 64, i32(Ref, World, World, PF_LRect*, PF_LRect*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, fill, 72, i32(Ref, const Pixel8*, Rect, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, gaussian_kernel, 80, i32(Ref, f64, u32, f64, i32*, void*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate, 88,
                  i32(InData, i32, i32, World, Rect, void*, Function8, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, premultiply, 96, i32(Ref, i32, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, premultiply_color, 104,
                  i32(Ref, World, const Pixel8*, i32, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, new_world, 112, i32(Ref, i32, i32, i32, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, dispose_world, 120, i32(Ref, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate_origin, 128,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function8, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate_lut, 136,
                  i32(InData, i32, i32, World, Rect, u8*, u8*, u8*, u8*, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, transfer_rect, 144,
                  i32(Ref, i32, i32, i32, Rect, ConstWorld, const PF_CompositeMode*,
                      const PF_MaskWorld*, i32, i32, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, transform_world, 152,
                  i32(Ref, i32, i32, i32, ConstWorld, const PF_CompositeMode*, const PF_MaskWorld*,
                      const PF_FloatMatrix*, i32, PF_Boolean, Rect, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, host_new_handle, 160, Handle(u64));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, host_lock_handle, 168, void*(Handle));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, host_unlock_handle, 176, void(Handle));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, host_dispose_handle, 184, void(Handle));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, get_callback_addr, 192, i32(Ref, i32, i32, i32, PF_AnyFn*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, app, 200, i32(Ref, i32, ...));
VELTRA_CHECK_FIELD(PF_UtilCallbacks, ansi, 208);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, colorCB, 368);
VELTRA_CHECK_SLOT(PF_UtilCallbacks, get_platform_data, 432, i32(Ref, i32, void*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, host_get_handle_size, 440, u64(Handle));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate_origin_non_clip_src, 448,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function8, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate_generic, 456, i32(i32, void*, Generic));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, host_resize_handle, 464, i32(u64, Handle*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, subpixel_sample16, 472,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel16*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, area_sample16, 480,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel16*));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, fill16, 488, i32(Ref, const Pixel16*, Rect, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, premultiply_color16, 496,
                  i32(Ref, World, const Pixel16*, i32, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate16, 504,
                  i32(InData, i32, i32, World, Rect, void*, Function16, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate_origin16, 512,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function16, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, iterate_origin_non_clip_src16, 520,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function16, World));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, get_pixel_data8, 528, i32(World, void*, Pixel8**));
VELTRA_CHECK_SLOT(PF_UtilCallbacks, get_pixel_data16, 536, i32(World, void*, Pixel16**));
VELTRA_CHECK_FIELD(PF_UtilCallbacks, reserved, 544);

VELTRA_CHECK_RECORD(SPBasicSuite, 56, 8);
VELTRA_CHECK_SLOT(SPBasicSuite, AcquireSuite, 0, i32(const char*, i32, const void**));
VELTRA_CHECK_SLOT(SPBasicSuite, ReleaseSuite, 8, i32(const char*, i32));
VELTRA_CHECK_SLOT(SPBasicSuite, IsEqual, 16, i32(const char*, const char*));
VELTRA_CHECK_SLOT(SPBasicSuite, AllocateBlock, 24, i32(std::size_t, void**));
VELTRA_CHECK_SLOT(SPBasicSuite, FreeBlock, 32, i32(void*));
VELTRA_CHECK_SLOT(SPBasicSuite, ReallocateBlock, 40, i32(void*, std::size_t, void**));
VELTRA_CHECK_SLOT(SPBasicSuite, Undefined, 48, i32());

VELTRA_CHECK_RECORD(PF_WorldSuite2, 24, 8);
VELTRA_CHECK_SLOT(PF_WorldSuite2, PF_NewWorld, 0, i32(Ref, i32, i32, PF_Boolean, i32, World));
VELTRA_CHECK_SLOT(PF_WorldSuite2, PF_DisposeWorld, 8, i32(Ref, World));
VELTRA_CHECK_SLOT(PF_WorldSuite2, PF_GetPixelFormat, 16, i32(ConstWorld, i32*));

VELTRA_CHECK_RECORD(PF_Sampling8Suite1, 24, 8);
VELTRA_CHECK_SLOT(PF_Sampling8Suite1, nn_sample, 0, i32(Ref, i32, i32, const PF_SampPB*, Pixel8*));
VELTRA_CHECK_SLOT(PF_Sampling8Suite1, subpixel_sample, 8,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel8*));
VELTRA_CHECK_SLOT(PF_Sampling8Suite1, area_sample, 16,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel8*));

VELTRA_CHECK_RECORD(PF_Sampling16Suite1, 24, 8);
VELTRA_CHECK_SLOT(PF_Sampling16Suite1, nn_sample16, 0,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel16*));
VELTRA_CHECK_SLOT(PF_Sampling16Suite1, subpixel_sample16, 8,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel16*));
VELTRA_CHECK_SLOT(PF_Sampling16Suite1, area_sample16, 16,
                  i32(Ref, i32, i32, const PF_SampPB*, Pixel16*));

VELTRA_CHECK_RECORD(PF_SamplingFloatSuite1, 24, 8);
VELTRA_CHECK_SLOT(PF_SamplingFloatSuite1, nn_sample_float, 0,
                  i32(Ref, i32, i32, const PF_SampPB*, PixelF*));
VELTRA_CHECK_SLOT(PF_SamplingFloatSuite1, subpixel_sample_float, 8,
                  i32(Ref, i32, i32, const PF_SampPB*, PixelF*));
VELTRA_CHECK_SLOT(PF_SamplingFloatSuite1, area_sample_float, 16,
                  i32(Ref, i32, i32, const PF_SampPB*, PixelF*));

VELTRA_CHECK_RECORD(PF_Iterate8Suite1, 40, 8);
VELTRA_CHECK_SLOT(PF_Iterate8Suite1, iterate, 0,
                  i32(InData, i32, i32, World, Rect, void*, Function8, World));
VELTRA_CHECK_SLOT(PF_Iterate8Suite1, iterate_origin, 8,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function8, World));
VELTRA_CHECK_SLOT(PF_Iterate8Suite1, iterate_lut, 16,
                  i32(InData, i32, i32, World, Rect, u8*, u8*, u8*, u8*, World));
VELTRA_CHECK_SLOT(PF_Iterate8Suite1, iterate_origin_non_clip_src, 24,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function8, World));
VELTRA_CHECK_SLOT(PF_Iterate8Suite1, iterate_generic, 32, i32(i32, void*, Generic));

VELTRA_CHECK_RECORD(PF_Iterate16Suite1, 24, 8);
VELTRA_CHECK_SLOT(PF_Iterate16Suite1, iterate, 0,
                  i32(InData, i32, i32, World, Rect, void*, Function16, World));
VELTRA_CHECK_SLOT(PF_Iterate16Suite1, iterate_origin, 8,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function16, World));
VELTRA_CHECK_SLOT(PF_Iterate16Suite1, iterate_origin_non_clip_src, 16,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, Function16, World));

VELTRA_CHECK_RECORD(PF_iterateFloatSuite1, 24, 8);
VELTRA_CHECK_SLOT(PF_iterateFloatSuite1, iterate, 0,
                  i32(InData, i32, i32, World, Rect, void*, FunctionF, World));
VELTRA_CHECK_SLOT(PF_iterateFloatSuite1, iterate_origin, 8,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, FunctionF, World));
VELTRA_CHECK_SLOT(PF_iterateFloatSuite1, iterate_origin_non_clip_src, 16,
                  i32(InData, i32, i32, World, Rect, const PF_Point*, void*, FunctionF, World));

static_assert(PF_PixelFormat_ARGB32 == 0x62677261);
static_assert(PF_PixelFormat_ARGB64 == 0x36316561);
static_assert(PF_PixelFormat_ARGB128 == 0x32336561);
static_assert(PF_PixelFormat_INVALID == 0x66646162);
static_assert(PF_VERSION(1, 5, 0, PF_Stage_RELEASE, 0) == 0x000A8600);

VELTRA_CHECK_RECORD(PF_Point, 8, 4);
VELTRA_CHECK_FIELD(PF_Point, h, 0);
VELTRA_CHECK_FIELD(PF_Point, v, 4);

VELTRA_CHECK_RECORD(A_Time, 8, 4);
VELTRA_CHECK_FIELD(A_Time, value, 0);
VELTRA_CHECK_FIELD(A_Time, scale, 4);

VELTRA_CHECK_RECORD(PF_MaskWorld, 136, 8);
VELTRA_CHECK_FIELD(PF_MaskWorld, mask, 0);
VELTRA_CHECK_FIELD(PF_MaskWorld, offset, 120);
VELTRA_CHECK_FIELD(PF_MaskWorld, what_is_mask, 128);

VELTRA_CHECK_RECORD(PF_FloatMatrix, 72, 8);
VELTRA_CHECK_FIELD(PF_FloatMatrix, mat, 0);

VELTRA_CHECK_RECORD(PF_SliderDef, 88, 4);
VELTRA_CHECK_FIELD(PF_SliderDef, value, 0);
VELTRA_CHECK_FIELD(PF_SliderDef, value_str, 4);
VELTRA_CHECK_FIELD(PF_SliderDef, value_desc, 36);
VELTRA_CHECK_FIELD(PF_SliderDef, valid_min, 68);
VELTRA_CHECK_FIELD(PF_SliderDef, valid_max, 72);
VELTRA_CHECK_FIELD(PF_SliderDef, slider_min, 76);
VELTRA_CHECK_FIELD(PF_SliderDef, slider_max, 80);
VELTRA_CHECK_FIELD(PF_SliderDef, dephault, 84);

VELTRA_CHECK_RECORD(PF_AngleDef, 16, 4);
VELTRA_CHECK_FIELD(PF_AngleDef, value, 0);
VELTRA_CHECK_FIELD(PF_AngleDef, dephault, 4);
VELTRA_CHECK_FIELD(PF_AngleDef, valid_min, 8);
VELTRA_CHECK_FIELD(PF_AngleDef, valid_max, 12);

VELTRA_CHECK_RECORD(PF_ColorDef, 8, 1);
VELTRA_CHECK_FIELD(PF_ColorDef, value, 0);
VELTRA_CHECK_FIELD(PF_ColorDef, dephault, 4);

VELTRA_CHECK_RECORD(PF_FloatSliderDef, 88, 8);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, value, 0);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, phase, 8);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, value_desc, 16);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, valid_min, 48);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, valid_max, 52);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, slider_min, 56);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, slider_max, 60);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, dephault, 64);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, precision, 68);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, display_flags, 70);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, fs_flags, 72);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, curve_tolerance, 76);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, useExponent, 80);
VELTRA_CHECK_FIELD(PF_FloatSliderDef, exponent, 84);

VELTRA_CHECK_RECORD(PF_ArbitraryDef, 32, 8);
VELTRA_CHECK_FIELD(PF_ArbitraryDef, id, 0);
VELTRA_CHECK_FIELD(PF_ArbitraryDef, pad, 2);
VELTRA_CHECK_FIELD(PF_ArbitraryDef, dephault, 8);
VELTRA_CHECK_FIELD(PF_ArbitraryDef, value, 16);
VELTRA_CHECK_FIELD(PF_ArbitraryDef, refconPV, 24);

VELTRA_CHECK_RECORD(PF_PathDef, 12, 4);
VELTRA_CHECK_FIELD(PF_PathDef, path_id, 0);
VELTRA_CHECK_FIELD(PF_PathDef, reserved0, 4);
VELTRA_CHECK_FIELD(PF_PathDef, dephault, 8);

VELTRA_CHECK_RECORD(PF_ButtonDef, 16, 8);
VELTRA_CHECK_FIELD(PF_ButtonDef, value, 0);
VELTRA_CHECK_FIELD(PF_ButtonDef, u, 8);

VELTRA_CHECK_RECORD(PF_Point3DDef, 64, 8);
VELTRA_CHECK_FIELD(PF_Point3DDef, x_value, 0);
VELTRA_CHECK_FIELD(PF_Point3DDef, y_value, 8);
VELTRA_CHECK_FIELD(PF_Point3DDef, z_value, 16);
VELTRA_CHECK_FIELD(PF_Point3DDef, x_dephault, 24);
VELTRA_CHECK_FIELD(PF_Point3DDef, y_dephault, 32);
VELTRA_CHECK_FIELD(PF_Point3DDef, z_dephault, 40);
VELTRA_CHECK_FIELD(PF_Point3DDef, reserved, 48);

VELTRA_CHECK_RECORD(PF_ArbParamsExtra, 48, 8);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, which_function, 0);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, id, 4);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u, 8);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.new_func_params.arbPH, 16);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.dispose_func_params.arbH, 16);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.copy_func_params.src_arbH, 16);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.copy_func_params.dst_arbPH, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.flat_size_func_params.flat_data_sizePLu, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.flatten_func_params.buf_sizeLu, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.flatten_func_params.flat_dataPV, 32);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.unflatten_func_params.buf_sizeLu, 16);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.unflatten_func_params.flat_dataPV, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.unflatten_func_params.arbPH, 32);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.interp_func_params.left_arbH, 16);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.interp_func_params.right_arbH, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.interp_func_params.tF, 32);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.interp_func_params.interpPH, 40);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.compare_func_params.compareP, 32);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.print_size_func_params.print_sizePLu, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.print_func_params.print_flags, 16);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.print_func_params.arbH, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.print_func_params.print_sizeLu, 32);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.print_func_params.print_bufferPC, 40);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.scan_func_params.bufPC, 16);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.scan_func_params.bytes_to_scanLu, 24);
VELTRA_CHECK_FIELD(PF_ArbParamsExtra, u.scan_func_params.arbPH, 32);

VELTRA_CHECK_RECORD(PF_ExtDependenciesExtra, 16, 8);
VELTRA_CHECK_FIELD(PF_ExtDependenciesExtra, check_type, 0);
VELTRA_CHECK_FIELD(PF_ExtDependenciesExtra, dependencies_strH, 8);

VELTRA_CHECK_RECORD(PF_State, 16, 4);

VELTRA_CHECK_RECORD(PF_HandleSuite1, 48, 8);
VELTRA_CHECK_SLOT(PF_HandleSuite1, host_new_handle, 0, Handle(u64));
VELTRA_CHECK_SLOT(PF_HandleSuite1, host_lock_handle, 8, void*(Handle));
VELTRA_CHECK_SLOT(PF_HandleSuite1, host_unlock_handle, 16, void(Handle));
VELTRA_CHECK_SLOT(PF_HandleSuite1, host_dispose_handle, 24, void(Handle));
VELTRA_CHECK_SLOT(PF_HandleSuite1, host_get_handle_size, 32, u64(Handle));
VELTRA_CHECK_SLOT(PF_HandleSuite1, host_resize_handle, 40, i32(u64, Handle*));

VELTRA_CHECK_RECORD(PF_WorldSuite1, 16, 8);
VELTRA_CHECK_SLOT(PF_WorldSuite1, new_world, 0, i32(Ref, i32, i32, i32, World));
VELTRA_CHECK_SLOT(PF_WorldSuite1, dispose_world, 8, i32(Ref, World));

VELTRA_CHECK_RECORD(PF_WorldTransformSuite1, 56, 8);
VELTRA_CHECK_SLOT(PF_WorldTransformSuite1, composite_rect, 0,
                  i32(Ref, PF_LRect*, i32, World, i32, i32, i32, i32, World));
VELTRA_CHECK_SLOT(PF_WorldTransformSuite1, blend, 8, i32(Ref, ConstWorld, ConstWorld, i32, World));
VELTRA_CHECK_SLOT(PF_WorldTransformSuite1, convolve, 16,
                  i32(Ref, World, Rect, u32, i32, void*, void*, void*, void*, World));
VELTRA_CHECK_SLOT(PF_WorldTransformSuite1, copy, 24, i32(Ref, World, World, PF_LRect*, PF_LRect*));
VELTRA_CHECK_SLOT(PF_WorldTransformSuite1, copy_hq, 32,
                  i32(Ref, World, World, PF_LRect*, PF_LRect*));
VELTRA_CHECK_SLOT(PF_WorldTransformSuite1, transfer_rect, 40,
                  i32(Ref, i32, i32, i32, Rect, ConstWorld, const PF_CompositeMode*,
                      const PF_MaskWorld*, i32, i32, World));
VELTRA_CHECK_SLOT(PF_WorldTransformSuite1, transform_world, 48,
                  i32(Ref, i32, i32, i32, ConstWorld, const PF_CompositeMode*, const PF_MaskWorld*,
                      const PF_FloatMatrix*, i32, PF_Boolean, Rect, World));

VELTRA_CHECK_RECORD(PF_FillMatteSuite2, 56, 8);
VELTRA_CHECK_SLOT(PF_FillMatteSuite2, fill, 0, i32(Ref, const Pixel8*, Rect, World));
VELTRA_CHECK_SLOT(PF_FillMatteSuite2, fill16, 8, i32(Ref, const Pixel16*, Rect, World));
VELTRA_CHECK_SLOT(PF_FillMatteSuite2, fill_float, 16, i32(Ref, const PixelF*, Rect, World));
VELTRA_CHECK_SLOT(PF_FillMatteSuite2, premultiply, 24, i32(Ref, i32, World));
VELTRA_CHECK_SLOT(PF_FillMatteSuite2, premultiply_color, 32,
                  i32(Ref, World, const Pixel8*, i32, World));
VELTRA_CHECK_SLOT(PF_FillMatteSuite2, premultiply_color16, 40,
                  i32(Ref, World, const Pixel16*, i32, World));
VELTRA_CHECK_SLOT(PF_FillMatteSuite2, premultiply_color_float, 48,
                  i32(Ref, World, const PixelF*, i32, World));

VELTRA_CHECK_RECORD(PF_PixelDataSuite2, 32, 8);
VELTRA_CHECK_SLOT(PF_PixelDataSuite2, get_pixel_data8, 0, i32(World, void*, Pixel8**));
VELTRA_CHECK_SLOT(PF_PixelDataSuite2, get_pixel_data16, 8, i32(World, void*, Pixel16**));
VELTRA_CHECK_SLOT(PF_PixelDataSuite2, get_pixel_data_float, 16, i32(World, void*, PixelF**));
VELTRA_CHECK_SLOT(PF_PixelDataSuite2, get_pixel_data_float_gpu, 24, i32(World, void**));

VELTRA_CHECK_RECORD(PF_PixelFormatSuite2, 16, 8);
VELTRA_CHECK_SLOT(PF_PixelFormatSuite2, PF_AddSupportedPixelFormat, 0, i32(Ref, i32));
VELTRA_CHECK_SLOT(PF_PixelFormatSuite2, PF_ClearSupportedPixelFormats, 8, i32(Ref));

VELTRA_CHECK_RECORD(PF_ColorSuite1, 64, 8);
VELTRA_CHECK_SLOT(PF_ColorSuite1, RGBtoHLS, 0, i32(Ref, Pixel8*, i32*));
VELTRA_CHECK_SLOT(PF_ColorSuite1, HLStoRGB, 8, i32(Ref, i32*, Pixel8*));
VELTRA_CHECK_SLOT(PF_ColorSuite1, RGBtoYIQ, 16, i32(Ref, Pixel8*, i32*));
VELTRA_CHECK_SLOT(PF_ColorSuite1, YIQtoRGB, 24, i32(Ref, i32*, Pixel8*));
VELTRA_CHECK_SLOT(PF_ColorSuite1, Luminance, 32, i32(Ref, Pixel8*, i32*));
VELTRA_CHECK_SLOT(PF_ColorSuite1, Hue, 40, i32(Ref, Pixel8*, i32*));
VELTRA_CHECK_SLOT(PF_ColorSuite1, Lightness, 48, i32(Ref, Pixel8*, i32*));
VELTRA_CHECK_SLOT(PF_ColorSuite1, Saturation, 56, i32(Ref, Pixel8*, i32*));

VELTRA_CHECK_RECORD(PF_Color16Suite1, 64, 8);
VELTRA_CHECK_SLOT(PF_Color16Suite1, RGBtoHLS, 0, i32(Ref, Pixel16*, i32*));
VELTRA_CHECK_SLOT(PF_Color16Suite1, HLStoRGB, 8, i32(Ref, i32*, Pixel16*));
VELTRA_CHECK_SLOT(PF_Color16Suite1, RGBtoYIQ, 16, i32(Ref, Pixel16*, i32*));
VELTRA_CHECK_SLOT(PF_Color16Suite1, YIQtoRGB, 24, i32(Ref, i32*, Pixel16*));
VELTRA_CHECK_SLOT(PF_Color16Suite1, Luminance, 32, i32(Ref, Pixel16*, i32*));
VELTRA_CHECK_SLOT(PF_Color16Suite1, Hue, 40, i32(Ref, Pixel16*, i32*));
VELTRA_CHECK_SLOT(PF_Color16Suite1, Lightness, 48, i32(Ref, Pixel16*, i32*));
VELTRA_CHECK_SLOT(PF_Color16Suite1, Saturation, 56, i32(Ref, Pixel16*, i32*));

VELTRA_CHECK_RECORD(PF_ColorFloatSuite1, 64, 8);
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, RGBtoHLS, 0, i32(Ref, PixelF*, i32*));
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, HLStoRGB, 8, i32(Ref, i32*, PixelF*));
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, RGBtoYIQ, 16, i32(Ref, PixelF*, i32*));
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, YIQtoRGB, 24, i32(Ref, i32*, PixelF*));
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, Luminance, 32, i32(Ref, PixelF*, f32*));
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, Hue, 40, i32(Ref, PixelF*, f32*));
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, Lightness, 48, i32(Ref, PixelF*, f32*));
VELTRA_CHECK_SLOT(PF_ColorFloatSuite1, Saturation, 56, i32(Ref, PixelF*, f32*));

VELTRA_CHECK_RECORD(PF_EffectSequenceDataSuite1, 8, 8);
VELTRA_CHECK_SLOT(PF_EffectSequenceDataSuite1, PF_GetConstSequenceData, 0,
                  i32(Ref, const void* const**));

VELTRA_CHECK_RECORD(PF_ParamUtilsSuite3, 72, 8);
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_UpdateParamUI, 0, i32(Ref, i32, const PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_GetCurrentState, 8,
                  i32(Ref, i32, const A_Time*, const A_Time*, PF_State*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_AreStatesIdentical, 16,
                  i32(Ref, const PF_State*, const PF_State*, u8*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_IsIdenticalCheckout, 24,
                  i32(Ref, i32, i32, i32, u32, i32, i32, u32, PF_Boolean*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_FindKeyframeTime, 32,
                  i32(Ref, i32, i32, u32, i32, PF_Boolean*, i32*, i32*, u32*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_GetKeyframeCount, 40, i32(Ref, i32, i32*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_CheckoutKeyframe, 48,
                  i32(Ref, i32, i32, i32*, u32*, PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_CheckinKeyframe, 56, i32(Ref, PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite3, PF_KeyIndexToTime, 64, i32(Ref, i32, i32, i32*, u32*));

VELTRA_CHECK_RECORD(PF_ParamUtilsSuite2, 80, 8);
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_UpdateParamUI, 0, i32(Ref, i32, const PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_GetCurrentState, 8, i32(Ref, PF_State*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_HasParamChanged, 16,
                  i32(Ref, const PF_State*, i32, PF_Boolean*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_HaveInputsChangedOverTimeSpan, 24,
                  i32(Ref, const PF_State*, const A_Time*, const A_Time*, PF_Boolean*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_IsIdenticalCheckout, 32,
                  i32(Ref, i32, i32, i32, u32, i32, i32, u32, PF_Boolean*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_FindKeyframeTime, 40,
                  i32(Ref, i32, i32, u32, i32, PF_Boolean*, i32*, i32*, u32*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_GetKeyframeCount, 48, i32(Ref, i32, i32*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_CheckoutKeyframe, 56,
                  i32(Ref, i32, i32, i32*, u32*, PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_CheckinKeyframe, 64, i32(Ref, PF_ParamDef*));
VELTRA_CHECK_SLOT(PF_ParamUtilsSuite2, PF_KeyIndexToTime, 72, i32(Ref, i32, i32, i32*, u32*));

VELTRA_CHECK_RECORD(PF_ColorParamSuite1, 8, 8);
VELTRA_CHECK_SLOT(PF_ColorParamSuite1, PF_GetFloatingPointColorFromColorDef, 0,
                  i32(Ref, const PF_ParamDef*, PixelF*));

VELTRA_CHECK_RECORD(PF_PointParamSuite1, 8, 8);
VELTRA_CHECK_SLOT(PF_PointParamSuite1, PF_GetFloatingPointValueFromPointDef, 0,
                  i32(Ref, const PF_ParamDef*, f64 (*)[2]));

VELTRA_CHECK_RECORD(PF_AngleParamSuite1, 8, 8);
VELTRA_CHECK_SLOT(PF_AngleParamSuite1, PF_GetFloatingPointValueFromAngleDef, 0,
                  i32(Ref, const PF_ParamDef*, f64*));

static_assert(PF_VERSION(9, 1, 2, PF_Stage_RELEASE, 4) == 0x04089604);
static_assert(VersionPart(PF_VERSION(93, 1, 2, PF_Stage_RELEASE, 4)) == 93);

#endif

}  // namespace veltra
