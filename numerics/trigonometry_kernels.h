// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The sequences of operations behind sine, cosine and arc cosine, for one double or several lanes.
//
// Each kernel is written once over a value type T (double here, two SSE2 lanes in
// trigonometry_sse2.h), so that the lanes go through the very operations of the scalar in the very
// order and give its bits. A value type brings + - * /, comparisons that give a mask, and the
// overloads listed under "Operations on double". Every operation used is correctly rounded by
// IEEE 754, which is what makes the bits independent of compiler and optimisation.
//
// All constants come from tools/coefficients.sollya.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "numerics/compiler.h"

namespace veltra::numerics::kernels {

// Operations on double

VELTRA_FORCE_INLINE std::uint64_t Bits(double value) {
  return std::bit_cast<std::uint64_t>(value);
}
VELTRA_FORCE_INLINE double Splat(double value, double /*type*/) {
  return value;
}
VELTRA_FORCE_INLINE double Select(bool mask, double yes, double no) {
  return mask ? yes : no;
}
VELTRA_FORCE_INLINE double SquareRoot(double value) {
  return std::sqrt(value);
}

/// The value with its sign bit set where the sign bit of `sign` is: x ^ (sign & 0x8000...).
VELTRA_FORCE_INLINE double FlipSign(double value, double sign) {
  return std::bit_cast<double>(Bits(value) ^ (Bits(sign) & 0x8000000000000000U));
}
VELTRA_FORCE_INLINE double Magnitude(double value) {
  return std::bit_cast<double>(Bits(value) & 0x7fffffffffffffffU);
}
VELTRA_FORCE_INLINE double Negated(double value) {
  return std::bit_cast<double>(Bits(value) ^ 0x8000000000000000U);
}
/// The top 26 bits of the significand, whose square is exact.
VELTRA_FORCE_INLINE double Head(double value) {
  return std::bit_cast<double>(Bits(value) & 0xfffffffff8000000U);
}
VELTRA_FORCE_INLINE bool BitIsSet(std::uint64_t bits, int bit) {
  return ((bits >> bit) & 1U) != 0;
}
/// A value whose sign is bit 1 of the number: negative in the quadrants 2 and 3.
VELTRA_FORCE_INLINE double SignFromBit1(std::uint64_t bits, double /*type*/) {
  return std::bit_cast<double>(bits << 62);
}
VELTRA_FORCE_INLINE std::uint64_t Increment(std::uint64_t bits) {
  return bits + 1;
}

// Sine and cosine

/// Arguments up to this magnitude are reduced by ReduceModerate: its quadrant is below 2^14.
inline constexpr double kModerateLimit = 25735.0;

inline constexpr double kTwoOverPi = 0x1.45f306dc9c883p-1;
inline constexpr double kHalfPi1 = 0x1.921fb5444p0;  // 39 bits
inline constexpr double kHalfPi2 = 0x1.68c234c4c4p-39;
inline constexpr double kHalfPi3 = 0x1.3145c06e0e689p-78;

/// radians = quadrant * pi/2 + (high + low), |high| hardly above pi/4, |low| far below high. Only
/// the two lowest bits of the quadrant mean anything.
template <class T, class Word>
struct ReducedAngle {
  T high;
  T low;
  Word quadrant;
};

/// Reduction after Cody and Waite for |radians| <= kModerateLimit. The quadrant n is below 2^14 and
/// the first two parts of pi/2 have 39 bits, so n * part is exact. The first difference is exact:
/// both operands are multiples of 2^-52 or of the argument's last bit, and it is below 1. The
/// second is exact where it cancels (both are multiples of 2^-77 and below 2^-24) and otherwise
/// leaves an error that `high` gives back exactly. What remains is the rounding of n * third part,
/// below 2^-117; no double of this range comes nearer to a multiple of pi/2 than 2^-60.
template <class T>
VELTRA_FORCE_INLINE auto ReduceModerate(T radians) {
  // Adding 1.5 * 2^52 rounds to the nearest integer and leaves it in the low bits.
  const T rounder = Splat(0x1.8p52, radians);
  const T shifted = radians * Splat(kTwoOverPi, radians) + rounder;
  const T n = shifted - rounder;
  const T first = radians - n * Splat(kHalfPi1, radians);
  const T second = n * Splat(kHalfPi2, radians);
  const T high = first - second;
  const T low = ((first - high) - second) - n * Splat(kHalfPi3, radians);
  const auto quadrant = Bits(shifted);
  return ReducedAngle<T, decltype(Bits(shifted))>{high, low, quadrant};
}

/// sin(x + y) for |x| hardly above pi/4 and a tiny y. The order keeps sin(-0) at -0.
template <class T>
VELTRA_FORCE_INLINE T SineOfReduced(T x, T y, T z, T zz) {
  const T tail = (Splat(0x1.111111110f76p-7, x) + z * Splat(-0x1.a01a019bf2b7dp-13, x)) +
                 zz * ((Splat(0x1.71de355fa4c73p-19, x) + z * Splat(-0x1.ae5e5500395ebp-26, x)) +
                       zz * Splat(0x1.5d8e624f9814ap-33, x));
  const T cube = z * x;
  return x - ((z * (Splat(0.5, x) * y - cube * tail) - y) - cube * Splat(-0x1.5555555555548p-3, x));
}

/// cos(x + y) likewise. 1 - z/2 is formed with its rounding error.
template <class T>
VELTRA_FORCE_INLINE T CosineOfReduced(T x, T y, T z, T zz) {
  const T tail =
      (Splat(0x1.555555555554bp-5, x) + z * Splat(-0x1.6c16c16c15018p-10, x)) +
      zz * ((Splat(0x1.a01a019c8f944p-16, x) + z * Splat(-0x1.27e4f7f1ee757p-22, x)) +
            zz * (Splat(0x1.1ee9dc12a7aafp-29, x) + z * Splat(-0x1.8fa6a88f8de3fp-37, x)));
  const T half = Splat(0.5, x) * z;
  const T one = Splat(1.0, x);
  const T head = one - half;
  return head + (((one - head) - half) + (zz * tail - x * y));
}

template <class T>
struct SineAndCosine {
  T sine;
  T cosine;
};

template <class T, class Word>
VELTRA_FORCE_INLINE SineAndCosine<T> SinCosOfReduced(const ReducedAngle<T, Word>& angle) {
  const T z = angle.high * angle.high;
  const T zz = z * z;
  const T s = SineOfReduced(angle.high, angle.low, z, zz);
  const T c = CosineOfReduced(angle.high, angle.low, z, zz);
  const auto odd = BitIsSet(angle.quadrant, 0);
  const T sine = FlipSign(Select(odd, c, s), SignFromBit1(angle.quadrant, z));
  const T cosine = FlipSign(Select(odd, s, c), SignFromBit1(Increment(angle.quadrant), z));
  return {sine, cosine};
}

// Arc cosine

inline constexpr double kHalfPiHigh = 0x1.921fb54442d18p0;
inline constexpr double kHalfPiLow = 0x1.1a62633145c07p-54;

/// asin(t) = t + t * p, p a function of z = t * t, 0 <= t <= 1/2.
template <class T>
VELTRA_FORCE_INLINE T ArcSineTail(T z) {
  const T zz = z * z;
  const T zzzz = zz * zz;
  const T first = (Splat(0x1.555555555539p-3, z) + z * Splat(0x1.333333336e80fp-4, z)) +
                  zz * (Splat(0x1.6db6db427a4f8p-5, z) + z * Splat(0x1.f1c72c38fb343p-6, z));
  const T middle = (Splat(0x1.6e89f44019769p-6, z) + z * Splat(0x1.1c6be1a687d83p-6, z)) +
                   zz * (Splat(0x1.c6fdc1aa99fb6p-7, z) + z * Splat(0x1.8ec2fca664948p-7, z));
  const T last = (Splat(0x1.abcf5cd3c582p-8, z) + z * Splat(0x1.3ff4a993e8f23p-6, z)) +
                 zz * (Splat(-0x1.09d328395e2acp-6, z) + z * Splat(0x1.056d6c8369ac4p-5, z));
  return z * (first + zzzz * (middle + zzzz * last));
}

/// acos(x) = pi/2 - asin(x) up to |x| = 1/2; beyond, with t = sqrt((1 - |x|) / 2), 2 asin(t) for
/// positive x and pi - 2 asin(t) for negative x. All three are one difference
///   base - (head + (tail - base's low part))
/// of a double-double base (pi/2, pi or 0), an exact head and a small tail: NaN and |x| > 1 give
/// NaN through the comparison and the root.
template <class T>
VELTRA_FORCE_INLINE T ArcCosine(T x) {
  const T zero = Splat(0.0, x);
  const T magnitude = Magnitude(x);
  const auto outer = magnitude > Splat(0.5, x);
  const auto negative = x < zero;
  const T z = Select(outer, (Splat(1.0, x) - magnitude) * Splat(0.5, x), x * x);
  const T p = ArcSineTail(z);

  // The root as head + rest: the head's square is exact, so that the rest carries what the rounded
  // root lacks. The smallest normal number keeps 0 / 0 away and changes no other sum.
  const T root = SquareRoot(z);
  const T rootHead = Head(root);
  const T rest = (z - rootHead * rootHead) / ((root + rootHead) + Splat(0x1p-1022, x));

  const T two = Splat(2.0, x);
  const T head = Select(outer, two * rootHead, magnitude);
  const T tail = Select(outer, two * (root * p + rest), magnitude * p);
  const T sign = Select(outer, Negated(x), x);
  const T outerBase = Select(negative, two * Splat(kHalfPiHigh, x), zero);
  const T outerBaseLow = Select(negative, two * Splat(kHalfPiLow, x), zero);
  const T base = Select(outer, outerBase, Splat(kHalfPiHigh, x));
  const T baseLow = Select(outer, outerBaseLow, Splat(kHalfPiLow, x));
  return base - (FlipSign(head, sign) + (FlipSign(tail, sign) - baseLow));
}

}  // namespace veltra::numerics::kernels
