// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The stand-in host's samplers: brute force in double precision, no library mathematics, so that
// they give the same bits everywhere.
#include "tests/stand_in/samplers.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace veltra::stand_in {
namespace {

/// The overlap of pixel `index`, one wide around its centre, with the interval.
double Overlap(A_long index, double low, double high) {
  return std::max(0.0, std::min(high, index + 0.5) - std::max(low, index - 0.5));
}

/// Weighted sums of a layer's pixels.
template <class Pixel>
class Average {
 public:
  explicit Average(const PF_EffectWorld& layer) : layer_(layer) {}

  void Add(A_long column, A_long row, double weight) {
    Pixel pixel;
    std::memcpy(&pixel,
                static_cast<const char*>(layer_.data) +
                    static_cast<std::ptrdiff_t>(row) * layer_.rowbytes +
                    static_cast<std::ptrdiff_t>(column) * static_cast<A_long>(sizeof(Pixel)),
                sizeof(Pixel));
    const double alpha = weight * static_cast<double>(pixel.alpha);
    alpha_ += alpha;
    red_ += alpha * static_cast<double>(pixel.red);
    green_ += alpha * static_cast<double>(pixel.green);
    blue_ += alpha * static_cast<double>(pixel.blue);
  }

  Pixel Result(double totalWeight) const {
    if (!(alpha_ > 0)) {
      return {};
    }
    return {Store(alpha_ / totalWeight), Store(red_ / alpha_), Store(green_ / alpha_),
            Store(blue_ / alpha_)};
  }

 private:
  static decltype(Pixel::alpha) Store(double value) {
    using Channel = decltype(Pixel::alpha);
    if constexpr (std::is_same_v<Channel, float>) {
      return static_cast<float>(value);
    } else {
      return static_cast<Channel>(value + 0.5);
    }
  }

  const PF_EffectWorld& layer_;
  double alpha_ = 0;
  double red_ = 0;
  double green_ = 0;
  double blue_ = 0;
};

/// Sums the pixels that touch a rectangle of the layer's plane, weighted by their overlap.
template <class Pixel>
Pixel Box(const PF_EffectWorld& layer, double left, double top, double right, double bottom) {
  Average<Pixel> average(layer);
  const auto first = [](double low, A_long size) {
    return static_cast<A_long>(std::clamp(low - 1.0, 0.0, static_cast<double>(size)));
  };
  const auto last = [](double high, A_long size) {
    return static_cast<A_long>(std::clamp(high + 2.0, 0.0, static_cast<double>(size)));
  };
  for (A_long row = first(top, layer.height); row < last(bottom, layer.height); ++row) {
    const double wy = Overlap(row, top, bottom);
    for (A_long column = first(left, layer.width); column < last(right, layer.width); ++column) {
      const double weight = Overlap(column, left, right) * wy;
      if (weight > 0) {
        average.Add(column, row, weight);
      }
    }
  }
  return average.Result((right - left) * (bottom - top));
}

}  // namespace

template <class Pixel>
PF_Err SubpixelSample(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, Pixel* out) {
  // Interpolation between neighbours is the mean of a box one pixel wide around the position.
  const double px = x / kFixedOne;
  const double py = y / kFixedOne;
  *out = Box<Pixel>(*params->src, px - 0.5, py - 0.5, px + 0.5, py + 0.5);
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err AreaSample(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, Pixel* out) {
  const double px = x / kFixedOne;
  const double py = y / kFixedOne;
  const double rx = params->x_radius / kFixedOne;
  const double ry = params->y_radius / kFixedOne;
  *out = Box<Pixel>(*params->src, px - rx, py - ry, px + rx, py + ry);
  return PF_Err_NONE;
}

template PF_Err SubpixelSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, PF_Pixel8*);
template PF_Err SubpixelSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, PF_Pixel16*);
template PF_Err SubpixelSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, PF_PixelFloat*);
template PF_Err AreaSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, PF_Pixel8*);
template PF_Err AreaSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, PF_Pixel16*);
template PF_Err AreaSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, PF_PixelFloat*);

}  // namespace veltra::stand_in
