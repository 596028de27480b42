// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whole-image filters.

#include "host/pixels/filters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "host/pixels/composite.h"
#include "host/pixels/world_view.h"

namespace veltra::host {
namespace {

bool SameReadableDepth(const PF_EffectWorld& a, const PF_EffectWorld& b) {
  const A_long bytes = BytesPerPixel(DepthOf(a));
  return DepthOf(a) == DepthOf(b) && IsReadableAs(a, bytes) && IsReadableAs(b, bytes);
}

PF_LRect CommonBounds(const PF_EffectWorld& a, const PF_EffectWorld& b) {
  return Intersection(BoundsOf(a), BoundsOf(b));
}

/// Calls row(y) for the rows of a part.
template <class Pixel, class Row>
PF_Err ForRows(const PF_LRect& part, A_long cost, const RowWork& work, Row row) {
  const std::int64_t bytes = std::int64_t{part.right - part.left} * A_long{sizeof(Pixel)} * cost;
  return work.Run(part.bottom - part.top, bytes, [&](A_long first, A_long last) {
    for (A_long y = part.top + first; y < part.top + last; ++y) {
      row(y);
    }
  });
}

// ---- Blend ----

UnitPixel BlendPixels(const UnitPixel& a, const UnitPixel& b, double r) {
  const double weightA = (1 - r) * a.alpha;
  const double weightB = r * b.alpha;
  const double alpha = weightA + weightB;
  if (!(alpha > 0)) {
    return {};
  }
  const auto channel = [&](double x, double y) { return (weightA * x + weightB * y) / alpha; };
  return {alpha, channel(a.red, b.red), channel(a.green, b.green), channel(a.blue, b.blue)};
}

// ---- Convolution ----

/// The four channels in memory's order.
template <class Pixel>
std::array<double, 4> Channels(const Pixel& pixel) {
  return {static_cast<double>(pixel.alpha), static_cast<double>(pixel.red),
          static_cast<double>(pixel.green), static_cast<double>(pixel.blue)};
}

struct KernelWindow {
  A_long width;
  A_long height;
};

KernelWindow WindowOf(const Kernel& kernel) {
  if ((kernel.flags & PF_KernelFlag_1D) == 0) {
    return {kernel.side, kernel.side};
  }
  return (kernel.flags & PF_KernelFlag_VERTICAL) != 0 ? KernelWindow{1, kernel.side}
                                                      : KernelWindow{kernel.side, 1};
}

/// Sums are doubles: exact for integers up to 2^53, which holds weights of millions, 16 bits of
/// channel and a thousand cells.
template <class Pixel>
Pixel ConvolvedPixel(const PF_EffectWorld& source, const Kernel& kernel, KernelWindow window,
                     A_long x, A_long y) {
  std::array<double, 4> sums{};
  const A_long left = x - window.width / 2;
  const A_long top = y - window.height / 2;
  for (A_long j = std::max(0, -top); j < std::min(window.height, source.height - top); ++j) {
    const Pixel* row = RowOf<const Pixel>(source, top + j);
    for (A_long i = std::max(0, -left); i < std::min(window.width, source.width - left); ++i) {
      const std::array<double, 4> channels = Channels(row[left + i]);
      const std::ptrdiff_t cell = std::ptrdiff_t{j} * window.width + i;
      for (std::size_t c = 0; c < 4; ++c) {
        sums[c] += kernel.channel[c][cell] * channels[c];
      }
    }
  }
  const double cells = static_cast<double>(window.width) * window.height;
  const double scale = 255 * cells * DepthTraits<Pixel>::kFullScale;
  const bool clamps = (kernel.flags & PF_KernelFlag_NO_CLAMP) == 0;
  const auto unit = [&](double sum) {
    const double value = sum / scale;
    return clamps ? std::clamp(value, 0.0, 1.0) : value;
  };
  return FromUnit<Pixel>({unit(sums[0]), unit(sums[1]), unit(sums[2]), unit(sums[3])});
}

double GaussianCell(A_long distanceSquared, A_FpLong radius) {
  // A standard deviation of half the radius: two of them reach the kernel's edge.
  const double sigma = std::max(radius, 0.5) / 2;
  return std::exp(-distanceSquared / (2 * sigma * sigma));
}

}  // namespace

PF_Err BlendWorlds(const PF_EffectWorld& first, const PF_EffectWorld& second, PF_Fixed ratio,
                   PF_EffectWorld& destination, const RowWork& work) {
  if (!SameReadableDepth(first, second) || !SameReadableDepth(first, destination)) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect part = Intersection(CommonBounds(first, second), BoundsOf(destination));
  const double r = std::clamp(ratio / kFixedOne, 0.0, 1.0);
  return WithPixelType(DepthOf(destination), [&](auto type) {
    using Pixel = decltype(type);
    return ForRows<Pixel>(part, 4, work, [&](A_long y) {
      const Pixel* a = RowOf<const Pixel>(first, y);
      const Pixel* b = RowOf<const Pixel>(second, y);
      Pixel* out = RowOf<Pixel>(destination, y);
      for (A_long x = part.left; x < part.right; ++x) {
        out[x] = r == 0   ? a[x]
                 : r == 1 ? b[x]
                          : FromUnit<Pixel>(BlendPixels(ToUnit(a[x]), ToUnit(b[x]), r));
      }
    });
  });
}

PF_Err ConvolveWorld(const PF_EffectWorld& source, const PF_LRect& area, const Kernel& kernel,
                     PF_EffectWorld& destination, const RowWork& work) {
  const bool usable = kernel.side >= 1 && kernel.side <= 4096 &&
                      std::all_of(std::begin(kernel.channel), std::end(kernel.channel),
                                  [](const A_long* cells) { return cells != nullptr; });
  if (!usable || !SameReadableDepth(source, destination) || source.data == destination.data) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect part = Intersection(area, CommonBounds(source, destination));
  const KernelWindow window = WindowOf(kernel);
  const A_long cost = std::clamp(window.width * window.height, 1, 4096);
  return WithPixelType(DepthOf(destination), [&](auto type) {
    using Pixel = decltype(type);
    return ForRows<Pixel>(part, cost, work, [&](A_long y) {
      Pixel* out = RowOf<Pixel>(destination, y);
      for (A_long x = part.left; x < part.right; ++x) {
        out[x] = ConvolvedPixel<Pixel>(source, kernel, window, x, y);
      }
    });
  });
}

A_long GaussianDiameter(A_FpLong radius) {
  constexpr double kLargest = 1024;
  return radius > 0 ? static_cast<A_long>(std::ceil(std::min(radius, kLargest))) * 2 + 1 : 1;
}

void FillGaussian(A_FpLong radius, A_u_long flags, A_FpLong multiplier, A_long diameter,
                  A_long* kernel) {
  const A_long rows = (flags & PF_KernelFlag_1D) != 0 ? 1 : diameter;
  const A_long middle = diameter / 2;
  const auto cell = [&](A_long x, A_long y) {
    const A_long dy = rows == 1 ? 0 : y - middle;
    return GaussianCell((x - middle) * (x - middle) + dy * dy, radius);
  };
  double sum = 0;
  for (A_long y = 0; y < rows; ++y) {
    for (A_long x = 0; x < diameter; ++x) {
      sum += cell(x, y);
    }
  }
  const double cells = static_cast<double>(diameter) * rows;
  const double scale =
      multiplier * 255 * ((flags & PF_KernelFlag_NORMALIZED) != 0 ? cells / sum : 1);
  for (A_long y = 0; y < rows; ++y) {
    for (A_long x = 0; x < diameter; ++x) {
      const double value = std::floor(cell(x, y) * scale + 0.5);
      kernel[std::ptrdiff_t{y} * diameter + x] =
          static_cast<A_long>(std::clamp(value, -2147483648.0, 2147483647.0));
    }
  }
}

template <class Pixel>
PF_Err MatteWorld(const PF_EffectWorld& source, const Pixel& matte, bool forward,
                  PF_EffectWorld& destination, const RowWork& work) {
  if (!SameReadableDepth(source, destination) || DepthOf(source) != kDepthOf<Pixel>) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect part = CommonBounds(source, destination);
  const UnitPixel back = ToUnit(matte);
  return ForRows<Pixel>(part, 4, work, [&](A_long y) {
    const Pixel* in = RowOf<const Pixel>(source, y);
    Pixel* out = RowOf<Pixel>(destination, y);
    for (A_long x = part.left; x < part.right; ++x) {
      const UnitPixel p = ToUnit(in[x]);
      const auto channel = [&](double c, double m) {
        const double rest = m * (1 - p.alpha);
        return forward ? c * p.alpha + rest : p.alpha > 0 ? (c - rest) / p.alpha : 0;
      };
      Pixel result = FromUnit<Pixel>({p.alpha, channel(p.red, back.red),
                                      channel(p.green, back.green), channel(p.blue, back.blue)});
      result.alpha = in[x].alpha;
      out[x] = result;
    }
  });
}

template PF_Err MatteWorld(const PF_EffectWorld&, const PF_Pixel8&, bool, PF_EffectWorld&,
                           const RowWork&);
template PF_Err MatteWorld(const PF_EffectWorld&, const PF_Pixel16&, bool, PF_EffectWorld&,
                           const RowWork&);
template PF_Err MatteWorld(const PF_EffectWorld&, const PF_PixelFloat&, bool, PF_EffectWorld&,
                           const RowWork&);

}  // namespace veltra::host
