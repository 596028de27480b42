// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sine, cosine and arc cosine of two doubles at once, the same bits as the scalar functions.
#pragma once

#include <emmintrin.h>

#include "numerics/trigonometry.h"
#include "numerics/trigonometry_kernels.h"

namespace veltra::numerics {

namespace kernels {

/// Two lanes as a value type of the kernels.
struct TwoDoubles {
  __m128d lanes;
};
struct TwoMasks {
  __m128d lanes;
};
struct TwoWords {
  __m128i lanes;
};

VELTRA_FORCE_INLINE TwoDoubles operator+(TwoDoubles a, TwoDoubles b) {
  return {_mm_add_pd(a.lanes, b.lanes)};
}
VELTRA_FORCE_INLINE TwoDoubles operator-(TwoDoubles a, TwoDoubles b) {
  return {_mm_sub_pd(a.lanes, b.lanes)};
}
VELTRA_FORCE_INLINE TwoDoubles operator*(TwoDoubles a, TwoDoubles b) {
  return {_mm_mul_pd(a.lanes, b.lanes)};
}
VELTRA_FORCE_INLINE TwoDoubles operator/(TwoDoubles a, TwoDoubles b) {
  return {_mm_div_pd(a.lanes, b.lanes)};
}
VELTRA_FORCE_INLINE TwoMasks operator>(TwoDoubles a, TwoDoubles b) {
  return {_mm_cmpgt_pd(a.lanes, b.lanes)};
}
VELTRA_FORCE_INLINE TwoMasks operator<=(TwoDoubles a, TwoDoubles b) {
  return {_mm_cmple_pd(a.lanes, b.lanes)};
}
VELTRA_FORCE_INLINE TwoMasks operator<(TwoDoubles a, TwoDoubles b) {
  return {_mm_cmplt_pd(a.lanes, b.lanes)};
}
/// A constant in both lanes, 16 bytes that an operation can take from memory.
struct alignas(16) LaneConstant {
  double lanes[2];
};
/// Kept from the compiler's eyes on purpose: where gcc knows the value it stores one lane and
/// spends two instructions on making it two.
extern VELTRA_LOCAL const std::array<LaneConstant, kConstants.size()> kLaneConstants;

VELTRA_FORCE_INLINE TwoDoubles Splat(double value, TwoDoubles /*type*/) {
  return {_mm_set1_pd(value)};
}
VELTRA_FORCE_INLINE TwoDoubles Splat(Constant name, TwoDoubles /*type*/) {
  return {_mm_load_pd(kLaneConstants[static_cast<std::size_t>(name)].lanes)};
}
VELTRA_FORCE_INLINE TwoDoubles Select(TwoMasks mask, TwoDoubles yes, TwoDoubles no) {
  return {_mm_or_pd(_mm_and_pd(mask.lanes, yes.lanes), _mm_andnot_pd(mask.lanes, no.lanes))};
}
VELTRA_FORCE_INLINE TwoDoubles Keep(TwoMasks mask, TwoDoubles value) {
  return {_mm_and_pd(mask.lanes, value.lanes)};
}
VELTRA_FORCE_INLINE bool None(TwoMasks mask) {
  return _mm_movemask_pd(mask.lanes) == 0;
}
VELTRA_FORCE_INLINE bool All(TwoMasks mask) {
  return _mm_movemask_pd(mask.lanes) == 3;
}
VELTRA_FORCE_INLINE void SwapWhere(TwoMasks mask, TwoDoubles& a, TwoDoubles& b) {
  const __m128d difference = _mm_and_pd(mask.lanes, _mm_xor_pd(a.lanes, b.lanes));
  a.lanes = _mm_xor_pd(a.lanes, difference);
  b.lanes = _mm_xor_pd(b.lanes, difference);
}
VELTRA_FORCE_INLINE TwoDoubles SquareRoot(TwoDoubles value) {
  return {_mm_sqrt_pd(value.lanes)};
}
VELTRA_FORCE_INLINE TwoDoubles FlipSign(TwoDoubles value, TwoDoubles sign) {
  return {_mm_xor_pd(value.lanes, _mm_and_pd(sign.lanes, _mm_set1_pd(-0.0)))};
}
VELTRA_FORCE_INLINE TwoDoubles Magnitude(TwoDoubles value) {
  return {_mm_andnot_pd(_mm_set1_pd(-0.0), value.lanes)};
}
VELTRA_FORCE_INLINE TwoDoubles Negated(TwoDoubles value) {
  return {_mm_xor_pd(value.lanes, _mm_set1_pd(-0.0))};
}
VELTRA_FORCE_INLINE TwoDoubles Head(TwoDoubles value) {
  return {_mm_and_pd(value.lanes, Splat(Constant::kHeadMask, value).lanes)};
}
VELTRA_FORCE_INLINE TwoWords Bits(TwoDoubles value) {
  return {_mm_castpd_si128(value.lanes)};
}
VELTRA_FORCE_INLINE TwoMasks IsOdd(TwoWords bits) {
  // SSE2 has no arithmetic shift of 64 bits: the low halves are copied over the high ones and each
  // half fills itself with its lowest bit.
  const __m128i low = _mm_shuffle_epi32(bits.lanes, _MM_SHUFFLE(2, 2, 0, 0));
  return {_mm_castsi128_pd(_mm_srai_epi32(_mm_slli_epi32(low, 31), 31))};
}
VELTRA_FORCE_INLINE TwoDoubles SignFromBit1(TwoWords bits, TwoDoubles /*type*/) {
  return {_mm_castsi128_pd(_mm_slli_epi64(bits.lanes, 62))};
}
VELTRA_FORCE_INLINE TwoWords Increment(TwoWords bits) {
  return {_mm_add_epi64(bits.lanes, _mm_set1_epi64x(1))};
}

}  // namespace kernels

struct TwoSinCos {
  __m128d sine;
  __m128d cosine;
};

/// The lanes through the scalar functions: for arguments that the lanes do not reduce.
TwoSinCos SinCosLaneByLane(__m128d radians);

/// Both of both lanes; each lane as SinCos of it.
VELTRA_FORCE_INLINE TwoSinCos SinCos(__m128d radians) {
  using kernels::Constant;
  using kernels::Splat;
  const kernels::TwoDoubles x{radians};
  const kernels::TwoDoubles magnitude = kernels::Magnitude(x);
  if (kernels::All(magnitude <= Splat(Constant::kQuarterPi, x))) {
    // The reduction would leave such angles as they are.
    const auto both = kernels::SinCosNearZero(x, Splat(0.0, x));
    return {both.sine.lanes, both.cosine.lanes};
  }
  if (!kernels::All(magnitude <= Splat(Constant::kModerateLimit, x))) {
    return SinCosLaneByLane(radians);
  }
  const auto both = kernels::SinCosOfReduced(kernels::ReduceModerate(x));
  return {both.sine.lanes, both.cosine.lanes};
}

/// Each lane as Acos of it.
VELTRA_FORCE_INLINE __m128d Acos(__m128d cosines) {
  return kernels::ArcCosine(kernels::TwoDoubles{cosines}).lanes;
}

}  // namespace veltra::numerics
