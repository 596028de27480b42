// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// One loop per pair of a file's samples and a world's, written once.
#include "pictures/picture_rows.h"

#include <half.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace veltra::pictures {
namespace {

// ---- The kinds of sample, with their full scale ----

struct File8 {
  using Type = std::uint8_t;
  static constexpr std::uint32_t kFull = 255;
};
struct File16 {
  using Type = std::uint16_t;
  static constexpr std::uint32_t kFull = 65535;
};
struct FileHalf {
  using Type = std::uint16_t;
};
struct FileFloat {
  using Type = float;
};
struct World8 : File8 {
  using Pixel = PF_Pixel8;
};
struct World16 {
  using Type = std::uint16_t;
  using Pixel = PF_Pixel16;
  static constexpr std::uint32_t kFull = 32768;
};
struct WorldFloat : FileFloat {
  using Pixel = PF_PixelFloat;
};

template <class Kind>
inline constexpr bool kIsFloat = std::is_same_v<typename Kind::Type, float>;

template <class To, class From>
constexpr bool SameScale() {
  if constexpr (kIsFloat<To> || kIsFloat<From>) {
    return kIsFloat<To> && kIsFloat<From>;
  } else {
    return To::kFull == From::kFull;
  }
}

/// Alpha of a pixel whose file has light there and no coverage. Zero for every calculation, but
/// the sign tells it from a pixel that something else left without alpha: colour is written back
/// as it was read under this one, and as black under the other, where it is only a memory.
constexpr float kOwnLight = -0.0F;
constexpr std::uint16_t kNegativeZeroHalf = 0x8000;

/// One sample from one scale to another, rounded to nearest.
template <class To, class From>
typename To::Type Rescale(typename From::Type value) {
  if constexpr (std::is_same_v<To, FileHalf>) {
    constexpr float kLargestHalf = 65504.0F;
    const float wide = Rescale<FileFloat, From>(value);
    return imath_float_to_half(std::isfinite(wide) ? std::clamp(wide, -kLargestHalf, kLargestHalf)
                                                   : wide);
  } else if constexpr (SameScale<To, From>()) {
    return value;
  } else if constexpr (kIsFloat<From>) {
    // In this order NaN becomes 0. Product and sum are exact in double and not negative, so that
    // cutting off rounds rightly, and ties are real ties.
    const float clamped = value > 0.0F ? (value < 1.0F ? value : 1.0F) : 0.0F;
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): see above; lround is several times slower
    return static_cast<typename To::Type>(static_cast<double>(clamped) * To::kFull + 0.5);
  } else if constexpr (kIsFloat<To>) {
    return static_cast<float>(value) / static_cast<float>(From::kFull);
  } else {
    return static_cast<typename To::Type>((value * To::kFull + From::kFull / 2) / From::kFull);
  }
}

template <class From>
constexpr typename From::Type FullScale() {
  if constexpr (kIsFloat<From>) {
    return 1.0F;
  } else {
    return From::kFull;
  }
}

/// 2^40 / d, rounded up. n / d is (n * that) >> 40 for all n < 2^16, since the rounding adds less
/// than n * d / 2^40 < 1 / d to the quotient.
constexpr unsigned kReciprocalBits = 40;
constexpr std::array<std::uint64_t, 256> kReciprocals = [] {
  std::array<std::uint64_t, 256> reciprocals{};
  for (std::uint64_t d = 1; d < reciprocals.size(); ++d) {
    reciprocals[d] = ((std::uint64_t{1} << kReciprocalBits) + d - 1) / d;
  }
  return reciprocals;
}();

template <class Kind>
std::uint32_t QuotientOf(std::uint32_t scaled, typename Kind::Type alpha) {
  if constexpr (std::is_same_v<Kind, File8>) {
    return static_cast<std::uint32_t>(scaled * kReciprocals[alpha] >> kReciprocalBits);
  } else {
    return scaled / alpha;
  }
}

/// Colour divided by the alpha it was multiplied by. With no alpha there is nothing to divide by,
/// and light without coverage, as OpenEXR has it, keeps its value.
template <class Kind>
typename Kind::Type Divide(typename Kind::Type colour, typename Kind::Type alpha) {
  if constexpr (kIsFloat<Kind>) {
    if (!(alpha != 0.0F) || !std::isfinite(alpha)) {
      return colour;
    }
    const float quotient = colour / alpha;
    constexpr float kMost = std::numeric_limits<float>::max();
    return std::isfinite(colour) ? std::clamp(quotient, -kMost, kMost) : quotient;
  } else {
    if (alpha == 0) {
      return colour;
    }
    // Fits 32 bits: 65535 * 65535 + 65535 / 2 is less than 2^32.
    const std::uint32_t scaled = std::uint32_t{colour} * Kind::kFull + alpha / 2U;
    return static_cast<typename Kind::Type>(std::min(Kind::kFull, QuotientOf<Kind>(scaled, alpha)));
  }
}

// ---- Reading ----

template <class To, class From, int kChannels, bool kPremultiplied>
void Unpack(const std::byte* row, int count, std::byte* pixels) {
  constexpr bool kAlpha = kChannels == 2 || kChannels == 4;
  constexpr int kColours = kChannels < 3 ? 1 : 3;
  const auto* in = reinterpret_cast<const typename From::Type*>(row);
  auto* out = reinterpret_cast<typename To::Pixel*>(pixels);
  for (int x = 0; x < count; ++x, in += kChannels) {
    const typename From::Type alpha = kAlpha ? in[kColours] : FullScale<From>();
    std::array<typename From::Type, 3> colour = {in[0], in[kColours == 1 ? 0 : 1],
                                                 in[kColours == 1 ? 0 : 2]};
    if (kPremultiplied && alpha != FullScale<From>()) {
      for (auto& channel : colour) {
        channel = Divide<From>(channel, alpha);
      }
    }
    out[x] = {Rescale<To, From>(alpha), Rescale<To, From>(colour[0]), Rescale<To, From>(colour[1]),
              Rescale<To, From>(colour[2])};
    if constexpr (kPremultiplied && kIsFloat<To> && kIsFloat<From>) {
      if (alpha == 0.0F) {
        out[x].alpha = kOwnLight;
      }
    }
  }
}

/// Four bytes at a time: the same channels, alpha last in the file and first in the world.
void RotateRgba8(const std::byte* row, int count, std::byte* pixels) {
  constexpr int kByte = 8;
  for (std::size_t x = 0; x < static_cast<std::size_t>(count); ++x) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, row + 4 * x, sizeof(pixel));
    pixel = std::endian::native == std::endian::little ? std::rotl(pixel, kByte)
                                                       : std::rotr(pixel, kByte);
    std::memcpy(pixels + 4 * x, &pixel, sizeof(pixel));
  }
}

bool AllOpaque(const std::byte* rgba, std::size_t count) {
  auto alphas = std::byte{0xFF};
  for (std::size_t x = 0; x < count; ++x) {
    alphas &= rgba[4 * x + 3];
  }
  return alphas == std::byte{0xFF};
}

/// Most of a picture is opaque as a rule, and there nothing is to be divided.
void UnpackPremultipliedRgba8(const std::byte* row, int count, std::byte* pixels) {
  constexpr int kStretch = 32;
  for (int x = 0; x < count; x += kStretch) {
    const int stretch = std::min(kStretch, count - x);
    const std::size_t at = 4 * static_cast<std::size_t>(x);
    if (AllOpaque(row + at, static_cast<std::size_t>(stretch))) {
      RotateRgba8(row + at, stretch, pixels + at);
    } else {
      Unpack<World8, File8, 4, true>(row + at, stretch, pixels + at);
    }
  }
}

template <class To, class From, int kChannels>
void UnpackAlpha(const PictureInfo& info, const std::byte* row, std::byte* pixels) {
  if (info.premultiplied && (kChannels == 2 || kChannels == 4)) {
    Unpack<To, From, kChannels, true>(row, info.width, pixels);
  } else {
    Unpack<To, From, kChannels, false>(row, info.width, pixels);
  }
}

template <class To, class From>
void UnpackChannels(const PictureInfo& info, const std::byte* row, std::byte* pixels) {
  switch (info.channels) {
    case 1:
      UnpackAlpha<To, From, 1>(info, row, pixels);
      break;
    case 2:
      UnpackAlpha<To, From, 2>(info, row, pixels);
      break;
    case 3:
      UnpackAlpha<To, From, 3>(info, row, pixels);
      break;
    default:
      if (std::is_same_v<To, World8> && std::is_same_v<From, File8>) {
        info.premultiplied ? UnpackPremultipliedRgba8(row, info.width, pixels)
                           : RotateRgba8(row, info.width, pixels);
      } else {
        UnpackAlpha<To, From, 4>(info, row, pixels);
      }
  }
}

template <class To>
void UnpackSamples(const PictureInfo& info, const std::byte* row, std::byte* pixels) {
  switch (info.rowType) {
    case SampleType::kUint8:
      UnpackChannels<To, File8>(info, row, pixels);
      break;
    case SampleType::kUint16:
      UnpackChannels<To, File16>(info, row, pixels);
      break;
    case SampleType::kHalf:  // comes as float
    case SampleType::kFloat:
      UnpackChannels<To, FileFloat>(info, row, pixels);
  }
}

// ---- Writing ----

template <class To, class From, bool kAlpha, bool kPremultiplied>
void Pack(const std::byte* pixels, int count, std::byte* row) {
  constexpr int kChannels = kAlpha ? 4 : 3;
  const auto* in = reinterpret_cast<const typename From::Pixel*>(pixels);
  auto* out = reinterpret_cast<typename To::Type*>(row);
  for (int x = 0; x < count; ++x, out += kChannels) {
    const typename From::Pixel pixel = in[x];
    if constexpr (kPremultiplied) {
      float alpha = Rescale<FileFloat, From>(pixel.alpha);
      if (alpha == 0.0F && std::signbit(alpha)) {
        alpha = 1.0F;
      }
      const auto multiplied = [alpha](typename From::Type channel) {
        return Rescale<To, FileFloat>(Rescale<FileFloat, From>(channel) * alpha);
      };
      out[0] = multiplied(pixel.red);
      out[1] = multiplied(pixel.green);
      out[2] = multiplied(pixel.blue);
    } else {
      out[0] = Rescale<To, From>(pixel.red);
      out[1] = Rescale<To, From>(pixel.green);
      out[2] = Rescale<To, From>(pixel.blue);
    }
    if constexpr (kAlpha) {
      out[3] = Rescale<To, From>(pixel.alpha);
      if constexpr (kIsFloat<To>) {
        out[3] += 0.0F;  // no sign at zero
      } else if constexpr (std::is_same_v<To, FileHalf>) {
        out[3] = out[3] == kNegativeZeroHalf ? typename To::Type{0} : out[3];
      }
    }
  }
}

void PackRgba8(const std::byte* pixels, int count, std::byte* row) {
  constexpr int kByte = 8;
  for (std::size_t x = 0; x < static_cast<std::size_t>(count); ++x) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, pixels + 4 * x, sizeof(pixel));
    pixel = std::endian::native == std::endian::little ? std::rotr(pixel, kByte)
                                                       : std::rotl(pixel, kByte);
    std::memcpy(row + 4 * x, &pixel, sizeof(pixel));
  }
}

template <class To, class From>
void PackAlpha(const std::byte* pixels, int count, const PackedRow& format, std::byte* row) {
  if (std::is_same_v<To, File8> && std::is_same_v<From, World8> && format.alpha &&
      !format.premultiplied) {
    PackRgba8(pixels, count, row);
  } else if (format.alpha) {
    format.premultiplied ? Pack<To, From, true, true>(pixels, count, row)
                         : Pack<To, From, true, false>(pixels, count, row);
  } else {
    format.premultiplied ? Pack<To, From, false, true>(pixels, count, row)
                         : Pack<To, From, false, false>(pixels, count, row);
  }
}

template <class From>
void PackSamples(const std::byte* pixels, int count, const PackedRow& format, std::byte* row) {
  switch (format.stored) {
    case SampleType::kUint8:
      PackAlpha<File8, From>(pixels, count, format, row);
      break;
    case SampleType::kUint16:
      PackAlpha<File16, From>(pixels, count, format, row);
      break;
    case SampleType::kHalf:
      PackAlpha<FileHalf, From>(pixels, count, format, row);
      break;
    case SampleType::kFloat:
      PackAlpha<FileFloat, From>(pixels, count, format, row);
  }
}

}  // namespace

bool IsOwnLight(const PF_PixelFloat& pixel) {
  return pixel.alpha == 0.0F && std::signbit(pixel.alpha) &&
         (pixel.red != 0.0F || pixel.green != 0.0F || pixel.blue != 0.0F);
}

void UnpackRow(const PictureInfo& info, const std::byte* row, host::Depth depth,
               std::byte* pixels) {
  switch (depth) {
    case host::Depth::k8:
      UnpackSamples<World8>(info, row, pixels);
      break;
    case host::Depth::k16:
      UnpackSamples<World16>(info, row, pixels);
      break;
    case host::Depth::kFloat:
      UnpackSamples<WorldFloat>(info, row, pixels);
  }
}

void PackRow(host::Depth depth, const std::byte* pixels, int count, const PackedRow& format,
             std::byte* row) {
  switch (depth) {
    case host::Depth::k8:
      PackSamples<World8>(pixels, count, format, row);
      break;
    case host::Depth::k16:
      PackSamples<World16>(pixels, count, format, row);
      break;
    case host::Depth::kFloat:
      PackSamples<WorldFloat>(pixels, count, format, row);
  }
}

}  // namespace veltra::pictures
