// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whole frames with the fixture effect: the protocol, its rules and what breaks them.

#include "host/renderer.h"

#include <algorithm>
#include <thread>

#include "fixture_behaviour.h"
#include "images.h"

namespace veltra::host {
namespace {

using fixture::Behaviour;

const Effect& FixtureEffect() {
  static const std::unique_ptr<const Effect> effect = [] {
    auto loaded = Effect::Open(VELTRA_FIXTURE_EFFECT);
    return std::move(*loaded);
  }();
  return *effect;
}

RenderSettings SettingsFor(const World& input, Behaviour behaviour, bool brighten = false) {
  RenderSettings settings;
  settings.width = input.Width();
  settings.height = input.Height();
  settings.depth = input.PixelDepth();
  settings.input = &input;
  settings.controls[fixture::kBehaviour] = {static_cast<A_long>(behaviour) << 16, 0};
  settings.controls[fixture::kSwitch] = {brighten ? 1 : 0, 0};
  return settings;
}

bool Broke(const RenderResult& result, Rule rule) {
  const auto& all =
      IsAboutAccounts(rule) ? result.diagnostics.notes : result.diagnostics.violations;
  return std::any_of(all.begin(), all.end(),
                     [rule](const Violation& violation) { return violation.rule == rule; });
}

template <class Pixel>
class Rendering : public ::testing::Test {};
TYPED_TEST_SUITE(Rendering, AllPixels);

TYPED_TEST(Rendering, SmartRenderCopiesTheFrameThroughTheEffect) {
  const World input = RandomWorld<TypeParam>(40, 30, 1);
  const RenderResult result =
      RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kCopyInput));
  ASSERT_TRUE(result.Ok()) << result.errorText;
  EXPECT_EQ(FirstDifference<TypeParam>(input, result.output), "");
  EXPECT_TRUE(result.diagnostics.Balanced());
  EXPECT_TRUE(result.diagnostics.violations.empty());
  EXPECT_GT(result.diagnostics.paramCheckouts, 0);
  EXPECT_EQ(result.diagnostics.layerCheckouts, 1);
}

TYPED_TEST(Rendering, ThePictureDoesNotDependOnThreads) {
  const World input = RandomWorld<TypeParam>(64, 50, 2);
  RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput, true);
  const RenderResult alone = RenderFrame(FixtureEffect(), settings);
  ASSERT_TRUE(alone.Ok()) << alone.errorText;
  ThreadPool pool(5);
  settings.pool = &pool;
  const RenderResult together = RenderFrame(FixtureEffect(), settings);
  EXPECT_EQ(FirstDifference<TypeParam>(alone.output, together.output), "");
  EXPECT_NE(FirstDifference<TypeParam>(input, together.output), "");
}

TYPED_TEST(Rendering, AFrameIsReadOnceAndOnlyWhenItIsWanted) {
  const World input = RandomWorld<TypeParam>(20, 10, 3);
  for (const Behaviour behaviour : {Behaviour::kCopyInput, Behaviour::kLayerOnly}) {
    RenderSettings settings = SettingsFor(input, behaviour);
    const RenderResult given = RenderFrame(FixtureEffect(), settings);
    int reads = 0;
    settings.input = nullptr;
    settings.readInput = [&]() -> veltra::Expected<const World*> {
      ++reads;
      return &input;
    };
    const RenderResult read = RenderFrame(FixtureEffect(), settings);
    ASSERT_TRUE(read.Ok()) << read.errorText;
    EXPECT_EQ(reads, behaviour == Behaviour::kCopyInput ? 1 : 0);
    EXPECT_EQ(FirstDifference<TypeParam>(given.output, read.output), "");
  }
}

TEST(RenderErrors, AFrameThatCannotBeReadEndsTheRenderWithItsText) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 4);
  const World other = RandomWorld<PF_Pixel8>(9, 8, 4);
  RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput);
  settings.readInput = []() -> veltra::Expected<const World*> { return veltra::Failure{"gone"}; };
  EXPECT_EQ(RenderFrame(FixtureEffect(), settings).errorText, "gone");
  settings.readInput = [&]() -> veltra::Expected<const World*> { return &other; };
  EXPECT_NE(RenderFrame(FixtureEffect(), settings).errorText.find("expected 8 x 8"),
            std::string::npos);
}

TYPED_TEST(Rendering, ARegionIsThatPartOfTheWholePicture) {
  const World input = RandomWorld<TypeParam>(40, 30, 3);
  for (const RenderMode mode : {RenderMode::kSmart, RenderMode::kClassic}) {
    if (mode == RenderMode::kClassic && kDepthOf<TypeParam> == Depth::kFloat) {
      continue;
    }
    RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput);
    settings.mode = mode;
    settings.region = PF_LRect{-4, 10, 20, 33};
    const RenderResult result = RenderFrame(FixtureEffect(), settings);
    ASSERT_TRUE(result.Ok()) << result.errorText;
    ASSERT_EQ(result.output.Width(), 24);
    ASSERT_EQ(result.output.Height(), 23);
    EXPECT_EQ(result.output.OriginX(), -4);
    EXPECT_EQ(result.output.OriginY(), 10);
    const auto pixel = [&](A_long x, A_long y) {
      return result.output.Row<TypeParam>(y - 10)[static_cast<std::size_t>(x + 4)];
    };
    EXPECT_TRUE(Same(pixel(-1, 12), TypeParam{}));
    EXPECT_TRUE(Same(pixel(0, 10), input.Row<TypeParam>(10)[0]));
    EXPECT_TRUE(Same(pixel(19, 29), input.Row<TypeParam>(29)[19]));
    EXPECT_TRUE(Same(pixel(19, 30), TypeParam{}));
  }
}

TYPED_TEST(Rendering, AResultSmallerThanTheRequestLeavesTheRestTransparent) {
  const World input = RandomWorld<TypeParam>(20, 10, 4);
  const RenderResult half =
      RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kHalfResult));
  ASSERT_TRUE(half.Ok()) << half.errorText;
  EXPECT_EQ(half.resultRect.right, 10);
  EXPECT_TRUE(Same(half.output.Row<TypeParam>(9)[9], MakePixel<TypeParam>(1, 1, 1, 1)));
  EXPECT_TRUE(Same(half.output.Row<TypeParam>(9)[10], TypeParam{}));
  const RenderResult none =
      RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kEmptyResult));
  ASSERT_TRUE(none.Ok()) << none.errorText;
  EXPECT_EQ(none.output.Width(), 20);
  EXPECT_EQ(none.diagnostics.layerCheckouts, 0) << "nothing to render, nothing rendered";
}

TYPED_TEST(Rendering, ExtraPixelsAreCutOffAndUndeclaredOnesAreAViolation) {
  const World input = RandomWorld<TypeParam>(20, 10, 5);
  const RenderResult declared =
      RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kExtraPixels));
  ASSERT_TRUE(declared.Ok()) << declared.errorText;
  EXPECT_EQ(declared.resultRect.left, -3);
  EXPECT_EQ(declared.output.Width(), 20);
  EXPECT_TRUE(Same(declared.output.Row<TypeParam>(0)[0], MakePixel<TypeParam>(1, 1, 1, 1)));
  EXPECT_TRUE(declared.diagnostics.violations.empty());
  const RenderResult undeclared =
      RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kExceedRequest));
  EXPECT_TRUE(Broke(undeclared, Rule::kResultBeyondRequest));
  EXPECT_EQ(undeclared.resultRect.left, 0);
}

TYPED_TEST(Rendering, WithoutAFrameTheEffectSeesATransparentOne) {
  const World size = MakeWorld(12, 8, kDepthOf<TypeParam>);
  RenderSettings settings = SettingsFor(size, Behaviour::kReport);
  settings.input = nullptr;
  const RenderResult result = RenderFrame(FixtureEffect(), settings);
  ASSERT_TRUE(result.Ok()) << result.errorText;
  EXPECT_NE(result.effectMessage.find("input 12 x 8 at 0,0 sees 0,0,0,0"), std::string::npos)
      << result.effectMessage;
}

TYPED_TEST(Rendering, AnUnsetLayerGivesNoPixelsAndASetOneIsTheLayer) {
  const World input = RandomWorld<TypeParam>(20, 10, 6);
  RenderSettings settings = SettingsFor(input, Behaviour::kLayerOnly);
  const RenderResult without = RenderFrame(FixtureEffect(), settings);
  ASSERT_TRUE(without.Ok()) << without.errorText;
  EXPECT_TRUE(Same(without.output.Row<TypeParam>(3)[3], TypeParam{}));
  const World layer = RandomWorld<TypeParam>(20, 10, 7);
  settings.layers[fixture::kLayer] = &layer;
  const RenderResult with = RenderFrame(FixtureEffect(), settings);
  ASSERT_TRUE(with.Ok()) << with.errorText;
  EXPECT_EQ(FirstDifference<TypeParam>(layer, with.output), "");
}

TEST(RenderFacts, DownsamplingReducesWorldsAndPointsButNotTheFramesSize) {
  World full = MakeWorld(40, 30, Depth::k8);
  full.Row<PF_Pixel8>(8)[12] = {255, 1, 2, 3};
  const auto reduced = BoxDownsample(full, 4);
  ASSERT_TRUE(reduced);
  RenderSettings settings = SettingsFor(full, Behaviour::kReport);
  settings.input = &*reduced;
  settings.downsample = 4;
  settings.draft = true;
  settings.controls[fixture::kPlace] = {10 << 16, -(6 << 16)};
  settings.region = PF_LRect{2, 1, 10, 8};
  const RenderResult result = RenderFrame(FixtureEffect(), settings);
  ASSERT_TRUE(result.Ok()) << result.errorText;
  EXPECT_EQ(result.effectMessage,
            "frame 40 x 30, 1/4, quality 0, place 163840,-98304, input 8 x 7 at 2,1 sees 1,1,2,2, "
            "output 8 x 7 at 2,1");
}

TEST(RenderFacts, ValuesOfControlsMayDependOnTheTime) {
  const World input = MakeWorld(8, 8, Depth::k8);
  RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput);
  settings.currentTime = 7;
  settings.timeScale = 25;
  settings.controlAt = [](PF_ParamIndex index, A_long time, A_u_long scale) {
    EXPECT_EQ(scale, 25U);
    EXPECT_EQ(time, 7);
    return index == fixture::kBehaviour ? ControlValue{Behaviour::kHalfResult << 16, 0}
                                        : ControlValue{};
  };
  EXPECT_EQ(RenderFrame(FixtureEffect(), settings).resultRect.right, 4);
}

PF_Err ErrorOf(Behaviour behaviour, Rule rule) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 8);
  const RenderResult result = RenderFrame(FixtureEffect(), SettingsFor(input, behaviour));
  EXPECT_TRUE(Broke(result, rule));
  EXPECT_TRUE(result.output.Empty());
  return result.error;
}

TEST(RenderRules, EachIdOnceOnlyRequestedOnesAndTheOutputAfterAnInput) {
  EXPECT_EQ(ErrorOf(Behaviour::kFetchTwice, Rule::kLayerFetchedTwice), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(ErrorOf(Behaviour::kFetchUnrequested, Rule::kLayerNotRequested),
            PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(ErrorOf(Behaviour::kOutputFirst, Rule::kOutputBeforeInput), PF_Err_BAD_CALLBACK_PARAM);
}

TEST(RenderRules, WhatIsKeptShowsInTheAccounts) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 9);
  const RenderResult result =
      RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kKeepEverything));
  EXPECT_FALSE(result.diagnostics.Balanced());
  EXPECT_TRUE(Broke(result, Rule::kParametersUneven));
  ASSERT_TRUE(Broke(result, Rule::kSuiteKept));
  EXPECT_EQ(result.diagnostics.notes.front().text,
            "suite \"PF World Suite\" version 2 was not released");
  EXPECT_TRUE(result.diagnostics.violations.empty()) << "accounts are no broken rules";
}

TEST(RenderRules, PreRenderDataWithoutADeleteFunctionIsFreed) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 10);
  RenderSettings settings = SettingsFor(input, Behaviour::kPlainFree);
  EXPECT_TRUE(RenderFrame(FixtureEffect(), settings).Ok());
  settings.preRenderOnly = true;
  const RenderResult asked = RenderFrame(FixtureEffect(), settings);
  EXPECT_TRUE(asked.Ok());
  EXPECT_TRUE(asked.output.Empty());
  EXPECT_EQ(asked.resultRect.right, 8);
}

TEST(RenderErrors, ComeWithTheirNameAndTheEffectsMessage) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 11);
  const RenderResult failed = RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kFail));
  EXPECT_EQ(failed.error, PF_Err_OUT_OF_MEMORY);
  EXPECT_NE(failed.errorText.find("PF_Err_OUT_OF_MEMORY"), std::string::npos) << failed.errorText;
  EXPECT_EQ(failed.effectMessage, "cannot do this");
  const RenderResult thrown = RenderFrame(FixtureEffect(), SettingsFor(input, Behaviour::kThrow));
  EXPECT_EQ(thrown.error, PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_TRUE(Broke(thrown, Rule::kExceptionEscaped));
}

TEST(RenderErrors, SettingsThatCannotBeRenderedAreNamed) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 12);
  const World deep = MakeWorld(8, 8, Depth::k16);
  const auto trouble = [&](auto change) {
    RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput);
    change(settings);
    const RenderResult result = RenderFrame(FixtureEffect(), settings);
    EXPECT_EQ(result.error, PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_TRUE(result.output.Empty());
    return result.errorText;
  };
  EXPECT_NE(trouble([](auto& s) { s.width = 9; }).find("expected 9 x 8"), std::string::npos);
  EXPECT_NE(trouble([&](auto& s) { s.input = &deep; }).find("depth"), std::string::npos);
  EXPECT_NE(trouble([](auto& s) { s.width = 40000; }).find("30000"), std::string::npos);
  EXPECT_NE(trouble([](auto& s) { s.downsample = 0; }).find("downsampling"), std::string::npos);
  EXPECT_NE(trouble([&](auto& s) { s.layers[2] = &deep; }).find("not a layer"), std::string::npos);
  EXPECT_NE(trouble([](auto& s) { s.controls[70] = {}; }).find("no control 70"), std::string::npos);
  EXPECT_NE(trouble([](auto& s) {
              s.mode = RenderMode::kClassic;
              s.depth = Depth::kFloat;
              s.input = nullptr;
            }).find("classic"),
            std::string::npos);
}

TEST(RenderErrors, AnAbortEndsTheFrameAsCancelled) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 13);
  const std::atomic<bool> abort{true};
  RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput, true);
  settings.abort = &abort;
  const RenderResult result = RenderFrame(FixtureEffect(), settings);
  EXPECT_EQ(result.error, PF_Interrupt_CANCEL);
  EXPECT_EQ(result.errorText, "interrupted");
}

/// Refuses one kind of call, and asks for a guarded output.
class Refusal : public RenderHooks {
 public:
  explicit Refusal(HostCall refused) : refused_(refused) {}

  PF_Err BeforeCall(const HostCallDetails& details) override {
    return details.call == refused_ ? 99 : PF_Err_NONE;
  }
  WorldLayout OutputLayout() override { return {12, 4, true}; }

 private:
  HostCall refused_;
};

TEST(RenderHooksTest, ARefusedCallReachesTheEffect) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 14);
  for (const HostCall call : {HostCall::kCheckoutLayer, HostCall::kCheckoutLayerPixels,
                              HostCall::kCheckoutOutput, HostCall::kCopy, HostCall::kIterate}) {
    Refusal hooks(call);
    RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput, true);
    settings.hooks = &hooks;
    EXPECT_EQ(RenderFrame(FixtureEffect(), settings).error, 99) << HostCallName(call);
  }
}

TEST(RenderHooksTest, AnOddOutputLayoutGivesTheSamePictureAndCatchesStrayWrites) {
  const World input = RandomWorld<PF_Pixel8>(8, 8, 15);
  Refusal hooks(HostCall::kMixInGuid);
  RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput);
  settings.hooks = &hooks;
  const RenderResult odd = RenderFrame(FixtureEffect(), settings);
  ASSERT_TRUE(odd.Ok()) << odd.errorText;
  EXPECT_EQ(FirstDifference<PF_Pixel8>(input, odd.output), "");
  EXPECT_TRUE(odd.diagnostics.violations.empty());
  settings.controls[fixture::kBehaviour] = {Behaviour::kWriteOutside << 16, 0};
  EXPECT_TRUE(Broke(RenderFrame(FixtureEffect(), settings), Rule::kWroteOutsideOutput));
}

TEST(ConcurrentRendering, ManyFramesAtOnceAreEachTheirOwn) {
  ThreadPool pool(3);
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (unsigned i = 0; i < 6; ++i) {
    threads.emplace_back([&pool, &wrong, i] {
      const World input = RandomWorld<PF_Pixel16>(50, 40, i);
      RenderSettings settings = SettingsFor(input, Behaviour::kCopyInput);
      settings.pool = &pool;
      for (int round = 0; round < 5; ++round) {
        const RenderResult result = RenderFrame(FixtureEffect(), settings);
        wrong += result.Ok() && FirstDifference<PF_Pixel16>(input, result.output).empty() ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
}  // namespace veltra::host
