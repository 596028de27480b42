// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The scalar sine, cosine and arc cosine, and the reduction of large angles.

#include "numerics/trigonometry.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "numerics/compiler.h"
#include "numerics/trigonometry_kernels.h"
#include "numerics/trigonometry_sse2.h"

namespace veltra::numerics {

namespace kernels {

namespace {

constexpr std::array<LaneConstant, kConstants.size()> BothLanes() {
  std::array<LaneConstant, kConstants.size()> both{};
  for (std::size_t i = 0; i < both.size(); ++i) {
    both[i] = {{kConstants[i], kConstants[i]}};
  }
  return both;
}

}  // namespace

constinit const std::array<LaneConstant, kConstants.size()> kLaneConstants = BothLanes();

}  // namespace kernels

namespace {

using kernels::Constant;
using kernels::ValueOf;

using ScalarAngle = kernels::ReducedAngle<double, std::uint64_t>;

/// 2 / pi in binary, from tools/coefficients.sollya, after 64 bits of its integer part: bit j
/// (from the top of the first word) has the weight 2^(63 - j).
constexpr std::array<std::uint32_t, 40> kTwoOverPiWords = {
    0x00000000, 0x00000000, 0xa2f9836e, 0x4e441529, 0xfc2757d1, 0xf534ddc0, 0xdb629599, 0x3c439041,
    0xfe5163ab, 0xdebbc561, 0xb7246e3a, 0x424dd2e0, 0x06492eea, 0x09d1921c, 0xfe1deb1c, 0xb129a73e,
    0xe88235f5, 0x2ebb4484, 0xe99c7026, 0xb45f7e41, 0x3991d639, 0x835339f4, 0x9c845f8b, 0xbdf9283b,
    0x1ff897ff, 0xde05980f, 0xef2f118b, 0x5a0a6d1f, 0x6d367ecf, 0x27cb09b7, 0x4f463f66, 0x9e5fea2d,
    0x7527bac7, 0xebe5f17b, 0x3d0739f7, 0x8a5292ea, 0x6bfb5fb1, 0x1f8d5d08, 0x56033046, 0xfc7b6bab,
};

/// 192 bits, the most significant 64 first.
struct WideFraction {
  std::uint64_t high;
  std::uint64_t middle;
  std::uint64_t low;
};

constexpr std::uint64_t Join(std::uint32_t high, std::uint32_t low) {
  return (static_cast<std::uint64_t>(high) << 32) | low;
}

/// significand * (192 bits of 2 / pi from bit `offset` on), modulo 2^192.
WideFraction TimesTwoOverPi(std::uint64_t significand, int offset) {
  const auto word = static_cast<std::size_t>(offset / 32);
  const int shift = offset % 32;
  std::array<std::uint32_t, 6> window{};  // least significant first
  for (std::size_t i = 0; i < window.size(); ++i) {
    const std::size_t from = word + (window.size() - 1 - i);
    const std::uint64_t pair = Join(kTwoOverPiWords[from], kTwoOverPiWords[from + 1]);
    window[i] = static_cast<std::uint32_t>(pair >> (32 - shift));
  }

  const std::uint64_t lowHalf = significand & 0xffffffffU;
  const std::uint64_t highHalf = significand >> 32;
  std::array<std::uint32_t, 6> product{};
  std::uint64_t carry = 0;
  for (std::size_t i = 0; i < product.size(); ++i) {
    carry += lowHalf * window[i];
    product[i] = static_cast<std::uint32_t>(carry);
    carry >>= 32;
  }
  carry = 0;
  for (std::size_t i = 1; i < product.size(); ++i) {
    carry += highHalf * window[i - 1] + product[i];
    product[i] = static_cast<std::uint32_t>(carry);
    carry >>= 32;
  }
  return {Join(product[5], product[4]), Join(product[3], product[2]), Join(product[1], product[0])};
}

WideFraction ShiftedLeft(const WideFraction& value, int bits) {
  if (bits == 0) {
    return value;
  }
  return {(value.high << bits) | (value.middle >> (64 - bits)),
          (value.middle << bits) | (value.low >> (64 - bits)), value.low << bits};
}

WideFraction Negated(const WideFraction& value) {
  const std::uint64_t low = ~value.low + 1;
  const std::uint64_t middle = ~value.middle + (low == 0 ? 1U : 0U);
  const std::uint64_t high = ~value.high + (low == 0 && middle == 0 ? 1U : 0U);
  return {high, middle, low};
}

constexpr double PowerOfTwo(int exponent) {
  return BitCast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52);
}

/// (fractionHigh + fractionLow) * pi/2 as a double and its rest. The product of the high parts is
/// taken with its rounding error, after Dekker.
ScalarAngle TimesHalfPi(double fractionHigh, double fractionLow) {
  const double product = fractionHigh * ValueOf(Constant::kHalfPiHigh);
  const double a1 = kernels::Head(fractionHigh);
  const double a2 = fractionHigh - a1;
  const double b1 = kernels::Head(ValueOf(Constant::kHalfPiHigh));
  const double b2 = ValueOf(Constant::kHalfPiHigh) - b1;
  const double error = ((a1 * b1 - product) + a1 * b2 + a2 * b1) + a2 * b2;
  const double rest = error + (fractionHigh * ValueOf(Constant::kHalfPiLow) +
                               fractionLow * ValueOf(Constant::kHalfPiHigh));
  const double angle = product + rest;
  return {angle, (angle - product) - rest, 0};
}

/// Reduction after Payne and Hanek for kModerateLimit < |radians| < infinity: of 2 / pi only the
/// bits matter whose product with the significand is neither a multiple of four quadrants nor below
/// the precision. 190 bits of fraction remain, with an error below 2^-136; no double comes nearer
/// to a multiple of pi/2 than 2^-62.
ScalarAngle ReduceLarge(double radians) {
  const std::uint64_t bits = kernels::Bits(radians);
  const int exponent = static_cast<int>((bits >> 52) & 0x7ffU) - 1075;
  const std::uint64_t significand = (bits & 0xfffffffffffffU) | 0x10000000000000U;

  // The window starts at the bit whose product with the significand's last bit weighs 2.
  const WideFraction turns = TimesTwoOverPi(significand, exponent + 62);
  WideFraction fraction = ShiftedLeft(turns, 2);
  const bool roundUp = (fraction.high >> 63) != 0;
  const std::uint64_t quadrant = (turns.high >> 62) + (roundUp ? 1U : 0U);
  if (roundUp) {
    fraction = Negated(fraction);
  }
  const int zeros = std::countl_zero(fraction.high);
  fraction = ShiftedLeft(fraction, zeros);
  const double high = static_cast<double>(fraction.high >> 11) * PowerOfTwo(-53 - zeros);
  const double low = static_cast<double>(((fraction.high & 0x7ffU) << 42) | fraction.middle >> 22) *
                     PowerOfTwo(-106 - zeros);

  ScalarAngle angle = TimesHalfPi(high, low);
  if (roundUp != (radians < 0)) {
    angle.angle = -angle.angle;
    angle.excess = -angle.excess;
  }
  angle.quadrant = radians < 0 ? 0 - quadrant : quadrant;
  return angle;
}

}  // namespace

SinCosResult SinCos(double radians) {
  const double magnitude = kernels::Magnitude(radians);
  if (!(magnitude <= std::numeric_limits<double>::max())) {
    const double undefined = std::numeric_limits<double>::quiet_NaN();
    return {undefined, undefined};
  }
  const auto both = kernels::SinCosOfReduced(magnitude <= ValueOf(Constant::kModerateLimit)
                                                 ? kernels::ReduceModerate(radians)
                                                 : ReduceLarge(radians));
  return {both.sine, both.cosine};
}

double Sin(double radians) {
  return SinCos(radians).sine;
}
double Cos(double radians) {
  return SinCos(radians).cosine;
}
double Acos(double cosine) {
  return kernels::ArcCosine(cosine);
}

TwoSinCos SinCosLaneByLane(__m128d radians) {
  alignas(16) std::array<double, 2> angles{};
  _mm_store_pd(angles.data(), radians);
  const SinCosResult first = SinCos(angles[0]);
  const SinCosResult second = SinCos(angles[1]);
  return {_mm_set_pd(second.sine, first.sine), _mm_set_pd(second.cosine, first.cosine)};
}

}  // namespace veltra::numerics
