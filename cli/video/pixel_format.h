// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What ffmpeg's names of pixel formats mean.
#pragma once

#include <string>
#include <string_view>

namespace veltra::cli {

/// How finely colour is sampled against brightness.
enum class Chroma { k420, k422, k444 };

/// What a video's pixels can hold.
struct PixelFormat {
  Chroma chroma = Chroma::k444;
  int bits = 8;  ///< per channel
  bool alpha = false;
  bool rgb = false;  ///< has no matrix to convert with

  bool operator==(const PixelFormat&) const = default;
};

/// The format of this name. `rawBits` is what ffprobe calls bits_per_raw_sample, for names that do
/// not tell; formats coarser than 4:2:0 count as 4:2:0, grey as 4:2:0.
PixelFormat FormatNamed(std::string_view name, std::string_view rawBits = "");

/// "10-bit 4:2:2", "8-bit 4:4:4 with alpha".
std::string FormatText(const PixelFormat& format);

}  // namespace veltra::cli
