// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Worlds for fuzzing: honest about their memory, strange in every other respect.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/byte_reader.h"
#include "tests/stand_in/random.h"
#include "tests/stand_in/world.h"

namespace veltra::fuzz {

using stand_in::Depth;
using stand_in::Scramble;

/// What a world is for decides how strange it may be.
enum class Role {
  kOutput,  ///< pixels aligned for their type
  kSource,  ///< rows may start at any byte; may show no pixels at all
};

/// Random bits as a pixel; in float now and then one that is no colour.
template <class Pixel>
Pixel PixelFromBits(std::uint64_t bits);

/// A guarded world. Rows may be padded and may run upwards in memory; extent, origin and pixel
/// aspect are the fuzzer's.
class FuzzWorld : public stand_in::World {
 public:
  FuzzWorld(ByteReader& bytes, Depth depth, int maxSide, Role role);

  /// Whether pixels and all around them are as they were made.
  bool Untouched() const { return CanariesIntact() && Pixels() == original_; }

 private:
  void Paint(ByteReader& bytes);
  void Disguise(ByteReader& bytes);

  std::vector<std::uint8_t> original_;
};

}  // namespace veltra::fuzz
