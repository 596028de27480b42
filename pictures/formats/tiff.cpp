// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// TIFF files through libtiff.
#include <ImathConfig.h>
#include <half.h>
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "base/error.h"
#include "numerics/compiler.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

// Larger than any strip or tile of a sound file within the size limits, smaller than a damaged
// one may ask for.
constexpr tmsize_t kLargestAllocation = tmsize_t{1} << 34;

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPointer = std::unique_ptr<TIFF, CloseTiff>;

/// The first complaint of one file's reading or writing.
struct TiffFailure {
  std::string text;
};

VELTRA_PRINTF_LIKE(4, 0)
int KeepError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  auto* failure = static_cast<TiffFailure*>(user);
  if (failure->text.empty()) {
    char text[256] = "";
    static_cast<void>(std::vsnprintf(text, sizeof(text), format, arguments));
    failure->text = text;
    while (!failure->text.empty() && failure->text.back() == '.') {
      failure->text.pop_back();
    }
  }
  return 1;
}

int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

struct FreeOptions {
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

std::unique_ptr<TIFFOpenOptions, FreeOptions> MakeOptions(TiffFailure* failure) {
  std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kLargestAllocation);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), KeepError, failure);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), IgnoreWarning, failure);
  return options;
}

// ---- A source as libtiff's file ----

struct SourceFile {
  const ByteSource* source = nullptr;
  toff_t position = 0;
};

tmsize_t ReadSource(thandle_t handle, void* out, tmsize_t size) {
  auto* file = static_cast<SourceFile*>(handle);
  const std::size_t got = file->source->ReadAt(file->position, out, static_cast<std::size_t>(size));
  file->position += got;
  return static_cast<tmsize_t>(got);
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t) {
  return -1;
}

toff_t SeekSource(thandle_t handle, toff_t offset, int from) {
  auto* file = static_cast<SourceFile*>(handle);
  const toff_t base = from == SEEK_CUR   ? file->position
                      : from == SEEK_END ? file->source->Size()
                                         : 0;
  file->position = base + offset;
  return file->position;
}

toff_t SourceSize(thandle_t handle) {
  return static_cast<SourceFile*>(handle)->source->Size();
}

int CloseNothing(thandle_t) {
  return 0;
}

// ---- Reading ----

std::uint16_t Tag16(TIFF* tiff, std::uint32_t tag, std::uint16_t otherwise) {
  std::uint16_t value = otherwise;
  return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : otherwise;
}

class TiffReader : public PictureReader {
 public:
  explicit TiffReader(const ByteSource& source) : file_{&source, 0} {
    const auto options = MakeOptions(&failure_);
    tiff_.reset(TIFFClientOpenExt("", "rm", &file_, ReadSource, WriteNothing, SeekSource,
                                  CloseNothing, SourceSize, nullptr, nullptr, options.get()));
    if (tiff_ == nullptr) {
      ThrowDamaged("TIFF", failure_.text);
    }
    ReadHeader();
  }

  int PreferredRows() const override { return tiled_ ? tileHeight_ : 1; }
  bool AnyOrder() const override { return direct_; }

  void ReadRows(int first, int count, std::byte* out) override {
    if (viaRgba_) {
      ReadRgba(first, count, out);
      return;
    }
    for (int done = 0; done < count;) {
      const int row = first + done;
      std::byte* to = out + static_cast<std::size_t>(done) * info_.RowBytes();
      if (direct_) {
        done += ReadDirect(row, count - done, to);
      } else if (tiled_) {
        done += ReadTiles(row, count - done, to);
      } else {
        ReadLine(row, to);
        ++done;
      }
    }
  }

 private:
  // ---- The header ----

  void ReadHeader() {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(tiff_.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff_.get(), TIFFTAG_IMAGELENGTH, &height);
    CheckPictureSize(width, height);
    info_.format = PictureFormat::kTiff;
    info_.width = static_cast<int>(width);
    info_.height = static_cast<int>(height);
    bits_ = Tag16(tiff_.get(), TIFFTAG_BITSPERSAMPLE, 1);
    fileChannels_ = Tag16(tiff_.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
    sampleFormat_ = Tag16(tiff_.get(), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    photometric_ = Tag16(tiff_.get(), TIFFTAG_PHOTOMETRIC,
                         fileChannels_ >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    if (photometric_ == PHOTOMETRIC_SEPARATED) {
      throw RenderError("a TIFF in print colours (CMYK); convert it to RGB first");
    }
    compression_ = Tag16(tiff_.get(), TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    separate_ =
        Tag16(tiff_.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    if (photometric_ == PHOTOMETRIC_YCBCR && compression_ == COMPRESSION_JPEG) {
      TIFFSetField(tiff_.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      photometric_ = PHOTOMETRIC_RGB;
    }
    ReadProfile();
    if (!ChooseSamples()) {
      UseRgba();
      return;
    }
    ChooseChannels();
    ChooseLayout();
  }

  void ReadProfile() {
    std::uint32_t length = 0;
    void* profile = nullptr;
    if (TIFFGetField(tiff_.get(), TIFFTAG_ICCPROFILE, &length, &profile) == 1) {
      const auto* bytes = static_cast<const std::uint8_t*>(profile);
      info_.metadata.iccProfile.assign(bytes, bytes + length);
    }
    if (TIFFGetField(tiff_.get(), TIFFTAG_XMLPACKET, &length, &profile) == 1) {
      info_.metadata.xmp.assign(static_cast<const char*>(profile), length);
    }
  }

  /// Whether the samples are of a kind that is taken as it is; palettes, fewer bits and other
  /// colour models go through libtiff's own conversion.
  bool ChooseSamples() {
    const bool grey =
        photometric_ == PHOTOMETRIC_MINISBLACK || photometric_ == PHOTOMETRIC_MINISWHITE;
    if (!grey && !(photometric_ == PHOTOMETRIC_RGB && fileChannels_ >= 3)) {
      return false;
    }
    if (sampleFormat_ == SAMPLEFORMAT_IEEEFP) {
      if (bits_ != 16 && bits_ != 32) {
        throw RenderError("a TIFF of " + std::to_string(bits_) +
                          "-bit floating point (expected 16 or 32 bits)");
      }
      info_.stored = bits_ == 16 ? SampleType::kHalf : SampleType::kFloat;
      info_.rowType = SampleType::kFloat;
      return true;
    }
    if (sampleFormat_ != SAMPLEFORMAT_UINT && sampleFormat_ != SAMPLEFORMAT_VOID) {
      throw RenderError("a TIFF of signed or complex numbers (expected unsigned or float)");
    }
    if (bits_ > 16) {
      throw RenderError("a TIFF of " + std::to_string(bits_) +
                        "-bit integers (expected 8 or 16 bits)");
    }
    info_.stored = bits_ == 16 ? SampleType::kUint16 : SampleType::kUint8;
    info_.rowType = info_.stored;
    return bits_ == 8 || bits_ == 16;
  }

  void ChooseChannels() {
    const unsigned colours = photometric_ == PHOTOMETRIC_RGB ? 3 : 1;
    const bool alpha = fileChannels_ > colours;
    info_.channels = static_cast<int>(colours) + (alpha ? 1 : 0);
    std::uint16_t extras = 0;
    std::uint16_t* kinds = nullptr;
    // An extra channel that nobody declared is taken as straight alpha, as most programs do.
    info_.premultiplied = alpha &&
                          TIFFGetField(tiff_.get(), TIFFTAG_EXTRASAMPLES, &extras, &kinds) == 1 &&
                          extras > 0 && kinds[0] == EXTRASAMPLE_ASSOCALPHA;
  }

  void ChooseLayout() {
    sampleBytes_ = bits_ / 8U;
    tiled_ = TIFFIsTiled(tiff_.get()) != 0;
    if (tiled_) {
      std::uint32_t tileWidth = 0;
      std::uint32_t tileHeight = 0;
      TIFFGetField(tiff_.get(), TIFFTAG_TILEWIDTH, &tileWidth);
      TIFFGetField(tiff_.get(), TIFFTAG_TILELENGTH, &tileHeight);
      CheckPictureSize(tileWidth, tileHeight);
      tileWidth_ = static_cast<int>(tileWidth);
      tileHeight_ = static_cast<int>(tileHeight);
      const std::size_t bytes = CheckedBytes(TIFFTileSize(tiff_.get()),
                                             static_cast<std::uint64_t>(tileWidth) * tileHeight);
      CheckTileBytes(bytes);
      buffer_.resize(bytes);
      return;
    }
    std::uint32_t rowsPerStrip = 0;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    rowsPerStrip_ =
        std::clamp<std::uint32_t>(rowsPerStrip, 1, static_cast<std::uint32_t>(info_.height));
    buffer_.resize(
        CheckedBytes(TIFFScanlineSize(tiff_.get()), static_cast<std::uint64_t>(info_.width)));
    direct_ = compression_ == COMPRESSION_NONE && !separate_ && PlainSamples() &&
              (sampleBytes_ == 1 || TIFFIsByteSwapped(tiff_.get()) == 0) &&
              Tag16(tiff_.get(), TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) == FILLORDER_MSB2LSB;
  }

  /// Whether a row of the file is a row as given out, byte for byte.
  bool PlainSamples() const {
    return fileChannels_ == static_cast<unsigned>(info_.channels) &&
           photometric_ != PHOTOMETRIC_MINISWHITE && info_.stored != SampleType::kHalf;
  }

  /// libtiff's own idea of a size, against what the header's numbers give.
  std::size_t CheckedBytes(tmsize_t told, std::uint64_t pixels) const {
    const std::uint64_t expected = pixels * (bits_ / 8U) * (separate_ ? 1U : fileChannels_);
    if (told <= 0 || static_cast<std::uint64_t>(told) != expected || told > kLargestAllocation) {
      ThrowDamaged("TIFF", "inconsistent sizes");
    }
    return static_cast<std::size_t>(told);
  }

  /// A tile may be larger than a small picture, but not so large that only memory comes of it.
  void CheckTileBytes(std::size_t bytes) const {
    constexpr std::size_t kAnyPicture = std::size_t{1} << 26;
    const std::size_t picture = info_.RowBytes() * static_cast<std::size_t>(info_.height);
    if (bytes > std::max(kAnyPicture, 4 * picture) ||
        (compression_ == COMPRESSION_NONE && bytes > file_.source->Size())) {
      ThrowDamaged("TIFF", "inconsistent sizes");
    }
  }

  // ---- Rows ----

  [[noreturn]] void Damaged() const { ThrowDamaged("TIFF", failure_.text); }

  /// Where an uncompressed row lies in the file.
  std::uint64_t RowOffset(int row) const {
    const auto line = static_cast<std::uint32_t>(row);
    const std::uint32_t strip = line / rowsPerStrip_;
    const std::uint64_t start = static_cast<std::uint64_t>(line % rowsPerStrip_) * info_.RowBytes();
    int failed = 0;
    const std::uint64_t offset = TIFFGetStrileOffsetWithErr(tiff_.get(), strip, &failed);
    const std::uint64_t length = TIFFGetStrileByteCountWithErr(tiff_.get(), strip, &failed);
    if (failed != 0 || offset == 0 || length < start + info_.RowBytes()) {
      ThrowDamaged("TIFF", "the file ends early");
    }
    return offset + start;
  }

  /// Uncompressed rows straight from the file, as many as lie one after the other; returns how
  /// many. Several threads may do this at once.
  int ReadDirect(int row, int wanted, std::byte* out) const {
    const std::uint64_t offset = RowOffset(row);
    std::size_t bytes = info_.RowBytes();
    int rows = 1;
    while (rows < wanted && RowOffset(row + rows) == offset + bytes) {
      bytes += info_.RowBytes();
      ++rows;
    }
    if (file_.source->ReadAt(offset, out, bytes) != bytes) {
      ThrowDamaged("TIFF", "the file ends early");
    }
    return rows;
  }

  void ReadLine(int row, std::byte* out) {
    if (separate_ && compression_ != COMPRESSION_NONE) {
      ReadPlanes(row, out);
      return;
    }
    const int planes = separate_ ? info_.channels : 1;
    for (int plane = 0; plane < planes; ++plane) {
      if (TIFFReadScanline(tiff_.get(), buffer_.data(), static_cast<std::uint32_t>(row),
                           static_cast<std::uint16_t>(plane)) != 1) {
        Damaged();
      }
      Unpack(buffer_.data(), info_.width, plane, out);
    }
  }

  /// Compressed planes can only be read strip by strip: a strip of every plane is kept.
  void ReadPlanes(int row, std::byte* out) {
    const auto line = static_cast<std::uint32_t>(row);
    const std::uint32_t strip = line / rowsPerStrip_;
    const std::size_t stripBytes = buffer_.size() * rowsPerStrip_;
    if (strip != loadedStrip_) {
      planes_.resize(stripBytes * static_cast<std::size_t>(info_.channels));
      for (int plane = 0; plane < info_.channels; ++plane) {
        const std::uint32_t index =
            TIFFComputeStrip(tiff_.get(), strip * rowsPerStrip_, static_cast<std::uint16_t>(plane));
        if (TIFFReadEncodedStrip(tiff_.get(), index,
                                 planes_.data() + static_cast<std::size_t>(plane) * stripBytes,
                                 static_cast<tmsize_t>(stripBytes)) < 0) {
          Damaged();
        }
      }
      loadedStrip_ = strip;
    }
    for (int plane = 0; plane < info_.channels; ++plane) {
      Unpack(planes_.data() + static_cast<std::size_t>(plane) * stripBytes +
                 static_cast<std::size_t>(line % rowsPerStrip_) * buffer_.size(),
             info_.width, plane, out);
    }
  }

  /// Reads one row of tiles, as much of it as was asked for; returns the rows read.
  int ReadTiles(int row, int wanted, std::byte* out) {
    const int tileTop = row - row % tileHeight_;
    const int rows = std::min({wanted, tileTop + tileHeight_ - row, info_.height - row});
    const int planes = separate_ ? info_.channels : 1;
    const std::size_t tileRowBytes = buffer_.size() / static_cast<std::size_t>(tileHeight_);
    for (int left = 0; left < info_.width; left += tileWidth_) {
      for (int plane = 0; plane < planes; ++plane) {
        if (TIFFReadTile(tiff_.get(), buffer_.data(), static_cast<std::uint32_t>(left),
                         static_cast<std::uint32_t>(tileTop), 0,
                         static_cast<std::uint16_t>(plane)) < 0) {
          Damaged();
        }
        const int columns = std::min(tileWidth_, info_.width - left);
        for (int line = 0; line < rows; ++line) {
          Unpack(buffer_.data() + static_cast<std::size_t>(row - tileTop + line) * tileRowBytes,
                 columns, plane,
                 out + static_cast<std::size_t>(line) * info_.RowBytes() +
                     static_cast<std::size_t>(left) * PixelBytes());
        }
      }
    }
    return rows;
  }

  std::size_t PixelBytes() const {
    return static_cast<std::size_t>(info_.channels) * BytesPerSample(info_.rowType);
  }

  /// Takes the channels that count out of the file's, inverts what counts down to black, and
  /// widens half. A plane of a separate picture fills one channel.
  void Unpack(const std::byte* in, int columns, int plane, std::byte* out) const {
    const int firstChannel = separate_ ? plane : 0;
    const int channels = separate_ ? 1 : info_.channels;
    const std::size_t inStep = sampleBytes_ * (separate_ ? 1U : fileChannels_);
    const std::size_t outSample = BytesPerSample(info_.rowType);
    for (int x = 0; x < columns; ++x) {
      for (int channel = 0; channel < channels; ++channel) {
        const std::byte* from = in + static_cast<std::size_t>(x) * inStep +
                                static_cast<std::size_t>(channel) * sampleBytes_;
        std::byte* to = out + static_cast<std::size_t>(x) * PixelBytes() +
                        static_cast<std::size_t>(firstChannel + channel) * outSample;
        UnpackSample(from, firstChannel + channel, to);
      }
    }
  }

  void UnpackSample(const std::byte* from, int channel, std::byte* to) const {
    if (info_.stored == SampleType::kHalf) {
      std::uint16_t bits = 0;
      std::memcpy(&bits, from, sizeof(bits));
      const float wide = imath_half_to_float(bits);
      std::memcpy(to, &wide, sizeof(wide));
      return;
    }
    std::memcpy(to, from, sampleBytes_);
    if (photometric_ == PHOTOMETRIC_MINISWHITE && channel == 0 &&
        info_.stored != SampleType::kFloat) {
      for (std::size_t i = 0; i < sampleBytes_; ++i) {
        to[i] = ~to[i];
      }
    }
  }

  // ---- What libtiff converts by itself ----

  void UseRgba() {
    char reason[1024] = "";
    if (TIFFRGBAImageOK(tiff_.get(), reason) != 1) {
      throw RenderError("a TIFF of a kind that is not read (" + std::string(reason) + ")");
    }
    viaRgba_ = true;
    info_.stored = SampleType::kUint8;
    info_.rowType = SampleType::kUint8;
    info_.channels = 4;
    info_.premultiplied = true;
  }

  void ReadRgba(int first, int count, std::byte* out) {
    const auto width = static_cast<std::size_t>(info_.width);
    if (raster_.empty()) {
      raster_.resize(width * static_cast<std::size_t>(info_.height));
      if (TIFFReadRGBAImageOriented(tiff_.get(), static_cast<std::uint32_t>(info_.width),
                                    static_cast<std::uint32_t>(info_.height), raster_.data(),
                                    ORIENTATION_TOPLEFT, 1) != 1) {
        Damaged();
      }
    }
    const std::size_t start = static_cast<std::size_t>(first) * width;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count) * width; ++i) {
      const std::uint32_t pixel = raster_[start + i];
      out[4 * i] = static_cast<std::byte>(TIFFGetR(pixel));
      out[4 * i + 1] = static_cast<std::byte>(TIFFGetG(pixel));
      out[4 * i + 2] = static_cast<std::byte>(TIFFGetB(pixel));
      out[4 * i + 3] = static_cast<std::byte>(TIFFGetA(pixel));
    }
    if (first + count == info_.height) {
      std::vector<std::uint32_t>().swap(raster_);
    }
  }

  TiffFailure failure_;
  SourceFile file_;
  TiffPointer tiff_;
  unsigned bits_ = 0;
  unsigned fileChannels_ = 0;
  int sampleFormat_ = 0;
  int photometric_ = 0;
  int compression_ = 0;
  bool separate_ = false;
  bool tiled_ = false;
  bool direct_ = false;
  bool viaRgba_ = false;
  std::size_t sampleBytes_ = 0;
  int tileWidth_ = 0;
  int tileHeight_ = 0;
  std::uint32_t rowsPerStrip_ = 1;
  std::uint32_t loadedStrip_ = ~0U;
  std::vector<std::byte> buffer_;
  std::vector<std::byte> planes_;
  std::vector<std::uint32_t> raster_;
};

// ---- A sink as libtiff's file ----

tmsize_t ReadSink(thandle_t handle, void* out, tmsize_t size) {
  auto* sink = static_cast<ByteSink*>(handle);
  const std::uint64_t at = sink->Tell();
  const std::size_t got = sink->ReadBack(at, out, static_cast<std::size_t>(size));
  sink->Seek(at + got);
  return static_cast<tmsize_t>(got);
}

tmsize_t WriteSink(thandle_t handle, void* bytes, tmsize_t size) {
  return static_cast<ByteSink*>(handle)->Write(bytes, static_cast<std::size_t>(size)) ? size : -1;
}

toff_t SeekSink(thandle_t handle, toff_t offset, int from) {
  auto* sink = static_cast<ByteSink*>(handle);
  const std::uint64_t base = from == SEEK_CUR   ? sink->Tell()
                             : from == SEEK_END ? sink->Length()
                                                : 0;
  return sink->Seek(base + offset) ? base + offset : static_cast<toff_t>(-1);
}

toff_t SinkSize(thandle_t handle) {
  return static_cast<ByteSink*>(handle)->Length();
}

// ---- Writing ----

class TiffWriter : public PictureWriter {
 public:
  TiffWriter(ByteSink& sink, int width, int height, const PictureOptions& options)
      : sink_(sink),
        rowBytes_(static_cast<std::size_t>(width) * (options.alpha ? 4U : 3U) *
                  BytesPerSample(options.stored)) {
    constexpr std::size_t kStripBytes = std::size_t{1} << 18;
    rowsPerStrip_ = static_cast<int>(
        std::clamp<std::size_t>(kStripBytes / rowBytes_, 1, static_cast<std::size_t>(height)));
    // Past this the offsets of a plain file are too short.
    constexpr std::uint64_t kPlainLimit = 0xF0000000U;
    const bool large =
        static_cast<std::uint64_t>(rowBytes_) * static_cast<unsigned>(height) > kPlainLimit;
    const auto openOptions = MakeOptions(&failure_);
    tiff_.reset(TIFFClientOpenExt("", large ? "w8m" : "wm", &sink_, ReadSink, WriteSink, SeekSink,
                                  CloseNothing, SinkSize, nullptr, nullptr, openOptions.get()));
    Check(tiff_ != nullptr);
    WriteHeader(width, height, options);
  }

  int PreferredRows() const override { return rowsPerStrip_; }

  void WriteRows(int count, std::byte* rows) override {
    // libtiff differences what it is handed in place.
    const std::size_t bytes = static_cast<std::size_t>(count) * rowBytes_;
    Check(TIFFWriteEncodedStrip(tiff_.get(), nextStrip_++, rows, static_cast<tmsize_t>(bytes)) >=
          0);
  }

  void Finish() override {
    Check(TIFFFlush(tiff_.get()) == 1);
    tiff_.reset();
    sink_.ThrowIfFailed();
  }

 private:
  void Check(bool done) {
    sink_.ThrowIfFailed();
    if (!done) {
      throw RenderError("cannot write TIFF: " + failure_.text);
    }
  }

  /// A tag that cannot be kept would be missing from the file without a word.
  template <class... Values>
  void SetTag(std::uint32_t tag, Values... values) {
    Check(TIFFSetField(tiff_.get(), tag, values...) == 1);
  }

  /// The same of several values, whose copy libtiff does without when there is no memory for it.
  template <class Count, class Value>
  void SetTagArray(std::uint32_t tag, Count count, const Value* values) {
    SetTag(tag, count, values);
    Count kept = 0;
    const void* copy = nullptr;
    if (TIFFGetField(tiff_.get(), tag, &kept, &copy) != 1 || kept != count || copy == nullptr) {
      throw RenderError("out of memory");
    }
  }

  void WriteHeader(int width, int height, const PictureOptions& options) {
    SetTag(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
    SetTag(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
    SetTag(TIFFTAG_BITSPERSAMPLE, static_cast<int>(BytesPerSample(options.stored) * 8));
    SetTag(TIFFTAG_SAMPLESPERPIXEL, options.alpha ? 4 : 3);
    SetTag(TIFFTAG_SAMPLEFORMAT, IsFloat(options.stored) ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    SetTag(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    SetTag(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    SetTag(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    SetTag(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rowsPerStrip_));
    if (options.alpha) {
      const std::uint16_t straight = EXTRASAMPLE_UNASSALPHA;
      SetTagArray(TIFFTAG_EXTRASAMPLES, std::uint16_t{1}, &straight);
    }
    SetCompression(options);
    if (!options.metadata.iccProfile.empty()) {
      SetTagArray(TIFFTAG_ICCPROFILE,
                  static_cast<std::uint32_t>(options.metadata.iccProfile.size()),
                  options.metadata.iccProfile.data());
    }
    if (!options.metadata.xmp.empty()) {
      SetTagArray(TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(options.metadata.xmp.size()),
                  options.metadata.xmp.data());
    }
  }

  void SetCompression(const PictureOptions& options) {
    const std::string& name = options.compression;
    const bool deflate = name == "deflate" || name == "best";
    const int scheme = name.empty() || name == "none" ? COMPRESSION_NONE
                       : name == "packbits"           ? COMPRESSION_PACKBITS
                       : deflate                      ? COMPRESSION_ADOBE_DEFLATE
                                                      : COMPRESSION_LZW;
    SetTag(TIFFTAG_COMPRESSION, scheme);
    if (scheme == COMPRESSION_LZW || scheme == COMPRESSION_ADOBE_DEFLATE) {
      SetTag(TIFFTAG_PREDICTOR,
             IsFloat(options.stored) ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    }
    if (name == "best") {
      constexpr int kBest = 9;
      SetTag(TIFFTAG_ZIPQUALITY, kBest);
    }
  }

  TiffFailure failure_;
  ByteSink& sink_;
  std::size_t rowBytes_;
  TiffPointer tiff_;
  int rowsPerStrip_ = 1;
  std::uint32_t nextStrip_ = 0;
};

}  // namespace

std::unique_ptr<PictureReader> OpenTiff(const ByteSource& source) {
  return std::make_unique<TiffReader>(source);
}

std::unique_ptr<PictureWriter> CreateTiff(ByteSink& sink, int width, int height,
                                          const PictureOptions& options) {
  return std::make_unique<TiffWriter>(sink, width, height, options);
}

}  // namespace veltra::pictures
