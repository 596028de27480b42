// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Attributes as bytes, so that those nobody here knows go along too.
#include "pictures/formats/exr_attributes.h"

#include <ImfIO.h>
#include <ImfOpaqueAttribute.h>
#include <ImfVersion.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace veltra::pictures {
namespace {

using namespace std::string_view_literals;

/// Those that tell how this one file is laid out, or show its picture.
constexpr std::array kOwn = {"channels"sv,
                             "chunkCount"sv,
                             "compression"sv,
                             "dataWindow"sv,
                             "displayWindow"sv,
                             "dwaCompressionLevel"sv,
                             "lineOrder"sv,
                             "maxSamplesPerPixel"sv,
                             "multiView"sv,
                             "name"sv,
                             "pixelAspectRatio"sv,
                             "preview"sv,
                             "tiles"sv,
                             "type"sv,
                             "version"sv,
                             "view"sv};

class BytesOut : public Imf::OStream {
 public:
  explicit BytesOut(std::vector<char>& bytes) : OStream("attribute"), bytes_(bytes) {}
  void write(const char from[], int size) override {
    bytes_.insert(bytes_.end(), from, from + size);
  }
  std::uint64_t tellp() override { return bytes_.size(); }
  void seekp(std::uint64_t /*position*/) override {
    throw std::logic_error("an attribute is written in one go");
  }

 private:
  std::vector<char>& bytes_;
};

class BytesIn : public Imf::IStream {
 public:
  explicit BytesIn(const std::vector<char>& bytes) : IStream("attribute"), bytes_(bytes) {}
  bool read(char out[], int size) override {
    const auto wanted = static_cast<std::size_t>(std::max(size, 0));
    if (wanted > bytes_.size() - position_) {
      throw std::runtime_error("the attribute ends early");
    }
    if (wanted != 0) {
      std::memcpy(out, bytes_.data() + position_, wanted);
    }
    position_ += wanted;
    return position_ < bytes_.size();
  }
  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override {
    position_ = std::min(static_cast<std::size_t>(position), bytes_.size());
  }

 private:
  const std::vector<char>& bytes_;
  std::size_t position_ = 0;
};

std::unique_ptr<Imf::Attribute> NewAttribute(const std::string& type) {
  if (Imf::Attribute::knownType(type.c_str())) {
    return std::unique_ptr<Imf::Attribute>(Imf::Attribute::newAttribute(type.c_str()));
  }
  return std::make_unique<Imf::OpaqueAttribute>(type.c_str());
}

}  // namespace

std::vector<NamedAttribute> AttributesOf(const Imf::Header& header) {
  std::vector<NamedAttribute> attributes;
  for (auto it = header.begin(); it != header.end(); ++it) {
    if (std::find(kOwn.begin(), kOwn.end(), std::string_view(it.name())) != kOwn.end()) {
      continue;
    }
    NamedAttribute attribute{it.name(), it.attribute().typeName(), {}};
    BytesOut stream(attribute.value);
    it.attribute().writeValueTo(stream, Imf::EXR_VERSION);
    attributes.push_back(std::move(attribute));
  }
  return attributes;
}

void AddAttributes(const std::vector<NamedAttribute>& attributes, Imf::Header& header) {
  for (const NamedAttribute& attribute : attributes) {
    try {
      const auto made = NewAttribute(attribute.type);
      BytesIn stream(attribute.value);
      made->readValueFrom(stream, static_cast<int>(attribute.value.size()), Imf::EXR_VERSION);
      header.insert(attribute.name, *made);
    } catch (const std::exception&) {
      continue;  // its own reader does not take it back
    }
  }
}

}  // namespace veltra::pictures
