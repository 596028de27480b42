// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pixel buffers of the host ("worlds") and the block that its samplers read.
#pragma once

#include "host_api/types.h"

namespace veltra {

/// A view of host pixels, also the value of a layer parameter. `data` is null when no layer is
/// chosen; `rowbytes` may exceed width times pixel size. `origin_x`, `origin_y` give the
/// buffer's place in layer coordinates, in smart rendering only.
struct PF_LayerDef {
  void* reserved0;
  void* reserved1;
  PF_WorldFlags world_flags;
  void* data;
  A_long rowbytes;
  A_long width;
  A_long height;
  PF_LRect extent_hint;
  void* platform_ref;
  A_long reserved_long1;
  void* reserved_long4;
  PF_RationalScale pix_aspect_ratio;
  void* reserved_long2;
  A_long origin_x;
  A_long origin_y;
  A_long reserved_long3;
  A_long dephault;
};
using PF_EffectWorld = PF_LayerDef;

struct PF_CompositeMode {
  A_long xfer;
  A_long rand_seed;
  A_u_char opacity;
  PF_Boolean rgb_only;
  A_u_short opacitySu;
};

/// A world whose alpha (or what the flags say) limits a transfer; `offset` places it.
struct PF_MaskWorld {
  PF_EffectWorld mask;
  PF_Point offset;
  A_long what_is_mask;
};

/// Row vectors: x' = x m[0][0] + y m[1][0] + m[2][0], positions from pixel corners.
struct PF_FloatMatrix {
  A_FpLong mat[3][3];
};

/// Sampling parameters: the image in `src`, radii in 16.16 for the area samplers.
struct PF_SampPB {
  PF_Fixed x_radius;
  PF_Fixed y_radius;
  PF_Fixed area;
  PF_EffectWorld* src;
  A_u_long samp_behave;
  A_long allow_asynch;
  A_long motion_blur;
  PF_CompositeMode comp_mode;
  void* mask0;
  A_u_char* fcm_table;
  A_u_char* fcd_table;
  A_long reserved[8];
};

/// Sampler of the host at the 16.16 position (x, y), where (0, 0) is the centre of the first
/// pixel and everything outside the image is transparent.
template <class Pixel>
using PF_SampleFn = PF_Err (*)(PF_ProgPtr effectRef, PF_Fixed x, PF_Fixed y,
                               const PF_SampPB* params, Pixel* out);

/// Function that the host's iteration calls once per pixel.
template <class Pixel>
using PF_IteratePixelFn = PF_Err (*)(void* refcon, A_long x, A_long y, Pixel* in, Pixel* out);

}  // namespace veltra
