// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Random numbers that are the same with every standard library, whose distributions differ.
#pragma once

#include <cstdint>
#include <random>

namespace veltra::stand_in {

/// Draws from the 32-bit Mersenne twister, which every standard library has alike.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  /// In [low, high].
  int Int(int low, int high) {
    return low + static_cast<int>(Bits() % static_cast<std::uint32_t>(high - low + 1));
  }
  /// In [0, 1).
  double Unit() { return Bits() / 4294967296.0; }
  /// In [low, high).
  double Real(double low, double high) { return low + (high - low) * Unit(); }
  bool Chance(int oneIn) { return Int(1, oneIn) == 1; }

 private:
  std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }

  std::mt19937 engine_;
};

/// Scrambles 64 bits so that each one depends on all (SplitMix64's step).
inline std::uint64_t Scramble(std::uint64_t bits) {
  bits += 0x9E3779B97F4A7C15U;
  bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
  bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
  return bits ^ (bits >> 31);
}

}  // namespace veltra::stand_in
