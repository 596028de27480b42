// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The picture formats, one row each. A new format is a file beside this one, its name among the
// enumerators and its row here.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "pictures/bytes/byte_sink.h"
#include "pictures/bytes/byte_source.h"
#include "pictures/formats/picture_types.h"

namespace veltra::pictures {

struct FormatRow {
  PictureFormat format;
  std::string_view name;                           ///< in sentences
  std::string_view shortName;                      ///< in lists
  std::span<const std::string_view> signatures;    ///< what its files begin with
  std::span<const std::string_view> endings;       ///< lower case, the usual one first
  std::span<const SampleType> types;               ///< that it is written in, preferred first
  std::span<const std::string_view> compressions;  ///< empty when there is nothing to choose
  bool hasAlpha;
  bool premultiplied;  ///< colour is kept multiplied by alpha
  std::unique_ptr<PictureReader> (*open)(const ByteSource& source,
                                         const PictureSelection& selection);
  /// Null for a format that is only read.
  std::unique_ptr<PictureWriter> (*create)(ByteSink& sink, int width, int height,
                                           const PictureOptions& options);
};

/// All of them, in the order of the enumerators.
std::span<const FormatRow> Formats();

const FormatRow& RowOf(PictureFormat format);

}  // namespace veltra::pictures
