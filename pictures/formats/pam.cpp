// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// PAM, Netpbm's raw frames with a header of text: what programs hand each other through pipes.
#include <algorithm>
#include <bit>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"
#include "base/text.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

constexpr int kMost8 = 255;
constexpr int kMost16 = 65535;

/// Samples of 16 bits are stored with the high byte first.
void SwapWhereLittle(std::byte* bytes, std::size_t size) {
  if constexpr (std::endian::native == std::endian::little) {
    for (std::size_t i = 0; i + 1 < size; i += 2) {
      std::swap(bytes[i], bytes[i + 1]);
    }
  }
}

class PamReader : public PictureReader {
 public:
  explicit PamReader(const ByteSource& source) : source_(source) {
    ReadHeader();
    const std::uint64_t expected =
        start_ + std::uint64_t{info_.RowBytes()} * static_cast<std::uint64_t>(info_.height);
    if (source_.Size() < expected) {
      source_.ThrowIfFailed();
      ThrowDamaged("PAM", "the file ends early");
    }
    if (source_.Size() > expected) {
      throw RenderError("more follows the PAM frame (expected one frame)");
    }
  }

  bool AnyOrder() const override { return true; }

  void ReadRows(int first, int count, std::byte* out) override {
    const std::size_t size = static_cast<std::size_t>(count) * info_.RowBytes();
    const std::uint64_t offset =
        start_ + std::uint64_t{info_.RowBytes()} * static_cast<std::uint64_t>(first);
    if (source_.ReadAt(offset, out, size) != size) {
      source_.ThrowIfFailed();
      ThrowDamaged("PAM", "the file ends early");
    }
    if (info_.rowType == SampleType::kUint16) {
      SwapWhereLittle(out, size);
    }
  }

 private:
  /// The words of the header, each line's name and value; comments and the kind of tuple are
  /// passed over, since the depth tells the channels.
  void ReadHeader() {
    constexpr std::size_t kMostHeader = 4096;
    std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(source_.Size(), kMostHeader)),
                     '\0');
    text.resize(source_.ReadAt(0, text.data(), text.size()));
    int width = 0;
    int height = 0;
    int depth = 0;
    int most = 0;
    const std::size_t firstLine = text.find('\n');
    std::size_t at = firstLine == text.npos ? text.size() : firstLine + 1;
    for (;;) {
      const std::size_t end = text.find('\n', at);
      if (end == text.npos) {
        ThrowDamaged("PAM", "no usable header");
      }
      const std::string_view line = std::string_view(text).substr(at, end - at);
      at = end + 1;
      const auto takes = [line](std::string_view name, int& value) {
        if (line.starts_with(name) && line.size() > name.size() && line[name.size()] == ' ') {
          value = NumberOf(line.substr(name.size() + 1));
        }
      };
      if (line == "ENDHDR") {
        break;
      }
      takes("WIDTH", width);
      takes("HEIGHT", height);
      takes("DEPTH", depth);
      takes("MAXVAL", most);
    }
    start_ = at;
    CheckPictureSize(width, height);
    if (depth < 1 || depth > 4) {
      throw RenderError(Text("a PAM file of ", depth, " channels (expected 1 to 4)"));
    }
    if (most != kMost8 && most != kMost16) {
      throw RenderError(Text("a PAM file with MAXVAL ", most, " (expected 255 or 65535)"));
    }
    info_.format = PictureFormat::kPam;
    info_.width = width;
    info_.height = height;
    info_.channels = depth;
    info_.stored = most == kMost16 ? SampleType::kUint16 : SampleType::kUint8;
    info_.rowType = info_.stored;
  }

  /// 0 for what is no number, which no field may be.
  static int NumberOf(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value > 0 ? value : 0;
  }

  const ByteSource& source_;
  std::uint64_t start_ = 0;
};

class PamWriter : public PictureWriter {
 public:
  PamWriter(ByteSink& sink, int width, int height, const PictureOptions& options)
      : sink_(sink), deep_(options.stored == SampleType::kUint16) {
    const std::size_t channels = options.alpha ? 4 : 3;
    rowBytes_ = static_cast<std::size_t>(width) * channels * BytesPerSample(options.stored);
    Write(Text("P7\nWIDTH ", width, "\nHEIGHT ", height, "\nDEPTH ", channels, "\nMAXVAL ",
               deep_ ? kMost16 : kMost8, "\nTUPLTYPE ", options.alpha ? "RGB_ALPHA" : "RGB",
               "\nENDHDR\n"));
  }

  void WriteRows(int count, std::byte* rows) override {
    const std::size_t size = static_cast<std::size_t>(count) * rowBytes_;
    if (deep_) {
      SwapWhereLittle(rows, size);
    }
    Write(std::string_view(reinterpret_cast<const char*>(rows), size));
  }

  void Finish() override {}

 private:
  void Write(std::string_view bytes) {
    if (!sink_.Write(bytes.data(), bytes.size())) {
      sink_.ThrowIfFailed();
    }
  }

  ByteSink& sink_;
  bool deep_;
  std::size_t rowBytes_ = 0;
};

}  // namespace

std::unique_ptr<PictureReader> OpenPam(const ByteSource& source) {
  return std::make_unique<PamReader>(source);
}

std::unique_ptr<PictureWriter> CreatePam(ByteSink& sink, int width, int height,
                                         const PictureOptions& options) {
  return std::make_unique<PamWriter>(sink, width, height, options);
}

}  // namespace veltra::pictures
