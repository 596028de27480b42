// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Colour conversions.

#include "host/suites/color_callbacks.h"

#include <type_traits>

#include "host/pixels/color_spaces.h"
#include "host/suites/callback.h"

namespace veltra::host {
namespace {

/// The nearest 16.16 number; far beyond the range, its end.
PF_Fixed ToFixed(double value) {
  const double scaled = std::floor(value * kFixedOne + 0.5);
  return scaled >= 2147483647.0    ? 2147483647
         : scaled <= -2147483647.0 ? -2147483647
         : scaled == scaled        ? static_cast<PF_Fixed>(scaled)
                                   : 0;
}

double FromFixed(PF_Fixed value) {
  return value / kFixedOne;
}

template <class Pixel>
PF_Err RgbToHls(Pixel* rgb, PF_Fixed out[3]) noexcept {
  if (rgb == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const HlsColor hls = ToHls(ToUnit(*rgb));
  out[0] = hls.grey ? PF_HUE_UNDEFINED : ToFixed(hls.hue);
  out[1] = ToFixed(hls.lightness);
  out[2] = ToFixed(hls.saturation);
  return PF_Err_NONE;
}

/// Writes colour and leaves alpha.
template <class Pixel>
void StoreColor(const UnitPixel& color, Pixel& out) {
  const Pixel whole = FromUnit<Pixel>(color);
  out.red = whole.red;
  out.green = whole.green;
  out.blue = whole.blue;
}

template <class Pixel>
PF_Err HlsToRgb(PF_Fixed in[3], Pixel* rgb) noexcept {
  if (rgb == nullptr || in == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const bool grey = in[0] == PF_HUE_UNDEFINED;
  StoreColor(FromHls({grey ? 0 : FromFixed(in[0]), FromFixed(in[1]), FromFixed(in[2]), grey}),
             *rgb);
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err RgbToYiq(Pixel* rgb, PF_Fixed out[3]) noexcept {
  if (rgb == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const YiqColor yiq = ToYiq(ToUnit(*rgb));
  out[0] = ToFixed(yiq.y);
  out[1] = ToFixed(yiq.i);
  out[2] = ToFixed(yiq.q);
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err YiqToRgb(PF_Fixed in[3], Pixel* rgb) noexcept {
  if (rgb == nullptr || in == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  StoreColor(FromYiq({FromFixed(in[0]), FromFixed(in[1]), FromFixed(in[2])}), *rgb);
  return PF_Err_NONE;
}

/// A single value in its suite's units: whole numbers rounded to nearest, or as it is.
template <class Value>
Value Rounded(double value) {
  if constexpr (std::is_same_v<Value, float>) {
    return static_cast<float>(value);
  } else {
    return static_cast<Value>(std::floor(value + 0.5));
  }
}

/// Hundred times the channel's range for integers, the plain value for floating point.
template <class Pixel, class Value>
PF_Err Luminance(Pixel* rgb, Value* out) noexcept {
  if (rgb == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  constexpr double kScale =
      std::is_same_v<Value, float> ? 1.0 : 100.0 * DepthTraits<Pixel>::kFullScale;
  *out = Rounded<Value>(LumaOf(ToUnit(*rgb)) * kScale);
  return PF_Err_NONE;
}

/// A turn is 255 in integers and 360 in floating point.
template <class Pixel, class Value>
PF_Err Hue(Pixel* rgb, Value* out) noexcept {
  if (rgb == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const double degrees = ToHls(ToUnit(*rgb)).hue;
  *out = Rounded<Value>(std::is_same_v<Value, float> ? degrees : degrees * 255 / 360);
  return PF_Err_NONE;
}

template <class Pixel, class Value>
PF_Err Lightness(Pixel* rgb, Value* out) noexcept {
  if (rgb == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *out = Rounded<Value>(ToHls(ToUnit(*rgb)).lightness * DepthTraits<Pixel>::kFullScale);
  return PF_Err_NONE;
}

template <class Pixel, class Value>
PF_Err Saturation(Pixel* rgb, Value* out) noexcept {
  if (rgb == nullptr || out == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *out = Rounded<Value>(ToHls(ToUnit(*rgb)).saturation * DepthTraits<Pixel>::kFullScale);
  return PF_Err_NONE;
}

/// A conversion, unless the hooks refuse it.
template <auto kConversion, class... Arguments>
PF_Err Asked(PF_ProgPtr ref, Arguments... arguments) noexcept {
  const PF_Err refused = AskOf(ref, HostCall::kConvertColor);
  return refused != PF_Err_NONE ? refused : kConversion(arguments...);
}

template <class Pixel, class Value>
constexpr PF_ColorFunctions<Pixel, Value> kTable{
    &Asked<&RgbToHls<Pixel>>,         &Asked<&HlsToRgb<Pixel>>,         &Asked<&RgbToYiq<Pixel>>,
    &Asked<&YiqToRgb<Pixel>>,         &Asked<&Luminance<Pixel, Value>>, &Asked<&Hue<Pixel, Value>>,
    &Asked<&Lightness<Pixel, Value>>, &Asked<&Saturation<Pixel, Value>>};

}  // namespace

const PF_ColorSuite1& ColorFunctions8() {
  return kTable<PF_Pixel8, A_long>;
}

const PF_Color16Suite1& ColorFunctions16() {
  return kTable<PF_Pixel16, A_long>;
}

const PF_ColorFloatSuite1& ColorFunctionsFloat() {
  return kTable<PF_PixelFloat, float>;
}

}  // namespace veltra::host
