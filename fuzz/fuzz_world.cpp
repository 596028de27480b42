// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Worlds for fuzzing.
#include "fuzz/fuzz_world.h"

#include <bit>

namespace veltra::fuzz {
namespace {

constexpr A_long kGuardBytes = 64;

float ChannelFromBits(std::uint32_t bits) {
  // One in 32 is any float at all; the others lie between -0.25 and 1.75.
  if ((bits & 31U) == 0) {
    return std::bit_cast<float>(bits * 0x9E3779B9U);
  }
  return static_cast<float>(bits >> 5 & 0xFFFFU) / 32768.0F - 0.25F;
}

/// Guard bytes, rows with padding, guard bytes; every second world runs upwards in memory.
stand_in::Layout AnyLayout(ByteReader& bytes, Depth depth, Role role) {
  const A_long unit = role == Role::kOutput ? stand_in::PixelSize(depth) / 4 : 1;
  stand_in::Layout layout{0, 0, 0, 0};
  layout.strayBytes = bytes.Below(9) * unit;
  layout.leadBytes = role == Role::kOutput ? 0 : bytes.Byte() % 4;
  layout.guardBytes = kGuardBytes;
  layout.upwards = bytes.Below(2) == 1;
  return layout;
}

/// Reads width, height and layout in this order.
stand_in::World AnyWorld(ByteReader& bytes, Depth depth, int maxSide, Role role) {
  const A_long width = 1 + bytes.Below(maxSide);
  const A_long height = 1 + bytes.Below(maxSide);
  return {depth, width, height, AnyLayout(bytes, depth, role)};
}

}  // namespace

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

FuzzWorld::FuzzWorld(ByteReader& bytes, Depth depth, int maxSide, Role role)
    : World(AnyWorld(bytes, depth, maxSide, role)) {
  Paint(bytes);
  original_ = Pixels();
  if (bytes.Rarely()) {
    world.extent_hint = {bytes.Int(), bytes.Int(), bytes.Int(), bytes.Int()};
  }
  if (bytes.Rarely()) {
    world.origin_x = bytes.Int();
    world.origin_y = bytes.Int();
  }
  if (bytes.Rarely()) {
    world.pix_aspect_ratio = {bytes.Int(), bytes.Raw<std::uint32_t>() >> bytes.Below(32)};
  }
  if (role == Role::kSource) {
    Disguise(bytes);
  }
}

void FuzzWorld::Paint(ByteReader& bytes) {
  const int style = bytes.Below(4);
  std::uint64_t state = bytes.Raw<std::uint32_t>();
  for (A_long y = 0; y < height(); ++y) {
    for (A_long x = 0; x < width(); ++x) {
      state = Scramble(state);
      // Transparent, full and mixed pictures take different ways through the composite.
      const std::uint64_t bits = style == 0 ? 0 : style == 1 ? ~std::uint64_t{0} : state;
      switch (depth()) {
        case Depth::k8:
          Set(x, y, PixelFromBits<PF_Pixel8>(bits));
          break;
        case Depth::k16:
          Set(x, y, PixelFromBits<PF_Pixel16>(bits));
          break;
        case Depth::kFloat:
          Set(x, y, PixelFromBits<PF_PixelFloat>(bits));
          break;
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

}  // namespace veltra::fuzz
