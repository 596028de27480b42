// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Argument lists that are the same on every machine: no library generator, no library mathematics.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace veltra::numerics::test {

/// Splitmix64, by Sebastiano Vigna (public domain).
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31);
  }
  /// In [-limit, limit).
  double Uniform(double limit) {
    return static_cast<double>(static_cast<std::int64_t>(Next()) >> 11) * 0x1p-52 * limit;
  }
  /// Any finite double, every exponent as likely.
  double AnyFinite() {
    for (;;) {
      const auto value = std::bit_cast<double>(Next());
      if (std::isfinite(value)) {
        return value;
      }
    }
  }

 private:
  std::uint64_t state_;
};

inline double Neighbour(double value, std::int64_t steps) {
  return std::bit_cast<double>(std::bit_cast<std::int64_t>(value) + steps);
}

/// The doubles around k * pi / 4 for k up to `count`, and their negatives.
inline std::vector<double> AroundMultiplesOfQuarterPi(int count) {
  constexpr double kQuarterPi = 0.78539816339744830962;
  std::vector<double> arguments{0.0, -0.0, 0x1p-1074, -0x1p-1074};
  for (int k = 1; k <= count; ++k) {
    for (std::int64_t steps = -4; steps <= 4; ++steps) {
      const double argument = Neighbour(k * kQuarterPi, steps);
      arguments.push_back(argument);
      arguments.push_back(-argument);
    }
  }
  return arguments;
}

/// Angles of every size: the reachable range, the whole moderate one and all exponents.
inline std::vector<double> RandomAngles(std::size_t count, std::uint64_t seed) {
  Random random(seed);
  std::vector<double> arguments;
  arguments.reserve(count);
  while (arguments.size() < count) {
    switch (arguments.size() % 4) {
      case 0:
      case 1:
        arguments.push_back(random.Uniform(12.0));
        break;
      case 2:
        arguments.push_back(random.Uniform(30000.0));
        break;
      default:
        arguments.push_back(random.AnyFinite());
        break;
    }
  }
  return arguments;
}

/// Cosines in [-1, 1], half of them crowded at the ends, at +-1/2 and at 0.
inline std::vector<double> RandomCosines(std::size_t count, std::uint64_t seed) {
  Random random(seed);
  std::vector<double> arguments;
  arguments.reserve(count);
  while (arguments.size() < count) {
    const double uniform = random.Uniform(1.0);
    const double close = std::ldexp(std::abs(uniform), -static_cast<int>(random.Next() % 60));
    const double sign = uniform < 0 ? -1.0 : 1.0;
    switch (arguments.size() % 6) {
      case 0:
        arguments.push_back(sign * (1.0 - close));
        break;
      case 1:
        arguments.push_back(sign * 0.5 + uniform * close * 0.5);
        break;
      case 2:
        arguments.push_back(sign * close);
        break;
      default:
        arguments.push_back(uniform);
        break;
    }
  }
  return arguments;
}

}  // namespace veltra::numerics::test
