// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the host hands to every command: in-data, out-data and the callback tables behind them.
#pragma once

#include "host_api/params.h"
#include "host_api/suites.h"

namespace veltra {

struct PF_InteractCallbacks {
  PF_Err (*checkout_param)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long whatTime,
                           A_long timeStep, A_u_long timeScale, PF_ParamDef* param);
  PF_Err (*checkin_param)(PF_ProgPtr effectRef, PF_ParamDef* param);
  PF_Err (*add_param)(PF_ProgPtr effectRef, PF_ParamIndex index, PF_ParamDef* param);
  PF_Err (*abort)(PF_ProgPtr effectRef);
  PF_Err (*progress)(PF_ProgPtr effectRef, A_long current, A_long total);
  /// `info` is a record of 44 bytes about an effect's own user interface.
  PF_Err (*register_ui)(PF_ProgPtr effectRef, void* info);
  PF_Err (*checkout_layer_audio)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long start,
                                 A_long duration, A_u_long timeScale, A_u_long rate,
                                 A_long bytesPerSample, A_long channels, A_long isSigned,
                                 void** audio);
  PF_Err (*checkin_layer_audio)(PF_ProgPtr effectRef, void* audio);
  PF_Err (*get_audio_data)(PF_ProgPtr effectRef, void* audio, void** data, A_long* samples,
                           A_u_long* rate, A_long* bytesPerSample, A_long* channels,
                           A_long* isSigned);
  void* reserved_str[3];
  void* reserved[10];
};

struct PF_SoundFormatInfo {
  A_FpLong rateF;
  A_short num_channels;
  A_short format;
  A_short sample_size;
};

struct PF_SoundWorld {
  PF_SoundFormatInfo fi;
  A_long num_samples;
  void* dataP;
};

/// The ANSI suite is this table without its last field.
struct PF_ANSICallbacks {
  A_FpLong (*atan)(A_FpLong);
  A_FpLong (*atan2)(A_FpLong, A_FpLong);
  A_FpLong (*ceil)(A_FpLong);
  A_FpLong (*cos)(A_FpLong);
  A_FpLong (*exp)(A_FpLong);
  A_FpLong (*fabs)(A_FpLong);
  A_FpLong (*floor)(A_FpLong);
  A_FpLong (*fmod)(A_FpLong, A_FpLong);
  A_FpLong (*hypot)(A_FpLong, A_FpLong);
  A_FpLong (*log)(A_FpLong);
  A_FpLong (*log10)(A_FpLong);
  A_FpLong (*pow)(A_FpLong, A_FpLong);
  A_FpLong (*sin)(A_FpLong);
  A_FpLong (*sqrt)(A_FpLong);
  A_FpLong (*tan)(A_FpLong);
  int (*sprintf)(A_char* buffer, const A_char* format, ...);
  A_char* (*strcpy)(A_char* destination, const A_char* source);
  A_FpLong (*asin)(A_FpLong);
  A_FpLong (*acos)(A_FpLong);
  A_long ansi_procs[1];
};

struct PF_UtilCallbacks {
  PF_BeginSamplingFn begin_sampling;
  PF_SampleFn<PF_Pixel8> subpixel_sample;
  PF_SampleFn<PF_Pixel8> area_sample;
  void* get_batch_func_is_deprecated;
  PF_BeginSamplingFn end_sampling;
  PF_CompositeRectFn composite_rect;
  PF_BlendFn blend;
  PF_ConvolveFn convolve;
  PF_CopyFn copy;
  PF_FillFn<PF_Pixel8> fill;
  PF_Err (*gaussian_kernel)(PF_ProgPtr effectRef, A_FpLong radius, A_u_long flags,
                            A_FpLong multiplier, A_long* diameter, void* kernel);
  PF_IterateFn<PF_Pixel8> iterate;
  PF_PremultiplyFn premultiply;
  PF_PremultiplyColorFn<PF_Pixel8> premultiply_color;
  PF_NewWorldFlagsFn new_world;
  PF_DisposeWorldFn dispose_world;
  PF_IterateOriginFn<PF_Pixel8> iterate_origin;
  PF_IterateLutFn iterate_lut;
  PF_TransferRectFn transfer_rect;
  PF_TransformWorldFn transform_world;
  PF_NewHandleFn host_new_handle;
  PF_LockHandleFn host_lock_handle;
  PF_UnlockHandleFn host_unlock_handle;
  PF_DisposeHandleFn host_dispose_handle;
  PF_Err (*get_callback_addr)(PF_ProgPtr effectRef, PF_Quality quality, A_long modeFlags,
                              A_long which, PF_AnyFn* function);
  PF_Err (*app)(PF_ProgPtr effectRef, A_long, ...);
  PF_ANSICallbacks ansi;
  PF_ColorSuite1 colorCB;
  PF_Err (*get_platform_data)(PF_ProgPtr effectRef, A_long which, void* out);
  PF_HandleSizeFn host_get_handle_size;
  PF_IterateOriginFn<PF_Pixel8> iterate_origin_non_clip_src;
  PF_IterateGenericFn iterate_generic;
  PF_ResizeHandleFn host_resize_handle;
  PF_SampleFn<PF_Pixel16> subpixel_sample16;
  PF_SampleFn<PF_Pixel16> area_sample16;
  PF_FillFn<PF_Pixel16> fill16;
  PF_PremultiplyColorFn<PF_Pixel16> premultiply_color16;
  PF_IterateFn<PF_Pixel16> iterate16;
  PF_IterateOriginFn<PF_Pixel16> iterate_origin16;
  PF_IterateOriginFn<PF_Pixel16> iterate_origin_non_clip_src16;
  PF_PixelDataFn<PF_Pixel8> get_pixel_data8;
  PF_PixelDataFn<PF_Pixel16> get_pixel_data16;
  A_long reserved[1];
};

/// The host's side of a command. `width` and `height` are the effect layer's size at full
/// resolution whatever the downsampling; times are in units of 1 / time_scale seconds.
struct PF_InData {
  PF_InteractCallbacks inter;
  PF_UtilCallbacks* utils;
  PF_ProgPtr effect_ref;
  PF_Quality quality;
  PF_SpecVersion version;
  A_long serial_num;
  A_long appl_id;
  A_long num_params;
  A_long reserved;
  A_long what_cpu;
  A_long what_fpu;
  A_long current_time;
  A_long time_step;
  A_long total_time;
  A_long local_time_step;
  A_u_long time_scale;
  PF_Field field;
  PF_Fixed shutter_angle;
  A_long width;
  A_long height;
  PF_LRect extent_hint;
  A_long output_origin_x;
  A_long output_origin_y;
  PF_RationalScale downsample_x;
  PF_RationalScale downsample_y;
  PF_RationalScale pixel_aspect_ratio;
  A_long in_flags;
  PF_Handle global_data;
  PF_Handle sequence_data;
  PF_Handle frame_data;
  A_long start_sampL;
  A_long dur_sampL;
  A_long total_sampL;
  PF_SoundWorld src_snd;
  SPBasicSuite* pica_basicP;
  A_long pre_effect_source_origin_x;
  A_long pre_effect_source_origin_y;
  PF_Fixed shutter_phase;
};

/// The effect's answers. A non-empty return_msg is shown to the user.
struct PF_OutData {
  A_u_long my_version;
  A_char name[kHostNameCapacity];
  PF_Handle global_data;
  A_long num_params;
  PF_Handle sequence_data;
  A_long flat_sdata_size;
  PF_Handle frame_data;
  A_long width;
  A_long height;
  PF_Point origin;
  A_long out_flags;
  A_char return_msg[kHostMessageCapacity];
  A_long start_sampL;
  A_long dur_sampL;
  PF_SoundWorld dest_snd;
  A_long out_flags2;
};

}  // namespace veltra
