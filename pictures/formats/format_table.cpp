// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The table of picture formats.
#include "pictures/formats/format_table.h"

#include <algorithm>
#include <array>

#include "base/error.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

using namespace std::string_view_literals;
using enum SampleType;

template <class... Parts>
using Texts = std::array<std::string_view, sizeof...(Parts)>;

template <class... Parts>
constexpr Texts<Parts...> List(Parts... parts) {
  return {parts...};
}

constexpr auto kNoTexts = std::array<std::string_view, 0>{};

constexpr auto kPngSignatures = List("\x89PNG\r\n\x1a\n"sv);
constexpr auto kPngEndings = List(".png"sv);
constexpr auto kPngTypes = std::array{kUint8, kUint16};
constexpr auto kPngCompressions = List("none"sv, "fast"sv, "best"sv, "0"sv, "1"sv, "2"sv, "3"sv,
                                       "4"sv, "5"sv, "6"sv, "7"sv, "8"sv, "9"sv);

constexpr auto kTiffSignatures = List("II\x2a\0"sv, "MM\0\x2a"sv, "II\x2b\0"sv, "MM\0\x2b"sv);
constexpr auto kTiffEndings = List(".tif"sv, ".tiff"sv);
constexpr auto kTiffTypes = std::array{kUint8, kUint16, kHalf, kFloat};
constexpr auto kTiffCompressions =
    List("none"sv, "fast"sv, "best"sv, "lzw"sv, "deflate"sv, "packbits"sv);

constexpr auto kJpegSignatures = List("\xff\xd8\xff"sv);
constexpr auto kJpegEndings = List(".jpg"sv, ".jpeg"sv);
constexpr auto kJpegTypes = std::array{kUint8};

constexpr auto kExrSignatures = List("\x76\x2f\x31\x01"sv);
constexpr auto kExrEndings = List(".exr"sv);
constexpr auto kExrTypes = std::array{kHalf, kFloat};
constexpr auto kExrCompressions =
    List("none"sv, "fast"sv, "best"sv, "rle"sv, "zips"sv, "zip"sv, "piz"sv, "dwaa"sv, "dwab"sv);

constexpr auto kHdrSignatures = List("#?RADIANCE"sv, "#?RGBE"sv);
constexpr auto kHdrEndings = List(".hdr"sv);
constexpr auto kNoTypes = std::array<SampleType, 0>{};

constexpr auto kWebpSignatures = List("RIFF"sv);
constexpr auto kWebpEndings = List(".webp"sv);

constexpr auto kPamSignatures = List("P7\n"sv);
constexpr auto kPamEndings = List(".pam"sv);
constexpr auto kPamTypes = std::array{kUint8, kUint16};

/// Opens a file of a format that has nothing to select from.
template <auto kOpen>
std::unique_ptr<PictureReader> Plain(const ByteSource& source, const PictureSelection& selection) {
  if (!selection.channels.empty()) {
    throw RenderError("has no named channels (expected an OpenEXR file, or no --channels)");
  }
  return kOpen(source);
}

constexpr bool kAlpha = true;
constexpr bool kNoAlpha = false;
constexpr bool kMultiplied = true;
constexpr bool kStraight = false;

// clang-format off
constexpr std::array kFormats = {
    FormatRow{PictureFormat::kPng, "PNG", "PNG", kPngSignatures, kPngEndings, kPngTypes,
              kPngCompressions, kAlpha, kStraight, Plain<OpenPng>, CreatePng},
    FormatRow{PictureFormat::kTiff, "TIFF", "TIFF", kTiffSignatures, kTiffEndings, kTiffTypes,
              kTiffCompressions, kAlpha, kStraight, Plain<OpenTiff>, CreateTiff},
    FormatRow{PictureFormat::kJpeg, "JPEG", "JPEG", kJpegSignatures, kJpegEndings, kJpegTypes,
              kNoTexts, kNoAlpha, kStraight, Plain<OpenJpeg>, CreateJpeg},
    FormatRow{PictureFormat::kExr, "OpenEXR", "EXR", kExrSignatures, kExrEndings, kExrTypes,
              kExrCompressions, kAlpha, kMultiplied, OpenExr, CreateExr},
    FormatRow{PictureFormat::kHdr, "Radiance HDR", "HDR", kHdrSignatures, kHdrEndings, kNoTypes,
              kNoTexts, kNoAlpha, kStraight, Plain<OpenHdr>, nullptr},
    FormatRow{PictureFormat::kWebp, "WebP", "WebP", kWebpSignatures, kWebpEndings, kNoTypes,
              kNoTexts, kAlpha, kStraight, Plain<OpenWebp>, nullptr},
    FormatRow{PictureFormat::kPam, "PAM", "PAM", kPamSignatures, kPamEndings, kPamTypes,
              kNoTexts, kAlpha, kStraight, Plain<OpenPam>, CreatePam},
};
// clang-format on

constexpr bool InOrder() {
  for (std::size_t i = 0; i < kFormats.size(); ++i) {
    if (static_cast<std::size_t>(kFormats[i].format) != i) {
      return false;
    }
  }
  return true;
}
static_assert(InOrder() && kFormats.size() == kPictureFormatCount,
              "a row for each enumerator, in their order");

}  // namespace

std::span<const FormatRow> Formats() {
  return kFormats;
}

const FormatRow& RowOf(PictureFormat format) {
  return kFormats[static_cast<std::size_t>(format)];
}

}  // namespace veltra::pictures
