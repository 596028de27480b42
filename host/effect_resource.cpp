// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Reading the 64-bit Portable Executable format as far as effects need it.

#include "host/effect_resource.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "base/text.h"

namespace veltra::host {
namespace {

using Bytes = std::span<const std::byte>;

/// The file ends, or points, where it must not.
struct Malformed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Little-endian numbers and texts of a block of bytes; reading beyond it throws.
class Reader {
 public:
  explicit Reader(Bytes bytes) : bytes_(bytes) {}

  Bytes Block(std::size_t offset, std::size_t size) const {
    if (offset > bytes_.size() || size > bytes_.size() - offset) {
      throw Malformed("it is cut off");
    }
    return bytes_.subspan(offset, size);
  }
  std::uint32_t U16(std::size_t offset) const { return Number(offset, 2); }
  std::uint32_t U32(std::size_t offset) const { return Number(offset, 4); }

  std::string Text(std::size_t offset, std::size_t size) const {
    std::string text;
    for (const std::byte b : Block(offset, size)) {
      text.push_back(static_cast<char>(b));
    }
    return text;
  }
  std::string ZeroText(std::size_t offset) const {
    std::string text;
    for (; Block(offset, 1)[0] != std::byte{0}; ++offset) {
      text.push_back(static_cast<char>(bytes_[offset]));
    }
    return text;
  }

 private:
  std::uint32_t Number(std::size_t offset, std::size_t size) const {
    std::uint32_t number = 0;
    const Bytes block = Block(offset, size);
    for (std::size_t i = size; i > 0; --i) {
      number = number * 256 + static_cast<std::uint32_t>(block[i - 1]);
    }
    return number;
  }

  Bytes bytes_;
};

// ---- The file ----

// Offsets within the headers, as Microsoft's "PE Format" gives them.
constexpr std::size_t kPeOffsetField = 0x3C;
constexpr std::size_t kCoffHeaderSize = 24;  // with the signature
constexpr std::uint32_t kPe32Plus = 0x20B;
constexpr std::size_t kDirectoriesOffset = 112;  // in the optional header
constexpr std::size_t kSectionHeaderSize = 40;
constexpr std::size_t kExportDirectory = 0;
constexpr std::size_t kResourceDirectory = 2;
constexpr std::uint32_t kHighBit = 0x80000000U;

class PeFile {
 public:
  explicit PeFile(Bytes bytes) : file_(bytes) {
    if (file_.Text(0, 2) != "MZ") {
      throw Malformed("it is not a Windows library");
    }
    const std::size_t pe = file_.U32(kPeOffsetField);
    if (file_.Text(pe, 4) != std::string("PE\0\0", 4)) {
      throw Malformed("it is not a Windows library");
    }
    optional_ = pe + kCoffHeaderSize;
    if (file_.U16(optional_) != kPe32Plus) {
      throw Malformed("it is not a 64-bit Windows library");
    }
    sectionCount_ = file_.U16(pe + 6);
    sections_ = optional_ + file_.U16(pe + 20);
  }

  const Reader& File() const { return file_; }

  /// Address of a data directory; 0 for none.
  std::uint32_t Directory(std::size_t index) const {
    const std::uint32_t count = file_.U32(optional_ + kDirectoriesOffset - 4);
    return index < count ? file_.U32(optional_ + kDirectoriesOffset + index * 8) : 0;
  }

  /// Where in the file an address of the loaded image lies.
  std::size_t FileOffset(std::uint32_t address) const {
    for (std::size_t i = 0; i < sectionCount_; ++i) {
      const std::size_t header = sections_ + i * kSectionHeaderSize;
      const std::uint32_t start = file_.U32(header + 12);
      const std::uint32_t size = file_.U32(header + 16);
      if (address >= start && address - start < size) {
        return file_.U32(header + 20) + (address - start);
      }
    }
    throw Malformed("an address lies in none of its sections");
  }

 private:
  Reader file_;
  std::size_t optional_ = 0;
  std::size_t sections_ = 0;
  std::size_t sectionCount_ = 0;
};

std::vector<std::string> ReadExports(const PeFile& pe) {
  std::vector<std::string> names;
  const std::uint32_t directory = pe.Directory(kExportDirectory);
  if (directory == 0) {
    return names;
  }
  const std::size_t table = pe.FileOffset(directory);
  const std::uint32_t count = pe.File().U32(table + 24);
  if (count == 0) {
    return names;
  }
  const std::size_t addresses = pe.FileOffset(pe.File().U32(table + 32));
  for (std::size_t i = 0; i < count; ++i) {
    names.push_back(pe.File().ZeroText(pe.FileOffset(pe.File().U32(addresses + i * 4))));
  }
  return names;
}

// ---- The resource ----

constexpr std::uint32_t kPiplVersion = 1;
constexpr std::size_t kPiplHeaderSize = 10;
constexpr std::size_t kPropertyHeaderSize = 16;

/// Four characters of a number that was written with the first one highest.
std::string ReadingOrder(std::string stored) {
  std::reverse(stored.begin(), stored.end());
  return stored;
}

EffectResource ParseProperties(Bytes bytes) {
  const Reader in(bytes);
  if (in.U16(0) != kPiplVersion) {
    throw Malformed(Text("its PIPL resource has version ", in.U16(0), " (expected 1)"));
  }
  EffectResource resource;
  const std::uint32_t count = in.U32(6);
  std::size_t at = kPiplHeaderSize;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::string key = ReadingOrder(in.Text(at + 4, 4));
    if (ReadingOrder(in.Text(at, 4)) != "8BIM") {
      throw Malformed(Text("property ", i + 1, " of its PIPL resource is not of vendor 8BIM"));
    }
    const std::size_t length = in.U32(at + 12);
    const Bytes data = in.Block(at + kPropertyHeaderSize, length);
    resource.properties.emplace(key, std::vector<std::byte>(data.begin(), data.end()));
    at += kPropertyHeaderSize + (length + 3) / 4 * 4;
  }
  return resource;
}

/// The first entry of a resource directory that `wanted` accepts; its second word, or nothing.
template <class Wanted>
std::optional<std::uint32_t> FindEntry(const Reader& file, std::size_t directory, Wanted wanted) {
  const std::size_t count = file.U16(directory + 12) + file.U16(directory + 14);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = directory + 16 + i * 8;
    if (wanted(file.U32(entry))) {
      return file.U32(entry + 4);
    }
  }
  return std::nullopt;
}

/// Whether the name of a resource type, as an entry's first word gives it, is "PIPL".
bool IsPiplType(const Reader& file, std::size_t root, std::uint32_t name) {
  if ((name & kHighBit) == 0) {
    return false;
  }
  const std::size_t text = root + (name & ~kHighBit);
  if (file.U16(text) != 4) {
    return false;
  }
  const std::string wide = file.Text(text + 2, 8);
  return wide == std::string("P\0I\0P\0L\0", 8);
}

std::optional<EffectResource> ReadResource(const PeFile& pe) {
  const std::uint32_t directory = pe.Directory(kResourceDirectory);
  if (directory == 0) {
    return std::nullopt;
  }
  const Reader& file = pe.File();
  const std::size_t root = pe.FileOffset(directory);
  auto next =
      FindEntry(file, root, [&](std::uint32_t name) { return IsPiplType(file, root, name); });
  // Below the type lie the ids, below an id the languages; the first of each will do.
  for (int level = 0; level < 2 && next && (*next & kHighBit) != 0; ++level) {
    next = FindEntry(file, root + (*next & ~kHighBit), [](std::uint32_t) { return true; });
  }
  if (!next) {
    return std::nullopt;
  }
  const std::size_t data = root + *next;
  return ParseProperties(file.Block(pe.FileOffset(file.U32(data)), file.U32(data + 4)));
}

std::vector<std::byte> ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<char> text{std::istreambuf_iterator<char>(in), {}};
  if (!in && !in.eof()) {
    throw Malformed("it cannot be read");
  }
  std::vector<std::byte> bytes(text.size());
  std::transform(text.begin(), text.end(), bytes.begin(),
                 [](char c) { return static_cast<std::byte>(c); });
  return bytes;
}

}  // namespace

std::optional<std::uint32_t> EffectResource::Number(const std::string& key) const {
  const auto found = properties.find(key);
  if (found == properties.end() || found->second.size() != 4) {
    return std::nullopt;
  }
  return Reader(found->second).U32(0);
}

std::optional<std::string> EffectResource::PascalText(const std::string& key) const {
  const auto found = properties.find(key);
  if (found == properties.end() || found->second.empty()) {
    return std::nullopt;
  }
  const auto length = static_cast<std::size_t>(found->second[0]);
  if (length + 1 > found->second.size()) {
    return std::nullopt;
  }
  return Reader(found->second).Text(1, length);
}

std::optional<std::string> EffectResource::ZeroText(const std::string& key) const {
  const auto found = properties.find(key);
  if (found == properties.end() ||
      std::find(found->second.begin(), found->second.end(), std::byte{0}) == found->second.end()) {
    return std::nullopt;
  }
  return Reader(found->second).ZeroText(0);
}

bool IsPortableExecutable(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  char start[2] = {};
  return in.read(start, sizeof(start)) && start[0] == 'M' && start[1] == 'Z';
}

Expected<PortableExecutable> ReadPortableExecutable(const std::filesystem::path& path) {
  try {
    const std::vector<std::byte> bytes = ReadBytes(path);
    const PeFile pe{Bytes(bytes)};
    return PortableExecutable{ReadResource(pe), ReadExports(pe)};
  } catch (const Malformed& trouble) {
    return Failure{trouble.what()};
  }
}

}  // namespace veltra::host
