// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sums of premultiplied pixels, each in the type that adds them fastest without loss.
#pragma once

#include "host/pixel_maths.h"

namespace veltra::host {

/// Sums as doubles: exact for 16 bit (65536 products of 32 bits), the best there is for floats.
/// Plain additions only: taking sums apart again would lose small values beside large ones, and
/// one infinite pixel would spoil everything after it.
template <class Pixel>
class PixelSum {
 public:
  static PixelSum Of(const Pixel& pixel) {
    PixelSum sum;
    sum.Add(pixel);
    return sum;
  }

  void Add(const Pixel& pixel) { lanes_ = lanes_ + LoadPremultiplied(pixel); }
  void Add(const PixelSum& other) { lanes_ = lanes_ + other.lanes_; }

  void AddRun(const Pixel* first, const Pixel* last) {
    for (; first != last; ++first) {
      Add(*first);
    }
  }

  void AddRun(const PixelSum* first, const PixelSum* last) {
    for (; first != last; ++first) {
      Add(*first);
    }
  }

  Lanes ToLanes() const { return lanes_; }

 private:
  Lanes lanes_ = ZeroLanes();
};

/// 8 bit in 32-bit integers: the largest box of 65536 pixels still fits, since 65536 x 255 x 255
/// is less than 2^32.
template <>
class PixelSum<PF_Pixel8> {
 public:
  static PixelSum Of(const PF_Pixel8& pixel) {
    PixelSum sum;
    sum.Add(pixel);
    return sum;
  }

  void Add(const PF_Pixel8& pixel) {
    std::int32_t word = 0;
    std::memcpy(&word, &pixel, sizeof word);
    const __m128i zero = _mm_setzero_si128();
    const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero);
    AddPairs(_mm_unpacklo_epi16(words, zero));
  }

  void Add(const PixelSum& other) { sums_ = _mm_add_epi32(sums_, other.sums_); }

  void AddRun(const PF_Pixel8* first, const PF_Pixel8* last) {
    const __m128i zero = _mm_setzero_si128();
    for (; last - first >= 4; first += 4) {
      const __m128i four = LoadFour(first);
      const __m128i low = _mm_unpacklo_epi8(four, zero);
      const __m128i high = _mm_unpackhi_epi8(four, zero);
      AddPairs(_mm_unpacklo_epi16(low, high));
      AddPairs(_mm_unpackhi_epi16(low, high));
    }
    for (; first != last; ++first) {
      Add(*first);
    }
  }

  void AddRun(const PixelSum* first, const PixelSum* last) {
    for (; first != last; ++first) {
      Add(*first);
    }
  }

  Lanes ToLanes() const {
    // The conversion is of signed numbers: shift the range down before it and up again after.
    const __m128i shifted = _mm_xor_si128(sums_, _mm_set1_epi32(std::int32_t{-2147483647 - 1}));
    const __m128d offset = _mm_set1_pd(2147483648.0);
    const Lanes lanes = LanesOfInts(shifted);
    return {_mm_add_pd(lanes.alphaRed, offset), _mm_add_pd(lanes.greenBlue, offset)};
  }

 private:
  static __m128i LoadFour(const PF_Pixel8* pixels) {
    return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(pixels)));
  }

  /// Takes two pixels with their channels side by side, A0 A1 R0 R1 G0 G1 B0 B1, and adds
  /// A0 + A1, R0 A0 + R1 A1 and so on.
  void AddPairs(__m128i channels) {
    const __m128i notAlpha = _mm_set_epi32(-1, -1, -1, 0);
    const __m128i ones = _mm_set_epi32(0, 0, 0, 0x00010001);
    const __m128i alphas = _mm_shuffle_epi32(channels, 0);
    const __m128i factors = _mm_or_si128(_mm_and_si128(alphas, notAlpha), ones);
    sums_ = _mm_add_epi32(sums_, _mm_madd_epi16(channels, factors));
  }

  __m128i sums_ = _mm_setzero_si128();
};

}  // namespace veltra::host
