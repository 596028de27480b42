// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The header of PAM, Netpbm's raw frames: lines of names and values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pictures/formats/picture_types.h"

namespace veltra::pictures {

/// What a PAM frame begins with.
inline constexpr std::string_view kPamSignature = "P7\n";
/// No header is longer.
inline constexpr std::size_t kMostPamHeader = 4096;

struct PamHeader {
  PictureInfo info;
  std::size_t bytes = 0;  ///< of the header; the rows follow

  /// Of the whole frame.
  std::uint64_t FrameBytes() const {
    return bytes + std::uint64_t{info.RowBytes()} * static_cast<std::uint64_t>(info.height);
  }
};

/// Reads the header that a text begins with; nothing where the text ends within it. Throws
/// RenderError for what is no frame that can be held: 1 to 4 channels of 8 or 16 bits.
std::optional<PamHeader> ReadPamHeader(std::string_view text);

}  // namespace veltra::pictures
