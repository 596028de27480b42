// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What each example effect draws; the same on every system.

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "host/renderer.h"

namespace veltra::host {
namespace {

std::unique_ptr<const Effect> LoadExample(const char* path) {
  auto effect = Effect::Open(path);
  if (!effect) {
    ADD_FAILURE() << effect.ErrorText();
    return nullptr;
  }
  return std::move(*effect);
}

template <class Pixel>
World Filled(A_long width, A_long height, Depth depth, const Pixel& pixel) {
  auto world = World::Create(width, height, depth, {});
  EXPECT_TRUE(world) << world.ErrorText();
  for (A_long y = 0; y < height; ++y) {
    for (Pixel& p : world->Row<Pixel>(y)) {
      p = pixel;
    }
  }
  return std::move(*world);
}

RenderSettings FrameOf(const World& input, RenderMode mode) {
  RenderSettings settings;
  settings.width = input.Width();
  settings.height = input.Height();
  settings.depth = input.PixelDepth();
  settings.mode = mode;
  settings.input = &input;
  return settings;
}

World Rendered(const Effect& effect, const RenderSettings& settings) {
  RenderResult result = RenderFrame(effect, settings);
  EXPECT_TRUE(result.Ok()) << result.errorText;
  EXPECT_TRUE(result.diagnostics.violations.empty());
  EXPECT_TRUE(result.diagnostics.Balanced());
  return std::move(result.output);
}

ControlValue Number(double number) {
  ControlValue value;
  value.x = static_cast<A_long>(number);
  value.numbers[0] = number;
  return value;
}

TEST(Examples, VignetteDarkensTheCornersAndLeavesTheCentre) {
  const auto effect = LoadExample(VELTRA_EXAMPLE_VIGNETTE);
  ASSERT_NE(effect, nullptr);
  const World input = Filled<PF_Pixel16>(65, 65, Depth::k16, {32768, 30000, 20000, 10000});
  const World output = Rendered(*effect, FrameOf(input, RenderMode::kSmart));
  EXPECT_EQ(output.Row<PF_Pixel16>(32)[32].red, 30000);
  EXPECT_LT(output.Row<PF_Pixel16>(0)[0].red, 20000);
  EXPECT_EQ(output.Row<PF_Pixel16>(0)[0].alpha, 32768);
}

TEST(Examples, TintTakesItsColourAndAmount) {
  const auto effect = LoadExample(VELTRA_EXAMPLE_TINT);
  ASSERT_NE(effect, nullptr);
  const World input = Filled<PF_PixelFloat>(4, 3, Depth::kFloat, {0.5F, 2.0F, 2.0F, 2.0F});
  RenderSettings settings = FrameOf(input, RenderMode::kSmart);
  settings.controls[1].color = {255, 255, 0, 51};
  settings.controls[2] = Number(100);
  const World all = Rendered(*effect, settings);
  const PF_PixelFloat& pixel = all.Row<PF_PixelFloat>(2)[3];
  EXPECT_EQ(pixel.alpha, 0.5F);
  EXPECT_NEAR(pixel.red, 2.0F, 1e-5);
  EXPECT_NEAR(pixel.green, 0.0F, 1e-5);
  EXPECT_NEAR(pixel.blue, 0.4F, 1e-5);
  settings.controls[2] = Number(0);
  EXPECT_EQ(Rendered(*effect, settings).Row<PF_PixelFloat>(2)[3].green, 2.0F);
}

TEST(Examples, SpreadGrowsByItsRadiusAndKeepsAllOfThePicture) {
  const auto effect = LoadExample(VELTRA_EXAMPLE_SPREAD);
  ASSERT_NE(effect, nullptr);
  const World input = Filled<PF_Pixel16>(5, 4, Depth::k16, {32768, 32768, 16384, 0});
  RenderSettings settings = FrameOf(input, RenderMode::kClassic);
  settings.controls[1] = Number(2);
  settings.wholeOutput = true;
  const World output = Rendered(*effect, settings);
  ASSERT_EQ(output.Width(), 9);
  ASSERT_EQ(output.Height(), 8);
  EXPECT_EQ(output.OriginX(), -2);
  double covered = 0;
  for (A_long y = 0; y < output.Height(); ++y) {
    for (const PF_Pixel16& pixel : output.Row<PF_Pixel16>(y)) {
      covered += pixel.alpha / 32768.0;
    }
  }
  EXPECT_NEAR(covered, 20.0, 0.01);  // spread out, not lost at the border
  const PF_Pixel16& corner = output.Row<PF_Pixel16>(0)[0];
  EXPECT_NEAR(corner.alpha, 32768 / 25.0, 2);
  EXPECT_NEAR(corner.red, 32768, 64);  // the colour is straight
  EXPECT_EQ(effect->Holdings()->handles, 0);
  EXPECT_EQ(effect->Holdings()->worlds, 0);
}

TEST(Examples, EchoLaysEarlierFramesBehindTheCurrentOne) {
  const auto effect = LoadExample(VELTRA_EXAMPLE_ECHO);
  ASSERT_NE(effect, nullptr);
  World now = Filled<PF_Pixel8>(4, 1, Depth::k8, {0, 0, 0, 0});
  now.Row<PF_Pixel8>(0)[3] = {255, 30, 0, 0};
  RenderSettings settings = FrameOf(now, RenderMode::kSmart);
  settings.currentTime = 3;
  settings.controls[1] = Number(3);
  settings.controls[2] = Number(1);
  settings.controls[3] = Number(50);
  // A pixel that moves on by one with each frame; there is none before time 1.
  settings.layerAt = [](PF_ParamIndex index, A_long time,
                        A_u_long) -> Expected<std::shared_ptr<const World>> {
    EXPECT_EQ(index, 0);
    if (time < 1) {
      return std::shared_ptr<const World>();
    }
    auto then = std::make_shared<World>(Filled<PF_Pixel8>(4, 1, Depth::k8, {0, 0, 0, 0}));
    then->Row<PF_Pixel8>(0)[static_cast<std::size_t>(time)] = {
        255, static_cast<A_u_char>(10 * time), 0, 0};
    return std::shared_ptr<const World>(then);
  };
  const World output = Rendered(*effect, settings);
  const auto row = output.Row<PF_Pixel8>(0);
  EXPECT_EQ(row[3].alpha, 255);
  EXPECT_EQ(row[3].red, 30);
  EXPECT_NEAR(row[2].alpha, 127, 1);
  EXPECT_EQ(row[2].red, 20);
  EXPECT_NEAR(row[1].alpha, 63, 1);
  EXPECT_EQ(row[1].red, 10);
  EXPECT_EQ(row[0].alpha, 0);
}

TEST(Examples, CurveReadsItsPointsFromTextAndGoesOnWithItsTable) {
  const auto effect = LoadExample(VELTRA_EXAMPLE_CURVE);
  ASSERT_NE(effect, nullptr);
  const auto identity = effect->DataFromText(1, "0 64 128 192 255");
  const auto inverse = effect->DataFromText(1, "255 192 128 64 0");
  ASSERT_TRUE(identity && inverse) << inverse.ErrorText();
  EXPECT_FALSE(effect->DataFromText(1, "0 64 128 192 256"));
  const auto between = effect->DataBetween(1, *identity, *inverse, 0.5);
  ASSERT_TRUE(between) << between.ErrorText();
  EXPECT_EQ(*effect->DataText(1, *between), "128 128 128 128 128");
  const World input = Filled<PF_Pixel8>(3, 2, Depth::k8, {200, 0, 64, 255});
  RenderSettings settings = FrameOf(input, RenderMode::kClassic);
  {
    HeldSequence sequence(*effect);
    settings.sequence = &sequence;
    for (const auto& [flat, red] : {std::pair{*inverse, 255}, {*identity, 0}, {*inverse, 255}}) {
      settings.controls[1].flat = std::make_shared<const FlatValue>(flat);
      const World output = Rendered(*effect, settings);
      EXPECT_EQ(output.Row<PF_Pixel8>(1)[2].red, red);
      EXPECT_EQ(output.Row<PF_Pixel8>(1)[2].alpha, 200);
    }
  }
  EXPECT_EQ(effect->Holdings()->handles, 1);  // the declared default
}

}  // namespace
}  // namespace veltra::host
