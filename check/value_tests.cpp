// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests of values: extreme ones, random ones, and random everything.

#include <array>
#include <utility>

#include "base/text.h"
#include "check/guarded_hooks.h"
#include "check/test_scene.h"

namespace veltra::check {
namespace {

using host::ControlDeclaration;
using host::ControlValue;
using host::Effect;
using host::RenderSettings;

/// The effect's controls with their extreme values, those without any left out.
using Extremes = std::vector<std::pair<const ControlDeclaration*, std::vector<ControlValue>>>;

Extremes ExtremesOf(const Effect& effect, A_long width, A_long height) {
  Extremes extremes;
  for (const ControlDeclaration& control : effect.Controls()) {
    auto values = ExtremeValues(control, width, height);
    if (!values.empty()) {
      extremes.emplace_back(&control, std::move(values));
    }
  }
  return extremes;
}

/// Every value alone, the others at their defaults.
void OneByOne(TestRun& run, const Effect& effect, const RenderSettings& base,
              const Extremes& extremes) {
  for (const auto& [control, values] : extremes) {
    for (const ControlValue& value : values) {
      RenderSettings settings = base;
      settings.controls[control->index] = value;
      run.Step(Text(Describe(settings), ", ", DescribeValue(*control, value)));
      RenderChecked(run, effect, settings);
    }
  }
}

/// Random choices among the extremes of all controls at once.
void AllAtOnce(TestRun& run, const Effect& effect, const RenderSettings& base,
               const Extremes& extremes) {
  RenderSettings settings = base;
  std::string words = Describe(settings);
  for (const auto& [control, values] : extremes) {
    const ControlValue& value = run.Rng().Pick(values);
    settings.controls[control->index] = value;
    words += Text(", ", DescribeValue(*control, value));
  }
  run.Step(words);
  RenderChecked(run, effect, settings);
}

std::string DescribeControls(const Effect& effect, const RenderSettings& settings) {
  std::string words = Describe(settings);
  for (const ControlDeclaration& control : effect.Controls()) {
    const auto value = settings.controls.find(control.index);
    if (value != settings.controls.end()) {
      words += Text(", ", DescribeValue(control, value->second));
    }
  }
  return words;
}

// ---- Everything random ----

constexpr std::array<PF_RationalScale, 5> kAspects{
    PF_RationalScale{1, 1}, {2, 1}, {1, 2}, {10, 11}, {4, 3}};

SceneShape RandomShape(Random& random, const RenderVariant& variant) {
  SceneShape shape;
  shape.width = random.Int(2, 60);
  shape.height = random.Int(2, 60);
  shape.depth = variant.depth;
  shape.downsample = random.OneIn(2) ? 1 : random.Int(2, 5);
  shape.layerWidth = random.Int(1, 60);
  shape.layerHeight = random.Int(1, 60);
  shape.layout.guarded = true;
  shape.layout.extraRowBytes = random.Int(0, 10) * host::BytesPerPixel(variant.depth);
  shape.layout.misalignBytes = random.Int(0, 3) * host::BytesPerPixel(variant.depth);
  return shape;
}

void RandomiseFrame(RenderSettings& settings, Random& random) {
  settings.pixelAspect = random.Pick(kAspects);
  settings.draft = random.OneIn(4);
  settings.totalTime = 100;
  settings.currentTime = random.Int(0, 99);
  if (random.OneIn(2)) {
    const A_long left = random.Int(-5, 30);
    const A_long top = random.Int(-5, 30);
    settings.region = PF_LRect{left, top, left + random.Int(1, 40), top + random.Int(1, 40)};
  }
}

}  // namespace

void TestExtremeValues(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    const RenderSettings base = SettingsFor(scene, variant);
    const Extremes extremes = ExtremesOf(*effect, scene.width, scene.height);
    OneByOne(run, *effect, base, extremes);
    for (int round = run.Rounds(20); round > 0 && !run.HadEnough(); --round) {
      AllAtOnce(run, *effect, base, extremes);
    }
  }
}

void TestRandomValues(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    for (int round = run.Rounds(40); round > 0 && !run.HadEnough(); --round) {
      RenderSettings settings = SettingsFor(scene, variant);
      SetRandomControls(settings, *effect, run.Rng(), Reach::kWild);
      run.Step(DescribeControls(*effect, settings));
      RenderChecked(run, *effect, settings);
    }
  }
}

void TestMixed(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    for (int round = run.Rounds(20); round > 0 && !run.HadEnough(); --round) {
      const SceneShape shape = RandomShape(run.Rng(), variant);
      const Scene scene = MakeScene(*effect, run.Rng(), shape);
      GuardedHooks hooks(shape.layout);
      RenderSettings settings = SettingsFor(scene, variant);
      settings.hooks = &hooks;
      SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      RandomiseFrame(settings, run.Rng());
      run.Step(Text(DescribeControls(*effect, settings), ", pixel aspect ",
                    settings.pixelAspect.num, "/", settings.pixelAspect.den));
      CheckGuards(run, scene, RenderChecked(run, *effect, settings));
    }
  }
}

}  // namespace veltra::check
