// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The per-pixel functions against their plain transcription.
#include "fuzz/pixel_oracle.h"

#include <cmath>
#include <cstring>
#include <type_traits>

#include "fuzz/fuzz_world.h"
#include "numerics/trigonometry.h"
#include "tests/reference/pixels.h"

namespace veltra::fuzz {
namespace {

/// With the effect's own sine and its kin the two sides have to agree to the last bit.
reference::Maths SameMaths() {
  return {numerics::Sin, numerics::Cos, [](double x) { return std::sqrt(x); }, numerics::Acos};
}

/// The transcription leaves open what no frame's record holds and where the effect made a choice: a
/// tile period that is not positive or not finite, and a footprint at a seam that is not a number.
bool IsOpen(const PlacementRecord& record, bool filtered, A_long x, A_long y) {
  if (record.tileMode == 0) {
    return false;
  }
  const auto period = static_cast<float>(record.tilePeriod);
  if (!(period > 0.0F) || !std::isfinite(period)) {
    return true;
  }
  if (!filtered) {
    return false;
  }
  const reference::Placement placement = reference::PlacementFrom(record);
  const double px = x - record.originOffsetX;
  const double py = y - record.originOffsetY;
  const reference::Mapping here = reference::MapFiltered(placement, px, py, SameMaths());
  const reference::Mapping there =
      reference::MapFiltered(placement, px + (x > 0 ? -1 : 1), py + (y > 0 ? -1 : 1), SameMaths());
  return std::isnan(static_cast<float>(there.u) - static_cast<float>(here.u)) ||
         std::isnan(static_cast<float>(there.v) - static_cast<float>(here.v));
}

template <class Channel>
bool SameChannel(Channel a, Channel b) {
  if constexpr (std::is_same_v<Channel, float>) {
    return std::memcmp(&a, &b, sizeof(a)) == 0 || (std::isnan(a) && std::isnan(b));
  } else {
    return a == b;
  }
}

}  // namespace

template <class Pixel>
PF_Err SampleAnything(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* params, Pixel* out) {
  const PF_EffectWorld& layer = *params->src;
  const A_long column = x >> 16;
  const A_long row = y >> 16;
  const bool inside = column >= 0 && row >= 0 && column < layer.width && row < layer.height;
  if (inside && (column + row) % 2 == 0) {
    std::memcpy(out,
                static_cast<const std::uint8_t*>(layer.data) +
                    static_cast<std::ptrdiff_t>(row) * layer.rowbytes +
                    static_cast<std::ptrdiff_t>(column) * std::ptrdiff_t{sizeof(Pixel)},
                sizeof(Pixel));
    return PF_Err_NONE;
  }
  const std::uint64_t position = static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32 |
                                 static_cast<std::uint32_t>(y);
  const std::uint64_t box = static_cast<std::uint64_t>(static_cast<std::uint32_t>(params->x_radius))
                                << 32 |
                            static_cast<std::uint32_t>(params->y_radius);
  const std::uint64_t area = static_cast<std::uint32_t>(params->area);
  *out = PixelFromBits<Pixel>(Scramble(position ^ Scramble(box ^ Scramble(area))));
  return PF_Err_NONE;
}

template <class Pixel>
Expectation<Pixel> Expected(const PlacementRecord& record, bool filtered, A_long x, A_long y,
                            const Pixel& before) {
  if (IsOpen(record, filtered, x, y)) {
    return {before, PF_Err_NONE, false};
  }
  const reference::Placement placement = reference::PlacementFrom(record);
  reference::PixelTools<Pixel> tools;
  tools.maths = SameMaths();
  tools.sample = SampleAnything<Pixel>;
  tools.effectRef = record.effectRef;
  tools.block = record.samplingParams;
  Expectation<Pixel> expected{before, PF_Err_NONE, true};
  expected.result = filtered
                        ? reference::PlacePixelFiltered(placement, tools, x, y, &expected.pixel)
                        : reference::PlacePixel(placement, tools, x, y, &expected.pixel);
  return expected;
}

template <class Pixel>
bool SamePixel(const Pixel& a, const Pixel& b) {
  return SameChannel(a.alpha, b.alpha) && SameChannel(a.red, b.red) &&
         SameChannel(a.green, b.green) && SameChannel(a.blue, b.blue);
}

template <class Pixel>
void ReportPixel(const PlacementRecord& record, bool filtered, A_long x, A_long y, const Pixel& got,
                 const Pixel& expected) {
  const auto show = [](const char* name, const Pixel& pixel) {
    std::fprintf(stderr, "%s %.9g %.9g %.9g %.9g\n", name, static_cast<double>(pixel.alpha),
                 static_cast<double>(pixel.red), static_cast<double>(pixel.green),
                 static_cast<double>(pixel.blue));
  };
  const auto vector = [](const char* name, const Vector3& v) {
    std::fprintf(stderr, "%s %a %a %a\n", name, v.x, v.y, v.z);
  };
  std::fprintf(stderr, "%s pixel of %zu bytes at (%d, %d)\n", filtered ? "filtered" : "plain",
               sizeof(Pixel), x, y);
  show("got", got);
  show("expected", expected);
  std::fprintf(stderr, "norm %a %a offset %a %a\n", record.normScaleX, record.normScaleY,
               record.originOffsetX, record.originOffsetY);
  std::fprintf(stderr, "halfBandAngle %a radiansPerPixel %a opacity %a spanAngle %a\n",
               record.halfBandAngle, record.radiansPerPixel, static_cast<double>(record.opacity),
               record.spanAngle);
  vector("spanStart", record.spanStart);
  vector("spanEnd", record.spanEnd);
  vector("spanNormal", record.spanNormal);
  std::fprintf(stderr, "layer %a per radian, half height %a, tile %d period %a offset %a\n",
               record.layerPixelsPerRadian, record.layerHalfHeight, record.tileMode,
               record.tilePeriod, record.tileOffset);
  Finding("a pixel differs from its plain transcription");
}

// NOLINTNEXTLINE(bugprone-macro-parentheses): a type
#define VELTRA_INSTANTIATE(Pixel)                                                           \
  template PF_Err SampleAnything(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, Pixel*); \
  template Expectation<Pixel> Expected(const PlacementRecord&, bool, A_long, A_long,        \
                                       const Pixel&);                                       \
  template bool SamePixel(const Pixel&, const Pixel&);                                      \
  template void ReportPixel(const PlacementRecord&, bool, A_long, A_long, const Pixel&,     \
                            const Pixel&);
VELTRA_INSTANTIATE(PF_Pixel8)
VELTRA_INSTANTIATE(PF_Pixel16)
VELTRA_INSTANTIATE(PF_PixelFloat)
#undef VELTRA_INSTANTIATE

}  // namespace veltra::fuzz
