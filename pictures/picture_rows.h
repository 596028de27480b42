// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Rows between files (grey to RGBA; 0..255, 0..65535, float) and worlds (straight ARGB).
#pragma once

#include <cstddef>

#include "host/base/depth.h"
#include "pictures/formats/picture_types.h"

namespace veltra::pictures {

/// Whether this is light without coverage: its alpha is 0, and its colour that of the file.
bool IsOwnLight(const PF_PixelFloat& pixel);

/// Turns one row of a file into pixels of a world. Scaling rounds to nearest; floating point is
/// clamped to 0..1 for the integer depths, with NaN as 0. Colour multiplied by alpha is divided;
/// where alpha is zero it is taken as stored, and a float world's alpha is -0 there.
/// @param row    info.RowBytes() bytes as the reader gave them
/// @param pixels info.width pixels of `depth`
void UnpackRow(const PictureInfo& info, const std::byte* row, host::Depth depth, std::byte* pixels);

/// What a row of a file to be written looks like.
struct PackedRow {
  SampleType stored = SampleType::kUint8;
  bool alpha = true;
  bool premultiplied = false;
  std::size_t PixelBytes() const { return BytesPerSample(stored) * (alpha ? 4U : 3U); }
};

/// Turns `count` pixels of a world of `depth` into a row of a file. Rounds and clamps as above;
/// half stays finite. Where alpha is -0 colour is not multiplied (see UnpackRow).
void PackRow(host::Depth depth, const std::byte* pixels, int count, const PackedRow& format,
             std::byte* row);

}  // namespace veltra::pictures
