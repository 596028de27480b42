// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pixel buffers for tests: any depth, any stride, part of a larger buffer, guarded by canaries.
#include "tests/conformance/test_world.h"

#include <algorithm>

namespace veltra::conformance {
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

A_long PixelSize(Depth depth) {
  return depth == Depth::k8 ? 4 : depth == Depth::k16 ? 8 : 16;
}

PF_PixelFormat FormatOf(Depth depth) {
  return depth == Depth::k8    ? PF_PixelFormat_ARGB32
         : depth == Depth::k16 ? PF_PixelFormat_ARGB64
                               : PF_PixelFormat_ARGB128;
}

double FullValue(Depth depth) {
  return depth == Depth::k8 ? 255.0 : depth == Depth::k16 ? 32768.0 : 1.0;
}

std::string NameOf(Depth depth) {
  return depth == Depth::k8 ? "8" : depth == Depth::k16 ? "16" : "Float";
}

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

TestWorld::TestWorld(Depth depth, A_long width, A_long height, const Layout& layout)
    : depth_(depth), width_(width), height_(height) {
  const A_long size = PixelSize(depth);
  rowBytes_ = (layout.left + width + layout.right) * size + layout.strayBytes;
  buffer_.resize(static_cast<std::size_t>(rowBytes_) *
                 static_cast<std::size_t>(layout.top + height + layout.bottom));
  for (std::size_t i = 0; i < buffer_.size(); ++i) {
    buffer_[i] = CanaryAt(i);
  }
  offset_ = static_cast<std::size_t>(layout.top) * static_cast<std::size_t>(rowBytes_) +
            static_cast<std::size_t>(layout.left * size);
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

const unsigned char* TestWorld::AddressOf(A_long x, A_long y) const {
  return buffer_.data() + offset_ +
         static_cast<std::size_t>(y) * static_cast<std::size_t>(rowBytes_) +
         static_cast<std::size_t>(x * PixelSize(depth_));
}

unsigned char* TestWorld::MutableAddressOf(A_long x, A_long y) {
  return const_cast<unsigned char*>(AddressOf(x, y));
}

void TestWorld::Fill(double alpha, double red, double green, double blue) {
  for (A_long y = 0; y < height_; ++y) {
    for (A_long x = 0; x < width_; ++x) {
      SetChannels(x, y, {alpha, red, green, blue});
    }
  }
}

void TestWorld::SetChannels(A_long x, A_long y, const double (&argb)[4]) {
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

double TestWorld::Channel(A_long x, A_long y, int channel) const {
  switch (depth_) {
    case Depth::k8:
      return ChannelOf(At<PF_Pixel8>(x, y), channel);
    case Depth::k16:
      return ChannelOf(At<PF_Pixel16>(x, y), channel);
    default:
      return ChannelOf(At<PF_PixelFloat>(x, y), channel);
  }
}

std::vector<unsigned char> TestWorld::Pixels() const {
  const auto rowSize = static_cast<std::size_t>(width_ * PixelSize(depth_));
  std::vector<unsigned char> bytes;
  bytes.reserve(rowSize * static_cast<std::size_t>(height_));
  for (A_long y = 0; y < height_; ++y) {
    bytes.insert(bytes.end(), AddressOf(0, y), AddressOf(0, y) + rowSize);
  }
  return bytes;
}

void TestWorld::SetPixels(const std::vector<unsigned char>& bytes) {
  const auto rowSize = static_cast<std::size_t>(width_ * PixelSize(depth_));
  for (A_long y = 0; y < height_; ++y) {
    std::memcpy(MutableAddressOf(0, y), bytes.data() + static_cast<std::size_t>(y) * rowSize,
                rowSize);
  }
}

bool TestWorld::CanariesIntact() const {
  const auto rowSize = static_cast<std::size_t>(width_ * PixelSize(depth_));
  std::size_t next = offset_;  // where the next row of pixels starts
  A_long row = 0;
  for (std::size_t i = 0; i < buffer_.size();) {
    if (row < height_ && i == next && rowSize > 0) {
      i += rowSize;
      next += static_cast<std::size_t>(rowBytes_);
      ++row;
      continue;
    }
    if (buffer_[i] != CanaryAt(i)) {
      return false;
    }
    ++i;
  }
  return true;
}

std::uint64_t HashOf(const TestWorld& world) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const unsigned char byte : world.Pixels()) {
    hash = (hash ^ byte) * 0x100000001B3U;
  }
  return hash;
}

}  // namespace veltra::conformance
