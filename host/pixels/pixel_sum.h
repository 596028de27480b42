// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sums of premultiplied pixels, each depth in the arithmetic that adds it fastest without loss.
#pragma once

#include "host/pixels/pixel_maths.h"

namespace veltra::host {

template <class Pixel>
__m128i LoadUnaligned(const Pixel* pixels) {
  return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(pixels)));
}

/// From the 16-bit channels A0 R0 G0 B0 A1 R1 G1 B1 to A0 A1 R0 R1 G0 G1 B0 B1.
inline __m128i SideBySide(__m128i twoPixels) {
  return _mm_unpacklo_epi16(twoPixels, _mm_srli_si128(twoPixels, 8));
}

/// The sum of a block of pixels, as it is kept: colour times alpha, and alpha.
template <class Pixel>
struct BlockSum {
  Lanes lanes;
};

template <>
struct BlockSum<PF_Pixel8> {
  __m128i ints;
};

/// A running sum of pixels and of blocks. Plain additions only: taking sums apart again would
/// lose small floats beside large ones, and one infinite pixel would spoil everything after it.
/// The order of the additions depends on nothing but the runs that are added.
///
/// A pixel counts for nothing without alpha, whatever its colour. Where a float one's is infinite
/// or NaN, only a careful sum sees to that; the other then comes out as NaN.
template <class Pixel, bool kCareful = false>
class PixelSum;

// ---- 8 bit ----

/// 32-bit integers: the largest box of 65536 pixels still fits, since 65536 x 255 x 255 is less
/// than 2^32.
template <bool kCareful>
class PixelSum<PF_Pixel8, kCareful> {
 public:
  static constexpr bool kAnyOrder = true;  ///< gives the same bits
  using Block = BlockSum<PF_Pixel8>;

  void Add(const PF_Pixel8& pixel) {
    std::int32_t word = 0;
    std::memcpy(&word, &pixel, sizeof word);
    const __m128i zero = _mm_setzero_si128();
    AddPair(_mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero), zero));
  }

  void AddRun(const PF_Pixel8* first, const PF_Pixel8* last) {
    const __m128i zero = _mm_setzero_si128();
    for (; last - first >= 8; first += 8) {
      AddEight(LoadUnaligned(first), LoadUnaligned(first + 4));
    }
    for (; last - first >= 4; first += 4) {
      const __m128i four = LoadUnaligned(first);
      AddPair(SideBySide(_mm_unpacklo_epi8(four, zero)));
      AddPair(SideBySide(_mm_unpackhi_epi8(four, zero)));
    }
    if (last - first >= 2) {
      std::int64_t two = 0;
      std::memcpy(&two, first, sizeof two);
      AddPair(SideBySide(_mm_unpacklo_epi8(_mm_cvtsi64_si128(two), zero)));
      first += 2;
    }
    if (first != last) {
      Add(*first);
    }
  }

  void AddBlock(const Block& block) { sums_ = _mm_add_epi32(sums_, block.ints); }

  Block ToBlock() const { return {sums_}; }
  Lanes ToLanes() const { return LanesOfUnsigned(sums_); }

 private:
  /// Takes eight pixels, four in each.
  void AddEight(__m128i a, __m128i b) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(a, b);
    const __m128i high = _mm_unpackhi_epi8(a, b);
    const int opaque = _mm_movemask_epi8(
        _mm_cmpeq_epi8(_mm_and_si128(a, b), _mm_set1_epi8(static_cast<char>(0xFF))));
    if ((opaque & 0x1111) == 0x1111) {
      // Every product is 255 times the channel: add the channels first.
      const __m128i words =
          _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpackhi_epi8(a, zero)),
                        _mm_add_epi16(_mm_unpacklo_epi8(b, zero), _mm_unpackhi_epi8(b, zero)));
      const __m128i factors = _mm_set_epi32(0x00FF00FF, 0x00FF00FF, 0x00FF00FF, 0x00010001);
      sums_ = _mm_add_epi32(sums_, _mm_madd_epi16(SideBySide(words), factors));
      return;
    }
    AddPair(_mm_unpacklo_epi8(low, zero));
    AddPair(_mm_unpackhi_epi8(low, zero));
    AddPair(_mm_unpacklo_epi8(high, zero));
    AddPair(_mm_unpackhi_epi8(high, zero));
  }

  /// Takes two pixels with their channels side by side and adds A0 + A1, R0 A0 + R1 A1 and so on.
  void AddPair(__m128i channels) {
    const __m128i notAlpha = _mm_set_epi32(-1, -1, -1, 0);
    const __m128i ones = _mm_set_epi32(0, 0, 0, 0x00010001);
    const __m128i alphas = _mm_shuffle_epi32(channels, 0);
    const __m128i factors = _mm_or_si128(_mm_and_si128(alphas, notAlpha), ones);
    sums_ = _mm_add_epi32(sums_, _mm_madd_epi16(channels, factors));
  }

  __m128i sums_ = _mm_setzero_si128();
};

// ---- 16 bit ----

/// Whole numbers throughout, exact in the doubles that come out: 65536 x 2^30 is far below 2^53.
/// The multiplication is of signed 16-bit numbers, so channels are shifted down by h, half their
/// full scale: with c = c' + h and a = a' + h,
///   sum(c a) = sum(c' a') + h (sum c' + sum a') + n h h.
/// Channels above full scale, which no proper image has, count as full scale.
template <bool kCareful>
class PixelSum<PF_Pixel16, kCareful> {
 public:
  static constexpr bool kAnyOrder = true;
  using Block = BlockSum<PF_Pixel16>;

  void Add(const PF_Pixel16& pixel) {
    std::int64_t word = 0;
    std::memcpy(&word, &pixel, sizeof word);
    // The missing second pixel is all zero after the shift, so that it adds nothing.
    AddPair(SideBySide(_mm_move_epi64(Shifted(_mm_cvtsi64_si128(word)))));
    ++count_;
  }

  void AddRun(const PF_Pixel16* first, const PF_Pixel16* last) {
    count_ += static_cast<std::int32_t>((last - first) & ~std::ptrdiff_t{1});
    for (; last - first >= 8; first += 8) {
      AddEight(first);
    }
    for (; last - first >= 2; first += 2) {
      AddPair(SideBySide(Shifted(LoadUnaligned(first))));
    }
    if (first != last) {
      Add(*first);
    }
  }

  void AddBlock(const Block& block) { blocks_ = blocks_ + block.lanes; }

  Block ToBlock() const { return {ToLanes()}; }

  Lanes ToLanes() const {
    const Lanes shifted = LanesOfInts(shifted_);
    const __m128d alpha = _mm_unpacklo_pd(shifted.alphaRed, shifted.alphaRed);
    const __m128d noneAlpha = _mm_unpacklo_pd(_mm_setzero_pd(), shifted.alphaRed);
    const double squares = count_ * kHalf * kHalf;
    // The alpha lane has no products: only its own sum and each pixel's shift.
    const Lanes shift{_mm_set_pd(squares, count_ * kHalf), _mm_set1_pd(squares)};
    const Lanes mixed{_mm_mul_pd(_mm_add_pd(shifted.alphaRed, noneAlpha), _mm_set_pd(kHalf, 1.0)),
                      _mm_mul_pd(_mm_add_pd(shifted.greenBlue, alpha), _mm_set1_pd(kHalf))};
    return blocks_ + (Lanes{DoublesOf(red_), DoublesOf(greenBlue_)} + shift + mixed);
  }

 private:
  static constexpr double kHalf = 16384.0;

  static __m128i Shifted(__m128i channels) {
    const __m128i excess = _mm_subs_epu16(channels, _mm_set1_epi16(-32768));
    return _mm_sub_epi16(_mm_sub_epi16(channels, excess), _mm_set1_epi16(16384));
  }

  /// Of opaque pixels a' = h, so that sum(c' a') = h sum(c'): whole numbers either way.
  void AddEight(const PF_Pixel16* eight) {
    const __m128i a = Shifted(LoadUnaligned(eight));
    const __m128i b = Shifted(LoadUnaligned(eight + 2));
    const __m128i c = Shifted(LoadUnaligned(eight + 4));
    const __m128i d = Shifted(LoadUnaligned(eight + 6));
    const __m128i least = _mm_min_epi16(_mm_min_epi16(a, b), _mm_min_epi16(c, d));
    const int opaque = _mm_movemask_epi8(_mm_cmpeq_epi16(least, _mm_set1_epi16(16384)));
    const __m128i left = _mm_unpacklo_epi16(a, b);
    const __m128i right = _mm_unpackhi_epi16(a, b);
    const __m128i nextLeft = _mm_unpacklo_epi16(c, d);
    const __m128i nextRight = _mm_unpackhi_epi16(c, d);
    if ((opaque & 0x0303) != 0x0303) {
      AddPair(left);
      AddPair(right);
      AddPair(nextLeft);
      AddPair(nextRight);
      return;
    }
    const __m128i ones = _mm_set1_epi16(1);
    const __m128i sums = _mm_add_epi32(
        _mm_add_epi32(_mm_madd_epi16(left, ones), _mm_madd_epi16(right, ones)),
        _mm_add_epi32(_mm_madd_epi16(nextLeft, ones), _mm_madd_epi16(nextRight, ones)));
    shifted_ = _mm_add_epi32(shifted_, sums);
    const __m128i notAlpha = _mm_set_epi32(-1, -1, -1, 0);
    const __m128i colour = _mm_and_si128(sums, notAlpha);
    const __m128i signs = _mm_srai_epi32(colour, 31);
    red_ = _mm_add_epi64(red_, _mm_slli_epi64(_mm_unpacklo_epi32(colour, signs), 14));
    greenBlue_ = _mm_add_epi64(greenBlue_, _mm_slli_epi64(_mm_unpackhi_epi32(colour, signs), 14));
  }

  /// Takes two shifted pixels with their channels side by side.
  void AddPair(__m128i channels) {
    const __m128i notAlpha = _mm_set_epi32(-1, -1, -1, 0);
    const __m128i alphas = _mm_and_si128(_mm_shuffle_epi32(channels, 0), notAlpha);
    shifted_ = _mm_add_epi32(shifted_, _mm_madd_epi16(channels, _mm_set1_epi16(1)));
    const __m128i products = _mm_madd_epi16(channels, alphas);
    const __m128i signs = _mm_srai_epi32(products, 31);
    red_ = _mm_add_epi64(red_, _mm_unpacklo_epi32(products, signs));
    greenBlue_ = _mm_add_epi64(greenBlue_, _mm_unpackhi_epi32(products, signs));
  }

  /// Of signed 64-bit numbers, exact below 2^51: they are placed in the mantissa of 1.5 x 2^52.
  static __m128d DoublesOf(__m128i sums) {
    const __m128i bias = _mm_set1_epi64x(0x4338000000000000);
    return _mm_sub_pd(_mm_castsi128_pd(_mm_add_epi64(sums, bias)), _mm_set1_pd(6755399441055744.0));
  }

  __m128i red_ = _mm_setzero_si128();        ///< 64-bit sums of products: none, red
  __m128i greenBlue_ = _mm_setzero_si128();  ///< and green, blue
  __m128i shifted_ = _mm_setzero_si128();    ///< 32-bit sums of the shifted channels
  std::int32_t count_ = 0;                   ///< pixels in these sums
  Lanes blocks_ = ZeroLanes();
};

// ---- Float ----

/// Doubles; products of two floats are exact in them. Neighbours are added apart, since one
/// addition takes longer than all else of a pixel.
template <bool kCareful>
class PixelSum<PF_PixelFloat, kCareful> {
 public:
  static constexpr bool kAnyOrder = false;
  using Block = BlockSum<PF_PixelFloat>;

  void Add(const PF_PixelFloat& pixel) { even_ = even_ + ToAdd(pixel); }

  void AddRun(const PF_PixelFloat* first, const PF_PixelFloat* last) {
    for (; last - first >= 2; first += 2) {
      even_ = even_ + ToAdd(first[0]);
      odd_ = odd_ + ToAdd(first[1]);
    }
    if (first != last) {
      Add(*first);
    }
  }

  void AddBlock(const Block& block) { even_ = even_ + block.lanes; }

  Block ToBlock() const { return {ToLanes()}; }
  Lanes ToLanes() const { return even_ + odd_; }

 private:
  static Lanes ToAdd(const PF_PixelFloat& pixel) {
    return kCareful ? LoadPremultiplied(pixel) : Premultiplied(Load(pixel));
  }

  Lanes even_ = ZeroLanes();
  Lanes odd_ = ZeroLanes();
};

}  // namespace veltra::host
