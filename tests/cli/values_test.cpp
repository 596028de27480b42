// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Numbers, points, ranges and ratios as people write them.
#include "cli/settings/values.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/error.h"

namespace veltra::cli {
namespace {

TEST(Values, FixedRoundsToTheNearestSixteenSixteen) {
  EXPECT_EQ(ParseFixed("1"), 65536);
  EXPECT_EQ(ParseFixed("-0.5"), -32768);
  EXPECT_EQ(ParseFixed("0.00001"), 1);
  EXPECT_EQ(ParseFixed("0.000007"), 0);
  EXPECT_THROW(ParseFixed("32768"), UsageError);
  EXPECT_THROW(ParseFixed("inf"), UsageError);
}

TEST(Values, FixedTextReadsBackAsTheSameValue) {
  for (const PF_Fixed value : {0, 1, -1, 65536, 65537, 98304, 655360000, -655360000, 2147400000}) {
    EXPECT_EQ(ParseFixed(FixedText(value)), value) << FixedText(value);
  }
  EXPECT_EQ(FixedText(3 * 65536), "3");
  EXPECT_EQ(FixedText(-65536 / 4), "-0.25");
}

TEST(Values, NumbersTakeTheWholeText) {
  EXPECT_DOUBLE_EQ(ParseNumber("+12.5"), 12.5);
  EXPECT_DOUBLE_EQ(ParseNumber("-.5e1"), -5);
  for (const char* text : {"", " 1", "1 ", "1,5", "0x10", "nan", "1e999", "--1", "1.2.3"}) {
    EXPECT_THROW(ParseNumber(text), UsageError) << text;
  }
}

TEST(Values, PointsMixPixelsAndPercent) {
  const PointText point = ParsePoint("54%,-12.5");
  EXPECT_EQ(point.x.unit, PointUnit::kPercent);
  EXPECT_EQ(point.y.unit, PointUnit::kPixels);
  EXPECT_EQ(point.ColumnOf(200), 108 * 65536);
  EXPECT_EQ(point.RowOf(200), -12 * 65536 - 32768);
  for (const char* text : {"", ",", "1", "1,", "1,2,3", "1%%,2", "%,1", "1;2"}) {
    EXPECT_THROW(ParsePoint(text), UsageError) << text;
  }
  const PointText onSphere = ParsePoint("90deg,-45\u00b0");
  EXPECT_EQ(onSphere.ColumnOf(400), 300 * 65536);
  EXPECT_EQ(onSphere.RowOf(200), 150 * 65536);
  const PointText centre = ParsePoint("0deg,0deg");
  EXPECT_EQ(centre.ColumnOf(401), 200 * 65536 + 32768);
  EXPECT_EQ(centre.RowOf(200), 100 * 65536);
  EXPECT_THROW(ParsePoint("0deg,91deg"), UsageError);
  EXPECT_THROW(static_cast<void>(ParsePoint("40000,0").ColumnOf(1)), UsageError);
  EXPECT_THROW(static_cast<void>(ParsePoint("1e300%,0").ColumnOf(30000)), UsageError);
}

TEST(Values, FrameRangesCountInSteps) {
  EXPECT_EQ(ParseFrames("7").Numbers(), (std::vector<int>{7}));
  EXPECT_EQ(ParseFrames("1-5x2").Numbers(), (std::vector<int>{1, 3, 5}));
  EXPECT_EQ(ParseFrames("0-1").Numbers(), (std::vector<int>{0, 1}));
  for (const char* text :
       {"", "-", "-1", "1-", "5-1", "1-5x0", "1x", "1-2-3", "1x2-3", "1-99999999", "1-2x-1"}) {
    EXPECT_THROW(ParseFrames(text), UsageError) << text;
  }
}

TEST(Values, RatiosAreFractionsOrDecimals) {
  const auto expectRatio = [](const char* text, A_long numerator, A_u_long denominator) {
    const PF_RationalScale ratio = ParseRatio(text);
    EXPECT_EQ(ratio.num, numerator) << text;
    EXPECT_EQ(ratio.den, denominator) << text;
  };
  expectRatio("30000/1001", 30000, 1001);
  expectRatio("25", 25, 1);
  expectRatio("29.97", 2997, 100);
  expectRatio("0.9091", 9091, 10000);
  for (const char* text :
       {"", "/", "1/", "/1", "0", "-1", "1/0", "1/2/3", "1/-2", "2001.5", "x", "0.0000001"}) {
    EXPECT_THROW(ParseRatio(text), UsageError) << text;
  }
}

TEST(Values, SizesAndRegionsStayWithinWhatTheHostCanHold) {
  EXPECT_EQ(ParseSize("30000x1").width, 30000);
  const PF_LRect region = ParseRegion("-5,10,20,30");
  EXPECT_EQ(region.left, -5);
  EXPECT_EQ(region.bottom, 40);
  for (const char* text : {"0x1", "30001x1", "1x", "x1", "1X1", "1x1x1", "-1x5"}) {
    EXPECT_THROW(ParseSize(text), UsageError) << text;
  }
  for (const char* text :
       {"1,2,3", "1,2,0,4", "1,2,3,-4", "1,2,3,2147483647", "-2147483648,0,1,1"}) {
    EXPECT_THROW(ParseRegion(text), UsageError) << text;
  }
}

}  // namespace
}  // namespace veltra::cli
