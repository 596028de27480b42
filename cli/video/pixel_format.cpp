// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reads names such as yuva444p12le.
#include "cli/video/pixel_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "base/text.h"

namespace veltra::cli {
namespace {

bool Has(std::string_view name, std::string_view part) {
  return name.find(part) != std::string_view::npos;
}

/// A number of bits at the start of this text; zero where there is none that a channel can have.
int BitsAt(std::string_view text) {
  int bits = 0;
  std::from_chars(text.data(), text.data() + text.size(), bits);
  constexpr int kMostBits = 32;
  return bits >= 8 && bits <= kMostBits ? bits : 0;
}

/// The bits that a name tells; zero where it does not.
int BitsIn(std::string_view name) {
  // Both planes and their order in one word: p010le, p216be, y210le.
  for (const std::string_view packed : {"p0", "p2", "p4", "y2"}) {
    if (name.starts_with(packed)) {
      return BitsAt(name.substr(2));
    }
  }
  // All channels together.
  constexpr std::array<std::pair<std::string_view, int>, 6> kTotals = {
      {{"rgb48", 16}, {"bgr48", 16}, {"rgba64", 16}, {"bgra64", 16}, {"x2", 10}, {"ayuv64", 16}}};
  for (const auto& [start, bits] : kTotals) {
    if (name.starts_with(start)) {
      return bits;
    }
  }
  for (const std::string_view start : {"gray", "ya", "xyz"}) {
    if (name.starts_with(start) && !name.starts_with("yuv")) {
      return BitsAt(name.substr(start.size()));
    }
  }
  // After the p of "planar": yuv420p10le, gbrp12le, gbrpf32le.
  const std::size_t planar = name.find_last_of('p');
  if (planar == std::string_view::npos) {
    return 0;
  }
  std::string_view rest = name.substr(planar + 1);
  rest.remove_prefix(rest.starts_with('f') ? 1 : 0);
  return BitsAt(rest);
}

Chroma ChromaIn(std::string_view name) {
  constexpr std::array<std::string_view, 9> kCoarse = {"420", "410",  "411",  "nv12", "nv21",
                                                       "p01", "gray", "mono", "440"};
  constexpr std::array<std::string_view, 8> kMiddle = {"422",  "nv16", "nv20", "p21",
                                                       "y210", "y212", "uyvy", "yuyv"};
  const auto in = [name](const auto& list) {
    return std::any_of(list.begin(), list.end(),
                       [name](std::string_view part) { return Has(name, part); });
  };
  return in(kMiddle)                                                          ? Chroma::k422
         : in(kCoarse) || (name.starts_with("ya") && !name.starts_with("yu")) ? Chroma::k420
                                                                              : Chroma::k444;
}

}  // namespace

PixelFormat FormatNamed(std::string_view name, std::string_view rawBits) {
  PixelFormat format;
  format.chroma = ChromaIn(name);
  const int named = BitsIn(name);
  format.bits = std::max(named != 0 ? named : BitsAt(rawBits), 8);
  const bool hasAlphaName = Has(name, "yuva") || Has(name, "gbrap") || Has(name, "rgba") ||
                            Has(name, "bgra") || Has(name, "argb") || Has(name, "abgr") ||
                            name == "pal8" || name.starts_with("ya8") || name.starts_with("ya16") ||
                            Has(name, "vuya") || Has(name, "ayuv");
  format.alpha = hasAlphaName;
  format.rgb = Has(name, "rgb") || Has(name, "bgr") || Has(name, "gbr") || name == "pal8";
  return format;
}

std::string FormatText(const PixelFormat& format) {
  const char* chroma = "4:4:4";
  switch (format.chroma) {
    case Chroma::k420:
      chroma = "4:2:0";
      break;
    case Chroma::k422:
      chroma = "4:2:2";
      break;
    case Chroma::k444:
      break;
  }
  return Text(format.bits, "-bit ", chroma, format.alpha ? " with alpha" : "");
}

}  // namespace veltra::cli
