// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pixel buffers for tests: any depth, any stride, part of a larger buffer, guarded by canaries.
#include "tests/stand_in/world.h"

#include <algorithm>

#include "tests/stand_in/hash.h"

namespace veltra::stand_in {
namespace {

unsigned char CanaryAt(std::size_t index) {
  return static_cast<unsigned char>(0xA5U ^ (index * 31U & 0xFFU));
}

template <class Pixel, class Value>
Pixel Scaled(const double (&argb)[4], double full) {
  return {static_cast<Value>(argb[0] * full), static_cast<Value>(argb[1] * full),
          static_cast<Value>(argb[2] * full), static_cast<Value>(argb[3] * full)};
}

template <class Pixel>
double ChannelOf(const Pixel& pixel, int channel) {
  const double channels[4] = {static_cast<double>(pixel.alpha), static_cast<double>(pixel.red),
                              static_cast<double>(pixel.green), static_cast<double>(pixel.blue)};
  return channels[channel];
}

}  // namespace

template <>
PF_Pixel8 MakePixel(double alpha, double red, double green, double blue) {
  return Scaled<PF_Pixel8, A_u_char>({alpha, red, green, blue}, 255.0);
}
template <>
PF_Pixel16 MakePixel(double alpha, double red, double green, double blue) {
  return Scaled<PF_Pixel16, A_u_short>({alpha, red, green, blue}, 32768.0);
}
template <>
PF_PixelFloat MakePixel(double alpha, double red, double green, double blue) {
  return Scaled<PF_PixelFloat, float>({alpha, red, green, blue}, 1.0);
}

World::World(Depth depth, A_long width, A_long height, const Layout& layout)
    : depth_(depth), width_(width), height_(height) {
  const A_long size = PixelSize(depth);
  const A_long stride = (layout.left + width + layout.right) * size + layout.strayBytes;
  const A_long front = layout.guardBytes + layout.leadBytes;
  buffer_.resize(static_cast<std::size_t>(front + layout.guardBytes) +
                 static_cast<std::size_t>(stride) *
                     static_cast<std::size_t>(layout.top + height + layout.bottom));
  for (std::size_t i = 0; i < buffer_.size(); ++i) {
    buffer_[i] = CanaryAt(i);
  }
  const A_long firstRow = layout.upwards ? layout.bottom + height - 1 : layout.top;
  offset_ = static_cast<std::size_t>(front + layout.left * size) +
            static_cast<std::size_t>(firstRow) * static_cast<std::size_t>(stride);
  rowBytes_ = layout.upwards ? -stride : stride;
  world.data = buffer_.data() + offset_;
  world.rowbytes = rowBytes_;
  world.width = width;
  world.height = height;
  world.extent_hint = {0, 0, width, height};
  world.world_flags =
      PF_WorldFlag_WRITEABLE | (depth == Depth::k8 ? PF_WorldFlags{0} : PF_WorldFlag_DEEP);
  world.pix_aspect_ratio = {1, 1};
  Fill(0.3, 0.9, 0.1, 0.5);
}

std::size_t World::OffsetOf(A_long x, A_long y) const {
  return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(offset_) +
                                  static_cast<std::ptrdiff_t>(y) * rowBytes_ +
                                  static_cast<std::ptrdiff_t>(x) * PixelSize(depth_));
}

const unsigned char* World::AddressOf(A_long x, A_long y) const {
  return buffer_.data() + OffsetOf(x, y);
}

unsigned char* World::MutableAddressOf(A_long x, A_long y) {
  return const_cast<unsigned char*>(AddressOf(x, y));
}

void World::Fill(double alpha, double red, double green, double blue) {
  for (A_long y = 0; y < height_; ++y) {
    for (A_long x = 0; x < width_; ++x) {
      SetChannels(x, y, {alpha, red, green, blue});
    }
  }
}

void World::SetChannels(A_long x, A_long y, const double (&argb)[4]) {
  switch (depth_) {
    case Depth::k8:
      Set(x, y, MakePixel<PF_Pixel8>(argb[0], argb[1], argb[2], argb[3]));
      break;
    case Depth::k16:
      Set(x, y, MakePixel<PF_Pixel16>(argb[0], argb[1], argb[2], argb[3]));
      break;
    case Depth::kFloat:
      Set(x, y, MakePixel<PF_PixelFloat>(argb[0], argb[1], argb[2], argb[3]));
      break;
  }
}

double World::Channel(A_long x, A_long y, int channel) const {
  switch (depth_) {
    case Depth::k8:
      return ChannelOf(At<PF_Pixel8>(x, y), channel);
    case Depth::k16:
      return ChannelOf(At<PF_Pixel16>(x, y), channel);
    case Depth::kFloat:
      break;
  }
  return ChannelOf(At<PF_PixelFloat>(x, y), channel);
}

std::vector<unsigned char> World::Pixels() const {
  const auto rowSize = static_cast<std::size_t>(width_ * PixelSize(depth_));
  std::vector<unsigned char> bytes;
  bytes.reserve(rowSize * static_cast<std::size_t>(height_));
  for (A_long y = 0; y < height_; ++y) {
    bytes.insert(bytes.end(), AddressOf(0, y), AddressOf(0, y) + rowSize);
  }
  return bytes;
}

void World::SetPixels(const std::vector<unsigned char>& bytes) {
  const auto rowSize = static_cast<std::size_t>(width_ * PixelSize(depth_));
  for (A_long y = 0; y < height_; ++y) {
    std::memcpy(MutableAddressOf(0, y), bytes.data() + static_cast<std::size_t>(y) * rowSize,
                rowSize);
  }
}

bool World::CanariesIntact() const {
  const auto rowSize = static_cast<std::size_t>(width_ * PixelSize(depth_));
  std::vector<bool> isPixel(buffer_.size(), false);
  for (A_long y = 0; y < height_; ++y) {
    const auto row = isPixel.begin() + static_cast<std::ptrdiff_t>(OffsetOf(0, y));
    std::fill(row, row + static_cast<std::ptrdiff_t>(rowSize), true);
  }
  for (std::size_t i = 0; i < buffer_.size(); ++i) {
    if (!isPixel[i] && buffer_[i] != CanaryAt(i)) {
      return false;
    }
  }
  return true;
}

std::uint64_t HashOf(const World& world) {
  return HashOf(world.Pixels());
}

}  // namespace veltra::stand_in
