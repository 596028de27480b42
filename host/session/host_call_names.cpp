// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Names of the host's calls, for messages.

#include "host/session/render_hooks.h"

namespace veltra::host {

const char* HostCallName(HostCall call) {
  switch (call) {
    case HostCall::kCheckoutParam:
      return "checkout_param";
    case HostCall::kCheckinParam:
      return "checkin_param";
    case HostCall::kAbort:
      return "abort";
    case HostCall::kProgress:
      return "progress";
    case HostCall::kCopy:
      return "copy";
    case HostCall::kFill:
      return "fill";
    case HostCall::kIterate:
      return "iterate";
    case HostCall::kSubpixelSample:
      return "subpixel_sample";
    case HostCall::kAreaSample:
      return "area_sample";
    case HostCall::kNearestSample:
      return "nn_sample";
    case HostCall::kCheckoutLayer:
      return "checkout_layer";
    case HostCall::kCheckoutLayerPixels:
      return "checkout_layer_pixels";
    case HostCall::kCheckinLayerPixels:
      return "checkin_layer_pixels";
    case HostCall::kCheckoutOutput:
      return "checkout_output";
    case HostCall::kMixInGuid:
      return "GuidMixInPtr";
    case HostCall::kAcquireSuite:
      return "AcquireSuite";
    case HostCall::kReleaseSuite:
      return "ReleaseSuite";
    case HostCall::kGetPixelFormat:
      return "PF_GetPixelFormat";
    case HostCall::kNewWorld:
      return "PF_NewWorld";
    case HostCall::kDisposeWorld:
      return "PF_DisposeWorld";
    case HostCall::kAllocateBlock:
      return "AllocateBlock";
  }
  return "unknown call";
}

}  // namespace veltra::host
