// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A small scene with its three worlds, and what every test asks of it in the end.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/conformance/library.h"
#include "tests/conformance/test_host.h"

namespace veltra::conformance {

/// The library the program was started for, loaded on first use.
const Library& Effect();

constexpr PF_Fixed Fixed(double value) {
  return static_cast<PF_Fixed>(value * kFixedOne);
}

/// A frame of 32 x 16 with a layer of 13 x 9 stretched over 135 degrees of its middle, composited
/// at full opacity. Everything is public and may be changed before a command is sent.
struct Stage {
  explicit Stage(Depth depth, PF_MainEntryFn effect = Effect().mainEntry);
  Stage(Depth depth, A_long width, A_long height, A_long layerWidth, A_long layerHeight,
        PF_MainEntryFn effect = Effect().mainEntry);

  TestWorld input;
  TestWorld layer;
  TestWorld output;
  TestHost host;

  /// Renders as the yardstick does, into a world shaped like `output` before the render.
  TestWorld Expected(bool smart) const;
};

/// No rule of the host broken, nothing written outside the worlds, inputs as they were.
void ExpectClean(const Stage& stage);

/// The pixels of two worlds are equal; names the first that differs and both values.
::testing::AssertionResult SamePixels(const TestWorld& a, const TestWorld& b);
/// All pixels have four zero channels.
::testing::AssertionResult IsTransparent(const TestWorld& world);

/// What the effect logs while it reads its controls.
std::vector<std::string> ParameterReads();

/// Concatenation, for expected logs.
std::vector<std::string> Lines(std::initializer_list<std::vector<std::string>> parts);

template <class Pixel>
class EveryDepth : public ::testing::Test {
 public:
  static constexpr Depth kDepth = kDepthOf<Pixel>;
};
using AllPixels = ::testing::Types<PF_Pixel8, PF_Pixel16, PF_PixelFloat>;
struct DepthNames {
  template <class Pixel>
  static std::string GetName(int) {
    return NameOf(kDepthOf<Pixel>);
  }
};

}  // namespace veltra::conformance
