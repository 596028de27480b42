// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the readers and writers of every format can do, a few rows at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace veltra::host {
class ThreadPool;
}

namespace veltra::pictures {

/// A channel as a file stores it: 0..255, 0..65535, or floating point with 1.0 as full scale.
enum class SampleType { kUint8, kUint16, kHalf, kFloat };

constexpr std::size_t BytesPerSample(SampleType type) {
  return type == SampleType::kUint8 ? 1 : type == SampleType::kFloat ? 4 : 2;
}

constexpr bool IsFloat(SampleType type) {
  return type == SampleType::kHalf || type == SampleType::kFloat;
}

enum class PictureFormat { kPng, kTiff, kJpeg, kExr, kHdr, kWebp, kPam };
inline constexpr std::size_t kPictureFormatCount = 7;

/// Something a header says, in its format's own bytes.
struct NamedAttribute {
  std::string name;
  std::string type;
  std::vector<char> value;
};

/// What a file says about its colours, its projection and its making; carried along, never
/// interpreted. Each format takes what it can hold.
struct PictureMetadata {
  std::vector<std::uint8_t> iccProfile;
  std::string xmp;
  std::vector<NamedAttribute> attributes;  ///< of OpenEXR
  int left = 0;  ///< of the picture's first pixel on a canvas: OpenEXR's display window
  int top = 0;

  /// Drops what is wrong for a part of the picture, or at another resolution.
  void KeepForPart();
};

/// What of a file is read.
struct PictureSelection {
  /// OpenEXR's part, layer or channels (see ChooseExrChannels); empty for the usual ones.
  std::string channels;
};

struct PictureInfo {
  PictureFormat format = PictureFormat::kPng;
  int width = 0;
  int height = 0;
  int channels = 0;  ///< of a row as read: 1 grey, 2 grey and alpha, 3 RGB, 4 RGBA
  SampleType stored = SampleType::kUint8;   ///< in the file
  SampleType rowType = SampleType::kUint8;  ///< of a row as read; half comes as float
  bool premultiplied = false;               ///< colour is multiplied by alpha
  double pixelAspect = 1;                   ///< width over height, as the file tells it
  PictureMetadata metadata;
  std::vector<std::string> warnings;  ///< what is lost or odd, a line each without the file's name

  std::size_t RowBytes() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels) *
           BytesPerSample(rowType);
  }
};

/// Gives the rows of one picture from the top. Not for several threads at once unless
/// AnyOrder() is true.
class PictureReader {
 public:
  PictureReader() = default;
  PictureReader(const PictureReader&) = delete;
  PictureReader& operator=(const PictureReader&) = delete;
  virtual ~PictureReader() = default;

  const PictureInfo& Info() const { return info_; }
  /// Adds to Info().warnings what was noticed while reading.
  void Warn(std::string line) { info_.warnings.push_back(std::move(line)); }
  /// How many rows are best read at once.
  virtual int PreferredRows() const { return 1; }
  /// Whether rows may be read in any order, and on several threads at once.
  virtual bool AnyOrder() const { return false; }
  /// Reads `count` rows from `first` into `out`, interleaved, Info().RowBytes() each. Rows are
  /// asked for in order. Throws RenderError with the reason, without the file's name.
  virtual void ReadRows(int first, int count, std::byte* out) = 0;

 protected:
  PictureInfo info_;
};

/// How a picture is written. Strings that do not apply to the format were refused before.
struct PictureOptions {
  PictureFormat format = PictureFormat::kPng;
  SampleType stored = SampleType::kUint8;
  bool alpha = true;        ///< RGBA, otherwise RGB
  std::string compression;  ///< empty is the format's default
  int jpegQuality = 95;     ///< 1..100
  double pixelAspect = 1.0;
  host::ThreadPool* pool = nullptr;  ///< that compression may use
  PictureMetadata metadata;
};

/// Takes the rows of one picture from the top.
class PictureWriter {
 public:
  PictureWriter() = default;
  PictureWriter(const PictureWriter&) = delete;
  PictureWriter& operator=(const PictureWriter&) = delete;
  virtual ~PictureWriter() = default;

  /// How many rows are best written at once.
  virtual int PreferredRows() const { return 1; }
  /// Appends rows of the stored type: interleaved RGB or RGBA, premultiplied where the format
  /// wants it. May change what it is handed. Throws RenderError with the reason.
  virtual void WriteRows(int count, std::byte* rows) = 0;
  /// After the last row.
  virtual void Finish() = 0;
};

}  // namespace veltra::pictures
