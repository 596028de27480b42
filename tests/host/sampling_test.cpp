// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The samplers against a plain evaluation of what they promise.

#include "host/pixels/sampling.h"

#include <limits>
#include <memory>

#include "images.h"

namespace veltra::host {
namespace {

/// Channels as exact as the machine has them.
struct Exact {
  long double alpha = 0;
  long double red = 0;
  long double green = 0;
  long double blue = 0;
};

/// The alpha-weighted sum over all pixels, with weightOf(x, y) of each; over the total weight.
template <class Pixel, class Weight>
Exact PlainAverage(const World& image, Weight weightOf, long double total) {
  Exact sum;
  for (A_long y = 0; y < image.Height(); ++y) {
    for (A_long x = 0; x < image.Width(); ++x) {
      const Pixel& pixel = image.Row<Pixel>(y)[static_cast<std::size_t>(x)];
      const long double weight = weightOf(x, y);
      const long double alpha = static_cast<long double>(pixel.alpha) * weight;
      if (weight > 0 && pixel.alpha != 0) {
        sum.alpha += alpha;
        sum.red += alpha * static_cast<long double>(pixel.red);
        sum.green += alpha * static_cast<long double>(pixel.green);
        sum.blue += alpha * static_cast<long double>(pixel.blue);
      }
    }
  }
  if (sum.alpha > 0) {
    return {sum.alpha / total, sum.red / sum.alpha, sum.green / sum.alpha, sum.blue / sum.alpha};
  }
  return {};
}

template <class Pixel>
Exact PlainBetween(const World& image, PF_Fixed x, PF_Fixed y) {
  const long double atX = x / 65536.0L;
  const long double atY = y / 65536.0L;
  const auto tent = [](long double distance) { return std::max(0.0L, 1.0L - std::fabs(distance)); };
  return PlainAverage<Pixel>(
      image, [&](A_long px, A_long py) { return tent(atX - px) * tent(atY - py); }, 1.0L);
}

template <class Pixel>
Exact PlainArea(const World& image, PF_Fixed x, PF_Fixed y, PF_Fixed rx, PF_Fixed ry) {
  const auto cover = [](PF_Fixed centre, PF_Fixed radius, A_long pixel) {
    const std::int64_t low =
        std::max<std::int64_t>(std::int64_t{centre} - radius, std::int64_t{pixel} * 65536 - 32768);
    const std::int64_t high =
        std::min<std::int64_t>(std::int64_t{centre} + radius, std::int64_t{pixel} * 65536 + 32768);
    return static_cast<long double>(std::max<std::int64_t>(0, high - low));
  };
  return PlainAverage<Pixel>(
      image, [&](A_long px, A_long py) { return cover(x, rx, px) * cover(y, ry, py); },
      4.0L * rx * ry);
}

/// Integers are the exact value rounded to nearest, halves up; floats within two roundings.
template <class Pixel>
void ExpectRounded(const Pixel& got, const Exact& exact, const std::string& where) {
  const auto check = [&where](auto value, long double wanted, const char* channel) {
    if constexpr (std::is_floating_point_v<decltype(value)>) {
      EXPECT_NEAR(static_cast<double>(value), static_cast<double>(wanted), 1.5e-7)
          << channel << " at " << where;
    } else {
      EXPECT_EQ(static_cast<long double>(value), std::floor(wanted + 0.5L))
          << channel << " of exactly " << static_cast<double>(wanted) << " at " << where;
    }
  };
  check(got.alpha, exact.alpha, "alpha");
  check(got.red, exact.red, "red");
  check(got.green, exact.green, "green");
  check(got.blue, exact.blue, "blue");
}

std::string Place(PF_Fixed x, PF_Fixed y, PF_Fixed rx = 0, PF_Fixed ry = 0) {
  return std::to_string(x) + ", " + std::to_string(y) + " radii " + std::to_string(rx) + ", " +
         std::to_string(ry);
}

template <class Pixel>
class Sampling : public ::testing::Test {};
TYPED_TEST_SUITE(Sampling, AllPixels);

TYPED_TEST(Sampling, NearestTakesThePixelWhoseSquareHoldsThePosition) {
  const World image = RandomWorld<TypeParam>(5, 4, 1);
  const PF_EffectWorld view = image.View();
  const auto at = [&](PF_Fixed x, PF_Fixed y) { return SampleNearest<TypeParam>(view, x, y); };
  EXPECT_TRUE(Same(at(0, 0), image.Row<TypeParam>(0)[0]));
  EXPECT_TRUE(Same(at(-32768, -32768), image.Row<TypeParam>(0)[0]));
  EXPECT_TRUE(Same(at(2 * 65536 + 32767, 65536), image.Row<TypeParam>(1)[2]));
  EXPECT_TRUE(Same(at(2 * 65536 + 32768, 65536), image.Row<TypeParam>(1)[3]));
  EXPECT_TRUE(Same(at(-32769, 0), TypeParam{}));
  EXPECT_TRUE(Same(at(4 * 65536 + 32768, 0), TypeParam{}));
  EXPECT_TRUE(Same(at(0, 3 * 65536 + 32768), TypeParam{}));
}

TYPED_TEST(Sampling, BetweenPixelsMatchesThePlainWeightsEverywhereAroundTheImage) {
  const World image = RandomWorld<TypeParam>(7, 5, 2);
  const PF_EffectWorld view = image.View();
  std::mt19937 random(3);
  for (int i = 0; i < 20000; ++i) {
    const auto x = static_cast<PF_Fixed>(random() % (10U << 16)) - (3 << 15);
    const auto y = static_cast<PF_Fixed>(random() % (8U << 16)) - (3 << 15);
    ExpectRounded(SampleBetween<TypeParam>(view, x, y), PlainBetween<TypeParam>(image, x, y),
                  Place(x, y));
  }
}

TYPED_TEST(Sampling, OpaqueAveragesHaveTheBitsOfTheDivision) {
  constexpr double kWeight = 4294967296.0;
  std::mt19937_64 random(13);
  for (int i = 0; i < 10000; ++i) {
    const auto color = [&random] {
      const double unit = static_cast<double>(random() >> 11) / 9007199254740992.0;
      return kWeight * FullScale<TypeParam>() * FullScale<TypeParam>() * unit;
    };
    const Lanes sum{_mm_set_pd(color(), kWeight * FullScale<TypeParam>()),
                    _mm_set_pd(color(), color())};
    const auto divided = StraightAverage<TypeParam>(sum, kWeight);
    const auto got = StraightAverageOfFour<TypeParam>(sum);
    ASSERT_TRUE(Same(got, divided)) << Show(got) << " / " << Show(divided);
  }
}

TYPED_TEST(Sampling, AWholePositionGivesThePixelItself) {
  World image = RandomWorld<TypeParam>(4, 4, 4);
  image.Row<TypeParam>(2)[1] = MakePixel<TypeParam>(0.5, 0.25, 1.0, 0.0);
  EXPECT_TRUE(
      Same(SampleBetween<TypeParam>(image.View(), 1 << 16, 2 << 16), image.Row<TypeParam>(2)[1]));
}

TYPED_TEST(Sampling, ColourOfTransparentPixelsDoesNotBleedIn) {
  World image = MakeWorld(2, 1, kDepthOf<TypeParam>);
  image.Row<TypeParam>(0)[0] = MakePixel<TypeParam>(1, 0.5, 0.25, 1);
  image.Row<TypeParam>(0)[1] = MakePixel<TypeParam>(0, 1, 1, 0);
  const TypeParam sample = SampleBetween<TypeParam>(image.View(), 32768, 0);
  const TypeParam straight = image.Row<TypeParam>(0)[0];
  EXPECT_EQ(sample.red, straight.red);
  EXPECT_EQ(sample.green, straight.green);
  EXPECT_EQ(sample.blue, straight.blue);
  ExpectRounded(sample, PlainBetween<TypeParam>(image, 32768, 0), "the middle");
}

TYPED_TEST(Sampling, TheMostExtremePositionsAreTransparent) {
  const World image = RandomWorld<TypeParam>(3, 3, 5);
  const PF_EffectWorld view = image.View();
  constexpr PF_Fixed kLeast = std::numeric_limits<PF_Fixed>::min();
  constexpr PF_Fixed kMost = std::numeric_limits<PF_Fixed>::max();
  for (const PF_Fixed x : {kLeast, kMost, 65536}) {
    for (const PF_Fixed y : {kLeast, kMost}) {
      EXPECT_TRUE(Same(SampleNearest<TypeParam>(view, x, y), TypeParam{}));
      EXPECT_TRUE(Same(SampleBetween<TypeParam>(view, x, y), TypeParam{}));
      EXPECT_TRUE(Same(SampleArea<TypeParam>(view, nullptr, x, y, kMost, kMost), TypeParam{}));
      EXPECT_TRUE(Same(SampleArea<TypeParam>(view, nullptr, y, x, kLeast, 0), TypeParam{}));
    }
  }
}

TYPED_TEST(Sampling, AreaIsTheExactBoxWithPartlyCoveredPixels) {
  const World image = RandomWorld<TypeParam>(13, 11, 6);
  const PF_EffectWorld view = image.View();
  AreaSums<TypeParam> sums(view);
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    const auto x = static_cast<PF_Fixed>(random() % (18U << 16)) - (5 << 15);
    const auto y = static_cast<PF_Fixed>(random() % (16U << 16)) - (5 << 15);
    const auto rx = static_cast<PF_Fixed>(random() % (8U << 16)) + 1;
    const auto ry = static_cast<PF_Fixed>(random() % (8U << 16)) + 1;
    ExpectRounded(SampleArea<TypeParam>(view, &sums, x, y, rx, ry),
                  PlainArea<TypeParam>(image, x, y, rx, ry), Place(x, y, rx, ry));
  }
}

TYPED_TEST(Sampling, LargeBoxesFromTheBlockSumsMatchTheSameBoxesPixelByPixel) {
  const World image = RandomWorld<TypeParam>(333, 290, 8);
  const PF_EffectWorld view = image.View();
  AreaSums<TypeParam> sums(view);
  std::mt19937 random(9);
  for (int i = 0; i < 60; ++i) {
    const auto x = static_cast<PF_Fixed>(random() % (333U << 16));
    const auto y = static_cast<PF_Fixed>(random() % (290U << 16));
    const auto rx = static_cast<PF_Fixed>(random() % (128U << 16)) + 1;
    const auto ry = static_cast<PF_Fixed>(random() % (128U << 16)) + 1;
    const Exact exact = PlainArea<TypeParam>(image, x, y, rx, ry);
    ExpectRounded(SampleArea<TypeParam>(view, &sums, x, y, rx, ry), exact, Place(x, y, rx, ry));
    ExpectRounded(SampleArea<TypeParam>(view, nullptr, x, y, rx, ry), exact, Place(x, y, rx, ry));
  }
}

TYPED_TEST(Sampling, BoxesOverOpaquePixelsMatchThePlainAverageToo) {
  World image = RandomWorld<TypeParam>(150, 140, 10);
  for (A_long y = 0; y < 140; ++y) {
    A_long x = 0;
    for (TypeParam& pixel : image.Row<TypeParam>(y)) {
      // Opaque but for a slope of single pixels.
      if ((x++ + y) % 37 != 0) {
        pixel.alpha = MakePixel<TypeParam>(1, 0, 0, 0).alpha;
      }
    }
  }
  const PF_EffectWorld view = image.View();
  AreaSums<TypeParam> sums(view);
  std::mt19937 random(11);
  for (int i = 0; i < 200; ++i) {
    const auto x = static_cast<PF_Fixed>(random() % (150U << 16));
    const auto y = static_cast<PF_Fixed>(random() % (140U << 16));
    const auto rx = static_cast<PF_Fixed>(random() % (60U << 16)) + 1;
    const auto ry = static_cast<PF_Fixed>(random() % (60U << 16)) + 1;
    const Exact exact = PlainArea<TypeParam>(image, x, y, rx, ry);
    ExpectRounded(SampleArea<TypeParam>(view, &sums, x, y, rx, ry), exact, Place(x, y, rx, ry));
    ExpectRounded(SampleArea<TypeParam>(view, nullptr, x, y, rx, ry), exact, Place(x, y, rx, ry));
  }
}

TYPED_TEST(Sampling, TilesOfTheSumsMeetWithoutASeam) {
  // Wider than several tiles and no whole number of blocks.
  const World image = RandomWorld<TypeParam>(1203, 101, 12);
  const PF_EffectWorld view = image.View();
  AreaSums<TypeParam> sums(view);
  for (A_long x = 1190; x > 0; x -= 13) {
    const PF_Fixed at = (x << 16) + 12345;
    const PF_Fixed radius = 40 << 16;
    ExpectRounded(SampleArea<TypeParam>(view, &sums, at, 50 << 16, radius, radius),
                  PlainArea<TypeParam>(image, at, 50 << 16, radius, radius),
                  Place(at, 50 << 16, radius, radius));
  }
}

TYPED_TEST(Sampling, BoxesHaveTheSameBitsBeforeAndAfterTheSumsAreMade) {
  World image = RandomWorld<TypeParam>(600, 200, 13);
  if constexpr (std::is_same_v<TypeParam, PF_PixelFloat>) {
    // Rows cancel each other out but for one pixel in eight, which is rounded beside their sums:
    // the order of the additions shows.
    for (A_long y = 63; y < 137; ++y) {
      A_long x = 0;
      for (PF_PixelFloat& pixel : image.Row<PF_PixelFloat>(y)) {
        const float huge = y % 2 == 0 ? 0x1p50F : -0x1p50F;
        const float small = y % 2 == 0 ? pixel.green : 0.0F;
        pixel = {1.0F, x++ % 8 == 0 ? small : huge, pixel.green, pixel.blue};
      }
    }
  }
  const PF_EffectWorld view = image.View();
  const auto sample = [&view](AreaSums<TypeParam>& sums, A_long x) {
    // Rows 62 to 137, the first and the last being added apart.
    return SampleArea<TypeParam>(view, &sums, (x << 16) + 777, (99 << 16) + 32768, 50 << 16,
                                 38 << 16);
  };
  AreaSums<TypeParam> used(view);
  for (int round = 0; round < 3; ++round) {
    for (A_long x = 0; x < 600; x += 7) {
      AreaSums<TypeParam> unused(view);
      EXPECT_TRUE(Same(sample(used, x), sample(unused, x))) << "column " << x;
    }
  }
}

TYPED_TEST(Sampling, TheLargestBoxOfFullWhiteIsFullWhite) {
  World image = MakeWorld(260, 260, kDepthOf<TypeParam>);
  for (A_long y = 0; y < 260; ++y) {
    for (TypeParam& pixel : image.Row<TypeParam>(y)) {
      pixel = MakePixel<TypeParam>(1, 1, 1, 1);
    }
  }
  AreaSums<TypeParam> sums(image.View());
  const TypeParam sample = SampleArea<TypeParam>(image.View(), &sums, 130 << 16, 130 << 16,
                                                 std::numeric_limits<PF_Fixed>::max(), 128 << 16);
  EXPECT_TRUE(Same(sample, MakePixel<TypeParam>(1, 1, 1, 1))) << Show(sample);
}

TYPED_TEST(Sampling, RadiiAreHeldBelow128Pixels) {
  World image = MakeWorld(600, 1, kDepthOf<TypeParam>);
  for (TypeParam& pixel : image.Row<TypeParam>(0)) {
    pixel = MakePixel<TypeParam>(1, 0, 0, 0);
  }
  image.Row<TypeParam>(0)[600 / 2 - 129] = MakePixel<TypeParam>(1, 1, 0, 0);
  const TypeParam sample =
      SampleArea<TypeParam>(image.View(), nullptr, 300 << 16, 0, 2000 << 16, 1);
  EXPECT_EQ(sample.red, 0) << "a pixel 129 away shone through";
  EXPECT_TRUE(Same(sample, MakePixel<TypeParam>(1, 0, 0, 0)));
}

TEST(FloatSampling, AnInfinitePixelSpoilsOnlyTheBoxesThatHoldIt) {
  World image = MakeWorld(128, 128, Depth::kFloat);
  for (A_long y = 0; y < 128; ++y) {
    for (PF_PixelFloat& pixel : image.Row<PF_PixelFloat>(y)) {
      pixel = {1, 0.25F, 0.5F, 0.75F};
    }
  }
  image.Row<PF_PixelFloat>(20)[20].red = std::numeric_limits<float>::infinity();
  image.Row<PF_PixelFloat>(60)[60] = {0, std::numeric_limits<float>::quiet_NaN(), 0, 0};
  AreaSums<PF_PixelFloat> sums(image.View());
  const auto at = [&](A_long x, A_long y, A_long radius) {
    return SampleArea<PF_PixelFloat>(image.View(), &sums, x << 16, y << 16, radius << 16,
                                     radius << 16);
  };
  EXPECT_TRUE(std::isinf(at(24, 24, 12).red));
  EXPECT_EQ(at(24, 24, 12).green, 0.5F);
  EXPECT_EQ(at(90, 24, 30).red, 0.25F);
  EXPECT_EQ(at(24, 90, 30).red, 0.25F);
  // Wherever the pixel lies in the box: colour without alpha counts for nothing.
  for (A_long radius = 1; radius <= 30; ++radius) {
    EXPECT_EQ(at(65, 62, radius).red, 0.25F) << "radius " << radius;
    EXPECT_EQ(at(60 - radius, 70, radius).red, 0.25F) << "radius " << radius;
  }
}

TEST(FloatSampling, AnInfiniteNeighbourWithoutWeightDoesNotShow) {
  World image = MakeWorld(3, 3, Depth::kFloat);
  for (A_long y = 0; y < 3; ++y) {
    for (PF_PixelFloat& pixel : image.Row<PF_PixelFloat>(y)) {
      pixel = {1, std::numeric_limits<float>::infinity(), 0, 0};
    }
  }
  image.Row<PF_PixelFloat>(1)[1] = {1, 0.5F, 0.5F, 0.5F};
  EXPECT_EQ(SampleBetween<PF_PixelFloat>(image.View(), 65536, 65536).red, 0.5F);
}

}  // namespace
}  // namespace veltra::host
