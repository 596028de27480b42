// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Hue, lightness and saturation, and YIQ, of single pixels.
#pragma once

#include <algorithm>
#include <cmath>

#include "host/pixels/composite.h"

namespace veltra::host {

/// Hue in degrees, lightness and saturation from 0 to 1.
struct HlsColor {
  double hue = 0;
  double lightness = 0;
  double saturation = 0;
  bool grey = false;  ///< there is no hue
};

/// The double hexcone: L = (max + min) / 2, S relative to what L leaves room for.
inline HlsColor ToHls(const UnitPixel& rgb) {
  const double high = std::max({rgb.red, rgb.green, rgb.blue});
  const double low = std::min({rgb.red, rgb.green, rgb.blue});
  const double spread = high - low;
  HlsColor hls;
  hls.lightness = (high + low) / 2;
  hls.grey = !(spread > 0);
  if (hls.grey) {
    return hls;
  }
  const double room = hls.lightness <= 0.5 ? high + low : 2 - high - low;
  hls.saturation = room > 0 ? spread / room : 0;
  const double sector = high == rgb.red     ? (rgb.green - rgb.blue) / spread
                        : high == rgb.green ? (rgb.blue - rgb.red) / spread + 2
                                            : (rgb.red - rgb.green) / spread + 4;
  hls.hue = sector * 60 + (sector < 0 ? 360 : 0);
  return hls;
}

inline UnitPixel FromHls(const HlsColor& hls) {
  const double l = hls.lightness;
  const double s = hls.grey ? 0 : hls.saturation;
  const double high = l <= 0.5 ? l * (1 + s) : l + s - l * s;
  const double low = 2 * l - high;
  const auto channel = [&](double degrees) {
    const double turn = std::floor(degrees / 360);
    const double at = degrees - turn * 360;
    return at < 60    ? low + (high - low) * at / 60
           : at < 180 ? high
           : at < 240 ? low + (high - low) * (240 - at) / 60
                      : low;
  };
  return {0, channel(hls.hue + 120), channel(hls.hue), channel(hls.hue - 120)};
}

/// Luma and the two chroma axes of NTSC television, by its matrix of 1953.
struct YiqColor {
  double y = 0;
  double i = 0;
  double q = 0;
};

inline double LumaOf(const UnitPixel& rgb) {
  return 0.299 * rgb.red + 0.587 * rgb.green + 0.114 * rgb.blue;
}

inline YiqColor ToYiq(const UnitPixel& rgb) {
  return {LumaOf(rgb), 0.5959 * rgb.red - 0.2746 * rgb.green - 0.3213 * rgb.blue,
          0.2115 * rgb.red - 0.5227 * rgb.green + 0.3112 * rgb.blue};
}

/// A two by two determinant within the matrix below.
constexpr double YiqMinor(int row0, int row1, int column0, int column1) {
  constexpr double kMatrix[3][3] = {
      {0.299, 0.587, 0.114}, {0.5959, -0.2746, -0.3213}, {0.2115, -0.5227, 0.3112}};
  return kMatrix[row0][column0] * kMatrix[row1][column1] -
         kMatrix[row0][column1] * kMatrix[row1][column0];
}

/// The inverse of that matrix, by its cofactors.
inline UnitPixel FromYiq(const YiqColor& c) {
  constexpr double kDeterminant =
      0.299 * YiqMinor(1, 2, 1, 2) - 0.587 * YiqMinor(1, 2, 0, 2) + 0.114 * YiqMinor(1, 2, 0, 1);
  const auto row = [&c](double y, double i, double q) {
    return (y * c.y + i * c.i + q * c.q) / kDeterminant;
  };
  return {0, row(YiqMinor(1, 2, 1, 2), -YiqMinor(0, 2, 1, 2), YiqMinor(0, 1, 1, 2)),
          row(-YiqMinor(1, 2, 0, 2), YiqMinor(0, 2, 0, 2), -YiqMinor(0, 1, 0, 2)),
          row(YiqMinor(1, 2, 0, 1), -YiqMinor(0, 2, 0, 1), YiqMinor(0, 1, 0, 1))};
}

}  // namespace veltra::host
