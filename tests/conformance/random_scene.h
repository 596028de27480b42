// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scenes thrown with dice that fall the same everywhere.
#pragma once

#include <random>

#include "tests/conformance/stage.h"

namespace veltra::conformance {

/// Random values that are the same with every standard library.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  /// In [low, high].
  int Int(int low, int high) {
    return low + static_cast<int>(Bits() % static_cast<std::uint32_t>(high - low + 1));
  }
  double Unit() { return Bits() / 4294967296.0; }
  double Real(double low, double high) { return low + (high - low) * Unit(); }
  bool Chance(int oneIn) { return Int(1, oneIn) == 1; }

 private:
  std::uint32_t Bits() { return static_cast<std::uint32_t>(engine_()); }

  std::mt19937 engine_;
};

/// A scene of random size, controls, resolution and output part.
struct RandomScene {
  RandomScene(Depth depth, bool smartRender, Dice* dice);

  bool smart;
  Stage stage;
};

}  // namespace veltra::conformance
