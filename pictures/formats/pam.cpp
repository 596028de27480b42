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
#include "pictures/formats/pam_header.h"

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

/// 0 for what is no number, which no field may be.
int NumberOf(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && value > 0 ? value : 0;
}

/// The fields that count. Comments and the kind of tuple are passed over, since the depth tells
/// the channels.
struct Fields {
  int width = 0;
  int height = 0;
  int depth = 0;
  int most = 0;

  void Take(std::string_view line) {
    const std::size_t blank = line.find(' ');
    const std::string_view name = line.substr(0, blank);
    int* field = name == "WIDTH"    ? &width
                 : name == "HEIGHT" ? &height
                 : name == "DEPTH"  ? &depth
                 : name == "MAXVAL" ? &most
                                    : nullptr;
    if (field != nullptr && blank != line.npos) {
      *field = NumberOf(line.substr(blank + 1));
    }
  }
};

PictureInfo InfoOf(const Fields& fields) {
  CheckPictureSize(fields.width, fields.height);
  if (fields.depth < 1 || fields.depth > 4) {
    throw RenderError(Text("a PAM file of ", fields.depth, " channels (expected 1 to 4)"));
  }
  if (fields.most != kMost8 && fields.most != kMost16) {
    throw RenderError(Text("a PAM file with MAXVAL ", fields.most, " (expected 255 or 65535)"));
  }
  PictureInfo info;
  info.format = PictureFormat::kPam;
  info.width = fields.width;
  info.height = fields.height;
  info.channels = fields.depth;
  info.stored = fields.most == kMost16 ? SampleType::kUint16 : SampleType::kUint8;
  info.rowType = info.stored;
  return info;
}

class PamReader : public PictureReader {
 public:
  explicit PamReader(const ByteSource& source) : source_(source) {
    std::string text(
        static_cast<std::size_t>(std::min<std::uint64_t>(source_.Size(), kMostPamHeader)), '\0');
    text.resize(source_.ReadAt(0, text.data(), text.size()));
    const std::optional<PamHeader> header = ReadPamHeader(text);
    if (!header) {
      ThrowDamaged("PAM", "no usable header");
    }
    info_ = header->info;
    start_ = header->bytes;
    const std::uint64_t expected = header->FrameBytes();
    if (source_.Size() < expected) {
      source_.ThrowIfFailed();
      ThrowDamaged("PAM", "the file ends early");
    }
    if (source_.Size() > expected) {
      throw RenderError("more follows the PAM frame (--stream takes frame after frame)");
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

std::optional<PamHeader> ReadPamHeader(std::string_view text) {
  Fields fields;
  for (std::size_t at = kPamSignature.size();;) {
    const std::size_t end = text.find('\n', at);
    if (end == text.npos) {
      return std::nullopt;
    }
    const std::string_view line = text.substr(at, end - at);
    at = end + 1;
    if (line == "ENDHDR") {
      return PamHeader{InfoOf(fields), at};
    }
    fields.Take(line);
  }
}

std::unique_ptr<PictureReader> OpenPam(const ByteSource& source) {
  return std::make_unique<PamReader>(source);
}

std::unique_ptr<PictureWriter> CreatePam(ByteSink& sink, int width, int height,
                                         const PictureOptions& options) {
  return std::make_unique<PamWriter>(sink, width, height, options);
}

}  // namespace veltra::pictures
