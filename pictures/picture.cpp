// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Finds the row of the table that a file or a name asks for.
#include "pictures/picture.h"

#include <algorithm>
#include <array>

#include "base/error.h"
#include "base/paths.h"
#include "base/text.h"
#include "pictures/formats/format_table.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

constexpr std::size_t kSignatureBytes = 12;

/// "A, B or C" with this word before the last.
std::string Listed(const std::vector<std::string_view>& names, std::string_view lastWord) {
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool last = i + 1 == names.size();
    list += Text(i == 0 ? "" : last ? lastWord : ", ", names[i]);
  }
  return list;
}

const FormatRow* RecognisedBy(std::string_view head) {
  for (const FormatRow& row : Formats()) {
    if (std::any_of(row.signatures.begin(), row.signatures.end(),
                    [head](std::string_view start) { return head.starts_with(start); })) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace

std::string_view FormatName(PictureFormat format) {
  return RowOf(format).name;
}

std::string ReadableFormats() {
  std::vector<std::string_view> names;
  for (const FormatRow& row : Formats()) {
    names.push_back(row.shortName);
  }
  return Listed(names, " or ");
}

const char* SampleTypeName(SampleType type) {
  static constexpr std::array kNames = {"8", "16", "half", "float"};
  return kNames[static_cast<std::size_t>(type)];
}

std::unique_ptr<PictureReader> OpenPicture(const ByteSource& source,
                                           const PictureSelection& selection) {
  std::array<char, kSignatureBytes> start{};
  const std::size_t length = source.ReadAt(0, start.data(), start.size());
  const FormatRow* row = RecognisedBy({start.data(), length});
  if (row == nullptr) {
    source.ThrowIfFailed();
    throw RenderError(Text(length == 0 ? "empty file" : "not a readable image", " (expected ",
                           ReadableFormats(), ")"));
  }
  static_cast<void>(source.Size());  // waits for all of a pipe
  source.ThrowIfFailed();
  return row->open(source, selection);
}

void SetPictureThreads(int threads) {
  SetExrThreads(threads);
}

std::unique_ptr<PictureWriter> CreatePicture(ByteSink& sink, int width, int height,
                                             const PictureOptions& options) {
  const FormatRow& row = RowOf(options.format);
  if (row.create == nullptr) {
    throw RenderError(Text(row.name, " is only read"));
  }
  return row.create(sink, width, height, options);
}

PictureFormat WritableFormatOf(const std::string& path) {
  const std::string extension = LowerExtension(path);
  std::vector<std::string_view> endings;
  for (const FormatRow& row : Formats()) {
    if (row.create == nullptr) {
      continue;
    }
    if (std::find(row.endings.begin(), row.endings.end(), extension) != row.endings.end()) {
      return row.format;
    }
    endings.push_back(row.endings.front());
  }
  throw UsageError(Text(path, ": cannot tell the format from the name (expected an ending of ",
                        Listed(endings, ", "), ", or a video's)"));
}

bool IsPremultiplied(PictureFormat format) {
  return RowOf(format).premultiplied;
}

bool HasAlpha(PictureFormat format) {
  return RowOf(format).hasAlpha;
}

void CheckCompression(PictureFormat format, const std::string& compression) {
  const FormatRow& row = RowOf(format);
  const auto known = row.compressions;
  if (compression.empty() || std::find(known.begin(), known.end(), compression) != known.end()) {
    return;
  }
  if (known.empty()) {
    throw UsageError(Text("--compression: ", row.name, " has none to choose (see --jpeg-quality)"));
  }
  throw UsageError(Text("--compression: ", row.name, " has no '", compression, "' (expected ",
                        Listed({known.begin(), known.end()}, ", "), ")"));
}

std::vector<SampleType> WritableTypes(PictureFormat format) {
  const auto types = RowOf(format).types;
  return {types.begin(), types.end()};
}

}  // namespace veltra::pictures
