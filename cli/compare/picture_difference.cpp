// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// One pass over both pictures.
#include "cli/compare/picture_difference.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/error.h"

namespace veltra::cli {
namespace {

using Channels = std::array<double, 4>;

Channels ChannelsOf(const PF_PixelFloat& pixel) {
  return {static_cast<double>(pixel.red), static_cast<double>(pixel.green),
          static_cast<double>(pixel.blue), static_cast<double>(pixel.alpha)};
}

double Distance(double a, double b) {
  if (a == b || (std::isnan(a) && std::isnan(b))) {
    return 0;
  }
  const double distance = std::abs(a - b);
  return std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance;
}

Channels Distances(const PF_PixelFloat& a, const PF_PixelFloat& b) {
  const Channels first = ChannelsOf(a);
  const Channels second = ChannelsOf(b);
  Channels distances{};
  for (std::size_t c = 0; c < distances.size(); ++c) {
    distances[c] = Distance(first[c], second[c]);
  }
  return distances;
}

}  // namespace

double PictureDifference::Psnr() const {
  return meanSquare > 0 ? -10 * std::log10(meanSquare) : std::numeric_limits<double>::infinity();
}

PictureDifference CompareWorlds(const host::World& first, const host::World& second) {
  PictureDifference difference;
  double squares = 0;
  for (int y = 0; y < first.Height(); ++y) {
    const auto a = first.Row<PF_PixelFloat>(y);
    const auto b = second.Row<PF_PixelFloat>(y);
    for (std::size_t x = 0; x < a.size(); ++x) {
      const Channels distances = Distances(a[x], b[x]);
      const double worst = *std::max_element(distances.begin(), distances.end());
      if (worst == 0) {
        continue;
      }
      ++difference.pixels;
      for (const double distance : distances) {
        squares += distance * distance;
      }
      if (worst > difference.worst) {
        difference.worst = worst;
        difference.x = static_cast<int>(x);
        difference.y = y;
        difference.first = ChannelsOf(a[x]);
        difference.second = ChannelsOf(b[x]);
      }
    }
  }
  difference.meanSquare = squares / (4.0 * first.Width() * first.Height());
  return difference;
}

host::World DifferencePicture(const host::World& first, const host::World& second, double gain) {
  Expected<host::World> made = host::World::Create(first.Width(), first.Height(), host::Depth::k8);
  if (!made) {
    throw RenderError(made.ErrorText());
  }
  constexpr double kFull = 255;
  for (int y = 0; y < first.Height(); ++y) {
    const auto a = first.Row<PF_PixelFloat>(y);
    const auto b = second.Row<PF_PixelFloat>(y);
    const auto out = made->Row<PF_Pixel8>(y);
    for (std::size_t x = 0; x < a.size(); ++x) {
      const Channels distances = Distances(a[x], b[x]);
      const auto shown = [&](std::size_t c) {
        const double value = std::max(distances[c], distances[3]) * gain;
        // What differs at all is seen, however little it is.
        return static_cast<A_u_char>(value > 0 ? std::clamp(value * kFull + 0.5, 1.0, kFull) : 0);
      };
      out[x] = {A_u_char{255}, shown(0), shown(1), shown(2)};
    }
  }
  return std::move(*made);
}

}  // namespace veltra::cli
