// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Worlds for fuzzing.
#include "fuzz/fuzz_world.h"

#include <algorithm>
#include <bit>

namespace veltra::fuzz {
namespace {

constexpr std::size_t kGuardBytes = 64;

std::uint8_t GuardAt(std::size_t index) {
  return static_cast<std::uint8_t>(0x5AU ^ (index * 29U & 0xFFU));
}

std::size_t ChannelBytes(Depth depth) {
  return PixelBytes(depth) / 4;
}

float ChannelFromBits(std::uint32_t bits) {
  // One in 32 is any float at all; the others lie between -0.25 and 1.75.
  if ((bits & 31U) == 0) {
    return std::bit_cast<float>(bits * 0x9E3779B9U);
  }
  return static_cast<float>(bits >> 5 & 0xFFFFU) / 32768.0F - 0.25F;
}

}  // namespace

std::size_t PixelBytes(Depth depth) {
  return depth == Depth::k8 ? 4 : depth == Depth::k16 ? 8 : 16;
}

PF_PixelFormat FormatOf(Depth depth) {
  return depth == Depth::k8    ? PF_PixelFormat_ARGB32
         : depth == Depth::k16 ? PF_PixelFormat_ARGB64
                               : PF_PixelFormat_ARGB128;
}

std::uint64_t Scramble(std::uint64_t bits) {
  bits += 0x9E3779B97F4A7C15U;
  bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
  bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
  return bits ^ (bits >> 31);
}

template <>
PF_Pixel8 PixelFromBits(std::uint64_t bits) {
  return {static_cast<A_u_char>(bits), static_cast<A_u_char>(bits >> 8),
          static_cast<A_u_char>(bits >> 16), static_cast<A_u_char>(bits >> 24)};
}
template <>
PF_Pixel16 PixelFromBits(std::uint64_t bits) {
  return {static_cast<A_u_short>(bits), static_cast<A_u_short>(bits >> 16),
          static_cast<A_u_short>(bits >> 32), static_cast<A_u_short>(bits >> 48)};
}
template <>
PF_PixelFloat PixelFromBits(std::uint64_t bits) {
  const std::uint64_t more = Scramble(bits);
  return {ChannelFromBits(static_cast<std::uint32_t>(bits)),
          ChannelFromBits(static_cast<std::uint32_t>(bits >> 32)),
          ChannelFromBits(static_cast<std::uint32_t>(more)),
          ChannelFromBits(static_cast<std::uint32_t>(more >> 32))};
}

FuzzWorld::FuzzWorld(ByteReader& bytes, Depth depth, int maxSide, Role role) {
  LayOut(bytes, depth, maxSide, role);
  Paint(bytes, depth);
  original_ = buffer_;
  world.extent_hint = {0, 0, width_, height_};
  if (bytes.Rarely()) {
    world.extent_hint = {bytes.Int(), bytes.Int(), bytes.Int(), bytes.Int()};
  }
  if (bytes.Rarely()) {
    world.origin_x = bytes.Int();
    world.origin_y = bytes.Int();
  }
  world.pix_aspect_ratio = {1, 1};
  if (bytes.Rarely()) {
    world.pix_aspect_ratio = {bytes.Int(), bytes.Raw<std::uint32_t>() >> bytes.Below(32)};
  }
  world.world_flags =
      PF_WorldFlag_WRITEABLE | (depth == Depth::k8 ? PF_WorldFlags{0} : PF_WorldFlag_DEEP);
  if (role == Role::kSource) {
    Disguise(bytes);
  }
}

/// Guard bytes, rows with padding, guard bytes; every second world runs upwards in memory.
void FuzzWorld::LayOut(ByteReader& bytes, Depth depth, int maxSide, Role role) {
  width_ = 1 + bytes.Below(maxSide);
  height_ = 1 + bytes.Below(maxSide);
  rowSize_ = static_cast<std::size_t>(width_) * PixelBytes(depth);
  const std::size_t unit = role == Role::kOutput ? ChannelBytes(depth) : 1;
  const std::size_t padding = static_cast<std::size_t>(bytes.Below(9)) * unit;
  const std::size_t lead = kGuardBytes + (role == Role::kOutput ? 0U : bytes.Byte() % 4U);
  const std::size_t stride = rowSize_ + padding;
  buffer_.resize(lead + stride * static_cast<std::size_t>(height_) + kGuardBytes);
  for (std::size_t i = 0; i < buffer_.size(); ++i) {
    buffer_[i] = GuardAt(i);
  }
  const bool upwards = bytes.Below(2) == 1;
  stride_ = static_cast<std::ptrdiff_t>(stride) * (upwards ? -1 : 1);
  firstRow_ = static_cast<std::ptrdiff_t>(lead) -
              (upwards ? stride_ * static_cast<std::ptrdiff_t>(height_ - 1) : 0);
  world.data = buffer_.data() + firstRow_;
  world.rowbytes = static_cast<A_long>(stride_);
  world.width = width_;
  world.height = height_;
}

void FuzzWorld::Paint(ByteReader& bytes, Depth depth) {
  const int style = bytes.Below(4);
  std::uint64_t state = bytes.Raw<std::uint32_t>();
  for (int y = 0; y < height_; ++y) {
    std::uint8_t* row = buffer_.data() + firstRow_ + y * stride_;
    for (int x = 0; x < width_; ++x, row += PixelBytes(depth)) {
      state = Scramble(state);
      // Transparent, full and mixed pictures take different ways through the composite.
      const std::uint64_t bits = style == 0 ? 0 : style == 1 ? ~std::uint64_t{0} : state;
      if (depth == Depth::k8) {
        const auto pixel = PixelFromBits<PF_Pixel8>(bits);
        std::memcpy(row, &pixel, sizeof(pixel));
      } else if (depth == Depth::k16) {
        const auto pixel = PixelFromBits<PF_Pixel16>(bits);
        std::memcpy(row, &pixel, sizeof(pixel));
      } else {
        const auto pixel = PixelFromBits<PF_PixelFloat>(bits);
        std::memcpy(row, &pixel, sizeof(pixel));
      }
    }
  }
}

/// Shows no pixels: no memory, or a size that names none.
void FuzzWorld::Disguise(ByteReader& bytes) {
  switch (bytes.Byte()) {
    case 0xFF:
      world.data = nullptr;
      break;
    case 0xFE:
      world.width = -bytes.Below(3);
      break;
    case 0xFD:
      world.height = -bytes.Below(3);
      break;
    case 0xFC:
      world = {};
      break;
    default:
      break;
  }
}

bool FuzzWorld::GuardIntact() const {
  std::vector<bool> isPixel(buffer_.size(), false);
  for (int y = 0; y < height_; ++y) {
    const auto row = isPixel.begin() + firstRow_ + y * stride_;
    std::fill(row, row + static_cast<std::ptrdiff_t>(rowSize_), true);
  }
  for (std::size_t i = 0; i < buffer_.size(); ++i) {
    if (!isPixel[i] && buffer_[i] != GuardAt(i)) {
      return false;
    }
  }
  return true;
}

}  // namespace veltra::fuzz
