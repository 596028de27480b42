// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The two lanes against the scalar functions, and all of them against the bits of every other
// build.

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "numerics/trigonometry.h"
#include "numerics/trigonometry_sse2.h"
#include "tests/numerics/arguments.h"

namespace veltra::numerics {
namespace {

using Pair = std::array<double, 2>;

/// All NaN count as one: which NaN comes out of an undefined operation is not part of the promise.
std::uint64_t BitsOf(double value) {
  return std::isnan(value) ? 0x7ff8000000000000U : std::bit_cast<std::uint64_t>(value);
}

Pair Unpacked(__m128d lanes) {
  alignas(16) Pair values{};
  _mm_store_pd(values.data(), lanes);
  return values;
}

/// The lanes hold unrelated arguments, so that nothing of one may reach into the other.
void ExpectLanesMatch(double first, double second) {
  const __m128d lanes = _mm_set_pd(second, first);
  const TwoSinCos both = SinCos(lanes);
  const Pair sine = Unpacked(both.sine);
  const Pair cosine = Unpacked(both.cosine);
  const Pair angle = Unpacked(Acos(lanes));
  const Pair arguments{first, second};
  for (std::size_t lane = 0; lane < 2; ++lane) {
    ASSERT_EQ(BitsOf(sine[lane]), BitsOf(Sin(arguments[lane]))) << arguments[lane];
    ASSERT_EQ(BitsOf(cosine[lane]), BitsOf(Cos(arguments[lane]))) << arguments[lane];
    ASSERT_EQ(BitsOf(angle[lane]), BitsOf(Acos(arguments[lane]))) << arguments[lane];
  }
}

TEST(SameBitsTest, LanesGiveTheScalarBitsForAMillionAngles) {
  const auto angles = test::RandomAngles(1000000, 1);
  for (std::size_t i = 0; i + 1 < angles.size(); i += 2) {
    ExpectLanesMatch(angles[i], angles[i + 1]);
  }
}

TEST(SameBitsTest, LanesGiveTheScalarBitsForAMillionCosines) {
  const auto cosines = test::RandomCosines(1000000, 2);
  for (std::size_t i = 0; i + 1 < cosines.size(); i += 2) {
    ExpectLanesMatch(cosines[i], cosines[i + 1]);
  }
}

TEST(SameBitsTest, LanesGiveTheScalarBitsAroundMultiplesOfQuarterPi) {
  const auto angles = test::AroundMultiplesOfQuarterPi(40000);
  for (std::size_t i = 0; i + 1 < angles.size(); ++i) {
    ExpectLanesMatch(angles[i], angles[i + 1]);
  }
}

TEST(SameBitsTest, LanesGiveTheScalarBitsForSpecialValues) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const std::array<double, 16> special{0.0,   -0.0,      1.0,        -1.0,   0.5,     -0.5,
                                       1e300, -1e300,    kInfinity,  kNaN,   25735.0, -25735.0,
                                       0.75,  0x1p-1074, -0x1p-1022, 25736.0};
  for (const double first : special) {
    for (const double second : special) {
      ExpectLanesMatch(first, second);
    }
  }
}

// What every compiler, optimisation level and platform has to reproduce; made by
//   numerics_tests --gtest_filter='SameBitsTest.ResultsAreTheBitsOfEveryOtherBuild'
constexpr std::uint64_t kSineHash = 0x25a0f8dff2b22572U;
constexpr std::uint64_t kCosineHash = 0xea4beaeb09f38c87U;
constexpr std::uint64_t kArcCosineHash = 0xb581f9a32cc5947eU;

std::uint64_t HashOf(const std::vector<double>& arguments, double (*function)(double)) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const double argument : arguments) {
    hash = (hash ^ BitsOf(function(argument))) * 0x100000001b3U;
    hash ^= hash >> 29;
  }
  return hash;
}

TEST(SameBitsTest, ResultsAreTheBitsOfEveryOtherBuild) {
  auto angles = test::RandomAngles(500000, 3);
  const auto around = test::AroundMultiplesOfQuarterPi(2000);
  angles.insert(angles.end(), around.begin(), around.end());
  const auto cosines = test::RandomCosines(500000, 4);
  const std::uint64_t sine = HashOf(angles, Sin);
  const std::uint64_t cosine = HashOf(angles, Cos);
  const std::uint64_t arcCosine = HashOf(cosines, Acos);
  std::printf("sine 0x%016" PRIx64 ", cosine 0x%016" PRIx64 ", arc cosine 0x%016" PRIx64 "\n", sine,
              cosine, arcCosine);
  EXPECT_EQ(sine, kSineHash);
  EXPECT_EQ(cosine, kCosineHash);
  EXPECT_EQ(arcCosine, kArcCosineHash);
}

}  // namespace
}  // namespace veltra::numerics
