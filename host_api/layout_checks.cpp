// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Proves at compile time, on every target, that the declarations have the host's binary layout.

#include <cstddef>
#include <cstdint>

#include "host_api/entry_points.h"

#define VELTRA_CHECK_RECORD(Record, size, alignment)                      \
  static_assert(sizeof(Record) == (size), #Record " has the wrong size"); \
  static_assert(alignof(Record) == (alignment), #Record " is misaligned")
#define VELTRA_CHECK_FIELD(Record, field, offset) \
  static_assert(offsetof(Record, field) == (offset), #Record "::" #field " is misplaced")

namespace veltra {

// With 32-bit pointers (WebAssembly) host and effect come from one build and meet no foreign one.
#if UINTPTR_MAX > 0xffffffffU

static_assert(sizeof(void*) == 8, "the host's interface is declared for 64-bit targets");
static_assert(sizeof(PF_UnusedFn) == 8);

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
VELTRA_CHECK_FIELD(PF_InteractCallbacks, checkout_param, 0);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, checkin_param, 8);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, add_param, 16);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, abort, 24);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, progress, 32);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, register_ui, 40);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, checkout_layer_audio, 48);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, checkin_layer_audio, 56);
VELTRA_CHECK_FIELD(PF_InteractCallbacks, get_audio_data, 64);
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
VELTRA_CHECK_FIELD(PF_PreRenderOutput, delete_pre_render_data_func, 48);

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
VELTRA_CHECK_FIELD(PF_PreRenderCallbacks, checkout_layer, 0);
VELTRA_CHECK_FIELD(PF_PreRenderCallbacks, GuidMixInPtr, 8);

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
VELTRA_CHECK_FIELD(PF_SmartRenderCallbacks, checkout_layer_pixels, 0);
VELTRA_CHECK_FIELD(PF_SmartRenderCallbacks, checkin_layer_pixels, 8);
VELTRA_CHECK_FIELD(PF_SmartRenderCallbacks, checkout_output, 16);

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
VELTRA_CHECK_FIELD(PF_ANSICallbacks, atan, 0);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, atan2, 8);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, ceil, 16);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, cos, 24);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, exp, 32);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, fabs, 40);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, floor, 48);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, fmod, 56);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, hypot, 64);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, log, 72);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, log10, 80);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, pow, 88);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, sin, 96);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, sqrt, 104);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, tan, 112);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, sprintf, 120);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, strcpy, 128);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, asin, 136);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, acos, 144);
VELTRA_CHECK_FIELD(PF_ANSICallbacks, ansi_procs, 152);

VELTRA_CHECK_RECORD(PF_UtilCallbacks, 552, 8);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, begin_sampling, 0);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, subpixel_sample, 8);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, area_sample, 16);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, get_batch_func_is_deprecated, 24);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, end_sampling, 32);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, composite_rect, 40);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, blend, 48);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, convolve, 56);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, copy, 64);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, fill, 72);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, gaussian_kernel, 80);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate, 88);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, premultiply, 96);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, premultiply_color, 104);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, new_world, 112);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, dispose_world, 120);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate_origin, 128);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate_lut, 136);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, transfer_rect, 144);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, transform_world, 152);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, host_new_handle, 160);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, host_lock_handle, 168);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, host_unlock_handle, 176);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, host_dispose_handle, 184);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, get_callback_addr, 192);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, app, 200);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, ansi, 208);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, colorCB, 368);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, get_platform_data, 432);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, host_get_handle_size, 440);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate_origin_non_clip_src, 448);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate_generic, 456);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, host_resize_handle, 464);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, subpixel_sample16, 472);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, area_sample16, 480);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, fill16, 488);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, premultiply_color16, 496);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate16, 504);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate_origin16, 512);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, iterate_origin_non_clip_src16, 520);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, get_pixel_data8, 528);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, get_pixel_data16, 536);
VELTRA_CHECK_FIELD(PF_UtilCallbacks, reserved, 544);

VELTRA_CHECK_RECORD(SPBasicSuite, 56, 8);
VELTRA_CHECK_FIELD(SPBasicSuite, AcquireSuite, 0);
VELTRA_CHECK_FIELD(SPBasicSuite, ReleaseSuite, 8);
VELTRA_CHECK_FIELD(SPBasicSuite, IsEqual, 16);
VELTRA_CHECK_FIELD(SPBasicSuite, AllocateBlock, 24);
VELTRA_CHECK_FIELD(SPBasicSuite, FreeBlock, 32);
VELTRA_CHECK_FIELD(SPBasicSuite, ReallocateBlock, 40);
VELTRA_CHECK_FIELD(SPBasicSuite, Undefined, 48);

VELTRA_CHECK_RECORD(PF_WorldSuite2, 24, 8);
VELTRA_CHECK_FIELD(PF_WorldSuite2, PF_NewWorld, 0);
VELTRA_CHECK_FIELD(PF_WorldSuite2, PF_DisposeWorld, 8);
VELTRA_CHECK_FIELD(PF_WorldSuite2, PF_GetPixelFormat, 16);

VELTRA_CHECK_RECORD(PF_Sampling8Suite1, 24, 8);
VELTRA_CHECK_FIELD(PF_Sampling8Suite1, nn_sample, 0);
VELTRA_CHECK_FIELD(PF_Sampling8Suite1, subpixel_sample, 8);
VELTRA_CHECK_FIELD(PF_Sampling8Suite1, area_sample, 16);

VELTRA_CHECK_RECORD(PF_Sampling16Suite1, 24, 8);
VELTRA_CHECK_FIELD(PF_Sampling16Suite1, nn_sample16, 0);
VELTRA_CHECK_FIELD(PF_Sampling16Suite1, subpixel_sample16, 8);
VELTRA_CHECK_FIELD(PF_Sampling16Suite1, area_sample16, 16);

VELTRA_CHECK_RECORD(PF_SamplingFloatSuite1, 24, 8);
VELTRA_CHECK_FIELD(PF_SamplingFloatSuite1, nn_sample_float, 0);
VELTRA_CHECK_FIELD(PF_SamplingFloatSuite1, subpixel_sample_float, 8);
VELTRA_CHECK_FIELD(PF_SamplingFloatSuite1, area_sample_float, 16);

VELTRA_CHECK_RECORD(PF_Iterate8Suite1, 40, 8);
VELTRA_CHECK_FIELD(PF_Iterate8Suite1, iterate, 0);
VELTRA_CHECK_FIELD(PF_Iterate8Suite1, iterate_origin, 8);
VELTRA_CHECK_FIELD(PF_Iterate8Suite1, iterate_lut, 16);
VELTRA_CHECK_FIELD(PF_Iterate8Suite1, iterate_origin_non_clip_src, 24);
VELTRA_CHECK_FIELD(PF_Iterate8Suite1, iterate_generic, 32);

VELTRA_CHECK_RECORD(PF_Iterate16Suite1, 24, 8);
VELTRA_CHECK_FIELD(PF_Iterate16Suite1, iterate, 0);
VELTRA_CHECK_FIELD(PF_Iterate16Suite1, iterate_origin, 8);
VELTRA_CHECK_FIELD(PF_Iterate16Suite1, iterate_origin_non_clip_src, 16);

VELTRA_CHECK_RECORD(PF_iterateFloatSuite1, 24, 8);
VELTRA_CHECK_FIELD(PF_iterateFloatSuite1, iterate, 0);
VELTRA_CHECK_FIELD(PF_iterateFloatSuite1, iterate_origin, 8);
VELTRA_CHECK_FIELD(PF_iterateFloatSuite1, iterate_origin_non_clip_src, 16);

static_assert(sizeof(PF_ColorCallbacks) == 64);

static_assert(PF_PixelFormat_ARGB32 == 0x62677261);
static_assert(PF_PixelFormat_ARGB64 == 0x36316561);
static_assert(PF_PixelFormat_ARGB128 == 0x32336561);
static_assert(PF_PixelFormat_INVALID == 0x66646162);
static_assert(PF_VERSION(1, 5, 0, PF_Stage_RELEASE, 0) == 0x000A8600);

#endif

}  // namespace veltra
