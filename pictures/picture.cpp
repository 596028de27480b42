// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Recognises picture formats and lists what each can store.
#include "pictures/picture.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "base/error.h"
#include "host_api/types.h"
#include "pictures/formats.h"

namespace veltra {
namespace {

constexpr std::size_t kSignatureBytes = 12;

struct Signature {
  std::string_view bytes;
  PictureFormat format;
};

using namespace std::string_view_literals;

constexpr std::array<Signature, 9> kSignatures = {{
    {"\x89PNG\r\n\x1a\n"sv, PictureFormat::kPng},
    {"II\x2a\0"sv, PictureFormat::kTiff},
    {"MM\0\x2a"sv, PictureFormat::kTiff},
    {"II\x2b\0"sv, PictureFormat::kTiff},  // large files
    {"MM\0\x2b"sv, PictureFormat::kTiff},
    {"\xff\xd8\xff"sv, PictureFormat::kJpeg},
    {"\x76\x2f\x31\x01"sv, PictureFormat::kExr},
    {"#?RADIANCE"sv, PictureFormat::kHdr},
    {"#?RGBE"sv, PictureFormat::kHdr},
}};

std::string LowerExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

std::vector<std::string> Compressions(PictureFormat format) {
  switch (format) {
    case PictureFormat::kPng:
      return {"none", "fast", "best", "0", "1", "2", "3", "4", "5", "6", "7", "8", "9"};
    case PictureFormat::kTiff:
      return {"none", "fast", "best", "lzw", "deflate", "packbits"};
    case PictureFormat::kExr:
      return {"none", "fast", "best", "rle", "zips", "zip", "piz"};
    default:
      return {};
  }
}

}  // namespace

const char* FormatName(PictureFormat format) {
  switch (format) {
    case PictureFormat::kPng:
      return "PNG";
    case PictureFormat::kTiff:
      return "TIFF";
    case PictureFormat::kJpeg:
      return "JPEG";
    case PictureFormat::kExr:
      return "OpenEXR";
    default:
      return "Radiance HDR";
  }
}

const char* SampleTypeName(SampleType type) {
  switch (type) {
    case SampleType::kUint8:
      return "8";
    case SampleType::kUint16:
      return "16";
    case SampleType::kHalf:
      return "half";
    default:
      return "float";
  }
}

void CheckPictureSize(std::int64_t width, std::int64_t height) {
  const std::string size = std::to_string(width) + "x" + std::to_string(height);
  if (width < 1 || height < 1) {
    throw RenderError("a picture of " + size + " pixels has nothing in it");
  }
  if (width > kHostMaxWorldSide || height > kHostMaxWorldSide) {
    const std::string most = std::to_string(kHostMaxWorldSide);
    throw RenderError("a picture of " + size + " pixels is too large (at most " + most + "x" +
                      most + ")");
  }
}

void ThrowDamaged(const char* format, const std::string& detail) {
  throw RenderError("damaged or cut short " + std::string(format) + " file" +
                    (detail.empty() ? "" : " (" + detail + ")"));
}

std::unique_ptr<PictureReader> OpenPicture(const ByteSource& source) {
  std::array<char, kSignatureBytes> start{};
  const std::size_t length = source.ReadAt(0, start.data(), start.size());
  const std::string_view head(start.data(), length);
  for (const Signature& signature : kSignatures) {
    if (!head.starts_with(signature.bytes)) {
      continue;
    }
    switch (signature.format) {
      case PictureFormat::kPng:
        return OpenPng(source);
      case PictureFormat::kTiff:
        return OpenTiff(source);
      case PictureFormat::kJpeg:
        return OpenJpeg(source);
      case PictureFormat::kExr:
        return OpenExr(source);
      default:
        return OpenHdr(source);
    }
  }
  throw RenderError(std::string(source.Size() == 0 ? "empty file" : "not a readable image") +
                    " (expected PNG, TIFF, JPEG, EXR or HDR)");
}

std::unique_ptr<PictureWriter> CreatePicture(ByteSink& sink, int width, int height,
                                             const PictureOptions& options) {
  switch (options.format) {
    case PictureFormat::kPng:
      return CreatePng(sink, width, height, options);
    case PictureFormat::kTiff:
      return CreateTiff(sink, width, height, options);
    case PictureFormat::kJpeg:
      return CreateJpeg(sink, width, height, options);
    default:
      return CreateExr(sink, width, height, options);
  }
}

PictureFormat WritableFormatOf(const std::string& path) {
  const std::string extension = LowerExtension(path);
  if (extension == ".png") {
    return PictureFormat::kPng;
  }
  if (extension == ".exr") {
    return PictureFormat::kExr;
  }
  if (extension == ".tif" || extension == ".tiff") {
    return PictureFormat::kTiff;
  }
  if (extension == ".jpg" || extension == ".jpeg") {
    return PictureFormat::kJpeg;
  }
  throw UsageError(path + ": cannot tell the format from the name (expected an ending of .png, " +
                   ".exr, .tif, .jpg, or a video's)");
}

void CheckCompression(PictureFormat format, const std::string& compression) {
  const std::vector<std::string> known = Compressions(format);
  if (compression.empty() || std::find(known.begin(), known.end(), compression) != known.end()) {
    return;
  }
  if (known.empty()) {
    throw UsageError("--compression: " + std::string(FormatName(format)) +
                     " has none to choose (see --jpeg-quality)");
  }
  std::string list;
  for (const std::string& name : known) {
    list += (list.empty() ? "" : ", ") + name;
  }
  throw UsageError("--compression: " + std::string(FormatName(format)) + " has no '" + compression +
                   "' (expected " + list + ")");
}

std::vector<SampleType> WritableTypes(PictureFormat format) {
  switch (format) {
    case PictureFormat::kPng:
      return {SampleType::kUint8, SampleType::kUint16};
    case PictureFormat::kTiff:
      return {SampleType::kUint8, SampleType::kUint16, SampleType::kFloat};
    case PictureFormat::kJpeg:
      return {SampleType::kUint8};
    default:
      return {SampleType::kHalf, SampleType::kFloat};
  }
}

}  // namespace veltra
