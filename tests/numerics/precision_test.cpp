// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The distance of every result from the exact value, by MPFR.

#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "numerics/trigonometry.h"
#include "tests/numerics/arguments.h"

namespace veltra::numerics {
namespace {

/// An MPFR number that frees itself. The precision leaves 60 bits beyond a double.
class Exact {
 public:
  Exact() { mpfr_init2(value_, 113); }
  ~Exact() { mpfr_clear(value_); }
  Exact(const Exact&) = delete;
  Exact& operator=(const Exact&) = delete;
  Exact(Exact&&) = delete;
  Exact& operator=(Exact&&) = delete;

  mpfr_ptr Get() { return value_; }

  /// |result - value| in units of the last place of a double at the value.
  double UlpsFrom(double result) {
    mpfr_sub_d(difference_.value, value_, result, MPFR_RNDN);
    const mpfr_exp_t exponent = mpfr_zero_p(value_) ? -1073 : mpfr_get_exp(value_);
    const auto ulp = static_cast<int>(std::max<mpfr_exp_t>(exponent - 53, -1074));
    return std::abs(std::ldexp(mpfr_get_d(difference_.value, MPFR_RNDN), -ulp));
  }

 private:
  struct Scratch {
    Scratch() { mpfr_init2(value, 113); }
    ~Scratch() { mpfr_clear(value); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    Scratch(Scratch&&) = delete;
    Scratch& operator=(Scratch&&) = delete;
    mpfr_t value;
  };

  mpfr_t value_;
  Scratch difference_;
};

void ExpectAnglesBelowOneUlp(const std::vector<double>& angles) {
  Exact argument;
  Exact sine;
  Exact cosine;
  double worstSine = 0;
  double worstCosine = 0;
  for (const double angle : angles) {
    mpfr_set_d(argument.Get(), angle, MPFR_RNDN);
    mpfr_sin_cos(sine.Get(), cosine.Get(), argument.Get(), MPFR_RNDN);
    const double sineUlps = sine.UlpsFrom(Sin(angle));
    const double cosineUlps = cosine.UlpsFrom(Cos(angle));
    ASSERT_LT(sineUlps, 1.0) << "sine of " << angle;
    ASSERT_LT(cosineUlps, 1.0) << "cosine of " << angle;
    worstSine = std::max(worstSine, sineUlps);
    worstCosine = std::max(worstCosine, cosineUlps);
  }
  std::printf("largest error: sine %.3f ulp, cosine %.3f ulp\n", worstSine, worstCosine);
}

TEST(PrecisionTest, AnglesOfEverySizeAreBelowOneUlp) {
  ExpectAnglesBelowOneUlp(test::RandomAngles(1000000, 21));
}

TEST(PrecisionTest, AnglesAroundMultiplesOfQuarterPiAreBelowOneUlp) {
  ExpectAnglesBelowOneUlp(test::AroundMultiplesOfQuarterPi(40000));
}

TEST(PrecisionTest, HugeAnglesNextToMultiplesOfHalfPiAreBelowOneUlp) {
  // 6381956970095103 * 2^797 comes nearest of all doubles; the other is its like below 2^64.
  ExpectAnglesBelowOneUlp({std::ldexp(6381956970095103.0, 797),
                           std::ldexp(-6381956970095103.0, 797), std::ldexp(5319372648326541.0, 11),
                           25735.0, test::Neighbour(25735.0, 1),
                           std::numeric_limits<double>::max()});
}

void ExpectCosinesBelowOneUlp(const std::vector<double>& cosines) {
  Exact argument;
  Exact angle;
  double worst = 0;
  for (const double cosine : cosines) {
    mpfr_set_d(argument.Get(), cosine, MPFR_RNDN);
    mpfr_acos(angle.Get(), argument.Get(), MPFR_RNDN);
    const double ulps = angle.UlpsFrom(Acos(cosine));
    ASSERT_LT(ulps, 1.0) << "arc cosine of " << cosine;
    worst = std::max(worst, ulps);
  }
  std::printf("largest error: arc cosine %.3f ulp\n", worst);
}

TEST(PrecisionTest, ArcCosinesAreBelowOneUlp) {
  ExpectCosinesBelowOneUlp(test::RandomCosines(1000000, 22));
}

TEST(PrecisionTest, ArcCosinesAroundTheirSeamsAreBelowOneUlp) {
  std::vector<double> cosines;
  for (std::int64_t steps = -1000; steps <= 1000; ++steps) {
    cosines.insert(cosines.end(), {test::Neighbour(0.5, steps), -test::Neighbour(0.5, steps)});
    if (steps <= 0) {
      cosines.insert(cosines.end(), {test::Neighbour(1.0, steps), -test::Neighbour(1.0, steps)});
    }
  }
  ExpectCosinesBelowOneUlp(cosines);
}

}  // namespace
}  // namespace veltra::numerics
