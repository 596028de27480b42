// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What is kept of an image from frame to frame, and of which images.

#include "host/pixels/image_facts.h"

#include <thread>

#include "host/suites/sampling_callbacks.h"
#include "images.h"

namespace veltra::host {
namespace {

/// A frame of its own that lends the whole world to an effect.
struct Frame {
  explicit Frame(const World& world)
      : session({{}, controls}, &settings),
        view(session.LayerView(world, {0, 0, world.Width(), world.Height()})) {}

  RenderSettings settings;
  std::vector<ControlDeclaration> controls;
  Session session;
  PF_EffectWorld view;
};

TEST(ImageFacts, OfAnUnchangingImageServeTheNextFrame) {
  World still = RandomWorld<PF_Pixel8>(64, 64, 1);
  still.KeepFacts();
  const AreaSumsBase* sums = nullptr;
  {
    const Frame first(still);
    sums = first.session.FindAreaSums(first.view);
  }
  ASSERT_NE(sums, nullptr);
  World moved = std::move(still);
  const Frame next(moved);
  EXPECT_EQ(next.session.FindAreaSums(next.view), sums);
}

TEST(ImageFacts, OfAnImageThatMayChangeAreMadeForEachFrame) {
  World image = MakeWorld(64, 64, Depth::kFloat);
  image.Row<PF_PixelFloat>(3)[5] = {1, 1, 1, 1};
  const Frame first(image);
  EXPECT_EQ(first.view.extent_hint.right, 6);
  image.Row<PF_PixelFloat>(3)[9] = {1, 1, 1, 1};
  const Frame next(image);
  EXPECT_EQ(next.view.extent_hint.right, 10);
  EXPECT_NE(next.session.FindAreaSums(next.view), first.session.FindAreaSums(first.view));
}

TEST(ImageFacts, AreThoseOfTheViewHoweverManyThereAre) {
  World still = RandomWorld<PF_Pixel16>(64, 64, 2);
  still.KeepFacts();
  for (int round = 0; round < 2; ++round) {
    for (A_long side = 8; side <= 64; side += 8) {
      const PF_EffectWorld view = still.View({0, 0, side, side});
      const auto facts = still.KeptFacts()->Of(view, Depth::k16);
      EXPECT_TRUE(facts->AreOf(view));
      const PF_LRect expected = VisibleExtent(view, Depth::k16);
      EXPECT_EQ(facts->visibleExtent.right, expected.right);
    }
  }
}

TEST(ImageFacts, ServeFramesThatRunAtOnce) {
  World still = RandomWorld<PF_PixelFloat>(700, 300, 3);
  const auto sampleAll = [](const World& world) {
    Frame frame(world);
    PF_SampPB block{};
    block.src = &frame.view;
    block.x_radius = block.y_radius = 40 << 16;
    std::vector<PF_PixelFloat> samples;
    for (A_long x = 0; x < 700; x += 9) {
      PF_PixelFloat& sample = samples.emplace_back();
      AreaCallback<PF_PixelFloat>(frame.session.InData().effect_ref, x << 16, 150 << 16, &block,
                                  &sample);
    }
    return samples;
  };
  const auto expected = sampleAll(still);
  still.KeepFacts();
  std::vector<PF_PixelFloat> other;
  std::thread thread([&] { other = sampleAll(still); });
  const auto one = sampleAll(still);
  thread.join();
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_TRUE(Same(one[i], expected[i]) && Same(other[i], expected[i])) << "sample " << i;
  }
}

}  // namespace
}  // namespace veltra::host
