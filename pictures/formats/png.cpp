// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// PNG files through libpng.
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <csetjmp>
#include <cstring>
#include <new>
#include <utility>

#include "base/error.h"
#include "host/base/thread_pool.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

constexpr const char* kXmpKeyword = "XML:com.adobe.xmp";

/// libpng leaves a failure by longjmp to the place that Guarded sets; the text waits here.
struct PngFailure {
  char text[128] = "";
};

void OnError(png_structp png, png_const_charp text) {
  auto* failure = static_cast<PngFailure*>(png_get_error_ptr(png));
  std::strncpy(failure->text, text, sizeof(failure->text) - 1);
  png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

/// Runs calls of libpng; false when one failed. What runs must own nothing that needs a
/// destructor, since a failure jumps over it.
template <class Calls>
bool Guarded(png_structp png, const Calls& calls) {
  if (setjmp(png_jmpbuf(png)) != 0) {  // NOLINT(cert-err52-cpp): how libpng reports failures
    return false;
  }
  calls();
  return true;
}

// ---- Reading ----

// Deflate packs at most 1032 bytes into one, and a palette's bit becomes four bytes.
constexpr std::size_t kMostExpansion = std::size_t{1032} * 32;

// Profiles and texts are far smaller once they are unpacked.
constexpr png_alloc_size_t kLargestChunk = png_alloc_size_t{1} << 26;

struct SourcePosition {
  const ByteSource* source = nullptr;
  std::uint64_t offset = 0;
};

void ReadBytes(png_structp png, png_bytep out, std::size_t size) {
  auto* position = static_cast<SourcePosition*>(png_get_io_ptr(png));
  if (position->source->ReadAt(position->offset, out, size) != size) {
    png_error(png, "the file ends early");
  }
  position->offset += size;
}

/// libpng takes memory for a chunk before it sees that the file ends; so every chunk in front of
/// the pixels must be there.
void CheckChunks(const ByteSource& source) {
  constexpr std::uint64_t kSignature = 8;
  constexpr std::uint64_t kAroundData = 12;  // length, name and checksum
  std::array<unsigned char, 8> head{};
  for (std::uint64_t at = kSignature; source.ReadAt(at, head.data(), head.size()) == head.size() &&
                                      std::memcmp(head.data() + 4, "IDAT", 4) != 0;
       at += kAroundData + png_get_uint_32(head.data())) {
    if (png_get_uint_32(head.data()) > source.Size() - at) {
      ThrowDamaged("PNG", "the file ends early");
    }
  }
}

class PngReader : public PictureReader {
 public:
  explicit PngReader(const ByteSource& source) : position_{&source, 0} {
    CheckChunks(source);
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &failure_, OnError, OnWarning);
    pngInfo_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    if (pngInfo_ == nullptr) {
      png_destroy_read_struct(&png_, nullptr, nullptr);
      throw RenderError("out of memory");
    }
    try {
      ReadHeader();
    } catch (...) {
      png_destroy_read_struct(&png_, &pngInfo_, nullptr);
      throw;
    }
  }

  ~PngReader() override { png_destroy_read_struct(&png_, &pngInfo_, nullptr); }

  void ReadRows(int first, int count, std::byte* out) override {
    if (interlaced_) {
      ReadWhole();
      const std::size_t bytes = info_.RowBytes();
      std::memcpy(out, whole_.data() + static_cast<std::size_t>(first) * bytes,
                  static_cast<std::size_t>(count) * bytes);
      if (first + count == info_.height) {
        std::vector<std::byte>().swap(whole_);
      }
      return;
    }
    const bool read = Guarded(png_, [&] {
      for (int row = 0; row < count; ++row) {
        png_read_row(
            png_,
            reinterpret_cast<png_bytep>(out + static_cast<std::size_t>(row) * info_.RowBytes()),
            nullptr);
      }
    });
    if (!read) {
      ThrowDamaged("PNG", failure_.text);
    }
  }

 private:
  void ReadHeader() {
    png_set_read_fn(png_, &position_, ReadBytes);
    // The size is judged by CheckPictureSize, which knows what to say.
    png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_chunk_malloc_max(png_, kLargestChunk);
    if (!Guarded(png_, [&] { png_read_info(png_, pngInfo_); })) {
      ThrowDamaged("PNG", failure_.text);
    }
    CheckPictureSize(png_get_image_width(png_, pngInfo_), png_get_image_height(png_, pngInfo_));
    info_.format = PictureFormat::kPng;
    info_.width = static_cast<int>(png_get_image_width(png_, pngInfo_));
    info_.height = static_cast<int>(png_get_image_height(png_, pngInfo_));
    interlaced_ = png_get_interlace_type(png_, pngInfo_) != PNG_INTERLACE_NONE;
    ReadProfile();
    const bool updated = Guarded(png_, [&] {
      png_set_expand(png_);  // palettes, transparent colours, fewer than 8 bits
      if (std::endian::native == std::endian::little) {
        png_set_swap(png_);
      }
      if (interlaced_) {
        png_set_interlace_handling(png_);
      }
      png_read_update_info(png_, pngInfo_);
    });
    if (!updated) {
      ThrowDamaged("PNG", failure_.text);
    }
    info_.channels = png_get_channels(png_, pngInfo_);
    info_.stored =
        png_get_bit_depth(png_, pngInfo_) == 16 ? SampleType::kUint16 : SampleType::kUint8;
    info_.rowType = info_.stored;
    if (png_get_rowbytes(png_, pngInfo_) != info_.RowBytes()) {
      ThrowDamaged("PNG", "unexpected row length");
    }
  }

  void ReadProfile() {
    png_charp name = nullptr;
    int compression = 0;
    png_bytep profile = nullptr;
    png_uint_32 length = 0;
    if (png_get_iCCP(png_, pngInfo_, &name, &compression, &profile, &length) != 0) {
      info_.metadata.iccProfile.assign(profile, profile + length);
    }
    png_textp texts = nullptr;
    const int count = png_get_text(png_, pngInfo_, &texts, nullptr);
    for (int i = 0; i < count; ++i) {
      if (std::strcmp(texts[i].key, kXmpKeyword) == 0 && texts[i].text != nullptr) {
        info_.metadata.xmp = texts[i].text;
      }
    }
  }

  /// The passes of an interlaced picture need all of it at once.
  void ReadWhole() {
    if (!whole_.empty()) {
      return;
    }
    const std::size_t size = info_.RowBytes() * static_cast<std::size_t>(info_.height);
    // No file of this length can hold as much, so it ends early: not worth the memory.
    if (size / kMostExpansion > position_.source->Size()) {
      ThrowDamaged("PNG", "the file ends early");
    }
    whole_.resize(size);
    std::vector<png_bytep> rows(static_cast<std::size_t>(info_.height));
    for (std::size_t row = 0; row < rows.size(); ++row) {
      rows[row] = reinterpret_cast<png_bytep>(whole_.data() + row * info_.RowBytes());
    }
    if (!Guarded(png_, [&] { png_read_image(png_, rows.data()); })) {
      ThrowDamaged("PNG", failure_.text);
    }
  }

  PngFailure failure_;
  SourcePosition position_;
  png_structp png_ = nullptr;
  png_infop pngInfo_ = nullptr;
  bool interlaced_ = false;
  std::vector<std::byte> whole_;
};

// ---- Writing ----

void WriteBytes(png_structp png, png_bytep bytes, std::size_t size) {
  if (!static_cast<ByteSink*>(png_get_io_ptr(png))->Write(bytes, size)) {
    png_error(png, "the file cannot be written");
  }
}

void FlushBytes(png_structp) {}

class PngWriter : public PictureWriter {
 public:
  PngWriter(ByteSink& sink, int width, int height, const PictureOptions& options)
      : sink_(sink),
        pixelBytes_((options.alpha ? 4U : 3U) * BytesPerSample(options.stored)),
        rowBytes_(static_cast<std::size_t>(width) * pixelBytes_),
        deep_(options.stored == SampleType::kUint16) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure_, OnError, OnWarning);
    pngInfo_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    if (pngInfo_ == nullptr) {
      png_destroy_write_struct(&png_, nullptr);
      throw RenderError("out of memory");
    }
    if (!Guarded(png_, [&] { WriteHeader(width, height, options); })) {
      const std::string reason = failure_.text;
      png_destroy_write_struct(&png_, &pngInfo_);
      sink_.ThrowIfFailed();
      throw RenderError("cannot write PNG: " + reason);
    }
  }

  ~PngWriter() override { png_destroy_write_struct(&png_, &pngInfo_); }

  void WriteRows(int count, std::byte* rows) override {
    Check(Guarded(png_, [&] {
      for (int row = 0; row < count; ++row) {
        png_write_row(png_, reinterpret_cast<png_const_bytep>(rows + static_cast<std::size_t>(row) *
                                                                         rowBytes_));
      }
    }));
  }

  void Finish() override {
    Check(Guarded(png_, [&] { png_write_end(png_, nullptr); }));
  }

 protected:
  std::size_t PixelBytes() const { return pixelBytes_; }
  std::size_t RowBytes() const { return rowBytes_; }
  bool IsDeep() const { return deep_; }

  void WriteChunk(const char* kind, const std::vector<png_byte>& bytes) {
    const auto* name = reinterpret_cast<png_const_bytep>(kind);
    Check(Guarded(png_, [&] { png_write_chunk(png_, name, bytes.data(), bytes.size()); }));
  }

 private:
  void Check(bool written) {
    sink_.ThrowIfFailed();
    if (!written) {
      throw RenderError("cannot write PNG: " + std::string(failure_.text));
    }
  }

  void SetCompression(const std::string& name) {
    constexpr int kFastest = 1;
    constexpr int kBest = 9;
    const int level = name.empty() || name == "fast" ? kFastest
                      : name == "none"               ? 0
                      : name == "best"               ? kBest
                                                     : name[0] - '0';
    png_set_compression_level(png_, level);
    if (level == 0) {
      png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    }
    constexpr std::size_t kDeflatedBytes = std::size_t{1} << 16;
    png_set_compression_buffer_size(png_, kDeflatedBytes);
  }

  void WriteHeader(int width, int height, const PictureOptions& options) {
    png_set_write_fn(png_, &sink_, WriteBytes, FlushBytes);
    SetCompression(options.compression);
    png_set_IHDR(png_, pngInfo_, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
                 options.stored == SampleType::kUint16 ? 16 : 8,
                 options.alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    const PictureMetadata& metadata = options.metadata;
    if (!metadata.iccProfile.empty()) {
      png_set_iCCP(png_, pngInfo_, "icc", PNG_COMPRESSION_TYPE_BASE, metadata.iccProfile.data(),
                   static_cast<png_uint_32>(metadata.iccProfile.size()));
    }
    if (!metadata.xmp.empty()) {
      png_text text{};
      text.compression = PNG_ITXT_COMPRESSION_NONE;
      // libpng's fields are not const, but it copies them.
      text.key = const_cast<char*>(kXmpKeyword);
      text.text = const_cast<char*>(metadata.xmp.c_str());
      text.itxt_length = metadata.xmp.size();
      png_set_text(png_, pngInfo_, &text, 1);
    }
    png_write_info(png_, pngInfo_);
    if (options.stored == SampleType::kUint16 && std::endian::native == std::endian::little) {
      png_set_swap(png_);
    }
  }

  PngFailure failure_;
  ByteSink& sink_;
  std::size_t pixelBytes_;
  std::size_t rowBytes_;
  bool deep_;
  png_structp png_ = nullptr;
  png_infop pngInfo_ = nullptr;
};

/// The fast level: blocks of rows are compressed apart from each other, on all threads, and
/// stand one after the other in one stream. Each block is one cheap filter (the difference from
/// the pixel to the left) and a search for runs only: what the filter leaves are runs and small
/// numbers, and looking for longer repeats takes more time and, on photographs, more space.
class FastPngWriter : public PngWriter {
 public:
  FastPngWriter(ByteSink& sink, int width, int height, const PictureOptions& options)
      : PngWriter(sink, width, height, options),
        pool_(options.pool),
        blockRows_(static_cast<int>(std::clamp<std::size_t>(kBlockBytes / RowBytes(), 1,
                                                            static_cast<std::size_t>(height)))) {}

  int PreferredRows() const override {
    return blockRows_ * (pool_ != nullptr ? pool_->ThreadCount() : 1);
  }

  void WriteRows(int count, std::byte* rows) override {
    std::vector<Block> blocks(static_cast<std::size_t>((count + blockRows_ - 1) / blockRows_));
    const auto compress = [&](int index) {
      const int first = index * blockRows_;
      blocks[static_cast<std::size_t>(index)] = Compressed(
          rows + static_cast<std::size_t>(first) * RowBytes(), std::min(blockRows_, count - first));
    };
    if (pool_ != nullptr && blocks.size() > 1) {
      pool_->ForEach(static_cast<int>(blocks.size()), compress);
    } else {
      for (std::size_t i = 0; i < blocks.size(); ++i) {
        compress(static_cast<int>(i));
      }
    }
    for (Block& block : blocks) {
      if (!block.done) {
        throw RenderError("out of memory");
      }
      if (!started_) {
        constexpr std::array<png_byte, 2> kStreamStart = {0x78, 0x01};  // 32 KB window, fastest
        block.bytes.insert(block.bytes.begin(), kStreamStart.begin(), kStreamStart.end());
        started_ = true;
      }
      checksum_ = adler32_combine(checksum_, block.checksum, static_cast<z_off_t>(block.length));
      WriteChunk("IDAT", block.bytes);
    }
  }

  void Finish() override {
    std::vector<png_byte> end = {0x03, 0x00};  // a last block with nothing in it
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
      end.push_back(static_cast<png_byte>(checksum_ >> shift));
    }
    WriteChunk("IDAT", end);
    WriteChunk("IEND", {});
  }

 private:
  static constexpr std::size_t kBlockBytes = std::size_t{1} << 18;

  struct Block {
    std::vector<png_byte> bytes;
    std::size_t length = 0;  ///< before compression
    uLong checksum = 0;
    bool done = false;
  };

  /// One row as PNG stores it: its filter's number, then the differences, high bytes first.
  void Filter(const std::byte* row, png_byte* out) const {
    *out++ = PNG_FILTER_VALUE_SUB;
    const auto* in = reinterpret_cast<const png_byte*>(row);
    const std::size_t step = PixelBytes();
    const std::size_t swap = IsDeep() && std::endian::native == std::endian::little ? 1 : 0;
    for (std::size_t i = 0; i < std::min(step, RowBytes()); ++i) {
      out[i] = in[i ^ swap];
    }
    for (std::size_t i = step; i < RowBytes(); ++i) {
      out[i] = static_cast<png_byte>(in[i ^ swap] - in[(i ^ swap) - step]);
    }
  }

  Block Compressed(const std::byte* rows, int count) const noexcept {
    Block block;
    try {
      const std::size_t line = RowBytes() + 1;
      std::vector<png_byte> filtered(line * static_cast<std::size_t>(count));
      for (std::size_t row = 0; row < static_cast<std::size_t>(count); ++row) {
        Filter(rows + row * RowBytes(), filtered.data() + row * line);
      }
      block.length = filtered.size();
      block.checksum =
          adler32(adler32(0, nullptr, 0), filtered.data(), static_cast<uInt>(filtered.size()));
      block.done = Deflate(filtered, block.bytes);
    } catch (const std::bad_alloc&) {
      block.done = false;
    }
    return block;
  }

  /// Raw deflate that ends on a byte and leaves nothing for the next block to refer to.
  static bool Deflate(std::vector<png_byte>& in, std::vector<png_byte>& out) {
    constexpr int kRawWindow = -15;
    constexpr int kMemoryLevel = 8;
    constexpr std::size_t kFlushBytes = 16;
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, kRawWindow, kMemoryLevel, Z_RLE) != Z_OK) {
      return false;
    }
    out.resize(deflateBound(&stream, static_cast<uLong>(in.size())) + kFlushBytes);
    stream.next_in = in.data();
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const bool done =
        deflate(&stream, Z_FULL_FLUSH) == Z_OK && stream.avail_in == 0 && stream.avail_out != 0;
    out.resize(out.size() - stream.avail_out);
    deflateEnd(&stream);
    return done;
  }

  host::ThreadPool* pool_;
  int blockRows_;
  bool started_ = false;
  uLong checksum_ = adler32(0, nullptr, 0);
};

}  // namespace

std::unique_ptr<PictureReader> OpenPng(const ByteSource& source) {
  return std::make_unique<PngReader>(source);
}

std::unique_ptr<PictureWriter> CreatePng(ByteSink& sink, int width, int height,
                                         const PictureOptions& options) {
  const std::string& compression = options.compression;
  if (compression.empty() || compression == "fast" || compression == "1") {
    return std::make_unique<FastPngWriter>(sink, width, height, options);
  }
  return std::make_unique<PngWriter>(sink, width, height, options);
}

}  // namespace veltra::pictures
