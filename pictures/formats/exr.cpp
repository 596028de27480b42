// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// OpenEXR files through its own library.
#include <ImathBox.h>
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputPart.h>
#include <ImfMultiPartInputFile.h>
#include <ImfOutputFile.h>
#include <ImfPartType.h>
#include <ImfThreading.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <limits>
#include <mutex>
#include <stdexcept>

#include "base/error.h"
#include "base/text.h"
#include "pictures/formats/exr_attributes.h"
#include "pictures/formats/exr_channels.h"
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

/// An exception's text in one line, without a full stop.
std::string Reason(const char* what) {
  std::string text = OneLine(what);
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
  ExrReader(const ByteSource& source, const PictureSelection& selection) : stream_(source) {
    try {
      StartThreads();
      file_ = std::make_unique<Imf::MultiPartInputFile>(stream_);
      choice_ = ChooseExrChannels(Parts(), selection.channels);
      part_ = std::make_unique<Imf::InputPart>(*file_, choice_.part);
      dataWindow_ = part_->header().dataWindow();
      displayWindow_ = part_->header().displayWindow();
    } catch (const RenderError&) {
      throw;
    } catch (const std::exception& error) {
      ThrowDamaged("OpenEXR", Reason(error.what()));
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

  std::vector<ExrPart> Parts() const {
    std::vector<ExrPart> parts;
    for (int i = 0; i < file_->parts(); ++i) {
      const Imf::Header& header = file_->header(i);
      ExrPart part;
      part.name = header.hasName() ? header.name() : "";
      part.readable = !header.hasType() || !Imf::isDeepData(header.type());
      for (auto it = header.channels().begin(); it != header.channels().end(); ++it) {
        part.channels.emplace_back(it.name());
      }
      parts.push_back(std::move(part));
    }
    return parts;
  }

  void Describe() {
    // What the data window leaves out needs an alpha to be transparent.
    if (!choice_.alpha && dataWindow_ != displayWindow_) {
      choice_.names.emplace_back("A");
      choice_.alpha = true;
    }
    const Imf::Header& header = part_->header();
    info_.format = PictureFormat::kExr;
    info_.width = static_cast<int>(Length(displayWindow_.min.x, displayWindow_.max.x));
    info_.height = static_cast<int>(Length(displayWindow_.min.y, displayWindow_.max.y));
    info_.channels = static_cast<int>(choice_.names.size());
    info_.premultiplied = choice_.alpha;
    info_.rowType = SampleType::kFloat;
    info_.stored = SampleType::kHalf;
    for (const std::string& name : choice_.names) {
      if (const Imf::Channel* channel = header.channels().findChannel(name)) {
        CheckChannel(name, *channel);
      }
    }
    info_.pixelAspect = static_cast<double>(header.pixelAspectRatio());
    info_.metadata.left = displayWindow_.min.x;
    info_.metadata.top = displayWindow_.min.y;
    info_.metadata.attributes = AttributesOf(header);
    if (!choice_.leftOut.empty()) {
      Warn(LeftOutText());
    }
  }

  void CheckChannel(const std::string& name, const Imf::Channel& channel) {
    if (channel.xSampling != 1 || channel.ySampling != 1) {
      throw RenderError("an OpenEXR file with subsampled channels");
    }
    if (channel.type == Imf::UINT) {
      throw RenderError(
          Text("an OpenEXR file of whole numbers in channel ", name, " (expected half or float)"));
    }
    if (channel.type != Imf::HALF) {
      info_.stored = SampleType::kFloat;
    }
  }

  std::string LeftOutText() const {
    constexpr std::size_t kMostShown = 6;
    std::string text = "left out:";
    for (std::size_t i = 0; i < std::min(kMostShown, choice_.leftOut.size()); ++i) {
      text += Text(i == 0 ? " " : ", ", choice_.leftOut[i]);
    }
    if (choice_.leftOut.size() > kMostShown) {
      text += Text(" and ", choice_.leftOut.size() - kMostShown, " more");
    }
    return text + " (choose with --channels)";
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
      buffer.insert(
          choice_.names[i],
          Imf::Slice::Make(Imf::FLOAT, out + i, Imath::V2i(dataWindow_.min.x, first),
                           static_cast<std::int64_t>(width), last - first + 1, pixelBytes, rowBytes,
                           1, 1, choice_.alpha && i + 1 == channels ? 1.0 : 0.0));
    }
    try {
      part_->setFrameBuffer(buffer);
      part_->readPixels(first, last);
    } catch (const std::exception& error) {
      ThrowDamaged("OpenEXR", Reason(error.what()));
    }
  }

  SourceStream stream_;
  std::unique_ptr<Imf::MultiPartInputFile> file_;
  ExrChoice choice_;
  std::unique_ptr<Imf::InputPart> part_;
  Imath::Box2i dataWindow_;
  Imath::Box2i displayWindow_;
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
  if (name == "dwaa") {
    return Imf::DWAA_COMPRESSION;
  }
  if (name == "dwab") {
    return Imf::DWAB_COMPRESSION;
  }
  return Imf::ZIP_COMPRESSION;
}

class ExrWriter : public PictureWriter {
 public:
  ExrWriter(ByteSink& sink, int width, int height, const PictureOptions& options)
      : sink_(sink), stream_(sink), width_(width), options_(options) {
    const PictureMetadata& metadata = options.metadata;
    const Imath::V2i corner(metadata.left, metadata.top);
    const Imath::Box2i window(corner, corner + Imath::V2i(width - 1, height - 1));
    Imf::Header header(window, window, static_cast<float>(options.pixelAspect));
    AddAttributes(metadata.attributes, header);
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
      buffer.insert(Names()[i], Imf::Slice::Make(Type(), rows + i * sampleBytes,
                                                 Imath::V2i(options_.metadata.left,
                                                            options_.metadata.top + nextRow_),
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
    throw RenderError("cannot write OpenEXR: " + Reason(what));
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

std::unique_ptr<PictureReader> OpenExr(const ByteSource& source,
                                       const PictureSelection& selection) {
  return std::make_unique<ExrReader>(source, selection);
}

std::unique_ptr<PictureWriter> CreateExr(ByteSink& sink, int width, int height,
                                         const PictureOptions& options) {
  return std::make_unique<ExrWriter>(sink, width, height, options);
}

}  // namespace veltra::pictures
