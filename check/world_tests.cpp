// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests of images in memory: their edges, strides, sizes, and who may write where.

#include <array>
#include <map>
#include <utility>

#include "base/text.h"
#include "check/accounts.h"
#include "check/guarded_hooks.h"
#include "check/test_scene.h"

namespace veltra::check {
namespace {

using host::Depth;
using host::RenderSettings;
using host::WorldLayout;

using Size = std::pair<A_long, A_long>;

/// The row lengths and first pixels that a world of that depth can have: whole pixels more, as in
/// a world that is part of a larger one. Effects may address rows by pixels.
std::vector<WorldLayout> OddLayouts(Depth depth) {
  const A_long pixel = host::BytesPerPixel(depth);
  return {{.extraRowBytes = pixel},
          {.extraRowBytes = 3 * pixel, .misalignBytes = pixel},
          {.extraRowBytes = 5 * pixel, .misalignBytes = 3 * pixel},
          {.extraRowBytes = 259 * pixel, .misalignBytes = 7 * pixel}};
}

std::map<PF_ParamIndex, std::uint64_t> HashesOf(const Scene& scene) {
  std::map<PF_ParamIndex, std::uint64_t> hashes{{0, HashOf(scene.input)}};
  for (const auto& [index, layer] : scene.layers) {
    hashes[index] = HashOf(layer);
  }
  return hashes;
}

/// Renders random values into a guarded output and looks at every guard. The scene's worlds must
/// have been made with guards.
void RenderGuarded(TestRun& run, const host::Effect& effect, const Scene& scene,
                   const RenderVariant& variant, const WorldLayout& layout) {
  GuardedHooks hooks(layout);
  RenderSettings settings = SettingsFor(scene, variant);
  settings.hooks = &hooks;
  SetRandomControls(settings, effect, run.Rng(), Reach::kTame);
  run.Step(Describe(settings));
  CheckGuards(run, scene, RenderChecked(run, effect, settings));
}

}  // namespace

void TestCanaries(TestRun& run) {
  constexpr std::array<Size, 7> kSizes{Size{40, 24}, {3, 5},   {17, 2}, {2, 17},
                                       {33, 31},     {64, 16}, {65, 3}};
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    for (const auto& [width, height] : kSizes) {
      for (int round = run.Rounds(2); round > 0 && !run.HadEnough(); --round) {
        WorldLayout layout =
            run.Rng().OneIn(2) ? WorldLayout{} : run.Rng().Pick(OddLayouts(variant.depth));
        layout.guarded = true;
        const Scene scene =
            MakeScene(*effect, run.Rng(),
                      {.width = width, .height = height, .depth = variant.depth, .layout = layout});
        RenderGuarded(run, *effect, scene, variant, layout);
      }
    }
  }
}

void TestStrides(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    // The same pixels for every layout.
    const Random pixels = run.Rng();
    Random random = pixels;
    const Scene plain = MakeScene(*effect, random, {.depth = variant.depth});
    const RenderSettings settings = SettingsFor(plain, variant);
    run.Step(Describe(settings));
    const host::World expected = RenderChecked(run, *effect, settings).output;
    for (const WorldLayout& layout : OddLayouts(variant.depth)) {
      random = pixels;
      const Scene scene = MakeScene(*effect, random, {.depth = variant.depth, .layout = layout});
      GuardedHooks hooks(layout);
      RenderSettings odd = SettingsFor(scene, variant);
      odd.hooks = &hooks;
      run.Step(Text(Describe(odd), ", rows ", layout.extraRowBytes, " bytes longer, ",
                    layout.misalignBytes, " bytes off"));
      const host::World picture = RenderChecked(run, *effect, odd).output;
      ComparePictures(run, "the picture is another", picture, expected);
    }
  }
}

void TestSourcesUntouched(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    const auto before = HashesOf(scene);
    for (int round = run.Rounds(4); round > 0; --round) {
      RenderSettings settings = SettingsFor(scene, variant);
      SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      run.Step(Describe(settings));
      RenderChecked(run, *effect, settings);
    }
    const auto after = HashesOf(scene);
    for (const auto& [index, hash] : before) {
      if (after.at(index) != hash) {
        run.FailStep(index == 0 ? std::string("it has changed its input")
                                : Text("it has changed the layer of control ", index));
      }
    }
  }
}

void TestOddSizes(TestRun& run) {
  constexpr std::array<Size, 11> kSizes{Size{1, 1}, {1, 2}, {2, 1},   {2, 2},   {1, 50}, {50, 1},
                                        {3, 3},     {7, 5}, {13, 29}, {127, 3}, {257, 2}};
  constexpr WorldLayout kGuarded{.guarded = true};
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    for (const auto& [width, height] : kSizes) {
      const Scene scene =
          MakeScene(*effect, run.Rng(),
                    {.width = width, .height = height, .depth = variant.depth, .layout = kGuarded});
      for (int round = run.Rounds(2); round > 0 && !run.HadEnough(); --round) {
        RenderGuarded(run, *effect, scene, variant, kGuarded);
      }
    }
  }
}

void TestLayers(TestRun& run) {
  constexpr std::array<Size, 9> kSizes{Size{1, 1}, {1, 2},   {2, 1},  {1, 40},   {40, 1},
                                       {300, 2},   {3, 257}, {13, 7}, {128, 128}};
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    for (const auto& [width, height] : kSizes) {
      Scene scene = MakeScene(*effect, run.Rng(),
                              {.depth = variant.depth, .layerWidth = width, .layerHeight = height});
      if (scene.layers.empty()) {
        run.Skip("the effect has no layer control");
      }
      for (auto& [index, layer] : scene.layers) {
        layer.SetPixelAspect(run.Rng().OneIn(2) ? PF_RationalScale{1, 1}
                                                : PF_RationalScale{10, 11});
      }
      RenderSettings settings = SettingsFor(scene, variant);
      SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      run.Step(Text(Describe(settings), ", layers of ", width, " x ", height));
      RenderChecked(run, *effect, settings);
      settings.input = nullptr;
      run.Step(Text(Describe(settings), ", layers of ", width, " x ", height, ", no frame"));
      RenderChecked(run, *effect, settings);
    }
  }
}

}  // namespace veltra::check
