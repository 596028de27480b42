// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Alpha limits and the straight-alpha "over" of each depth.
#include "effect/render/pixel/pixel_depths.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>

#include "tests/reference/pixels.h"

namespace veltra {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(ClampAlpha, TruncatesAndNeverExceedsTheFullValue) {
  EXPECT_EQ(ClampAlpha8(254.99F), 254);
  EXPECT_EQ(ClampAlpha8(255.0F), 255);
  EXPECT_EQ(ClampAlpha8(1e9F), 255);
  EXPECT_EQ(ClampAlpha8(0.99F), 0);
  EXPECT_EQ(ClampAlpha16(32767.9F), 32767);
  EXPECT_EQ(ClampAlpha16(32768.0F), 32768);
  EXPECT_EQ(ClampAlpha16(40000.0F), 32768);
  EXPECT_EQ(ClampAlpha16(-3.0F), 0);
  EXPECT_EQ(ClampAlpha16(0.0F), 0);
  EXPECT_EQ(ClampAlphaFloat(1.5F), 1.0F);
  EXPECT_EQ(ClampAlphaFloat(0.25F), 0.25F);
  EXPECT_EQ(ClampAlphaFloat(-0.25F), 0.0F);
}

TEST(ClampAlpha, OfNoNumberIsZeroAndOfInfinityFull) {
  EXPECT_EQ(ClampAlpha8(kNaN), 0);
  EXPECT_EQ(ClampAlpha16(kNaN), 0);
  EXPECT_EQ(ClampAlphaFloat(kNaN), 0.0F);
  EXPECT_EQ(ClampAlpha8(kInfinity), 255);
  EXPECT_EQ(ClampAlpha16(kInfinity), 32768);
  EXPECT_EQ(ClampAlphaFloat(kInfinity), 1.0F);
  EXPECT_EQ(ClampAlpha8(-kInfinity), 0);
}

PF_Pixel8 Over(const PF_Pixel8& top, const PF_Pixel8& bottom) {
  PF_Pixel8 result = bottom;
  CompositeOver8(top, result, &result);  // as the effect calls it: in place
  return result;
}
PF_Pixel16 Over(const PF_Pixel16& top, const PF_Pixel16& bottom) {
  PF_Pixel16 result = bottom;
  CompositeOver16(top, result, &result);
  return result;
}
PF_PixelFloat Over(const PF_PixelFloat& top, const PF_PixelFloat& bottom) {
  PF_PixelFloat result = bottom;
  CompositeOverFloat(top, result, &result);
  return result;
}

template <class Pixel>
::testing::AssertionResult Same(const Pixel& a, const Pixel& b) {
  if (std::memcmp(&a, &b, sizeof(a)) == 0) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure()
         << "(" << +a.alpha << "," << +a.red << "," << +a.green << "," << +a.blue << ") and ("
         << +b.alpha << "," << +b.red << "," << +b.green << "," << +b.blue << ")";
}

template <class Pixel>
class CompositeOver : public ::testing::Test {
 protected:
  static constexpr auto Full() {
    return std::is_same_v<Pixel, PF_Pixel8> ? 255 : std::is_same_v<Pixel, PF_Pixel16> ? 32768 : 1;
  }
  static Pixel Make(double alpha, double red, double green, double blue) {
    using Channel = decltype(Pixel::alpha);
    const double full = Full();
    return {static_cast<Channel>(alpha * full), static_cast<Channel>(red * full),
            static_cast<Channel>(green * full), static_cast<Channel>(blue * full)};
  }
};
using Pixels = ::testing::Types<PF_Pixel8, PF_Pixel16, PF_PixelFloat>;
TYPED_TEST_SUITE(CompositeOver, Pixels);

TYPED_TEST(CompositeOver, ATransparentTopLeavesTheBottom) {
  const TypeParam bottom = this->Make(1, 0.25, 0.5, 0.75);
  EXPECT_TRUE(Same(Over(this->Make(0, 1, 1, 1), bottom), bottom));
}

TYPED_TEST(CompositeOver, ATransparentBottomTakesTheTopWhole) {
  const TypeParam top = this->Make(0.5, 0.25, 0.5, 0.75);
  EXPECT_TRUE(Same(Over(top, this->Make(0, 1, 1, 1)), top));
  const TypeParam clear = this->Make(0, 0.25, 0.5, 0.75);
  EXPECT_TRUE(Same(Over(clear, this->Make(0, 1, 1, 1)), clear)) << "also when both are";
}

TYPED_TEST(CompositeOver, AnOpaqueTopStaysWhatItIs) {
  const TypeParam top = this->Make(1, 0.25, 0.5, 0.75);
  EXPECT_TRUE(Same(Over(top, this->Make(0.5, 1, 1, 1)), top));
  EXPECT_TRUE(Same(Over(top, this->Make(1, 0, 0, 0)), top));
}

TEST(CompositeOver8, MixesByExactDivision) {
  const PF_Pixel8 out = Over(PF_Pixel8{128, 200, 0, 7}, PF_Pixel8{255, 10, 255, 7});
  EXPECT_EQ(out.alpha, 255);
  EXPECT_EQ(out.red, (200 * 32640 + 10 * 32385) / 65025);
  EXPECT_EQ(out.green, 255 * 32385 / 65025);
  EXPECT_EQ(out.blue, 7);
}

TEST(CompositeOver8, IsTheYardsticksForEveryPairOfAlphas) {
  for (int top = 0; top < 256; ++top) {
    for (int bottom = 0; bottom < 256; ++bottom) {
      const PF_Pixel8 t{static_cast<A_u_char>(top), 255, static_cast<A_u_char>(top ^ 77), 0};
      const PF_Pixel8 b{static_cast<A_u_char>(bottom), 255, static_cast<A_u_char>(bottom ^ 201),
                        255};
      ASSERT_TRUE(Same(Over(t, b), reference::CompositeOver(t, b))) << top << " over " << bottom;
    }
  }
}

TEST(CompositeOver16, DividesByShifting) {
  const PF_Pixel16 half = Over(PF_Pixel16{16384, 20000, 1, 0}, PF_Pixel16{32768, 10001, 0, 32768});
  EXPECT_EQ(half.alpha, 32768);
  EXPECT_EQ(half.red, (10001 * 16384 + 20000 * 16384) / 32768);
  EXPECT_EQ(half.green, 0);
  EXPECT_EQ(half.blue, 16384);
  const PF_Pixel16 faint = Over(PF_Pixel16{1, 5, 6, 7}, PF_Pixel16{1, 100, 100, 100});
  EXPECT_TRUE(Same(faint, PF_Pixel16{2, 5, 6, 7})) << "the bottom's weight is 0";
}

TEST(CompositeOver16, IsTheYardsticksForRandomPixels) {
  std::mt19937 random(5);
  const auto channel = [&] { return static_cast<A_u_short>(random() % 32769U); };
  for (int i = 0; i < 200000; ++i) {
    const PF_Pixel16 t{channel(), channel(), channel(), channel()};
    const PF_Pixel16 b{channel(), channel(), channel(), channel()};
    ASSERT_TRUE(Same(Over(t, b), reference::CompositeOver(t, b)));
  }
}

TEST(CompositeOverFloat, ClampsNothing) {
  const PF_PixelFloat out =
      Over(PF_PixelFloat{1.2F, 2.0F, 0.5F, -1.0F}, PF_PixelFloat{1.0F, 0.5F, 3.0F, 1.0F});
  EXPECT_NEAR(out.alpha, 1.0, 1e-6);
  EXPECT_NEAR(out.red, 1.2 * 2.0 - 0.2 * 0.5, 1e-6);
  EXPECT_NEAR(out.green, 1.2 * 0.5 - 0.2 * 3.0, 1e-6);
  EXPECT_NEAR(out.blue, -1.2 - 0.2, 1e-6);
}

TEST(CompositeOverFloat, TreatsANegativeAlphaAsTransparent) {
  const PF_PixelFloat top{0.5F, 0.1F, 0.2F, 0.3F};
  const PF_PixelFloat bottom{-0.5F, 1, 1, 1};
  EXPECT_TRUE(Same(Over(top, bottom), top));
  const PF_PixelFloat opaque{1, 1, 1, 1};
  EXPECT_TRUE(Same(Over(bottom, opaque), opaque));
}

TEST(Addressing, StepsByRowBytesAndPixelSize) {
  std::vector<std::byte> bytes(200);
  PF_EffectWorld world{};
  world.data = bytes.data();
  world.rowbytes = 37;  // odd, so that rows are not aligned
  const PF_Pixel16 pixel{1, 2, 3, 4};
  std::memcpy(bytes.data() + 3 * 37 + 2 * 8, &pixel, sizeof(pixel));
  EXPECT_TRUE(Same(LoadPixel<PF_Pixel16>(RowOf(world, 3), 2), pixel));
}

}  // namespace
}  // namespace veltra
