// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The utility table: mathematics, copying and filling, samplers and iteration.

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "host/pixels/transfer.h"
#include "host/suites/iterate.h"
#include "host/suites/sampling_callbacks.h"
#include "host/suites/tables.h"
#include "host/suites/unused_functions.h"
#include "numerics/compiler.h"
#include "numerics/trigonometry.h"

namespace veltra::host {
namespace {

PF_Err Refuse() noexcept {
  return PF_Err_INVALID_CALLBACK;
}

PF_Err Copy(PF_ProgPtr ref, PF_EffectWorld* source, PF_EffectWorld* destination,
            PF_LRect* sourceRect, PF_LRect* destinationRect) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || source == nullptr || destination == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kCopy)) {
      return refused;
    }
    return session->WorkThrough([&](const RowWork& work) {
      return CopyWorld(*source, sourceRect, *destination, destinationRect, session->Draft(), work);
    });
  });
}

PF_Err Fill(PF_ProgPtr ref, const PF_Pixel8* color, const PF_LRect* rect,
            PF_EffectWorld* world) noexcept {
  Session* session = Session::From(ref);
  if (session == nullptr || world == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return Guarded([&]() -> PF_Err {
    if (const PF_Err refused = session->Ask(HostCall::kFill)) {
      return refused;
    }
    return session->WorkThrough(
        [&](const RowWork& work) { return FillWorld(color, rect, *world, work); });
  });
}

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

/// Every function that this host does not offer.
void FillUnused(PF_UtilCallbacks& table) {
  for (PF_UnusedFn* unused : {&table.begin_sampling,
                              &table.get_batch_func_is_deprecated,
                              &table.end_sampling,
                              &table.composite_rect,
                              &table.blend,
                              &table.convolve,
                              &table.gaussian_kernel,
                              &table.premultiply,
                              &table.premultiply_color,
                              &table.new_world,
                              &table.dispose_world,
                              &table.iterate_origin,
                              &table.iterate_lut,
                              &table.transfer_rect,
                              &table.transform_world,
                              &table.host_new_handle,
                              &table.host_lock_handle,
                              &table.host_unlock_handle,
                              &table.host_dispose_handle,
                              &table.get_callback_addr,
                              &table.app,
                              &table.get_platform_data,
                              &table.host_get_handle_size,
                              &table.iterate_origin_non_clip_src,
                              &table.iterate_generic,
                              &table.host_resize_handle,
                              &table.fill16,
                              &table.premultiply_color16,
                              &table.iterate_origin16,
                              &table.iterate_origin_non_clip_src16,
                              &table.get_pixel_data8,
                              &table.get_pixel_data16}) {
    *unused = NotOffered();
  }
  for (PF_UnusedFn& unused : table.colorCB.unused) {
    unused = NotOffered();
  }
}

PF_UtilCallbacks MakeTable() {
  PF_UtilCallbacks table{};
  FillUnused(table);
  FillMathematics(table.ansi);
  table.subpixel_sample = &SubpixelCallback<PF_Pixel8>;
  table.area_sample = &AreaCallback<PF_Pixel8>;
  table.copy = &Copy;
  table.fill = &Fill;
  table.iterate = &IteratePixels<PF_Pixel8>;
  table.subpixel_sample16 = &SubpixelCallback<PF_Pixel16>;
  table.area_sample16 = &AreaCallback<PF_Pixel16>;
  table.iterate16 = &IteratePixels<PF_Pixel16>;
  return table;
}

}  // namespace

PF_UnusedFn NotOffered() {
  return reinterpret_cast<PF_UnusedFn>(&Refuse);
}

PF_UtilCallbacks& UtilityCallbacks() {
  static PF_UtilCallbacks table = MakeTable();
  return table;
}

}  // namespace veltra::host
