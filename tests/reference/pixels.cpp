// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The yardstick's per-pixel mathematics: mapping, seam sampling, alpha limits, compositing.
#include "tests/reference/pixels.h"

#include <cstring>
#include <limits>
#include <type_traits>

namespace veltra::reference {
namespace {

constexpr double kPiValue = 3.141592653589793;
constexpr double kHalfPiValue = 1.5707963267948966;

/// The processor's conversion: toward zero, the most negative integer where nothing fits.
A_long ToInt(double value) {
  if (!(value > -2147483649.0) || !(value < 2147483648.0)) {
    return std::numeric_limits<A_long>::min();
  }
  return static_cast<A_long>(value);
}

A_long ToInt(float value) {
  return ToInt(static_cast<double>(value));
}

/// Adds in 64 bits and keeps the low 32, as the two's complement machine does.
A_long Keep32(std::int64_t value) {
  return static_cast<A_long>(static_cast<std::uint32_t>(value));
}

struct Angles {
  double across = 0;
  double start = 0;
  double end = 0;
};

Angles Measure(const Placement& p, double px, double py, const Maths& maths) {
  const double latitude = (py * p.normScaleY - 1.0) * kHalfPiValue;
  const double longitude = (px * p.normScaleX - 1.0) * kPiValue;
  const double cosLatitude = maths.cos(latitude);
  const Vector point{maths.sin(longitude) * cosLatitude, maths.sin(latitude),
                     -maths.cos(longitude) * cosLatitude};
  const Vector& n = p.spanNormal;
  const double d = point.x * n.x + point.y * n.y + point.z * n.z;
  Vector q{point.x - d * n.x, point.y - d * n.y, point.z - d * n.z};
  const double scale = 1.0 / (maths.sqrt(q.x * q.x + q.y * q.y + q.z * q.z) + 0.000001);
  q = {q.x * scale, q.y * scale, q.z * scale};
  const auto angleTo = [&](const Vector& v) {
    return maths.acos(q.x * v.x + q.y * v.y + q.z * v.z);
  };
  return {maths.acos(d) - kHalfPiValue, angleTo(p.spanStart), angleTo(p.spanEnd)};
}

void Locate(const Placement& p, const Angles& angles, Mapping* mapping) {
  mapping->u = angles.start * p.layerPixelsPerRadian;
  mapping->v = (angles.across / p.halfBandAngle + 1.0) * p.layerHalfHeight;
}

float RampAlong(const Placement& p, double sum) {
  return static_cast<float>(1.0 - (sum - p.spanAngle) / p.radiansPerPixel);
}

/// Facts of the depths that are not plain arithmetic.
template <class Pixel>
struct Facts;
template <>
struct Facts<PF_Pixel8> {
  static constexpr float kFull = 255.0F;
};
template <>
struct Facts<PF_Pixel16> {
  static constexpr float kFull = 32768.0F;
};
template <>
struct Facts<PF_PixelFloat> {
  static constexpr float kFull = 1.0F;
};

template <class Pixel>
using Channel = decltype(Pixel::alpha);

/// A float as a channel: truncated in the integer depths, untouched otherwise.
template <class Pixel>
Channel<Pixel> AsChannel(float value) {
  if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
    return value;
  } else {
    return static_cast<Channel<Pixel>>(static_cast<std::uint32_t>(ToInt(value)));
  }
}

template <class Pixel>
Channel<Pixel> LimitAlpha(float value) {
  if (!(value > 0)) {
    return 0;
  }
  return AsChannel<Pixel>(value < Facts<Pixel>::kFull ? value : Facts<Pixel>::kFull);
}

template <class Pixel>
Pixel PixelAt(const PF_EffectWorld& world, A_long column, A_long row) {
  Pixel pixel;
  std::memcpy(&pixel,
              static_cast<const char*>(world.data) + row * world.rowbytes +
                  column * static_cast<A_long>(sizeof(Pixel)),
              sizeof(Pixel));
  return pixel;
}

/// Scales the sample's alpha, limits it where the path does, and composites.
template <class Pixel>
void Finish(const Placement& p, float coverage, bool seam, Pixel* sample, Pixel* out) {
  const float alpha = static_cast<float>(sample->alpha) * p.opacity * coverage;
  if (seam && std::is_same_v<Pixel, PF_PixelFloat>) {
    // The seam path of the float depth has no limit at either end.
    sample->alpha = AsChannel<Pixel>(alpha);
  } else {
    sample->alpha = LimitAlpha<Pixel>(alpha);
  }
  *out = CompositeOver(*sample, *out);
}

}  // namespace

Mapping MapPlain(const Placement& p, double px, double py, const Maths& maths) {
  const Angles angles = Measure(p, px, py, maths);
  Mapping mapping;
  mapping.across = angles.across;
  if (angles.across > p.halfBandAngle - p.radiansPerPixel) {
    if (angles.across > p.halfBandAngle) {
      mapping.rejected = true;
      return mapping;
    }
    mapping.coverage = static_cast<float>(
        1.0 - (angles.across - p.halfBandAngle + p.radiansPerPixel) / p.radiansPerPixel);
  }
  const double sum = angles.start + angles.end;
  if (sum > p.spanAngle) {
    if (sum > p.spanAngle + p.radiansPerPixel) {
      mapping.rejected = true;
      return mapping;
    }
    mapping.coverage = mapping.coverage * RampAlong(p, sum);
  }
  Locate(p, angles, &mapping);
  return mapping;
}

Mapping MapFiltered(const Placement& p, double px, double py, const Maths& maths) {
  const Angles angles = Measure(p, px, py, maths);
  Mapping mapping;
  mapping.across = angles.across;
  if (angles.across > p.halfBandAngle) {
    mapping.coverage =
        static_cast<float>(1.0 - (angles.across - p.halfBandAngle) / p.radiansPerPixel);
    mapping.rejected = angles.across > p.halfBandAngle + p.radiansPerPixel;
  }
  const double sum = angles.start + angles.end;
  if (sum > p.spanAngle) {
    mapping.coverage = mapping.coverage * RampAlong(p, sum);
    mapping.rejected = mapping.rejected || sum > p.spanAngle + p.radiansPerPixel;
  }
  Locate(p, angles, &mapping);
  return mapping;
}

template <class Pixel>
void SampleWrapped(float x, float y, float radiusX, float radiusY, const PF_EffectWorld& layer,
                   Pixel* out) {
  const auto limited = [](float r) { return r < 1.0F ? 1.0F : (r > 250.0F ? 250.0F : r); };
  const float rx = limited(radiusX);
  const float ry = limited(radiusY);
  const A_long x0 = Keep32(std::int64_t{ToInt(std::floor(x - rx))} + 1);
  const A_long x1 = ToInt(std::floor(x + rx));
  const A_long y0 = Keep32(std::int64_t{ToInt(std::floor(y - ry))} + 1);
  const A_long y1 = ToInt(std::floor(y + ry));
  const A_long lastColumn = x1 > x0 ? x1 : x0 + 1;
  const A_long firstRow = y0 > 0 ? y0 : 0;
  if (firstRow > layer.height - 1) {
    out->alpha = 0;
    return;
  }
  A_long lastRow = y1 > firstRow ? y1 : firstRow + 1;
  lastRow = lastRow < layer.height - 1 ? lastRow : layer.height - 1;

  const A_long period = layer.width - 1;
  float sumW = 0;
  float sumA = 0;
  float sumR = 0;
  float sumG = 0;
  float sumB = 0;
  for (A_long row = firstRow; row <= lastRow; ++row) {
    const float dy = (y - static_cast<float>(row)) / ry;
    const float wy = 1.0F - dy * dy;
    if (wy < 0.01F) {
      continue;
    }
    for (A_long column = x0; column <= lastColumn; ++column) {
      const float dx = (x - static_cast<float>(column)) / rx;
      const float wx = 1.0F - dx * dx;
      if (wx < 0.01F) {
        continue;
      }
      const float w = wx * wy;
      sumW += w;
      // A layer one column wide has no period: every column is its only one.
      A_long wrapped = period > 0 ? column % period : 0;
      if (wrapped < 0) {
        wrapped += period;
      }
      const Pixel pixel = PixelAt<Pixel>(layer, wrapped, row);
      const float aw = static_cast<float>(pixel.alpha) * w;
      sumA += aw;
      sumR += static_cast<float>(pixel.red) * aw;
      sumG += static_cast<float>(pixel.green) * aw;
      sumB += static_cast<float>(pixel.blue) * aw;
    }
  }
  if (!(sumA > 0) || !(sumW > 0)) {
    *out = {};
    return;
  }
  const float k = 1.0F / sumA;
  out->alpha = AsChannel<Pixel>(sumA / sumW);
  out->red = AsChannel<Pixel>(sumR * k);
  out->green = AsChannel<Pixel>(sumG * k);
  out->blue = AsChannel<Pixel>(sumB * k);
}

template <>
PF_Pixel8 CompositeOver(const PF_Pixel8& top, const PF_Pixel8& bottom) {
  if (bottom.alpha == 0 || top.alpha == 255) {
    return top;
  }
  if (top.alpha == 0) {
    return bottom;
  }
  const unsigned topAlpha = top.alpha;
  const unsigned bottomAlpha = bottom.alpha;
  const unsigned topWeight = topAlpha * 255;
  const unsigned bottomWeight = (255 - topAlpha) * bottomAlpha;
  const auto mix = [&](unsigned t, unsigned b) {
    return static_cast<A_u_char>((t * topWeight + b * bottomWeight) / (topWeight + bottomWeight));
  };
  return {static_cast<A_u_char>(bottomAlpha - topAlpha * bottomAlpha / 255 + topAlpha),
          mix(top.red, bottom.red), mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

template <>
PF_Pixel16 CompositeOver(const PF_Pixel16& top, const PF_Pixel16& bottom) {
  if (bottom.alpha == 0) {
    return top;
  }
  if (top.alpha == 0) {
    return bottom;
  }
  const std::uint32_t topAlpha = top.alpha;
  const std::uint32_t bottomAlpha = bottom.alpha;
  const std::uint32_t bottomWeight = ((32768U - topAlpha) * bottomAlpha) >> 15;
  const auto mix = [&](std::uint32_t t, std::uint32_t b) {
    return static_cast<A_u_short>((b * bottomWeight + t * topAlpha) / (bottomWeight + topAlpha));
  };
  return {static_cast<A_u_short>(bottomAlpha - ((topAlpha * bottomAlpha) >> 15) + topAlpha),
          mix(top.red, bottom.red), mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

template <>
PF_PixelFloat CompositeOver(const PF_PixelFloat& top, const PF_PixelFloat& bottom) {
  if (bottom.alpha <= 0) {
    return top;
  }
  if (top.alpha <= 0) {
    return bottom;
  }
  const float bottomWeight = (1.0F - top.alpha) * bottom.alpha;
  const float k = 1.0F / (bottomWeight + top.alpha);
  const auto mix = [&](float t, float b) { return (bottomWeight * b + top.alpha * t) * k; };
  return {(top.alpha + bottom.alpha) - top.alpha * bottom.alpha, mix(top.red, bottom.red),
          mix(top.green, bottom.green), mix(top.blue, bottom.blue)};
}

template <class Pixel>
PF_Err PlacePixel(const Placement& p, const PixelTools<Pixel>& tools, A_long x, A_long y,
                  Pixel* out) {
  const Mapping mapping = MapPlain(p, x - p.originOffsetX, y - p.originOffsetY, tools.maths);
  if (mapping.rejected) {
    return PF_Err_NONE;
  }
  double u = mapping.u;
  bool seam = false;
  if (p.tileMode) {
    u += p.tileOffset;
    u -= ToInt(u / p.tilePeriod) * p.tilePeriod;
    if (u < 0) {
      u += p.tilePeriod;
    }
    seam = u < 1.0 || u + 1.0 > p.tilePeriod;
  }
  Pixel sample{};
  PF_Err result = PF_Err_NONE;
  if (seam) {
    SampleWrapped(static_cast<float>(u), static_cast<float>(mapping.v), 1.0F, 1.0F,
                  *tools.block.src, &sample);
  } else {
    result = tools.sample(tools.effectRef, ToInt(u * 65536.0), ToInt(mapping.v * 65536.0),
                          &tools.block, &sample);
  }
  Finish(p, mapping.coverage, seam, &sample, out);
  return result;
}

template <class Pixel>
PF_Err PlacePixelFiltered(const Placement& p, const PixelTools<Pixel>& tools, A_long x, A_long y,
                          Pixel* out) {
  const double px = x - p.originOffsetX;
  const double py = y - p.originOffsetY;
  const Mapping mapping = MapFiltered(p, px, py, tools.maths);
  if (mapping.rejected || mapping.coverage < 0 || mapping.coverage > 1.0F) {
    return PF_Err_NONE;
  }
  const Mapping neighbour =
      MapFiltered(p, px + (x > 0 ? -1 : 1), py + (y > 0 ? -1 : 1), tools.maths);
  float u = static_cast<float>(mapping.u);
  const float v = static_cast<float>(mapping.v);
  // A distance that is not a number stays one.
  const auto capped = [](float d) { return d > 120.0F ? 120.0F : d; };
  const float du = capped(std::fabs(static_cast<float>(neighbour.u) - u));
  const float dv = capped(std::fabs(static_cast<float>(neighbour.v) - v));

  bool seam = false;
  if (p.tileMode) {
    const float period = static_cast<float>(p.tilePeriod);
    u = static_cast<float>(p.tileOffset) + u;
    u = u - static_cast<float>(ToInt(u / period)) * period;
    if (u < 0) {
      u = period + u;
    }
    seam = u - du - 0.5F < 0 || static_cast<double>(u + du + 0.5F) > p.tilePeriod;
  }
  Pixel sample{};
  PF_Err result = PF_Err_NONE;
  if (seam) {
    SampleWrapped(u, v, du + 0.5F, dv + 0.5F, *tools.block.src, &sample);
  } else {
    PF_SampPB block = tools.block;
    block.x_radius = Keep32(std::int64_t{32768} - ToInt(du * -32768.0F));
    block.y_radius = Keep32(std::int64_t{32768} - ToInt(dv * -32768.0F));
    // The product keeps its low 32 bits, and so the host receives it.
    const A_long product = Keep32(std::int64_t{block.x_radius} * block.y_radius);
    block.area = Keep32(std::int64_t{product >> 16} * 4);
    result =
        tools.sample(tools.effectRef, ToInt(u * 65536.0F), ToInt(v * 65536.0F), &block, &sample);
  }
  Finish(p, mapping.coverage, seam, &sample, out);
  return result;
}

template PF_Err PlacePixel(const Placement&, const PixelTools<PF_Pixel8>&, A_long, A_long,
                           PF_Pixel8*);
template PF_Err PlacePixel(const Placement&, const PixelTools<PF_Pixel16>&, A_long, A_long,
                           PF_Pixel16*);
template PF_Err PlacePixel(const Placement&, const PixelTools<PF_PixelFloat>&, A_long, A_long,
                           PF_PixelFloat*);
template PF_Err PlacePixelFiltered(const Placement&, const PixelTools<PF_Pixel8>&, A_long, A_long,
                                   PF_Pixel8*);
template PF_Err PlacePixelFiltered(const Placement&, const PixelTools<PF_Pixel16>&, A_long, A_long,
                                   PF_Pixel16*);
template PF_Err PlacePixelFiltered(const Placement&, const PixelTools<PF_PixelFloat>&, A_long,
                                   A_long, PF_PixelFloat*);
template void SampleWrapped(float, float, float, float, const PF_EffectWorld&, PF_Pixel8*);
template void SampleWrapped(float, float, float, float, const PF_EffectWorld&, PF_Pixel16*);
template void SampleWrapped(float, float, float, float, const PF_EffectWorld&, PF_PixelFloat*);

}  // namespace veltra::reference
