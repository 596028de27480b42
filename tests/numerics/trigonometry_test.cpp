// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Exact values, undefined values and symmetries of sine, cosine and arc cosine.

#include "numerics/trigonometry.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "tests/numerics/arguments.h"

namespace veltra::numerics {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void ExpectSameBits(double got, double wanted) {
  EXPECT_EQ(std::bit_cast<std::uint64_t>(got), std::bit_cast<std::uint64_t>(wanted))
      << got << " and " << wanted;
}

TEST(TrigonometryTest, ExactArgumentsGiveExactValues) {
  ExpectSameBits(Sin(0.0), 0.0);
  ExpectSameBits(Sin(-0.0), -0.0);
  ExpectSameBits(Cos(0.0), 1.0);
  ExpectSameBits(Cos(-0.0), 1.0);
  ExpectSameBits(Acos(1.0), 0.0);
  ExpectSameBits(Acos(0.0), 1.5707963267948966);
  ExpectSameBits(Acos(-0.0), 1.5707963267948966);
  ExpectSameBits(Acos(-1.0), 3.141592653589793);
}

TEST(TrigonometryTest, TheDoublesNearestToQuarterTurnsKeepTheirDistance) {
  ExpectSameBits(Sin(3.141592653589793), 1.2246467991473532e-16);
  ExpectSameBits(Cos(1.5707963267948966), 6.123233995736766e-17);
  ExpectSameBits(Sin(1.5707963267948966), 1.0);
  ExpectSameBits(Cos(3.141592653589793), -1.0);
}

TEST(TrigonometryTest, TinyAnglesAreTheirOwnSine) {
  for (const double tiny : {0x1p-30, 0x1.8p-300, 0x1p-1022, 0x1p-1074}) {
    ExpectSameBits(Sin(tiny * 0x1p-1), tiny * 0x1p-1);
    ExpectSameBits(Sin(-tiny), -tiny);
    ExpectSameBits(Cos(tiny), 1.0);
  }
}

TEST(TrigonometryTest, UndefinedArgumentsGiveNaN) {
  for (const double undefined : {kInfinity, -kInfinity, kNaN, -kNaN}) {
    EXPECT_TRUE(std::isnan(Sin(undefined)));
    EXPECT_TRUE(std::isnan(Cos(undefined)));
    EXPECT_TRUE(std::isnan(Acos(undefined)));
  }
  const double above = test::Neighbour(1.0, 1);
  for (const double outside : {above, -above, 2.0, -2.0, 1e300, -1e300}) {
    EXPECT_TRUE(std::isnan(Acos(outside))) << outside;
  }
}

TEST(TrigonometryTest, SineIsOddAndCosineIsEven) {
  for (const double angle : test::RandomAngles(100000, 11)) {
    ExpectSameBits(Sin(-angle), -Sin(angle));
    ExpectSameBits(Cos(-angle), Cos(angle));
  }
}

TEST(TrigonometryTest, NoResultLeavesItsRange) {
  for (const double angle : test::AroundMultiplesOfQuarterPi(20000)) {
    EXPECT_LE(std::abs(Sin(angle)), 1.0) << angle;
    EXPECT_LE(std::abs(Cos(angle)), 1.0) << angle;
  }
  for (const double cosine : test::RandomCosines(100000, 12)) {
    const double angle = Acos(cosine);
    EXPECT_TRUE(angle >= 0.0 && angle <= 3.141592653589793) << cosine;
  }
}

TEST(TrigonometryTest, BothAtOnceAreTheSingleOnes) {
  for (const double angle : test::RandomAngles(100000, 13)) {
    const SinCosResult both = SinCos(angle);
    ExpectSameBits(both.sine, Sin(angle));
    ExpectSameBits(both.cosine, Cos(angle));
  }
}

}  // namespace
}  // namespace veltra::numerics
