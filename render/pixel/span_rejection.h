// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A cheap test in single precision that recognises most pixels the strip does not reach.
//
// Nine pixels in ten of an ordinary frame lie off the strip, so what a rejection costs is what a
// frame costs. The test answers "surely off" or "perhaps on"; after the latter the exact steps
// decide as if it did not exist. Every comparison is written so that NaN makes it false, and every
// margin is wider than all roundings together, so the picture is the same with and without it.
//
// How far the single-precision values can be from the exact steps, in units of 1e-6 (vectors by
// length; n, S and E stand for spanNormal, spanStart and spanEnd, whose lengths are checked not to
// exceed 1 noticeably):
//   angle     two roundings of a value below 4 half turns, 2 * 0.12 * pi        0.75
//   sine      the angle, 0.6 of the polynomial, 0.3 of its roundings           1.7
//   p         products of two such sines                                       6
//   d         p . n with its roundings                                         7
//   q         p - d n                                                         14
//   q.S, q.E  likewise                                                        15
//   q.q       twice q's                                                       29
// The exact steps themselves are within 1e-14, and are treated as exact below.
#pragma once

#include <emmintrin.h>

#include "numerics/compiler.h"
#include "render/placement_record.h"

namespace veltra {

/// Where the strip's soft edge lies at its far side: inside the band or outside.
enum class AcrossRamp { kInside, kOutside };

namespace rejection {

/// Four lanes that an operation can take from memory. Defined elsewhere, out of the compiler's
/// sight: gcc would store one lane and spend two instructions on making it four.
struct alignas(16) FourFloats {
  float lanes[4];
};
struct Constants {
  FourFloats signs;                       ///< the sign bits
  FourFloats farthest;                    ///< half turns
  FourFloats sine7, sine5, sine3, sine1;  ///< polynomial of the sine of half turns
  FourFloats quarterTurns;                ///< makes the sines in lanes 2 and 3 cosines
  FourFloats directionKeep;               ///< bits, see Direction
  FourFloats directionFlip;
  FourFloats longest;  ///< squared length of spanNormal, spanStart, spanEnd
};
extern VELTRA_LOCAL const Constants kConstants;

VELTRA_FORCE_INLINE __m128 Load(const FourFloats& constant) {
  return _mm_load_ps(constant.lanes);
}

/// A vector of the record in single precision, the fourth lane 0.
VELTRA_FORCE_INLINE __m128 LoadVector(const Vector3& v) {
  return _mm_movelh_ps(_mm_cvtpd_ps(_mm_set_pd(v.y, v.x)), _mm_cvtpd_ps(_mm_set_sd(v.z)));
}

template <int kLane>
VELTRA_FORCE_INLINE __m128 Lane(__m128 v) {
  return _mm_shuffle_ps(v, v, _MM_SHUFFLE(kLane, kLane, kLane, kLane));
}

/// The sum of the first three lanes, in the lowest.
VELTRA_FORCE_INLINE __m128 SumOfThree(__m128 v) {
  return _mm_add_ss(_mm_add_ss(v, Lane<1>(v)), _mm_movehl_ps(v, v));
}

/// Sums of all lanes of a, b, c and d, in this order.
VELTRA_FORCE_INLINE __m128 FourSums(__m128 a, __m128 b, __m128 c, __m128 d) {
  const __m128 ab = _mm_add_ps(_mm_unpacklo_ps(a, b), _mm_unpackhi_ps(a, b));
  const __m128 cd = _mm_add_ps(_mm_unpacklo_ps(c, d), _mm_unpackhi_ps(c, d));
  return _mm_add_ps(_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab));
}

/// sin(pi x) in every lane; the error table holds up to |x| = 2.5, beyond which the lane is NaN.
VELTRA_FORCE_INLINE __m128 SineOfHalfTurns(__m128 x) {
  const __m128 magnitude = _mm_andnot_ps(Load(kConstants.signs), x);
  const __m128 tooFar = _mm_cmpnle_ps(magnitude, Load(kConstants.farthest));
  const __m128i turns = _mm_cvtps_epi32(x);
  const __m128 r = _mm_sub_ps(x, _mm_cvtepi32_ps(turns));
  const __m128 z = _mm_mul_ps(r, r);
  __m128 sum = _mm_add_ps(_mm_mul_ps(z, Load(kConstants.sine7)), Load(kConstants.sine5));
  sum = _mm_add_ps(_mm_mul_ps(sum, z), Load(kConstants.sine3));
  sum = _mm_add_ps(_mm_mul_ps(sum, z), Load(kConstants.sine1));
  const __m128 odd = _mm_castsi128_ps(_mm_slli_epi32(turns, 31));
  return _mm_or_ps(_mm_xor_ps(_mm_mul_ps(r, sum), odd), tooFar);
}

/// The direction of the host's pixel (x, y) as (p.x, p.y, p.z, 0).
VELTRA_FORCE_INLINE __m128 Direction(const PlacementRecord& record, A_long x, A_long y) {
  const __m128i position = _mm_unpacklo_epi32(_mm_cvtsi32_si128(x), _mm_cvtsi32_si128(y));
  const __m128d offset = _mm_set_pd(record.originOffsetY, record.originOffsetX);
  const __m128d scale = _mm_set_pd(record.normScaleY, record.normScaleX);
  const __m128d norm = _mm_sub_pd(_mm_mul_pd(_mm_sub_pd(_mm_cvtepi32_pd(position), offset), scale),
                                  _mm_set1_pd(1.0));
  // Longitude and latitude in half turns, and again a quarter turn further for the cosines.
  const __m128 halfTurns = _mm_cvtpd_ps(_mm_mul_pd(norm, _mm_set_pd(0.5, 1.0)));
  const __m128 sines = SineOfHalfTurns(
      _mm_add_ps(_mm_movelh_ps(halfTurns, halfTurns), Load(kConstants.quarterTurns)));
  // (sin lon, sin lat, cos lon, cos lat) times (cos lat, 1, -cos lat, 0).
  const __m128 cosLat = _mm_shuffle_ps(sines, sines, _MM_SHUFFLE(3, 3, 3, 3));
  const __m128 factor = _mm_xor_ps(_mm_and_ps(cosLat, Load(kConstants.directionKeep)),
                                   Load(kConstants.directionFlip));
  return _mm_mul_ps(sines, factor);
}

/// Where both comparisons of the exact steps hold, at the edge and at the edge with its ramp: the
/// larger of the two, NaN where the second is. Radians.
VELTRA_FORCE_INLINE float Limit(double edge, double width) {
  const double withRamp = edge + width;
  const __m128d larger = _mm_set_sd(edge > withRamp ? edge : withRamp);
  return _mm_cvtss_f32(_mm_cvtsd_ss(_mm_setzero_ps(), larger));
}

/// Not below the sine of the limit, as x - x^3/6 + x^5/120 is not for x >= 0. A limit counts as 0
/// below that and as a quarter turn above that, where the polynomial is beyond 1 and nothing lies
/// further across; both reject less. NaN stays NaN.
VELTRA_FORCE_INLINE float SineBound(float limit) {
  const float atLeast = limit < 0.0F ? 0.0F : limit;
  const float x = atLeast > 1.5707964F ? 1.5707964F : atLeast;
  const float w = x * x;
  return x * (1.0F - w * (1.0F / 6.0F - w * (1.0F / 120.0F)));
}

/// Not above the cosine of a limit from 0 to pi: with h = limit / 2, cos h is not below
/// 1 - h^2/2 + h^4/24 - h^6/720, nor below 0, so that it may be squared in 2 cos^2 h - 1. A
/// negative limit counts as its magnitude, which rejects less.
VELTRA_FORCE_INLINE float CosineBound(float limit) {
  const float w = limit * limit * 0.25F;
  const float half = 1.0F - w * (0.5F - w * (1.0F / 24.0F - w * (1.0F / 720.0F)));
  const float bounded = half < 0.0F ? 0.0F : half;
  return 2.0F * bounded * bounded - 1.0F;
}

/// Whether vectors are as short as the error table assumes. The guarded normalisation leaves a
/// squared length of at most 1 - 5e-7, which also keeps the arc cosines of q.S and q.E defined; a
/// hand-made vector may be longer and is then left to the exact steps.
VELTRA_FORCE_INLINE bool IsShort(__m128 v) {
  return _mm_comile_ss(SumOfThree(_mm_mul_ps(v, v)), Load(kConstants.longest)) != 0;
}

}  // namespace rejection

/// True only for pixels that the exact steps leave alone.
///
/// Across the band: further than the limit means acos(d) - pi/2 > limit, that is d < -sin(limit).
/// A d below -1 has no arc cosine and rejects nothing, hence the second comparison.
///
/// Past the ends: with Q the exact steps' q / (|q| + 1e-6), a = acos(Q.S) and b = acos(Q.E),
/// a + b > limit follows for a limit up to pi from either of
///   Q.S * Q.E < cos(limit), since cos(a + b) = cos a cos b - sin a sin b <= cos a cos b;
///   Q.S + Q.E < 0, which is 2 cos((a + b) / 2) cos((a - b) / 2), the second factor positive.
/// The first is sharp just past the ends, the second takes over on the far side. Both are compared
/// with q in place of Q: the squared length (|q| + 1e-6)^2 exceeds q.q by less than 3e-6, which is
/// safe for a positive cosine and within the margin for a negative one.
template <AcrossRamp kRamp>
VELTRA_FORCE_INLINE bool IsSurelyOffStrip(const PlacementRecord& record, A_long x, A_long y) {
  using namespace rejection;
  constexpr float kAcrossMargin = 1e-5F;
  constexpr float kAlongMargin = 1e-4F;
  const __m128 p = Direction(record, x, y);
  const __m128 n = LoadVector(record.spanNormal);
  const __m128 dot = SumOfThree(_mm_mul_ps(p, n));
  const float d = _mm_cvtss_f32(dot);
  if (d < -kAcrossMargin) {
    const double ramp =
        kRamp == AcrossRamp::kInside ? -record.radiansPerPixel : record.radiansPerPixel;
    const float sine = SineBound(Limit(record.halfBandAngle, ramp));
    if (d < -kAcrossMargin - sine && d > -1.0F + kAcrossMargin) {
      return IsShort(n);
    }
  }
  const __m128 q = _mm_sub_ps(p, _mm_mul_ps(Lane<0>(dot), n));
  const __m128 qq = _mm_mul_ps(q, q);
  const __m128 start = LoadVector(record.spanStart);
  const __m128 end = LoadVector(record.spanEnd);
  const __m128 sums = FourSums(_mm_mul_ps(q, start), _mm_mul_ps(q, end), qq, qq);
  const float toStart = _mm_cvtss_f32(sums);
  const float toEnd = _mm_cvtss_f32(Lane<1>(sums));
  const float length = _mm_cvtss_f32(_mm_movehl_ps(sums, sums));
  const float limit = Limit(record.spanAngle, record.radiansPerPixel);
  return (toStart * toEnd < CosineBound(limit) * length - kAlongMargin ||
          toStart + toEnd < -kAlongMargin) &&
         limit < 3.1415F && limit > -3.1415F && IsShort(n) && IsShort(start) && IsShort(end);
}

}  // namespace veltra
