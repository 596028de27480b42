// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The basic suite and the versioned function tables that are acquired through it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host_api/params.h"

namespace veltra {

struct PF_InData;

struct SPBasicSuite {
  SPErr (*AcquireSuite)(const char* name, A_long version, const void** suite);
  SPErr (*ReleaseSuite)(const char* name, A_long version);
  /// A 32-bit boolean: callers read all of the register.
  A_long (*IsEqual)(const char* token1, const char* token2);
  SPErr (*AllocateBlock)(std::size_t size, void** block);
  SPErr (*FreeBlock)(void* block);
  SPErr (*ReallocateBlock)(void* block, std::size_t newSize, void** newBlock);
  SPErr (*Undefined)();
};

// ---- Functions that stand in a suite and in the utility table alike ----

/// Handles: a pointer to a cell that holds the block's address.
using PF_NewHandleFn = PF_Handle (*)(std::uint64_t size);
using PF_LockHandleFn = void* (*)(PF_Handle handle);
using PF_UnlockHandleFn = void (*)(PF_Handle handle);
using PF_DisposeHandleFn = void (*)(PF_Handle handle);
using PF_HandleSizeFn = std::uint64_t (*)(PF_Handle handle);
using PF_ResizeHandleFn = PF_Err (*)(std::uint64_t newSize, PF_Handle* handle);

/// Runs a pixel function over `area` of `dst` (all of it when null), in any order and on several
/// threads; reports progress from progressBase upwards against progressFinal, and none where that
/// is below 1.
template <class Pixel>
using PF_IterateFn = PF_Err (*)(PF_InData* inData, A_long progressBase, A_long progressFinal,
                                PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                                PF_IteratePixelFn<Pixel> pixelFn, PF_EffectWorld* dst);
/// The same with the source's first pixel at `origin` of the destination.
template <class Pixel>
using PF_IterateOriginFn = PF_Err (*)(PF_InData* inData, A_long progressBase, A_long progressFinal,
                                      PF_EffectWorld* src, const PF_LRect* area,
                                      const PF_Point* origin, void* refcon,
                                      PF_IteratePixelFn<Pixel> pixelFn, PF_EffectWorld* dst);
/// Looks every channel up in a table of 256; a null table keeps it.
using PF_IterateLutFn = PF_Err (*)(PF_InData* inData, A_long progressBase, A_long progressFinal,
                                   PF_EffectWorld* src, const PF_LRect* area, A_u_char* alphaTable,
                                   A_u_char* redTable, A_u_char* greenTable, A_u_char* blueTable,
                                   PF_EffectWorld* dst);
using PF_GenericFn = PF_Err (*)(void* refcon, A_long thread, A_long i, A_long iterations);
using PF_IterateGenericFn = PF_Err (*)(A_long iterations, void* refcon, PF_GenericFn function);

/// Copies a rectangle to one of the same size unchanged and clips to both worlds; a null
/// rectangle stands for the whole world.
using PF_CopyFn = PF_Err (*)(PF_ProgPtr effectRef, PF_EffectWorld* src, PF_EffectWorld* dst,
                             PF_LRect* srcRect, PF_LRect* dstRect);
using PF_CompositeRectFn = PF_Err (*)(PF_ProgPtr effectRef, PF_LRect* srcRect, A_long opacity,
                                      PF_EffectWorld* src, A_long destX, A_long destY,
                                      PF_Field field, PF_TransferMode mode, PF_EffectWorld* dst);
using PF_BlendFn = PF_Err (*)(PF_ProgPtr effectRef, const PF_EffectWorld* src1,
                              const PF_EffectWorld* src2, PF_Fixed ratio, PF_EffectWorld* dst);
using PF_ConvolveFn = PF_Err (*)(PF_ProgPtr effectRef, PF_EffectWorld* src, const PF_LRect* area,
                                 A_u_long flags, A_long kernelSize, void* alphaKernel,
                                 void* redKernel, void* greenKernel, void* blueKernel,
                                 PF_EffectWorld* dst);
using PF_TransferRectFn = PF_Err (*)(PF_ProgPtr effectRef, PF_Quality quality, A_long modeFlags,
                                     PF_Field field, const PF_LRect* srcRect,
                                     const PF_EffectWorld* src, const PF_CompositeMode* mode,
                                     const PF_MaskWorld* mask, A_long destX, A_long destY,
                                     PF_EffectWorld* dst);
using PF_TransformWorldFn = PF_Err (*)(PF_ProgPtr effectRef, PF_Quality quality, A_long modeFlags,
                                       PF_Field field, const PF_EffectWorld* src,
                                       const PF_CompositeMode* mode, const PF_MaskWorld* mask,
                                       const PF_FloatMatrix* matrices, A_long matrixCount,
                                       PF_Boolean sourceToDestination, const PF_LRect* destRect,
                                       PF_EffectWorld* dst);

/// Fills with a colour; no colour means transparent black in the world's own depth.
template <class Pixel>
using PF_FillFn = PF_Err (*)(PF_ProgPtr effectRef, const Pixel* color, const PF_LRect* rect,
                             PF_EffectWorld* world);
using PF_PremultiplyFn = PF_Err (*)(PF_ProgPtr effectRef, A_long forward, PF_EffectWorld* world);
template <class Pixel>
using PF_PremultiplyColorFn = PF_Err (*)(PF_ProgPtr effectRef, PF_EffectWorld* src,
                                         const Pixel* color, A_long forward, PF_EffectWorld* dst);

using PF_NewWorldFlagsFn = PF_Err (*)(PF_ProgPtr effectRef, A_long width, A_long height,
                                      A_long flags, PF_EffectWorld* world);
using PF_DisposeWorldFn = PF_Err (*)(PF_ProgPtr effectRef, PF_EffectWorld* world);
/// Null where the world has another depth.
template <class Pixel>
using PF_PixelDataFn = PF_Err (*)(PF_EffectWorld* world, void* pixels, Pixel** out);

using PF_BeginSamplingFn = PF_Err (*)(PF_ProgPtr effectRef, PF_Quality quality, A_long modeFlags,
                                      PF_SampPB* params);

template <class Pixel>
using PF_ToColorSpaceFn = PF_Err (*)(PF_ProgPtr effectRef, Pixel* rgb, PF_Fixed out[3]);
template <class Pixel>
using PF_FromColorSpaceFn = PF_Err (*)(PF_ProgPtr effectRef, PF_Fixed in[3], Pixel* rgb);
template <class Pixel, class Value>
using PF_ColorValueFn = PF_Err (*)(PF_ProgPtr effectRef, Pixel* rgb, Value* out);

/// The colour functions of one depth: HLS (hue in degrees) and YIQ in 16.16, and single values,
/// whose ranges differ from depth to depth.
template <class Pixel, class Value>
struct PF_ColorFunctions {
  PF_ToColorSpaceFn<Pixel> RGBtoHLS;
  PF_FromColorSpaceFn<Pixel> HLStoRGB;
  PF_ToColorSpaceFn<Pixel> RGBtoYIQ;
  PF_FromColorSpaceFn<Pixel> YIQtoRGB;
  PF_ColorValueFn<Pixel, Value> Luminance;
  PF_ColorValueFn<Pixel, Value> Hue;
  PF_ColorValueFn<Pixel, Value> Lightness;
  PF_ColorValueFn<Pixel, Value> Saturation;
};
using PF_ColorSuite1 = PF_ColorFunctions<PF_Pixel8, A_long>;
using PF_Color16Suite1 = PF_ColorFunctions<PF_Pixel16, A_long>;
using PF_ColorFloatSuite1 = PF_ColorFunctions<PF_PixelFloat, float>;

// ---- The suites, by the name of their structure ----

struct PF_HandleSuite1 {
  PF_NewHandleFn host_new_handle;
  PF_LockHandleFn host_lock_handle;
  PF_UnlockHandleFn host_unlock_handle;
  PF_DisposeHandleFn host_dispose_handle;
  PF_HandleSizeFn host_get_handle_size;
  PF_ResizeHandleFn host_resize_handle;
};

struct PF_WorldSuite1 {
  PF_NewWorldFlagsFn new_world;
  PF_DisposeWorldFn dispose_world;
};

struct PF_WorldSuite2 {
  PF_Err (*PF_NewWorld)(PF_ProgPtr effectRef, A_long width, A_long height, PF_Boolean clear,
                        PF_PixelFormat format, PF_EffectWorld* world);
  PF_Err (*PF_DisposeWorld)(PF_ProgPtr effectRef, PF_EffectWorld* world);
  PF_Err (*PF_GetPixelFormat)(const PF_EffectWorld* world, PF_PixelFormat* format);
};

struct PF_Sampling8Suite1 {
  PF_SampleFn<PF_Pixel8> nn_sample;
  PF_SampleFn<PF_Pixel8> subpixel_sample;
  PF_SampleFn<PF_Pixel8> area_sample;
};

struct PF_Sampling16Suite1 {
  PF_SampleFn<PF_Pixel16> nn_sample16;
  PF_SampleFn<PF_Pixel16> subpixel_sample16;
  PF_SampleFn<PF_Pixel16> area_sample16;
};

struct PF_SamplingFloatSuite1 {
  PF_SampleFn<PF_PixelFloat> nn_sample_float;
  PF_SampleFn<PF_PixelFloat> subpixel_sample_float;
  PF_SampleFn<PF_PixelFloat> area_sample_float;
};

struct PF_Iterate8Suite1 {
  PF_IterateFn<PF_Pixel8> iterate;
  PF_IterateOriginFn<PF_Pixel8> iterate_origin;
  PF_IterateLutFn iterate_lut;
  PF_IterateOriginFn<PF_Pixel8> iterate_origin_non_clip_src;
  PF_IterateGenericFn iterate_generic;
};

struct PF_Iterate16Suite1 {
  PF_IterateFn<PF_Pixel16> iterate;
  PF_IterateOriginFn<PF_Pixel16> iterate_origin;
  PF_IterateOriginFn<PF_Pixel16> iterate_origin_non_clip_src;
};

struct PF_iterateFloatSuite1 {
  PF_IterateFn<PF_PixelFloat> iterate;
  PF_IterateOriginFn<PF_PixelFloat> iterate_origin;
  PF_IterateOriginFn<PF_PixelFloat> iterate_origin_non_clip_src;
};

struct PF_WorldTransformSuite1 {
  PF_CompositeRectFn composite_rect;
  PF_BlendFn blend;
  PF_ConvolveFn convolve;
  PF_CopyFn copy;
  PF_CopyFn copy_hq;
  PF_TransferRectFn transfer_rect;
  PF_TransformWorldFn transform_world;
};

struct PF_FillMatteSuite2 {
  PF_FillFn<PF_Pixel8> fill;
  PF_FillFn<PF_Pixel16> fill16;
  PF_FillFn<PF_PixelFloat> fill_float;
  PF_PremultiplyFn premultiply;
  PF_PremultiplyColorFn<PF_Pixel8> premultiply_color;
  PF_PremultiplyColorFn<PF_Pixel16> premultiply_color16;
  PF_PremultiplyColorFn<PF_PixelFloat> premultiply_color_float;
};

/// Version 1 ends before the last slot.
struct PF_PixelDataSuite2 {
  PF_PixelDataFn<PF_Pixel8> get_pixel_data8;
  PF_PixelDataFn<PF_Pixel16> get_pixel_data16;
  PF_PixelDataFn<PF_PixelFloat> get_pixel_data_float;
  PF_Err (*get_pixel_data_float_gpu)(PF_EffectWorld* world, void** out);
};

struct PF_PixelFormatSuite2 {
  PF_Err (*PF_AddSupportedPixelFormat)(PF_ProgPtr effectRef, PF_PixelFormat format);
  PF_Err (*PF_ClearSupportedPixelFormats)(PF_ProgPtr effectRef);
};

struct PF_EffectSequenceDataSuite1 {
  PF_Err (*PF_GetConstSequenceData)(PF_ProgPtr effectRef, const void* const** data);
};

struct PF_State {
  A_long reserved[4];
};

using PF_UpdateParamUiFn = PF_Err (*)(PF_ProgPtr effectRef, PF_ParamIndex index,
                                      const PF_ParamDef* param);
using PF_IdenticalCheckoutFn = PF_Err (*)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long time1,
                                          A_long step1, A_u_long scale1, A_long time2, A_long step2,
                                          A_u_long scale2, PF_Boolean* identical);
using PF_FindKeyframeFn = PF_Err (*)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long time,
                                     A_u_long scale, A_long direction, PF_Boolean* found,
                                     A_long* key, A_long* keyTime, A_u_long* keyScale);
using PF_KeyframeCountFn = PF_Err (*)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long* count);
using PF_CheckoutKeyframeFn = PF_Err (*)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long key,
                                         A_long* keyTime, A_u_long* keyScale, PF_ParamDef* param);
using PF_CheckinKeyframeFn = PF_Err (*)(PF_ProgPtr effectRef, PF_ParamDef* param);
using PF_KeyIndexToTimeFn = PF_Err (*)(PF_ProgPtr effectRef, PF_ParamIndex index, A_long key,
                                       A_long* keyTime, A_u_long* keyScale);

struct PF_ParamUtilsSuite3 {
  PF_UpdateParamUiFn PF_UpdateParamUI;
  PF_Err (*PF_GetCurrentState)(PF_ProgPtr effectRef, PF_ParamIndex index, const A_Time* start,
                               const A_Time* duration, PF_State* state);
  PF_Err (*PF_AreStatesIdentical)(PF_ProgPtr effectRef, const PF_State* a, const PF_State* b,
                                  A_u_char* same);
  PF_IdenticalCheckoutFn PF_IsIdenticalCheckout;
  PF_FindKeyframeFn PF_FindKeyframeTime;
  PF_KeyframeCountFn PF_GetKeyframeCount;
  PF_CheckoutKeyframeFn PF_CheckoutKeyframe;
  PF_CheckinKeyframeFn PF_CheckinKeyframe;
  PF_KeyIndexToTimeFn PF_KeyIndexToTime;
};

struct PF_ParamUtilsSuite2 {
  PF_UpdateParamUiFn PF_UpdateParamUI;
  PF_Err (*PF_GetCurrentState)(PF_ProgPtr effectRef, PF_State* state);
  PF_Err (*PF_HasParamChanged)(PF_ProgPtr effectRef, const PF_State* state, PF_ParamIndex index,
                               PF_Boolean* changed);
  PF_Err (*PF_HaveInputsChangedOverTimeSpan)(PF_ProgPtr effectRef, const PF_State* state,
                                             const A_Time* start, const A_Time* duration,
                                             PF_Boolean* changed);
  PF_IdenticalCheckoutFn PF_IsIdenticalCheckout;
  PF_FindKeyframeFn PF_FindKeyframeTime;
  PF_KeyframeCountFn PF_GetKeyframeCount;
  PF_CheckoutKeyframeFn PF_CheckoutKeyframe;
  PF_CheckinKeyframeFn PF_CheckinKeyframe;
  PF_KeyIndexToTimeFn PF_KeyIndexToTime;
};

struct PF_ColorParamSuite1 {
  PF_Err (*PF_GetFloatingPointColorFromColorDef)(PF_ProgPtr effectRef, const PF_ParamDef* param,
                                                 PF_PixelFloat* color);
};
struct PF_PointParamSuite1 {
  PF_Err (*PF_GetFloatingPointValueFromPointDef)(PF_ProgPtr effectRef, const PF_ParamDef* param,
                                                 A_FpLong (*point)[2]);
};
struct PF_AngleParamSuite1 {
  PF_Err (*PF_GetFloatingPointValueFromAngleDef)(PF_ProgPtr effectRef, const PF_ParamDef* param,
                                                 A_FpLong* degrees);
};

}  // namespace veltra
