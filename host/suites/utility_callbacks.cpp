// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The utility table: what the suites hold for 8 and 16 bit, and a few functions of its own.

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "host/pixels/filters.h"
#include "host/suites/callback.h"
#include "host/suites/color_callbacks.h"
#include "host/suites/handle_suite.h"
#include "host/suites/iterate.h"
#include "host/suites/matte_callbacks.h"
#include "host/suites/sampling_callbacks.h"
#include "host/suites/tables.h"
#include "host/suites/transform_callbacks.h"
#include "host/suites/world_callbacks.h"
#include "numerics/compiler.h"
#include "numerics/trigonometry.h"

namespace veltra::host {
namespace {

// ---- Functions that only this table has ----

PF_Err BeginSampling(PF_ProgPtr, PF_Quality, A_long, PF_SampPB*) noexcept {
  return PF_Err_NONE;
}

PF_Err GaussianKernel(PF_ProgPtr ref, A_FpLong radius, A_u_long flags, A_FpLong multiplier,
                      A_long* diameter, void* kernel) noexcept {
  if (Session::From(ref) == nullptr || diameter == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const PF_Err refused = AskOf(ref, HostCall::kGaussianKernel)) {
    return refused;
  }
  *diameter = GaussianDiameter(radius);
  if (kernel != nullptr) {
    FillGaussian(radius, flags, multiplier, *diameter, static_cast<A_long*>(kernel));
  }
  return PF_Err_NONE;
}

/// Notes what was called in vain; a callback without a reference is of the thread's session.
PF_Err NotOffered(Session* session, const char* what) noexcept {
  return Guarded([&]() -> PF_Err {
    if (session != nullptr) {
      session->accounts.Missing(what);
    }
    return PF_Err_INVALID_CALLBACK;
  });
}

PF_Err App(PF_ProgPtr ref, A_long, ...) {  // NOLINT(cert-dcl50-cpp)
  return NotOffered(Session::From(ref), "the callback app");
}

/// UTF-16 with a zero, into a buffer of 260 characters.
bool CopyPath(const std::filesystem::path& path, void* out) {
  constexpr std::size_t kCapacity = 260;
  if (path.empty()) {
    return false;
  }
  // Effects look for the last separator and the folder before it.
  const std::u16string text = std::filesystem::absolute(path).make_preferred().u16string();
  if (text.size() >= kCapacity) {
    return false;
  }
  std::memcpy(out, text.c_str(), (text.size() + 1) * sizeof(char16_t));
  return true;
}

enum class PlatformData : A_long {
  kMainWindow = 0,
  kModule = 4,
  kEffectPath = 7,
  kResourcePath = 8,
};

PF_Err GetPlatformData(PF_ProgPtr ref, A_long which, void* out) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kGetPlatformData)) {
      return refused;
    }
    void* pointer = nullptr;
    const auto data = static_cast<PlatformData>(which);
    if (data == PlatformData::kEffectPath || data == PlatformData::kResourcePath) {
      return CopyPath(session->Context().libraryPath, out) ? PF_Err_NONE
                                                           : PF_Err_BAD_CALLBACK_PARAM;
    }
    if (data == PlatformData::kModule) {
      pointer = session->Context().libraryModule;
    } else if (data != PlatformData::kMainWindow) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    std::memcpy(out, &pointer, sizeof pointer);
    return PF_Err_NONE;
  });
}

template <class Function>
PF_AnyFn Any(Function function) {
  return reinterpret_cast<PF_AnyFn>(function);
}

/// The functions by the numbers that get_callback_addr counts them with; null for none.
PF_AnyFn CallbackOf(const PF_UtilCallbacks& t, A_long which) {
  const PF_AnyFn functions[] = {
      nullptr,
      Any(t.begin_sampling),
      Any(t.subpixel_sample),
      Any(t.area_sample),
      nullptr,
      Any(t.end_sampling),
      Any(t.composite_rect),
      Any(t.blend),
      Any(t.convolve),
      Any(t.copy),
      Any(t.fill),
      Any(t.gaussian_kernel),
      Any(t.iterate),
      Any(t.premultiply),
      Any(t.premultiply_color),
      Any(t.colorCB.RGBtoHLS),
      Any(t.colorCB.HLStoRGB),
      Any(t.colorCB.RGBtoYIQ),
      Any(t.colorCB.YIQtoRGB),
      Any(t.colorCB.Luminance),
      Any(t.colorCB.Hue),
      Any(t.colorCB.Lightness),
      Any(t.colorCB.Saturation),
      Any(t.new_world),
      Any(t.dispose_world),
      Any(t.iterate_origin),
      Any(t.iterate_lut),
      Any(t.transfer_rect),
      Any(t.transform_world),
      Any(t.iterate_origin_non_clip_src),
      Any(t.iterate_generic),
  };
  const bool known = which >= 0 && which < static_cast<A_long>(std::size(functions));
  return known ? functions[which] : nullptr;
}

/// Only the frame's own quality has functions here; they look at it when they are called.
PF_Err GetCallbackAddress(PF_ProgPtr ref, PF_Quality, A_long, A_long which,
                          PF_AnyFn* function) noexcept {
  if (function == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *function = CallbackOf(UtilityCallbacks(), which);
  return *function != nullptr ? PF_Err_NONE
                              : NotOffered(Session::From(ref), "a function of get_callback_addr");
}

// ---- Mathematics and text ----

/// The table's sprintf. The effect knows the room behind its buffer, the host does not.
VELTRA_PRINTF_LIKE(2, 3)
int Print(A_char* buffer, const A_char* format, ...) {  // NOLINT(cert-dcl50-cpp)
  if (buffer == nullptr || format == nullptr) {
    return -1;
  }
  va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started in the line above
  const int count = std::vsprintf(buffer, format, arguments);
  va_end(arguments);
  return count;
}

A_char* CopyText(A_char* destination, const A_char* source) noexcept {
  if (destination != nullptr && source != nullptr) {
    std::memcpy(destination, source, std::strlen(source) + 1);
  }
  return destination;
}

/// Sine, cosine and arc cosine decide pixels and are the same everywhere; the square root is
/// exact by its standard.
void FillMathematics(PF_ANSICallbacks& ansi) {
  ansi.atan = [](A_FpLong x) { return std::atan(x); };
  ansi.atan2 = [](A_FpLong y, A_FpLong x) { return std::atan2(y, x); };
  ansi.ceil = [](A_FpLong x) { return std::ceil(x); };
  ansi.cos = [](A_FpLong x) { return numerics::Cos(x); };
  ansi.exp = [](A_FpLong x) { return std::exp(x); };
  ansi.fabs = [](A_FpLong x) { return std::fabs(x); };
  ansi.floor = [](A_FpLong x) { return std::floor(x); };
  ansi.fmod = [](A_FpLong x, A_FpLong y) { return std::fmod(x, y); };
  ansi.hypot = [](A_FpLong x, A_FpLong y) { return std::hypot(x, y); };
  ansi.log = [](A_FpLong x) { return std::log(x); };
  ansi.log10 = [](A_FpLong x) { return std::log10(x); };
  ansi.pow = [](A_FpLong x, A_FpLong y) { return std::pow(x, y); };
  ansi.sin = [](A_FpLong x) { return numerics::Sin(x); };
  ansi.sqrt = [](A_FpLong x) { return std::sqrt(x); };
  ansi.tan = [](A_FpLong x) { return std::tan(x); };
  ansi.sprintf = &Print;
  ansi.strcpy = &CopyText;
  ansi.asin = [](A_FpLong x) { return std::asin(x); };
  ansi.acos = [](A_FpLong x) { return numerics::Acos(x); };
}

void FillHandles(PF_UtilCallbacks& table) {
  const PF_HandleSuite1& handles = HandleFunctions();
  table.host_new_handle = handles.host_new_handle;
  table.host_lock_handle = handles.host_lock_handle;
  table.host_unlock_handle = handles.host_unlock_handle;
  table.host_dispose_handle = handles.host_dispose_handle;
  table.host_get_handle_size = handles.host_get_handle_size;
  table.host_resize_handle = handles.host_resize_handle;
}

void FillTransforms(PF_UtilCallbacks& table) {
  const PF_WorldTransformSuite1& transforms = TransformFunctions();
  table.composite_rect = transforms.composite_rect;
  table.blend = transforms.blend;
  table.convolve = transforms.convolve;
  table.copy = CopyInFrameQuality();
  table.transfer_rect = transforms.transfer_rect;
  table.transform_world = transforms.transform_world;
}

void FillMattes(PF_UtilCallbacks& table) {
  const PF_FillMatteSuite2& mattes = MatteFunctions();
  table.fill = mattes.fill;
  table.fill16 = mattes.fill16;
  table.premultiply = mattes.premultiply;
  table.premultiply_color = mattes.premultiply_color;
  table.premultiply_color16 = mattes.premultiply_color16;
}

void FillIterations(PF_UtilCallbacks& table) {
  table.iterate = &IteratePixels<PF_Pixel8>;
  table.iterate_origin = &IterateOrigin<PF_Pixel8>;
  table.iterate_lut = &IterateLut;
  table.iterate_origin_non_clip_src = &IterateOriginNonClip<PF_Pixel8>;
  table.iterate_generic = &IterateGeneric;
  table.iterate16 = &IteratePixels<PF_Pixel16>;
  table.iterate_origin16 = &IterateOrigin<PF_Pixel16>;
  table.iterate_origin_non_clip_src16 = &IterateOriginNonClip<PF_Pixel16>;
}

void FillSamplers(PF_UtilCallbacks& table) {
  table.begin_sampling = &BeginSampling;
  table.end_sampling = &BeginSampling;
  table.subpixel_sample = &SubpixelCallback<PF_Pixel8>;
  table.area_sample = &AreaCallback<PF_Pixel8>;
  table.subpixel_sample16 = &SubpixelCallback<PF_Pixel16>;
  table.area_sample16 = &AreaCallback<PF_Pixel16>;
}

PF_UtilCallbacks MakeTable() {
  PF_UtilCallbacks table{};
  FillMathematics(table.ansi);
  FillHandles(table);
  FillTransforms(table);
  FillMattes(table);
  FillIterations(table);
  FillSamplers(table);
  table.new_world = WorldFunctions().new_world;
  table.dispose_world = WorldFunctions().dispose_world;
  table.get_pixel_data8 = PixelDataFunctions().get_pixel_data8;
  table.get_pixel_data16 = PixelDataFunctions().get_pixel_data16;
  table.colorCB = ColorFunctions8();
  table.gaussian_kernel = &GaussianKernel;
  table.get_callback_addr = &GetCallbackAddress;
  table.app = &App;
  table.get_platform_data = &GetPlatformData;
  return table;
}

}  // namespace

PF_UtilCallbacks& UtilityCallbacks() {
  static PF_UtilCallbacks table = MakeTable();
  return table;
}

}  // namespace veltra::host
