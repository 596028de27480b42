// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A way into the host's side of a render, for validators: watch, refuse and fail its calls.
#pragma once

#include "host/pixels/world.h"
#include "host_api/world.h"

namespace veltra::host {

/// What the effect can ask of the host and may be refused.
enum class HostCall {
  kCheckoutParam,
  kCheckinParam,
  kAbort,
  kProgress,
  kCopy,
  kFill,
  kIterate,
  kSubpixelSample,
  kAreaSample,
  kNearestSample,
  kCheckoutLayer,
  kCheckoutLayerPixels,
  kCheckinLayerPixels,
  kCheckoutOutput,
  kMixInGuid,
  kAcquireSuite,
  kReleaseSuite,
  kGetPixelFormat,
  kNewWorld,
  kDisposeWorld,
  kAllocateBlock,
  kIterateOrigin,
  kIterateLut,
  kIterateGeneric,
  kBlend,
  kConvolve,
  kCompositeRect,
  kTransferRect,
  kTransformWorld,
  kPremultiply,
  kPremultiplyColor,
  kNewHandle,
  kResizeHandle,
  kGetPixelData,
  kGetConstSequenceData,
  kRegisterUi,
  kConvertColor,
  kGaussianKernel,
  kGetPlatformData,
  kQueryParameters,  ///< states, keyframes and values in floating point
  kCheckoutLayerAudio,
};

/// For messages: the name of the call as the interface spells it, or of one of several.
const char* HostCallName(HostCall call);

/// All of them, for whoever refuses each in turn.
inline constexpr HostCall kLastHostCall = HostCall::kCheckoutLayerAudio;

struct HostCallDetails {
  HostCall call = HostCall::kAbort;
  A_long number = 0;            ///< parameter index, checkout id or suite version
  const char* suite = nullptr;  ///< kAcquireSuite and kReleaseSuite
};

/// Derive, and hand to RenderSettings. Every function may be called on several threads at once.
class RenderHooks {
 public:
  virtual ~RenderHooks() = default;

  /// Before each call; anything but PF_Err_NONE is answered instead of doing it (an abort call
  /// and a progress call then read as cancelled, AcquireSuite as refused).
  virtual PF_Err BeforeCall(const HostCallDetails&) { return PF_Err_NONE; }
  /// AcquireSuite succeeds but leaves the pointer null.
  virtual bool GiveNullSuite(const char*, A_long) { return false; }
  /// Before each row of an iteration, counted from the area's top: true is the user's abort.
  virtual bool AbortAtRow(A_long) { return false; }
  /// Memory layout of the output world.
  virtual WorldLayout OutputLayout() { return {}; }
};

}  // namespace veltra::host
