// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// WebP files through libwebp.
#include <webp/decode.h>
#include <webp/demux.h>

#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

struct DeleteDemuxer {
  void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};

/// The library wants the whole file in memory, and gives the whole picture.
class WebpReader : public PictureReader {
 public:
  explicit WebpReader(const ByteSource& source) {
    constexpr std::size_t kKindOffset = 8;
    constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 32;  // what the format can count
    const std::uint64_t size = source.Size();
    char kind[4] = "";
    if (source.ReadAt(kKindOffset, kind, sizeof(kind)) != sizeof(kind) ||
        std::string_view(kind, sizeof(kind)) != "WEBP") {
      throw RenderError("not a readable image (a RIFF file, but not WebP)");
    }
    if (size > kMostBytes) {
      ThrowDamaged("WebP", "longer than the format allows");
    }
    bytes_.resize(static_cast<std::size_t>(size));
    if (source.ReadAt(0, bytes_.data(), bytes_.size()) != bytes_.size()) {
      ThrowDamaged("WebP", "the file cannot be read");
    }
    ReadHeader();
  }

  void ReadRows(int first, int count, std::byte* out) override {
    Load();
    std::memcpy(out, pixels_.data() + static_cast<std::size_t>(first) * info_.RowBytes(),
                static_cast<std::size_t>(count) * info_.RowBytes());
    if (first + count == info_.height) {
      std::vector<std::uint8_t>().swap(pixels_);
    }
  }

 private:
  void ReadHeader() {
    WebPBitstreamFeatures features{};
    if (WebPGetFeatures(bytes_.data(), bytes_.size(), &features) != VP8_STATUS_OK) {
      ThrowDamaged("WebP", "no usable header");
    }
    CheckPictureSize(features.width, features.height);
    if (features.has_animation != 0) {
      throw RenderError("an animated WebP (expected a still)");
    }
    info_.format = PictureFormat::kWebp;
    info_.width = features.width;
    info_.height = features.height;
    info_.channels = features.has_alpha != 0 ? 4 : 3;
    ReadMetadata();
  }

  void ReadMetadata() {
    const WebPData data{bytes_.data(), bytes_.size()};
    const std::unique_ptr<WebPDemuxer, DeleteDemuxer> demuxer(WebPDemux(&data));
    if (demuxer == nullptr) {
      ThrowDamaged("WebP", "the file ends early");
    }
    const auto chunk = [&](const char* name) {
      std::vector<std::uint8_t> contents;
      WebPChunkIterator it{};
      if (WebPDemuxGetChunk(demuxer.get(), name, 1, &it) != 0) {
        contents.assign(it.chunk.bytes, it.chunk.bytes + it.chunk.size);
      }
      WebPDemuxReleaseChunkIterator(&it);
      return contents;
    };
    info_.metadata.iccProfile = chunk("ICCP");
    const std::vector<std::uint8_t> xmp = chunk("XMP ");
    info_.metadata.xmp.assign(xmp.begin(), xmp.end());
  }

  void Load() {
    if (!pixels_.empty()) {
      return;
    }
    pixels_.resize(info_.RowBytes() * static_cast<std::size_t>(info_.height));
    const auto decode = info_.channels == 4 ? WebPDecodeRGBAInto : WebPDecodeRGBInto;
    if (decode(bytes_.data(), bytes_.size(), pixels_.data(), pixels_.size(),
               static_cast<int>(info_.RowBytes())) == nullptr) {
      ThrowDamaged("WebP", "");
    }
    std::vector<std::uint8_t>().swap(bytes_);
  }

  std::vector<std::uint8_t> bytes_;
  std::vector<std::uint8_t> pixels_;
};

}  // namespace

std::unique_ptr<PictureReader> OpenWebp(const ByteSource& source) {
  return std::make_unique<WebpReader>(source);
}

}  // namespace veltra::pictures
