// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The tile seam sampler: weights, wrapping columns, rows that end, and its truncations.
#include "effect/render/pixel/sample_wrapped.h"

#include <cstring>
#include <random>

#include "tests/conformance/stage.h"

namespace veltra {
namespace {

using conformance::Depth;
using conformance::EveryDepth;
using conformance::FullValue;
using conformance::MakePixel;
using conformance::TestWorld;

void Sample(float x, float y, float rx, float ry, const PF_SampPB& params, PF_Pixel8* out) {
  SampleWrapped8(x, y, rx, ry, params, out);
}
void Sample(float x, float y, float rx, float ry, const PF_SampPB& params, PF_Pixel16* out) {
  SampleWrapped16(x, y, rx, ry, params, out);
}
void Sample(float x, float y, float rx, float ry, const PF_SampPB& params, PF_PixelFloat* out) {
  SampleWrappedFloat(x, y, rx, ry, params, out);
}

template <class Pixel>
class SampleWrapped : public EveryDepth<Pixel> {
 protected:
  /// An opaque layer 101 columns wide: a period of 100.
  SampleWrapped() : layer_(kDepth, 101, 40) {
    layer_.Fill(1, 0, 0, 0);
    block_.src = &layer_.world;
  }
  static constexpr Depth kDepth = EveryDepth<Pixel>::kDepth;
  static constexpr double Full() {
    return kDepth == Depth::k8 ? 255 : kDepth == Depth::k16 ? 32768 : 1;
  }

  Pixel At(float x, float y, float rx, float ry) {
    Pixel out = MakePixel<Pixel>(0.5, 0.5, 0.5, 0.5);
    Sample(x, y, rx, ry, block_, &out);
    return out;
  }
  /// A channel's value against full, give or take the depth's truncation.
  void ExpectNear(double channel, double expected) {
    EXPECT_NEAR(channel / Full(), expected, kDepth == Depth::kFloat ? 1e-6 : 1.5 / Full());
  }

  TestWorld layer_;
  PF_SampPB block_{};
};
TYPED_TEST_SUITE(SampleWrapped, conformance::AllPixels, conformance::DepthNames);

TYPED_TEST(SampleWrapped, CountsOnePixelAloneAtWholeCoordinates) {
  this->layer_.SetChannels(7, 5, {1, 1, 0.5, 0.25});
  const TypeParam out = this->At(7, 5, 1, 1);
  EXPECT_EQ(static_cast<double>(out.alpha), this->Full());
  this->ExpectNear(static_cast<double>(out.red), 1);
  this->ExpectNear(static_cast<double>(out.green), 0.5);
  this->ExpectNear(static_cast<double>(out.blue), 0.25);
}

TYPED_TEST(SampleWrapped, ReadsColumnZeroInPlaceOfTheLast) {
  this->layer_.Fill(1, 0, 0, 0);
  for (A_long y = 0; y < 40; ++y) {
    this->layer_.SetChannels(99, y, {1, 1, 0, 0});
    this->layer_.SetChannels(100, y, {1, 0, 0, 1});
    this->layer_.SetChannels(0, y, {1, 0, 1, 0});
  }
  const TypeParam out = this->At(99.5F, 20, 1, 1);
  this->ExpectNear(static_cast<double>(out.red), 0.5);
  this->ExpectNear(static_cast<double>(out.green), 0.5);
  EXPECT_EQ(out.blue, 0);
}

TYPED_TEST(SampleWrapped, WrapsColumnsOnTheLeftWithTheirWeights) {
  // Columns -1, 0, 1, 2 weigh 0.4375, 0.9375, 0.9375, 0.4375.
  const double total = 2 * 0.4375 + 2 * 0.9375;
  const std::pair<A_long, double> columns[] = {{99, 0.4375}, {0, 0.9375}, {1, 0.9375},
                                               {2, 0.4375},  {98, 0},     {3, 0}};
  for (const auto& [column, weight] : columns) {
    this->layer_.Fill(1, 0, 0, 0);
    for (A_long y = 0; y < 40; ++y) {
      this->layer_.SetChannels(column, y, {1, 1, 0, 0});
    }
    this->ExpectNear(static_cast<double>(this->At(0.5F, 20, 2, 1).red), weight / total);
  }
}

TYPED_TEST(SampleWrapped, LeavesOutRowsBeyondTheLayer) {
  // Row -1 would weigh 0.4375; rows 0, 1, 2 weigh 0.9375, 0.9375, 0.4375.
  const double total = 0.9375 * 2 + 0.4375;
  for (const auto& [row, weight] : {std::pair{0, 0.9375}, {1, 0.9375}, {2, 0.4375}, {3, 0.0}}) {
    this->layer_.Fill(1, 0, 0, 0);
    for (A_long x = 0; x < 101; ++x) {
      this->layer_.SetChannels(x, row, {1, 1, 0, 0});
    }
    this->ExpectNear(static_cast<double>(this->At(50, 0.5F, 1, 2).red), weight / total);
  }
  // Likewise at the bottom.
  this->layer_.Fill(1, 1, 1, 1);
  EXPECT_EQ(static_cast<double>(this->At(50, 38.5F, 1, 2).alpha), this->Full());
}

TYPED_TEST(SampleWrapped, LowersAlphaButNotColourByTransparentPixels) {
  this->layer_.Fill(0, 1, 1, 1);
  for (A_long y = 0; y < 40; ++y) {
    this->layer_.SetChannels(10, y, {1, 0.5, 0.25, 1});
  }
  const TypeParam out = this->At(10.5F, 20, 1, 1);
  this->ExpectNear(static_cast<double>(out.alpha), 0.5);
  this->ExpectNear(static_cast<double>(out.red), 0.5);
  this->ExpectNear(static_cast<double>(out.green), 0.25);
  this->ExpectNear(static_cast<double>(out.blue), 1);
}

TYPED_TEST(SampleWrapped, OfNothingButTransparencyIsAllZero) {
  this->layer_.Fill(0, 1, 1, 1);
  const TypeParam out = this->At(50, 20, 3, 3);
  const TypeParam zero{};
  EXPECT_EQ(std::memcmp(&out, &zero, sizeof(out)), 0);
}

TYPED_TEST(SampleWrapped, BelowTheLayerChangesOnlyAlpha) {
  const TypeParam before = MakePixel<TypeParam>(0.5, 0.5, 0.5, 0.5);
  const TypeParam out = this->At(50, 41, 1, 1);
  EXPECT_EQ(out.alpha, 0);
  EXPECT_EQ(out.red, before.red);
  EXPECT_EQ(out.green, before.green);
  EXPECT_EQ(out.blue, before.blue);
}

TYPED_TEST(SampleWrapped, AboveTheLayerIsAllZero) {
  const TypeParam zero{};
  for (const float y : {-5.0F, -1e6F, -1e12F, 1e12F}) {
    const TypeParam out = this->At(50, y, 1, 1);
    if (y < 0) {
      EXPECT_EQ(std::memcmp(&out, &zero, sizeof(out)), 0) << y;
    }
    EXPECT_EQ(out.alpha, 0) << y;
  }
}

TYPED_TEST(SampleWrapped, LimitsTheRadii) {
  for (A_long x = 0; x < 101; ++x) {
    for (A_long y = 0; y < 40; ++y) {
      this->layer_.SetChannels(x, y, {1, (x % 10) / 10.0, (y % 7) / 7.0, 0.5});
    }
  }
  const auto same = [](const TypeParam& a, const TypeParam& b) {
    return std::memcmp(&a, &b, sizeof(a)) == 0;
  };
  EXPECT_TRUE(same(this->At(50.3F, 20.6F, 0.2F, -4), this->At(50.3F, 20.6F, 1, 1)));
  EXPECT_TRUE(same(this->At(50.3F, 20.6F, 1000, 300), this->At(50.3F, 20.6F, 250, 250)));
  EXPECT_FALSE(same(this->At(50.3F, 20.6F, 100, 100), this->At(50.3F, 20.6F, 250, 250)));
}

TYPED_TEST(SampleWrapped, TakesEveryColumnOfANarrowLayerAsItsFirst) {
  for (const A_long width : {1, 2}) {
    TestWorld narrow(TestFixture::kDepth, width, 9);
    narrow.Fill(1, 0, 0, 1);
    for (A_long y = 0; y < 9; ++y) {
      narrow.SetChannels(0, y, {1, 1, 0, 0});
    }
    this->block_.src = &narrow.world;
    for (const float x : {0.0F, 0.5F, -3.0F, 40.0F}) {
      const TypeParam out = this->At(x, 4, 7, 2);
      this->ExpectNear(static_cast<double>(out.red), 1);
      EXPECT_EQ(out.blue, 0) << width;
    }
  }
}

TYPED_TEST(SampleWrapped, IsTheYardsticksToTheLastBit) {
  std::mt19937 random(9);
  const auto unit = [&] { return static_cast<double>(random() % 1001U) / 1000; };
  for (int scene = 0; scene < 40; ++scene) {
    const A_long width = 1 + static_cast<A_long>(random() % 30U);
    const A_long height = 1 + static_cast<A_long>(random() % 20U);
    TestWorld layer(TestFixture::kDepth, width, height);
    for (A_long y = 0; y < height; ++y) {
      for (A_long x = 0; x < width; ++x) {
        const double alpha = unit() < 0.3 ? 0 : unit();
        layer.SetChannels(x, y, {alpha, unit(), unit(), unit()});
      }
    }
    this->block_.src = &layer.world;
    for (int i = 0; i < 200; ++i) {
      const auto x = static_cast<float>(unit() * (width + 8) - 4);
      const auto y = static_cast<float>(unit() * (height + 8) - 4);
      const auto rx = static_cast<float>(unit() * (i % 10 == 0 ? 130 : 4));
      const auto ry = static_cast<float>(unit() * (i % 10 == 0 ? 130 : 4));
      const TypeParam out = this->At(x, y, rx, ry);
      TypeParam expected = MakePixel<TypeParam>(0.5, 0.5, 0.5, 0.5);
      reference::SampleWrapped(x, y, rx, ry, layer.world, &expected);
      ASSERT_EQ(std::memcmp(&out, &expected, sizeof(out)), 0)
          << x << " " << y << " " << rx << " " << ry << " in " << width << " x " << height;
    }
    EXPECT_TRUE(layer.CanariesIntact());
  }
}

TEST(SampleWrapped8Loss, GivesBackOneLessWhereTheReciprocalRoundsDown) {
  TestWorld layer(Depth::k8, 11, 5);
  layer.Set(3, 2, PF_Pixel8{249, 255, 0, 0});
  PF_SampPB block{};
  block.src = &layer.world;
  PF_Pixel8 out{};
  SampleWrapped8(3, 2, 1, 1, block, &out);
  EXPECT_EQ(out.alpha, 249);
  EXPECT_EQ(out.red, 254);
}

TEST(SampleWrapped16Mean, OfOpaqueAndTransparentIsHalf) {
  TestWorld layer(Depth::k16, 11, 5);
  layer.Fill(0, 0, 0, 0);
  for (A_long y = 0; y < 5; ++y) {
    layer.Set(3, y, PF_Pixel16{32768, 16384, 0, 0});
  }
  PF_SampPB block{};
  block.src = &layer.world;
  PF_Pixel16 out{};
  SampleWrapped16(3.5F, 2, 1, 1, block, &out);
  EXPECT_EQ(out.alpha, 16384);
  EXPECT_NEAR(out.red, 16384, 1);
}

}  // namespace
}  // namespace veltra
