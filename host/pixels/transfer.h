// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Filling and copying of rectangles.
#pragma once

#include "host/pixels/row_work.h"
#include "host_api/world.h"

namespace veltra::host {

// Both spread rows over the threads of `work` and answer PF_Interrupt_CANCEL, with some rows done,
// when its abort is seen. The result does not depend on the threads.

/// Fills the part of `rect` (all when null) that lies inside the world. The colour is scaled to
/// the world's depth; none is transparent black. PF_Err_BAD_CALLBACK_PARAM for a world that
/// cannot be written.
PF_Err FillWorld(const PF_Pixel8* color, const PF_LRect* rect, PF_EffectWorld& world,
                 const RowWork& work = {});
/// The same with a colour of the world's own depth; PF_Err_BAD_CALLBACK_PARAM for one of another.
template <class Pixel>
PF_Err FillSameDepth(const Pixel* color, const PF_LRect* rect, PF_EffectWorld& world,
                     const RowWork& work = {});

/// Copies between worlds of one depth; a null rectangle is the whole world. Rectangles of one
/// size copy pixels unchanged, clipped to both worlds. Different sizes are stretched: each
/// destination pixel takes its centre's place in the source, sampled between pixels or, in draft,
/// the nearest one. Empty rectangles copy nothing. Both worlds may be views of the same pixels,
/// with equal row bytes: all are read as they were before the copy.
PF_Err CopyWorld(const PF_EffectWorld& source, const PF_LRect* sourceRect,
                 PF_EffectWorld& destination, const PF_LRect* destinationRect, bool draft,
                 const RowWork& work = {});

}  // namespace veltra::host
