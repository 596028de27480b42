// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Iteration: every pixel once, its area, its ends and its progress.

#include "host/suites/iterate.h"

#include <atomic>
#include <vector>

#include "host/suites/tables.h"
#include "images.h"

namespace veltra::host {
namespace {

/// A session around some settings, without an effect.
struct Stage {
  explicit Stage(RenderSettings given = {}) : settings(std::move(given)) {
    settings.width = 64;
    settings.height = 64;
    session = std::make_unique<Session>(SessionContext{Tables(), controls}, &settings);
  }

  RenderSettings settings;
  std::vector<ControlDeclaration> controls;
  std::unique_ptr<Session> session;
};

template <class Pixel>
class Iteration : public ::testing::Test {};
TYPED_TEST_SUITE(Iteration, AllPixels);

struct Calls {
  std::atomic<int> count{0};
  int failAt = -1;
};

template <class Pixel>
PF_Err WritePlace(void* refcon, A_long x, A_long y, Pixel* in, Pixel* out) {
  auto* calls = static_cast<Calls*>(refcon);
  const int number = ++calls->count;
  out->red = static_cast<Channel<Pixel>>(x);
  out->green = static_cast<Channel<Pixel>>(y);
  out->blue = static_cast<Channel<Pixel>>(out->blue + 1);
  out->alpha = in->alpha;
  return number == calls->failAt ? 77 : PF_Err_NONE;
}

TYPED_TEST(Iteration, EveryPixelOfTheAreaIsCalledOnceWithItsPlaceInTheBuffer) {
  ThreadPool pool(4);
  RenderSettings settings;
  settings.pool = &pool;
  Stage stage(settings);
  World world = MakeWorld(50, 40, kDepthOf<TypeParam>);
  PF_EffectWorld view = world.View();
  const PF_LRect area{10, -5, 100, 30};
  Calls calls;
  ASSERT_EQ(IteratePixels<TypeParam>(&stage.session->InData(), 0, 40, nullptr, &area, &calls,
                                     &WritePlace<TypeParam>, &view),
            PF_Err_NONE);
  for (A_long y = 0; y < 40; ++y) {
    for (A_long x = 0; x < 50; ++x) {
      const TypeParam pixel = world.Row<TypeParam>(y)[static_cast<std::size_t>(x)];
      const bool inside = x >= 10 && y < 30;
      ASSERT_EQ(static_cast<double>(pixel.blue), inside ? 1 : 0) << x << ", " << y;
      if (inside) {
        ASSERT_EQ(static_cast<double>(pixel.red), x);
        ASSERT_EQ(static_cast<double>(pixel.green), y);
      }
    }
  }
}

TYPED_TEST(Iteration, TheSourceGivesTheInputPixelsAndLimitsTheArea) {
  Stage stage;
  const World source = RandomWorld<TypeParam>(7, 9, 1);
  World world = MakeWorld(20, 20, kDepthOf<TypeParam>);
  PF_EffectWorld from = source.View();
  PF_EffectWorld to = world.View();
  Calls calls;
  ASSERT_EQ(IteratePixels<TypeParam>(&stage.session->InData(), 0, 1, &from, nullptr, &calls,
                                     &WritePlace<TypeParam>, &to),
            PF_Err_NONE);
  EXPECT_EQ(calls.count.load(), 7 * 9);
  EXPECT_EQ(world.Row<TypeParam>(8)[6].alpha, source.Row<TypeParam>(8)[6].alpha);
}

TYPED_TEST(Iteration, TheFirstErrorOfAPixelEndsItAndIsReturned) {
  Stage stage;
  World world = MakeWorld(30, 30, kDepthOf<TypeParam>);
  PF_EffectWorld view = world.View();
  Calls calls;
  calls.failAt = 45;
  EXPECT_EQ(IteratePixels<TypeParam>(&stage.session->InData(), 0, 30, nullptr, nullptr, &calls,
                                     &WritePlace<TypeParam>, &view),
            77);
  EXPECT_EQ(calls.count.load(), 45);
}

TEST(IterationEnds, TheUsersAbortEndsItWithCancel) {
  std::atomic<bool> abort{false};
  RenderSettings settings;
  settings.abort = &abort;
  settings.progress = [&abort](A_long current, A_long) { abort = current >= 5; };
  Stage stage(settings);
  World world = MakeWorld(10, 30, Depth::k8);
  PF_EffectWorld view = world.View();
  Calls calls;
  EXPECT_EQ(IteratePixels<PF_Pixel8>(&stage.session->InData(), 0, 30, nullptr, nullptr, &calls,
                                     &WritePlace<PF_Pixel8>, &view),
            PF_Interrupt_CANCEL);
  EXPECT_EQ(calls.count.load(), 50);
}

TEST(IterationProgress, RunsFromTheBaseUpwardsToTheFinalValue) {
  ThreadPool pool(3);
  std::vector<A_long> told;
  RenderSettings settings;
  settings.pool = &pool;
  settings.progress = [&told](A_long current, A_long total) {
    EXPECT_EQ(total, 300);
    told.push_back(current);
  };
  Stage stage(settings);
  World world = MakeWorld(4, 100, Depth::k8);
  PF_EffectWorld view = world.View();
  Calls calls;
  ASSERT_EQ(IteratePixels<PF_Pixel8>(&stage.session->InData(), 100, 300, nullptr, nullptr, &calls,
                                     &WritePlace<PF_Pixel8>, &view),
            PF_Err_NONE);
  ASSERT_EQ(told.size(), 100U);
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
  EXPECT_EQ(told.front(), 102);
  EXPECT_EQ(told.back(), 300);
}

PF_Err Throw(void*, A_long, A_long, PF_Pixel8*, PF_Pixel8*) {
  throw 5;
}

TEST(IterationEnds, AnExceptionOfAPixelFunctionReachesTheCallerAsAnError) {
  ThreadPool pool(2);
  RenderSettings settings;
  settings.pool = &pool;
  Stage stage(settings);
  World world = MakeWorld(4, 4, Depth::k8);
  PF_EffectWorld view = world.View();
  EXPECT_EQ(IteratePixels<PF_Pixel8>(&stage.session->InData(), 0, 4, nullptr, nullptr, nullptr,
                                     &Throw, &view),
            PF_Err_INTERNAL_STRUCT_DAMAGED);
}

TEST(IterationEnds, MissingArgumentsAreRefused) {
  Stage stage;
  World world = MakeWorld(4, 4, Depth::k8);
  PF_EffectWorld view = world.View();
  PF_EffectWorld nothing{};
  PF_InData* in = &stage.session->InData();
  Calls calls;
  const auto iterate = [&calls](PF_InData* inData, PF_IteratePixelFn<PF_Pixel8> function,
                                PF_EffectWorld* to) {
    return IteratePixels<PF_Pixel8>(inData, 0, 1, nullptr, nullptr, &calls, function, to);
  };
  EXPECT_EQ(iterate(nullptr, &WritePlace<PF_Pixel8>, &view), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(iterate(in, nullptr, &view), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(iterate(in, &WritePlace<PF_Pixel8>, nullptr), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(iterate(in, &WritePlace<PF_Pixel8>, &nothing), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(calls.count.load(), 0);
}

}  // namespace
}  // namespace veltra::host
