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
    case HostCall::kIterateOrigin:
      return "iterate_origin";
    case HostCall::kIterateLut:
      return "iterate_lut";
    case HostCall::kIterateGeneric:
      return "iterate_generic";
    case HostCall::kBlend:
      return "blend";
    case HostCall::kConvolve:
      return "convolve";
    case HostCall::kCompositeRect:
      return "composite_rect";
    case HostCall::kTransferRect:
      return "transfer_rect";
    case HostCall::kTransformWorld:
      return "transform_world";
    case HostCall::kPremultiply:
      return "premultiply";
    case HostCall::kPremultiplyColor:
      return "premultiply_color";
    case HostCall::kNewHandle:
      return "host_new_handle";
    case HostCall::kResizeHandle:
      return "host_resize_handle";
    case HostCall::kGetPixelData:
      return "get_pixel_data";
    case HostCall::kGetConstSequenceData:
      return "PF_GetConstSequenceData";
    case HostCall::kRegisterUi:
      return "register_ui";
    case HostCall::kConvertColor:
      return "RGBtoHLS and its like";
    case HostCall::kGaussianKernel:
      return "gaussian_kernel";
    case HostCall::kGetPlatformData:
      return "get_platform_data";
    case HostCall::kQueryParameters:
      return "PF_GetCurrentState and its like";
    case HostCall::kCheckoutLayerAudio:
      return "checkout_layer_audio";
  }
  return "unknown call";
}

}  // namespace veltra::host
