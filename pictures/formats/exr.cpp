// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// OpenEXR files through its own library.
#include <ImathBox.h>
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfThreading.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <limits>
#include <mutex>
#include <stdexcept>

#include "base/error.h"
#include "pictures/formats/formats.h"

namespace veltra::pictures {
namespace {

constexpr int kRowsAtOnce = 64;  // several blocks of the usual 16 rows, for several threads

std::atomic<int> threadsAllowed{1};

/// OpenEXR's workers are shared by all its files. They are started with the first file, since most
/// runs have none, and they are beside the callers, who wait for them.
void StartThreads() {
  static std::once_flag started;
  std::call_once(started, [] {
    const int threads = threadsAllowed;
    Imf::setGlobalThreadCount(threads > 1 ? threads : 0);
  });
}

std::string OneLine(const char* what) {
  std::string text = what;
  std::replace(text.begin(), text.end(), '\n', ' ');
  while (!text.empty() && (text.back() == '.' || text.back() == ' ')) {
    text.pop_back();
  }
  return text;
}

// ---- Reading ----

class SourceStream : public Imf::IStream {
 public:
  explicit SourceStream(const ByteSource& source) : IStream("picture"), source_(source) {}

  bool read(char out[], int size) override {
    const auto wanted = static_cast<std::size_t>(std::max(size, 0));
    if (source_.ReadAt(position_, out, wanted) != wanted) {
      throw std::runtime_error("the file ends early");
    }
    position_ += wanted;
    return position_ < source_.Size();
  }
  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override { position_ = position; }
  void clear() override {}

 private:
  const ByteSource& source_;
  std::uint64_t position_ = 0;
};

class ExrReader : public PictureReader {
 public:
  explicit ExrReader(const ByteSource& source) : stream_(source) {
    try {
      StartThreads();
      file_ = std::make_unique<Imf::InputFile>(stream_);
      dataWindow_ = file_->header().dataWindow();
      displayWindow_ = file_->header().displayWindow();
    } catch (const std::exception& error) {
      ThrowDamaged("OpenEXR", OneLine(error.what()));
    }
    CheckPictureSize(Length(displayWindow_.min.x, displayWindow_.max.x),
                     Length(displayWindow_.min.y, displayWindow_.max.y));
    CheckPictureSize(Length(dataWindow_.min.x, dataWindow_.max.x),
                     Length(dataWindow_.min.y, dataWindow_.max.y));
    Describe();
  }

  int PreferredRows() const override { return kRowsAtOnce; }

  /// The picture is the display window; what the data window leaves out is transparent.
  void ReadRows(int first, int count, std::byte* out) override {
    const int top = displayWindow_.min.y + first;
    const int dataTop = std::max(top, dataWindow_.min.y);
    const int dataBottom = std::min(top + count - 1, dataWindow_.max.y);
    if (dataWindow_ == displayWindow_) {
      ReadData(dataTop, dataBottom, reinterpret_cast<float*>(out));
      return;
    }
    std::fill_n(out, static_cast<std::size_t>(count) * info_.RowBytes(), std::byte{0});
    if (dataTop > dataBottom) {
      return;
    }
    const auto channels = static_cast<std::size_t>(info_.channels);
    const auto dataWidth = static_cast<std::size_t>(Length(dataWindow_.min.x, dataWindow_.max.x));
    rows_.resize(static_cast<std::size_t>(dataBottom - dataTop + 1) * dataWidth * channels);
    ReadData(dataTop, dataBottom, rows_.data());
    const int left = std::max(displayWindow_.min.x, dataWindow_.min.x);
    const int right = std::min(displayWindow_.max.x, dataWindow_.max.x);
    for (int y = dataTop; left <= right && y <= dataBottom; ++y) {
      const float* from = rows_.data() + (static_cast<std::size_t>(y - dataTop) * dataWidth +
                                          static_cast<std::size_t>(left - dataWindow_.min.x)) *
                                             channels;
      auto* to =
          reinterpret_cast<float*>(out + static_cast<std::size_t>(y - top) * info_.RowBytes()) +
          static_cast<std::size_t>(left - displayWindow_.min.x) * channels;
      std::copy_n(from, static_cast<std::size_t>(right - left + 1) * channels, to);
    }
  }

 private:
  static std::int64_t Length(int first, int last) {
    return static_cast<std::int64_t>(last) - first + 1;
  }

  void Describe() {
    const Imf::ChannelList& channels = file_->header().channels();
    const bool colour = channels.findChannel("R") != nullptr ||
                        channels.findChannel("G") != nullptr ||
                        channels.findChannel("B") != nullptr;
    if (!colour && channels.findChannel("Y") == nullptr) {
      throw RenderError("an OpenEXR file without the channels R, G, B or Y");
    }
    if (!colour && channels.findChannel("RY") != nullptr) {
      throw RenderError("an OpenEXR file in luminance and chroma; convert it to RGB first");
    }
    names_ = colour ? std::vector<std::string>{"R", "G", "B"} : std::vector<std::string>{"Y"};
    // What the data window leaves out needs an alpha to be transparent.
    const bool alpha = channels.findChannel("A") != nullptr || dataWindow_ != displayWindow_;
    if (alpha) {
      names_.emplace_back("A");
    }
    info_.format = PictureFormat::kExr;
    info_.width = static_cast<int>(Length(displayWindow_.min.x, displayWindow_.max.x));
    info_.height = static_cast<int>(Length(displayWindow_.min.y, displayWindow_.max.y));
    info_.channels = static_cast<int>(names_.size());
    info_.premultiplied = alpha;
    info_.rowType = SampleType::kFloat;
    info_.stored = SampleType::kHalf;
    for (const std::string& name : names_) {
      const Imf::Channel* channel = channels.findChannel(name);
      if (channel == nullptr) {
        continue;
      }
      if (channel->xSampling != 1 || channel->ySampling != 1) {
        throw RenderError("an OpenEXR file with subsampled channels");
      }
      if (channel->type != Imf::HALF) {
        info_.stored = SampleType::kFloat;
      }
    }
  }

  /// Reads the rows first..last of the data window, tightly packed. A channel that the file does
  /// not have is black, and an alpha opaque.
  void ReadData(int first, int last, float* out) {
    const auto channels = static_cast<std::size_t>(info_.channels);
    const auto width = static_cast<std::size_t>(Length(dataWindow_.min.x, dataWindow_.max.x));
    const std::size_t pixelBytes = channels * sizeof(float);
    const std::size_t rowBytes = width * pixelBytes;
    Imf::FrameBuffer buffer;
    for (std::size_t i = 0; i < channels; ++i) {
      buffer.insert(names_[i],
                    Imf::Slice::Make(Imf::FLOAT, out + i, Imath::V2i(dataWindow_.min.x, first),
                                     static_cast<std::int64_t>(width), last - first + 1, pixelBytes,
                                     rowBytes, 1, 1, names_[i] == "A" ? 1.0 : 0.0));
    }
    try {
      file_->setFrameBuffer(buffer);
      file_->readPixels(first, last);
    } catch (const std::exception& error) {
      ThrowDamaged("OpenEXR", OneLine(error.what()));
    }
  }

  SourceStream stream_;
  std::unique_ptr<Imf::InputFile> file_;
  Imath::Box2i dataWindow_;
  Imath::Box2i displayWindow_;
  std::vector<std::string> names_;
  std::vector<float> rows_;
};

// ---- Writing ----

class SinkStream : public Imf::OStream {
 public:
  explicit SinkStream(ByteSink& sink) : OStream("picture"), sink_(sink) {}
  void write(const char bytes[], int size) override {
    if (!sink_.Write(bytes, static_cast<std::size_t>(std::max(size, 0)))) {
      throw std::runtime_error("the file cannot be written");
    }
  }
  std::uint64_t tellp() override { return sink_.Tell(); }
  void seekp(std::uint64_t position) override {
    if (!sink_.Seek(position)) {
      throw std::runtime_error("the file cannot be written");
    }
  }

 private:
  ByteSink& sink_;
};

Imf::Compression CompressionOf(const std::string& name) {
  if (name == "none") {
    return Imf::NO_COMPRESSION;
  }
  if (name == "rle") {
    return Imf::RLE_COMPRESSION;
  }
  if (name == "zips") {
    return Imf::ZIPS_COMPRESSION;
  }
  if (name == "piz") {
    return Imf::PIZ_COMPRESSION;
  }
  return Imf::ZIP_COMPRESSION;
}

class ExrWriter : public PictureWriter {
 public:
  ExrWriter(ByteSink& sink, int width, int height, const PictureOptions& options)
      : sink_(sink), stream_(sink), width_(width), options_(options) {
    Imf::Header header(width, height, static_cast<float>(options.pixelAspect));
    header.compression() = CompressionOf(options.compression);
    constexpr int kBest = 9;
    constexpr int kFast = 1;
    header.zipCompressionLevel() = options.compression == "best" ? kBest : kFast;
    const Imf::PixelType type = Type();
    for (const char* name : Names()) {
      header.channels().insert(name, Imf::Channel(type));
    }
    try {
      StartThreads();
      file_ = std::make_unique<Imf::OutputFile>(stream_, header);
      tableEnd_ = sink_.Tell();
    } catch (const std::exception& error) {
      Fail(error.what());
    }
  }

  int PreferredRows() const override { return kRowsAtOnce; }

  void WriteRows(int count, std::byte* rows) override {
    const std::size_t sampleBytes = BytesPerSample(options_.stored);
    const std::size_t channels = Names().size();
    const std::size_t rowBytes = static_cast<std::size_t>(width_) * channels * sampleBytes;
    Imf::FrameBuffer buffer;
    for (std::size_t i = 0; i < channels; ++i) {
      buffer.insert(Names()[i],
                    Imf::Slice::Make(Type(), rows + i * sampleBytes, Imath::V2i(0, nextRow_),
                                     width_, count, channels * sampleBytes, rowBytes));
    }
    try {
      file_->setFrameBuffer(buffer);
      file_->writePixels(count);
    } catch (const std::exception& error) {
      Fail(error.what());
    }
    nextRow_ += count;
  }

  void Finish() override {
    try {
      file_.reset();  // writes the table of rows
    } catch (const std::exception& error) {
      Fail(error.what());
    }
    sink_.ThrowIfFailed();
    CheckRows();
  }

 private:
  /// The library loses blocks without a word where its threads run out of memory: their places in
  /// the table of blocks, which ends the header, stay 0.
  void CheckRows() const {
    const Imf::Compression compression = CompressionOf(options_.compression);
    const int rowsPerBlock = compression == Imf::ZIP_COMPRESSION   ? 16
                             : compression == Imf::PIZ_COMPRESSION ? 32
                                                                   : 1;
    const auto blocks = static_cast<std::size_t>((nextRow_ + rowsPerBlock - 1) / rowsPerBlock);
    std::vector<std::uint64_t> places(blocks);
    const std::size_t bytes = blocks * sizeof(std::uint64_t);
    const std::size_t got = sink_.ReadBack(tableEnd_ - bytes, places.data(), bytes);
    if (got == bytes && std::find(places.begin(), places.end(), 0U) != places.end()) {
      Fail("blocks of rows are missing");
    }
  }

  Imf::PixelType Type() const {
    return options_.stored == SampleType::kHalf ? Imf::HALF : Imf::FLOAT;
  }

  std::vector<const char*> Names() const {
    return options_.alpha ? std::vector<const char*>{"R", "G", "B", "A"}
                          : std::vector<const char*>{"R", "G", "B"};
  }

  [[noreturn]] void Fail(const char* what) const {
    sink_.ThrowIfFailed();
    throw RenderError("cannot write OpenEXR: " + OneLine(what));
  }

  ByteSink& sink_;
  SinkStream stream_;
  int width_;
  PictureOptions options_;
  std::unique_ptr<Imf::OutputFile> file_;
  int nextRow_ = 0;
  std::uint64_t tableEnd_ = 0;  ///< where the table of blocks ends
};

}  // namespace

void SetExrThreads(int threads) {
  threadsAllowed = threads;
}

std::unique_ptr<PictureReader> OpenExr(const ByteSource& source) {
  return std::make_unique<ExrReader>(source);
}

std::unique_ptr<PictureWriter> CreateExr(ByteSink& sink, int width, int height,
                                         const PictureOptions& options) {
  return std::make_unique<ExrWriter>(sink, width, height, options);
}

}  // namespace veltra::pictures
