// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Keyframes between their frames.
#include "cli/settings/tracks.h"

#include <gtest/gtest.h>

#include <limits>

namespace veltra::cli {
namespace {

Keyframe SliderKey(int frame, A_long value, Interpolation interpolation) {
  Keyframe key;
  key.frame = frame;
  key.setting.type = PF_Param_FIX_SLIDER;
  key.setting.value = value;
  key.interpolation = interpolation;
  return key;
}

TEST(Tracks, ValuesStayBeforeTheFirstAndAfterTheLastKeyframe) {
  const Track track{
      {SliderKey(10, 100, Interpolation::kLinear), SliderKey(20, 200, Interpolation::kLinear)}};
  EXPECT_EQ(ValueAt(track, 0, 1, 1).x, 100);
  EXPECT_EQ(ValueAt(track, 20, 1, 1).x, 200);
  EXPECT_EQ(ValueAt(track, 99, 1, 1).x, 200);
}

TEST(Tracks, EachKindOfInterpolationHasItsShape) {
  const auto at = [](Interpolation kind, double frame) {
    return ValueAt({{SliderKey(0, 0, kind), SliderKey(4, 65536, kind)}}, frame, 1, 1).x;
  };
  EXPECT_EQ(at(Interpolation::kHold, 3.99), 0);
  EXPECT_EQ(at(Interpolation::kLinear, 1), 16384);
  EXPECT_EQ(at(Interpolation::kLinear, 0.5), 8192);
  EXPECT_EQ(at(Interpolation::kSmooth, 1), 10240);  // 3/16 - 2/64
  EXPECT_EQ(at(Interpolation::kSmooth, 2), 32768);
}

TEST(Tracks, ValuesAreRoundedToTheNearestAndNeverOverflow) {
  constexpr A_long kLeast = std::numeric_limits<A_long>::min();
  constexpr A_long kMost = std::numeric_limits<A_long>::max();
  const Track track{
      {SliderKey(0, kLeast, Interpolation::kLinear), SliderKey(2, kMost, Interpolation::kLinear)}};
  EXPECT_EQ(ValueAt(track, 1, 1, 1).x, -1);  // halves away from zero
  EXPECT_EQ(ValueAt(track, 2, 1, 1).x, kMost);
}

TEST(Tracks, PointsInPercentFollowTheFrame) {
  Keyframe key;
  key.setting.type = PF_Param_POINT;
  key.setting.point = {{50, true}, {10, false}};
  const host::ControlValue value = ValueAt({{key}}, 0, 400, 300);
  EXPECT_EQ(value.x, 200 * 65536);
  EXPECT_EQ(value.y, 10 * 65536);
}

}  // namespace
}  // namespace veltra::cli
