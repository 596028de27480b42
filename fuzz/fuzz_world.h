// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Worlds for fuzzing: honest about their memory, strange in every other respect.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/byte_reader.h"
#include "host_api/world.h"

namespace veltra::fuzz {

enum class Depth { k8, k16, kFloat };

std::size_t PixelBytes(Depth depth);
PF_PixelFormat FormatOf(Depth depth);

/// What a world is for decides how strange it may be.
enum class Role {
  kOutput,  ///< pixels aligned for their type
  kSource,  ///< rows may start at any byte; may show no pixels at all
};

/// Random bits as a pixel; in float now and then one that is no colour.
template <class Pixel>
Pixel PixelFromBits(std::uint64_t bits);

/// Scrambles 64 bits (the finaliser of splitmix64).
std::uint64_t Scramble(std::uint64_t bits);

/// A world inside a larger buffer whose other bytes are guarded. Rows may be padded and may run
/// upwards in memory; extent, origin and pixel aspect are the fuzzer's.
class FuzzWorld {
 public:
  FuzzWorld(ByteReader& bytes, Depth depth, int maxSide, Role role);

  PF_EffectWorld world{};

  /// Whether the bytes outside the pixels are as they were made.
  bool GuardIntact() const;
  /// Whether the pixels are as they were made, too.
  bool Untouched() const { return buffer_ == original_; }

 private:
  void LayOut(ByteReader& bytes, Depth depth, int maxSide, Role role);
  void Paint(ByteReader& bytes, Depth depth);
  void Disguise(ByteReader& bytes);

  std::vector<std::uint8_t> buffer_;
  std::vector<std::uint8_t> original_;
  std::ptrdiff_t firstRow_ = 0;  ///< offset of the first row in the buffer
  std::ptrdiff_t stride_ = 0;
  int width_ = 0;
  int height_ = 0;
  std::size_t rowSize_ = 0;
};

}  // namespace veltra::fuzz
