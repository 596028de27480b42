// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Random numbers that are the same for the same seed with every standard library.
#pragma once

#include <cstdint>
#include <iterator>
#include <string_view>

namespace veltra::check {

/// SplitMix64 (Steele, Lea, Flood, "Fast splittable pseudorandom number generators", 2014). The
/// standard library's distributions differ between its makers, so none is used.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  /// A stream of its own for each name, so that a test draws the same numbers whether it runs
  /// alone or among others.
  Random(std::uint64_t seed, std::string_view name) : state_(seed) {
    for (const char c : name) {
      state_ = (state_ ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    }
  }

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31);
  }

  /// Inclusive at both ends; low <= high.
  std::int64_t Between(std::int64_t low, std::int64_t high) {
    const std::uint64_t count =
        static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low) + 1;
    return low + static_cast<std::int64_t>(count == 0 ? Next() : Next() % count);
  }

  std::int32_t Int(std::int32_t low, std::int32_t high) {
    return static_cast<std::int32_t>(Between(low, high));
  }

  bool OneIn(int n) { return Between(1, n) == 1; }

  template <class Container>
  const auto& Pick(const Container& container) {
    const auto last = static_cast<std::int64_t>(std::size(container)) - 1;
    return container[static_cast<std::size_t>(Between(0, last))];
  }

 private:
  std::uint64_t state_;
};

}  // namespace veltra::check
