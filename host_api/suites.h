// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The basic suite and the versioned function tables that are acquired through it.
#pragma once

#include <cstddef>

#include "host_api/world.h"

namespace veltra {

struct PF_InData;

struct SPBasicSuite {
  SPErr (*AcquireSuite)(const char* name, A_long version, const void** suite);
  SPErr (*ReleaseSuite)(const char* name, A_long version);
  PF_Boolean (*IsEqual)(const char* token1, const char* token2);
  SPErr (*AllocateBlock)(std::size_t size, void** block);
  SPErr (*FreeBlock)(void* block);
  SPErr (*ReallocateBlock)(void* block, std::size_t newSize, void** newBlock);
  SPErr (*Undefined)();
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

/// Runs a pixel function over `area` of `dst` (all of it when null), in any order and on several
/// threads; reports progress from progressBase upwards against progressFinal.
template <class Pixel>
using PF_IterateFn = PF_Err (*)(PF_InData* inData, A_long progressBase, A_long progressFinal,
                                PF_EffectWorld* src, const PF_LRect* area, void* refcon,
                                PF_IteratePixelFn<Pixel> pixelFn, PF_EffectWorld* dst);

struct PF_Iterate8Suite1 {
  PF_IterateFn<PF_Pixel8> iterate;
  PF_UnusedFn iterate_origin;
  PF_UnusedFn iterate_lut;
  PF_UnusedFn iterate_origin_non_clip_src;
  PF_UnusedFn iterate_generic;
};

struct PF_Iterate16Suite1 {
  PF_IterateFn<PF_Pixel16> iterate;
  PF_UnusedFn iterate_origin;
  PF_UnusedFn iterate_origin_non_clip_src;
};

struct PF_iterateFloatSuite1 {
  PF_IterateFn<PF_PixelFloat> iterate;
  PF_UnusedFn iterate_origin;
  PF_UnusedFn iterate_origin_non_clip_src;
};

}  // namespace veltra
