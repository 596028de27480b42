// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Keyframes between their frames.
#include "cli/settings/tracks.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "base/error.h"

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
  key.setting.point = {{50, PointUnit::kPercent}, {10, PointUnit::kPixels}};
  const host::ControlValue value = ValueAt({{key}}, 0, 400, 300);
  EXPECT_EQ(value.x, 200 * 65536);
  EXPECT_EQ(value.y, 10 * 65536);
}

Keyframe PointKey(int frame, const char* point, KeyPath path) {
  Keyframe key;
  key.frame = frame;
  key.setting.type = PF_Param_POINT;
  key.setting.point = ParsePoint(point);
  key.path = path;
  return key;
}

/// Yaw and pitch in degrees at a frame between two keys at 0 and 4 on a frame of 3600x1800.
std::pair<double, double> HalfWay(const char* from, const char* to, double frame = 2) {
  const Track track{
      {PointKey(0, from, KeyPath::kGreatCircle), PointKey(4, to, KeyPath::kStraight)}};
  const host::ControlValue value = ValueAt(track, frame, 3600, 1800);
  return {value.x / 65536.0 / 10 - 180, 90 - value.y / 65536.0 / 10};
}

TEST(Tracks, PointsMayGoAlongTheGreatCircle) {
  // Along the equator and along a meridian it is the straight way.
  EXPECT_NEAR(HalfWay("0deg,0deg", "80deg,0deg").first, 40, 1e-4);
  EXPECT_NEAR(HalfWay("10deg,0deg", "10deg,60deg", 1).second, 15, 1e-4);
  // Between two points of one pitch it climbs towards the pole: tan 45 / cos 45 half way.
  const auto [yaw, pitch] = HalfWay("-45deg,45deg", "45deg,45deg");
  EXPECT_NEAR(yaw, 0, 1e-4);
  EXPECT_NEAR(pitch, 54.735610, 1e-4);
}

TEST(Tracks, TheGreatCircleCrossesTheFramesEdgeTheShortWay) {
  EXPECT_NEAR(HalfWay("170deg,0deg", "-170deg,0deg").first, 180, 1e-4);
  EXPECT_NEAR(HalfWay("170deg,0deg", "-170deg,0deg", 3).first, 185, 1e-4);
  EXPECT_NEAR(HalfWay("170deg,0deg", "-170deg,0deg", 4).first, -170, 1e-4);
}

TEST(Tracks, OppositePointsHaveNoGreatCircle) {
  EXPECT_THROW(HalfWay("0deg,10deg", "180deg,-10deg"), UsageError);
  EXPECT_NO_THROW(HalfWay("5deg,10deg", "5deg,10deg"));
}

}  // namespace
}  // namespace veltra::cli
