// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Fuzzes one reader of image files; VELTRA_FUZZ_OPEN is the routine that opens it.

#include <algorithm>
#include <memory>
#include <type_traits>

#include "base/error.h"
#include "fuzz/byte_reader.h"
#include "host_api/types.h"
#include "pictures/bytes/memory_bytes.h"
#include "pictures/formats/formats.h"
#include "pictures/picture_rows.h"

namespace veltra::fuzz {
namespace {

/// Readers that can be asked for a part of a file are asked for what they read by themselves.
template <class Opener>
std::unique_ptr<pictures::PictureReader> Open(Opener open, const pictures::ByteSource& source) {
  if constexpr (std::is_invocable_v<Opener, const pictures::ByteSource&>) {
    return open(source);
  } else {
    return open(source, pictures::PictureSelection{});
  }
}

/// A small file can stand for a picture of 900 million pixels; this much of one is read.
constexpr std::size_t kMostBytes = std::size_t{4} << 20;

void CheckInfo(const pictures::PictureInfo& info) {
  Expect(info.width >= 1 && info.height >= 1 && info.width <= kHostMaxWorldSide &&
             info.height <= kHostMaxWorldSide,
         "a picture that no world can hold was accepted");
  Expect(info.channels >= 1 && info.channels <= 4, "a row of odd pixels");
  Expect(info.rowType != pictures::SampleType::kHalf, "a row of half floats");
}

/// Rows in blocks of memory of exactly their size, so that one byte too many shows; each then
/// becomes pixels of every depth.
void ReadAll(pictures::PictureReader& reader) {
  const pictures::PictureInfo& info = reader.Info();
  CheckInfo(info);
  const std::size_t rowBytes = info.RowBytes();
  const int preferred = std::clamp(reader.PreferredRows(), 1, info.height);
  const auto width = static_cast<std::size_t>(info.width);
  std::size_t seen = 0;
  for (int row = 0; row < info.height && seen < kMostBytes;) {
    const int count = std::min(preferred, info.height - row);
    const std::size_t bytes = static_cast<std::size_t>(count) * rowBytes;
    if (bytes > kMostBytes * 8) {
      return;
    }
    const auto rows = std::make_unique<std::byte[]>(bytes);
    reader.ReadRows(row, count, rows.get());
    for (const host::Depth depth : host::kAllDepths) {
      const auto pixels = std::make_unique<std::byte[]>(
          width * static_cast<std::size_t>(host::BytesPerPixel(depth)));
      pictures::UnpackRow(info, rows.get(), depth, pixels.get());
    }
    row += count;
    seen += bytes;
  }
}

}  // namespace
}  // namespace veltra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace veltra;
  const pictures::MemorySource source(std::as_bytes(std::span(data, size)));
  try {
    const auto reader = fuzz::Open(pictures::VELTRA_FUZZ_OPEN, source);
    fuzz::ReadAll(*reader);
  } catch (const RenderError&) {
  }
  return 0;
}
