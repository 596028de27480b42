// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Conversions to integers at and beyond the ends of the range.

#include "numerics/convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace veltra::numerics {
namespace {

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

TEST(ConvertTest, TruncatesTowardZero) {
  EXPECT_EQ(TruncateToInt32(2.9), 2);
  EXPECT_EQ(TruncateToInt32(-2.9), -2);
  EXPECT_EQ(TruncateToInt32(-0.9), 0);
  EXPECT_EQ(TruncateToInt32(2.9F), 2);
  EXPECT_EQ(TruncateToInt32(-2.9F), -2);
}

TEST(ConvertTest, DoublesKeepTheWholeRange) {
  EXPECT_EQ(TruncateToInt32(2147483647.0), kHighest);
  EXPECT_EQ(TruncateToInt32(std::nextafter(2147483648.0, 0.0)), kHighest);
  EXPECT_EQ(TruncateToInt32(-2147483648.0), kLowest);
  EXPECT_EQ(TruncateToInt32(-2147483648.9), kLowest);
  EXPECT_EQ(TruncateToInt32(-2147483647.9), kLowest + 1);
}

TEST(ConvertTest, FloatsKeepTheWholeRange) {
  EXPECT_EQ(TruncateToInt32(2147483520.0F), 2147483520);
  EXPECT_EQ(TruncateToInt32(-2147483648.0F), kLowest);
  EXPECT_EQ(TruncateToInt32(-2147483520.0F), -2147483520);
}

/// volatile: the value must not be known while compiling, where other rules apply.
template <class Float>
std::int32_t AtRunTime(Float value) {
  const volatile Float hidden = value;
  return TruncateToInt32(hidden);
}

TEST(ConvertTest, WhatDoesNotFitIsTheMostNegativeInteger) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  for (const double value : std::vector<double>{2147483648.0, -2147483649.0, 1e300, -1e300,
                                                kInfinity, -kInfinity, kNaN, -kNaN}) {
    EXPECT_EQ(AtRunTime(value), kLowest) << value;
    EXPECT_EQ(AtRunTime(static_cast<float>(value)), kLowest) << value;
  }
  static_assert(TruncateToInt32(1e300) == kLowest);
  static_assert(TruncateToInt32(std::numeric_limits<float>::quiet_NaN()) == kLowest);
}

TEST(ConvertTest, ProductsAndDifferencesWrap) {
  EXPECT_EQ(WrappingMultiply(49152, 49152),
            static_cast<std::int32_t>(49152LL * 49152 - (1LL << 32)));
  EXPECT_EQ(WrappingMultiply(65536, 65536), 0);
  EXPECT_EQ(WrappingMultiply(-3, 5), -15);
  EXPECT_EQ(WrappingMultiply(kLowest, -1), kLowest);
  EXPECT_EQ(WrappingSubtract(32768, kLowest), kLowest + 32768);
  EXPECT_EQ(WrappingSubtract(kLowest, 1), kHighest);
  EXPECT_EQ(WrappingSubtract(5, 7), -2);
}

}  // namespace
}  // namespace veltra::numerics
