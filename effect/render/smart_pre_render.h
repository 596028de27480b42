// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Smart pre-render: which rectangle the effect produces and which inputs it will need.
#pragma once

#include "host_api/in_data.h"
#include "host_api/smart_render.h"

namespace veltra {

/// Left for the render in the host's pre-render data; freed through FreePreRenderRecord.
struct PreRenderRecord {
  char tag[4];                ///< kPreRenderTag, told from foreign data by it
  double inversePixelAspect;  ///< the chosen layer's; infinite or NaN when no layer is chosen
};
static_assert(sizeof(PreRenderRecord) == 16);

inline constexpr char kPreRenderTag[4] = {'C', 'A', 'P', '6'};

/// Whether a block of pre-render data is ours. Reads no further than the first differing byte, so
/// that a shorter foreign block is safe.
bool IsPreRenderRecord(const void* data);

/// The delete function handed to the host; leaves anything but our own record alone.
void FreePreRenderRecord(void* data);

/// Checkout ids of parameter 0. The host keys a checkout by its id, so the render has to ask for
/// the one that the pre-render used.
inline constexpr A_long kInputCheckoutId = 0;
inline constexpr A_long kUnusedInputCheckoutId = 9999;

/// The id for the current value of "Composite with Original", read from the host.
A_long InputCheckoutId(const PF_InData& inData);

/// Answers the full frame as the largest result and the request clamped into it as the result;
/// checks out the input (nothing of it without compositing) and the whole chosen layer. Checkout
/// errors come back unchanged; throws std::bad_alloc.
PF_Err SmartPreRender(PF_InData* inData, PF_OutData* outData, PF_PreRenderExtra* extra);

}  // namespace veltra
