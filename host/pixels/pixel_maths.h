// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Alpha-weighted sums of pixels in two SSE2 registers, with the same bits on every platform.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "host_api/types.h"

namespace veltra::host {

/// Four channels as doubles: alpha and red, green and blue.
struct Lanes {
  __m128d alphaRed;
  __m128d greenBlue;
};

inline Lanes ZeroLanes() {
  return {_mm_setzero_pd(), _mm_setzero_pd()};
}

inline Lanes operator+(Lanes a, Lanes b) {
  return {_mm_add_pd(a.alphaRed, b.alphaRed), _mm_add_pd(a.greenBlue, b.greenBlue)};
}

inline Lanes operator*(Lanes a, double factor) {
  const __m128d both = _mm_set1_pd(factor);
  return {_mm_mul_pd(a.alphaRed, both), _mm_mul_pd(a.greenBlue, both)};
}

inline Lanes LanesOfInts(__m128i fourInts) {
  return {_mm_cvtepi32_pd(fourInts), _mm_cvtepi32_pd(_mm_unpackhi_epi64(fourInts, fourInts))};
}

inline Lanes Load(const PF_Pixel8& pixel) {
  std::int32_t word = 0;
  std::memcpy(&word, &pixel, sizeof word);
  const __m128i zero = _mm_setzero_si128();
  const __m128i bytes = _mm_cvtsi32_si128(word);
  return LanesOfInts(_mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero));
}

inline Lanes Load(const PF_Pixel16& pixel) {
  std::int64_t word = 0;
  std::memcpy(&word, &pixel, sizeof word);
  return LanesOfInts(_mm_unpacklo_epi16(_mm_cvtsi64_si128(word), _mm_setzero_si128()));
}

inline Lanes Load(const PF_PixelFloat& pixel) {
  // Two halves, since a conversion straight from memory needs no shuffle.
  double halves[2];
  std::memcpy(halves, &pixel, sizeof halves);
  return {_mm_cvtps_pd(_mm_castpd_ps(_mm_set_sd(halves[0]))),
          _mm_cvtps_pd(_mm_castpd_ps(_mm_set_sd(halves[1])))};
}

/// Unsigned 32-bit numbers: each becomes the low half of 2^52, which is then taken off.
inline Lanes LanesOfUnsigned(__m128i fourInts) {
  const __m128i exponent = _mm_set1_epi32(0x43300000);
  const __m128d offset = _mm_set1_pd(4503599627370496.0);
  return {_mm_sub_pd(_mm_castsi128_pd(_mm_unpacklo_epi32(fourInts, exponent)), offset),
          _mm_sub_pd(_mm_castsi128_pd(_mm_unpackhi_epi32(fourInts, exponent)), offset)};
}

/// Colour times alpha, alpha as it is. The product of two channels is exact in a double.
inline Lanes Premultiplied(Lanes straight) {
  const __m128d alpha = _mm_unpacklo_pd(straight.alphaRed, straight.alphaRed);
  const __m128d oneAlpha = _mm_unpacklo_pd(_mm_set_sd(1.0), straight.alphaRed);
  return {_mm_mul_pd(straight.alphaRed, oneAlpha), _mm_mul_pd(straight.greenBlue, alpha)};
}

/// The same of a pixel, which counts for nothing without alpha even if its colour is infinite or
/// NaN.
template <class Pixel>
Lanes LoadPremultiplied(const Pixel& pixel) {
  const Lanes straight = Load(pixel);
  Lanes product = Premultiplied(straight);
  if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
    const __m128d alpha = _mm_unpacklo_pd(straight.alphaRed, straight.alphaRed);
    const __m128d visible = _mm_cmpneq_pd(alpha, _mm_setzero_pd());
    product = {_mm_and_pd(visible, product.alphaRed), _mm_and_pd(visible, product.greenBlue)};
  }
  return product;
}

inline bool AnyNan(Lanes lanes) {
  return _mm_movemask_pd(_mm_or_pd(_mm_cmpunord_pd(lanes.alphaRed, lanes.alphaRed),
                                   _mm_cmpunord_pd(lanes.greenBlue, lanes.greenBlue))) != 0;
}

/// Two neighbours, premultiplied, with weights 65536 - fx and fx of 65536; 0 < fx < 65536.
template <class Pixel>
Lanes WeightedPair(const Pixel* pair, std::int32_t fx) {
  const double right = fx;
  return LoadPremultiplied(pair[0]) * (65536.0 - right) + LoadPremultiplied(pair[1]) * right;
}

/// In integers for 8 bit: products of colour and alpha fit 16 bits, weighted ones 32.
inline Lanes WeightedPair(const PF_Pixel8* pair, std::int32_t fx) {
  std::int64_t bytes = 0;
  std::memcpy(&bytes, pair, sizeof bytes);
  const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi64_si128(bytes), _mm_setzero_si128());
  const __m128i notAlpha = _mm_set_epi16(-1, -1, -1, 0, -1, -1, -1, 0);
  const __m128i ones = _mm_set_epi16(0, 0, 0, 1, 0, 0, 0, 1);
  const __m128i alphas = _mm_shufflehi_epi16(_mm_shufflelo_epi16(words, 0), 0);
  const __m128i factors = _mm_or_si128(_mm_and_si128(alphas, notAlpha), ones);
  const __m128i products = _mm_mullo_epi16(words, factors);
  const __m128i both = _mm_cvtsi32_si128((65536 - fx) | (fx << 16));
  const __m128i weights = _mm_shuffle_epi32(_mm_shufflelo_epi16(both, 0x50), 0x50);
  const __m128i low = _mm_mullo_epi16(products, weights);
  const __m128i high = _mm_mulhi_epu16(products, weights);
  return LanesOfUnsigned(
      _mm_add_epi32(_mm_unpacklo_epi16(low, high), _mm_unpackhi_epi16(low, high)));
}

/// Rounds to nearest, halves up, to the depth's integers; the values are never negative.
inline __m128i RoundedInts(Lanes pixel) {
  const __m128d half = _mm_set1_pd(0.5);
  return _mm_unpacklo_epi64(_mm_cvttpd_epi32(_mm_add_pd(pixel.alphaRed, half)),
                            _mm_cvttpd_epi32(_mm_add_pd(pixel.greenBlue, half)));
}

inline void Store(Lanes pixel, PF_Pixel8& out) {
  const __m128i ints = RoundedInts(pixel);
  const __m128i words = _mm_packs_epi32(ints, ints);
  const std::int32_t word = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
  std::memcpy(&out, &word, sizeof word);
}

inline void Store(Lanes pixel, PF_Pixel16& out) {
  // The pack saturates at the signed 32767, so values travel shifted down by half their range.
  const __m128i shifted = _mm_sub_epi32(RoundedInts(pixel), _mm_set1_epi32(32768));
  const __m128i words = _mm_xor_si128(_mm_packs_epi32(shifted, shifted), _mm_set1_epi16(-32768));
  const std::int64_t word = _mm_cvtsi128_si64(words);
  std::memcpy(&out, &word, sizeof word);
}

inline void Store(Lanes pixel, PF_PixelFloat& out) {
  _mm_storeu_ps(reinterpret_cast<float*>(&out),
                _mm_movelh_ps(_mm_cvtpd_ps(pixel.alphaRed), _mm_cvtpd_ps(pixel.greenBlue)));
}

/// The straight pixel of a weighted, premultiplied sum over a total weight. No alpha, or an alpha
/// that is NaN, is transparent black.
template <class Pixel>
Pixel StraightAverage(Lanes sum, double totalWeight) {
  Pixel out{};
  const double alpha = _mm_cvtsd_f64(sum.alphaRed);
  if (alpha > 0) {
    const __m128d byAlpha = _mm_set1_pd(alpha);
    const __m128d weightAlpha = _mm_set_pd(alpha, totalWeight);
    Store(Lanes{_mm_div_pd(sum.alphaRed, weightAlpha), _mm_div_pd(sum.greenBlue, byAlpha)}, out);
  }
  return out;
}

/// As StraightAverage over a weight of 2^32, which makes the division of opaque pixels of 16 bit
/// and float one by a power of two: its reciprocal gives the same bits sooner.
template <class Pixel>
Pixel StraightAverageOfFour(Lanes sum) {
  constexpr double kWeight = 4294967296.0;
  if constexpr (!std::is_same_v<Pixel, PF_Pixel8>) {
    constexpr double kOpaque =
        kWeight * (std::is_same_v<Pixel, PF_Pixel16> ? double{PF_MAX_CHAN16} : 1.0);
    if (_mm_cvtsd_f64(sum.alphaRed) == kOpaque) {
      Pixel out{};
      Store(Lanes{_mm_mul_pd(sum.alphaRed, _mm_set_pd(1 / kOpaque, 1 / kWeight)),
                  _mm_mul_pd(sum.greenBlue, _mm_set1_pd(1 / kOpaque))},
            out);
      return out;
    }
  }
  return StraightAverage<Pixel>(sum, kWeight);
}

/// Accumulates pixels with weights and gives the straight average back.
class WeightedSum {
 public:
  template <class Pixel>
  void Add(const Pixel& pixel, double weight) {
    sum_ = sum_ + LoadPremultiplied(pixel) * weight;
  }

  template <class Pixel>
  Pixel Average(double totalWeight) const {
    return StraightAverage<Pixel>(sum_, totalWeight);
  }

 private:
  Lanes sum_ = ZeroLanes();
};

}  // namespace veltra::host
