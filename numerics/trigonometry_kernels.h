// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The sequences of operations behind sine, cosine and arc cosine, for one double or several lanes.
//
// Each kernel is written once over a value type T (double here, two SSE2 lanes in
// trigonometry_sse2.h), so that the lanes go through the very operations of the scalar in the very
// order and give its bits. A value type brings + - * /, comparisons that give a mask, and the
// overloads listed under "Operations on double". Every operation used is correctly rounded by
// IEEE 754, which is what makes the bits independent of compiler and optimisation.
#pragma once

#include <emmintrin.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "numerics/compiler.h"

namespace veltra::numerics::kernels {

// Constants

/// Every constant of the kernels by name, so that a value type can fetch it in its own way.
enum class Constant : std::size_t {
  kHalf,
  kOne,
  kRounder,
  kTwoOverPi,
  kHalfPi1,
  kHalfPi2,
  kHalfPi3,
  kMinusSine3,
  kMinusSine5,
  kMinusSine7,
  kMinusSine9,
  kMinusSine11,
  kMinusSine13,
  kCosine4,
  kCosine6,
  kCosine8,
  kCosine10,
  kCosine12,
  kCosine14,
  kArcSine3,
  kArcSine5,
  kArcSine7,
  kArcSine9,
  kArcSine11,
  kArcSine13,
  kArcSine15,
  kArcSine17,
  kArcSine19,
  kArcSine21,
  kArcSine23,
  kArcSine25,
  kHalfPiHigh,
  kHalfPiLow,
  kPiHigh,
  kPiLow,
  kSmallestNormal,
  kModerateLimit,
  kQuarterPi,
  kHeadMask,
  kCount,
};

/// In the order of the names, those of the sine with their signs turned. The polynomials and the
/// parts of pi are made by tools/coefficients.sollya.
inline constexpr std::array<double, static_cast<std::size_t>(Constant::kCount)> kConstants{
    0.5,
    1.0,
    0x1.8p52,  // adding it rounds to the nearest integer and leaves that in the low bits
    0x1.45f306dc9c883p-1,
    0x1.921fb5444p0,  // pi/2 in three parts, the first two of 39 bits
    0x1.68c234c4c4p-39,
    0x1.3145c06e0e689p-78,
    0x1.5555555555548p-3,
    -0x1.111111110f76p-7,
    0x1.a01a019bf2b7dp-13,
    -0x1.71de355fa4c73p-19,
    0x1.ae5e5500395ebp-26,
    -0x1.5d8e624f9814ap-33,
    0x1.555555555554bp-5,
    -0x1.6c16c16c15018p-10,
    0x1.a01a019c8f944p-16,
    -0x1.27e4f7f1ee757p-22,
    0x1.1ee9dc12a7aafp-29,
    -0x1.8fa6a88f8de3fp-37,
    0x1.555555555539p-3,
    0x1.333333336e80fp-4,
    0x1.6db6db427a4f8p-5,
    0x1.f1c72c38fb343p-6,
    0x1.6e89f44019769p-6,
    0x1.1c6be1a687d83p-6,
    0x1.c6fdc1aa99fb6p-7,
    0x1.8ec2fca664948p-7,
    0x1.abcf5cd3c582p-8,
    0x1.3ff4a993e8f23p-6,
    -0x1.09d328395e2acp-6,
    0x1.056d6c8369ac4p-5,
    0x1.921fb54442d18p0,
    0x1.1a62633145c07p-54,
    0x1.921fb54442d18p1,
    0x1.1a62633145c07p-53,
    0x1p-1022,
    25735.0,  // keeps the quadrant of a moderate angle below 2^14
    0x1.921fb54442d18p-1,
    BitCast<double>(std::uint64_t{0xfffffffff8000000}),  // the top 26 bits of a significand
};

constexpr double ValueOf(Constant name) {
  return kConstants[static_cast<std::size_t>(name)];
}

// Operations on double

VELTRA_FORCE_INLINE std::uint64_t Bits(double value) {
  return BitCast<std::uint64_t>(value);
}
VELTRA_FORCE_INLINE double Splat(double value, double /*type*/) {
  return value;
}
VELTRA_FORCE_INLINE double Splat(Constant name, double /*type*/) {
  return ValueOf(name);
}
VELTRA_FORCE_INLINE double Select(bool mask, double yes, double no) {
  return mask ? yes : no;
}
/// `value` where the mask is set, +0 elsewhere.
VELTRA_FORCE_INLINE double Keep(bool mask, double value) {
  return mask ? value : 0.0;
}
VELTRA_FORCE_INLINE bool None(bool mask) {
  return !mask;
}
VELTRA_FORCE_INLINE bool All(bool mask) {
  return mask;
}
VELTRA_FORCE_INLINE void SwapWhere(bool mask, double& a, double& b) {
  const double before = a;
  a = mask ? b : a;
  b = mask ? before : b;
}
/// The instruction rather than the library's function, which would look after errno.
VELTRA_FORCE_INLINE double SquareRoot(double value) {
  return _mm_cvtsd_f64(_mm_sqrt_pd(_mm_set_sd(value)));
}
/// The value with its sign turned where `sign` is negative.
VELTRA_FORCE_INLINE double FlipSign(double value, double sign) {
  return BitCast<double>(Bits(value) ^ (Bits(sign) & 0x8000000000000000U));
}
VELTRA_FORCE_INLINE double Magnitude(double value) {
  return std::fabs(value);
}
VELTRA_FORCE_INLINE double Negated(double value) {
  return -value;
}
/// The top 26 bits of the significand, whose square is exact.
VELTRA_FORCE_INLINE double Head(double value) {
  return BitCast<double>(Bits(value) & Bits(ValueOf(Constant::kHeadMask)));
}
VELTRA_FORCE_INLINE bool IsOdd(std::uint64_t bits) {
  return (bits & 1U) != 0;
}
/// A value whose sign is bit 1 of the number: negative in the quadrants 2 and 3.
VELTRA_FORCE_INLINE double SignFromBit1(std::uint64_t bits, double /*type*/) {
  return BitCast<double>(bits << 62);
}
VELTRA_FORCE_INLINE std::uint64_t Increment(std::uint64_t bits) {
  return bits + 1;
}

// Sine and cosine

/// radians = quadrant * pi/2 + (angle - excess), |angle| hardly above pi/4, |excess| far below it.
/// Only the two lowest bits of the quadrant mean anything.
template <class T, class Word>
struct ReducedAngle {
  T angle;
  T excess;
  Word quadrant;
};

/// Reduction after Cody and Waite for |radians| <= kModerateLimit. The quadrant n is below 2^14 and
/// the first two parts of pi/2 have 39 bits, so n * part is exact. The first difference is exact:
/// both operands are multiples of 2^-52 or of the argument's last bit, and it is below 1. The
/// second is exact where it cancels (both are multiples of 2^-77 and below 2^-24) and otherwise
/// leaves an error that `angle` gives back exactly. What remains is the rounding of n * third part,
/// below 2^-117; no double of this range comes nearer to a multiple of pi/2 than 2^-61.
template <class T>
VELTRA_FORCE_INLINE auto ReduceModerate(T radians) {
  const T rounder = Splat(Constant::kRounder, radians);
  const T shifted = radians * Splat(Constant::kTwoOverPi, radians) + rounder;
  const T n = shifted - rounder;
  const T first = radians - n * Splat(Constant::kHalfPi1, radians);
  const T second = n * Splat(Constant::kHalfPi2, radians);
  const T angle = first - second;
  const T excess = n * Splat(Constant::kHalfPi3, radians) - ((first - angle) - second);
  return ReducedAngle<T, decltype(Bits(shifted))>{angle, excess, Bits(shifted)};
}

template <class T>
struct SineAndCosine {
  T sine;
  T cosine;
};

/// Sine and cosine of x - y for |x| hardly above pi/4 and a tiny y: x - (x^3 P(z) + y cos x) and
/// (1 - z/2) + (z^2 Q(z) + x y), z = x^2, where 1 - z/2 is formed with its rounding error. The
/// order of the sums keeps what depends on each other short, and sin(-0) at -0.
template <class T>
VELTRA_FORCE_INLINE SineAndCosine<T> SinCosNearZero(T x, T y) {
  const T z = x * x;
  const T zz = z * z;
  const T zzzz = zz * zz;
  const T one = Splat(Constant::kOne, x);
  const T half = z * Splat(Constant::kHalf, x);
  const T head = one - half;
  const T minusTail =
      ((z * Splat(Constant::kMinusSine5, x) + Splat(Constant::kMinusSine3, x)) +
       zz * (z * Splat(Constant::kMinusSine9, x) + Splat(Constant::kMinusSine7, x))) +
      zzzz * (z * Splat(Constant::kMinusSine13, x) + Splat(Constant::kMinusSine11, x));
  const T cosineTail = ((z * Splat(Constant::kCosine6, x) + Splat(Constant::kCosine4, x)) +
                        zz * (z * Splat(Constant::kCosine10, x) + Splat(Constant::kCosine8, x))) +
                       zzzz * (z * Splat(Constant::kCosine14, x) + Splat(Constant::kCosine12, x));
  return {x - ((z * x) * minusTail + y * head),
          head + (((one - head) - half) + (zz * cosineTail + x * y))};
}

template <class T, class Word>
VELTRA_FORCE_INLINE SineAndCosine<T> SinCosOfReduced(const ReducedAngle<T, Word>& reduced) {
  SineAndCosine<T> both = SinCosNearZero(reduced.angle, reduced.excess);
  SwapWhere(IsOdd(reduced.quadrant), both.sine, both.cosine);
  return {FlipSign(both.sine, SignFromBit1(reduced.quadrant, both.sine)),
          FlipSign(both.cosine, SignFromBit1(Increment(reduced.quadrant), both.cosine))};
}

// Arc cosine

/// asin(t) = t + t * p, p a function of z = t * t, 0 <= t <= 1/2.
template <class T>
VELTRA_FORCE_INLINE T ArcSineTail(T z) {
  const T zz = z * z;
  const T zzzz = zz * zz;
  const T first = (Splat(Constant::kArcSine3, z) + z * Splat(Constant::kArcSine5, z)) +
                  zz * (Splat(Constant::kArcSine7, z) + z * Splat(Constant::kArcSine9, z));
  const T middle = (Splat(Constant::kArcSine11, z) + z * Splat(Constant::kArcSine13, z)) +
                   zz * (Splat(Constant::kArcSine15, z) + z * Splat(Constant::kArcSine17, z));
  const T last = (Splat(Constant::kArcSine19, z) + z * Splat(Constant::kArcSine21, z)) +
                 zz * (Splat(Constant::kArcSine23, z) + z * Splat(Constant::kArcSine25, z));
  return z * (first + zzzz * (middle + zzzz * last));
}

/// For |x| <= 1/2 with p for z = x^2: pi/2 - asin(x), pi/2 with its rest; NaN for NaN.
template <class T>
VELTRA_FORCE_INLINE T InnerArcCosine(T x, T p) {
  return Splat(Constant::kHalfPiHigh, x) - (x + (x * p - Splat(Constant::kHalfPiLow, x)));
}

/// A root and, more precisely, head + rest: the head's square is exact, so that the rest carries
/// what the rounded root lacks.
template <class T>
struct RootInTwo {
  VELTRA_FORCE_INLINE explicit RootInTwo(T square) : root(SquareRoot(square)), head(Head(root)) {
    // The smallest normal number keeps 0 / 0 away and changes no other sum.
    rest = (square - head * head) / ((root + head) + Splat(Constant::kSmallestNormal, square));
  }

  T root;
  T head;
  T rest;
};

/// For 1/2 < |x| <= 1 with p for z = (1 - |x|) / 2 and r = 2 sqrt(z): r + r p for positive x and
/// pi - (r + r p) for negative x, difference being 1 - |x|. NaN beyond, by the root.
template <class T>
VELTRA_FORCE_INLINE T OuterArcCosine(T x, T difference, T p) {
  const RootInTwo<T> r(difference + difference);
  const auto negative = x < Splat(0.0, x);
  const T tail = (r.root * p - Keep(negative, Splat(Constant::kPiLow, x))) + r.rest;
  // For positive x: 0 - (-angle), which is +0 for no angle.
  return Keep(negative, Splat(Constant::kPiHigh, x)) - FlipSign(r.head + tail, Negated(x));
}

/// The same for x > 1/2 alone, where nothing depends on the sign.
template <class T>
VELTRA_FORCE_INLINE T NearArcCosine(T difference, T p) {
  const RootInTwo<T> r(difference + difference);
  return r.head + (r.root * p + r.rest);
}

/// Lanes of both kinds share one evaluation of the polynomial, by far the longest part.
template <class T>
VELTRA_FORCE_INLINE T ArcCosine(T x) {
  if (All(x > Splat(Constant::kHalf, x))) {
    const T difference = Splat(Constant::kOne, x) - x;
    return NearArcCosine(difference, ArcSineTail(difference * Splat(Constant::kHalf, x)));
  }
  const T magnitude = Magnitude(x);
  const auto outer = magnitude > Splat(Constant::kHalf, x);
  if (None(outer)) {
    return InnerArcCosine(x, ArcSineTail(x * x));
  }
  const T difference = Splat(Constant::kOne, x) - magnitude;
  const T outerZ = difference * Splat(Constant::kHalf, x);
  if (All(outer)) {
    return OuterArcCosine(x, difference, ArcSineTail(outerZ));
  }
  const T p = ArcSineTail(Select(outer, outerZ, x * x));
  return Select(outer, OuterArcCosine(x, difference, p), InnerArcCosine(x, p));
}

}  // namespace veltra::numerics::kernels
