// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests of whole frames: that they render, keep to the rules, and come out the same.

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "base/text.h"
#include "check/accounts.h"
#include "check/test_scene.h"
#include "system/process_state.h"

namespace veltra::check {
namespace {

using host::Depth;
using host::Effect;
using host::RenderMode;
using host::RenderSettings;

/// Renders frames of random tame values in every variant and shows each result to `look`.
template <class Look>
void RenderAllVariants(TestRun& run, int rounds, Look look) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    for (int round = 0; round < rounds && !run.HadEnough(); ++round) {
      RenderSettings settings = SettingsFor(scene, variant);
      if (round > 0) {
        SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      }
      run.Step(Describe(settings));
      look(RenderChecked(run, *effect, settings));
    }
  }
}

/// Frames of an effect that take turns, prepared before anything is measured.
struct FrameSet {
  std::vector<Scene> scenes;
  std::vector<RenderSettings> frames;
};

FrameSet MakeFrames(TestRun& run, const Effect& effect) {
  constexpr int kFramesPerVariant = 3;
  FrameSet set;
  const std::vector<RenderVariant> variants = VariantsOf(effect);
  set.scenes.reserve(variants.size());
  for (const RenderVariant& variant : variants) {
    set.scenes.push_back(MakeScene(effect, run.Rng(), {.depth = variant.depth}));
    for (int i = 0; i < kFramesPerVariant; ++i) {
      set.frames.push_back(SettingsFor(set.scenes.back(), variant));
      SetRandomControls(set.frames.back(), effect, run.Rng(), Reach::kTame);
    }
  }
  return set;
}

void RenderFrames(const Effect& effect, const FrameSet& set, int times) {
  for (int i = 0; i < times; ++i) {
    for (const RenderSettings& frame : set.frames) {
      host::RenderFrame(effect, frame);
    }
  }
}

}  // namespace

void TestRenderDefaults(TestRun& run) {
  const auto effect = LoadEffect(run);
  if (effect->IsAudioOnly()) {
    run.Skip("works on sound only and has no picture");
  }
  std::vector<RenderVariant> variants = SmartVariantsOf(*effect);
  if (variants.empty()) {
    variants = {{RenderMode::kClassic, Depth::k8}};
    if (effect->SupportsDepth(Depth::k16)) {
      variants.push_back({RenderMode::kClassic, Depth::k16});
    }
  }
  std::string names;
  for (const RenderVariant& variant : variants) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    RenderSettings settings = SettingsFor(scene, variant);
    run.Step(Describe(settings));
    RenderChecked(run, *effect, settings);
    settings.layers.clear();
    run.Step(Text(Describe(settings), ", no layer chosen"));
    RenderChecked(run, *effect, settings);
    names += Text(names.empty() ? "" : "; ", VariantName(variant));
  }
  if (!run.Failed()) {
    run.Note(names);
  }
}

void TestRules(TestRun& run) {
  RenderAllVariants(run, run.Rounds(5), [&](const host::RenderResult& result) {
    for (const host::Violation& broken : BrokenRules(result)) {
      run.Fail(broken.text);
    }
  });
}

void TestBalance(TestRun& run) {
  std::set<std::string> noted;
  RenderAllVariants(run, run.Rounds(5), [&](const host::RenderResult& result) {
    const std::vector<std::string> kept = Kept(result);
    for (const std::string& one : kept) {
      run.FailStep(one);
    }
    // What goes back more often than it was taken does a host no harm; ordinary effects do it.
    for (const std::string& one : Imbalances(result)) {
      if (std::find(kept.begin(), kept.end(), one) == kept.end() && noted.insert(one).second) {
        run.Note(one);
      }
    }
  });
}

void TestSilence(TestRun& run) {
  RenderAllVariants(run, run.Rounds(2), [&](const host::RenderResult& result) {
    if (result.Ok() && !result.effectMessage.empty()) {
      run.FailStep(Text("it shows a message with a good frame: ", result.effectMessage),
                   Shown::kDialog);
    }
  });
}

void TestRepeatable(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    const RenderSettings settings = SettingsFor(scene, variant);
    run.Step(Describe(settings));
    const host::World first = RenderChecked(run, *effect, settings).output;
    for (int i = run.Rounds(6); i > 0; --i) {
      RenderSettings other = settings;
      SetRandomControls(other, *effect, run.Rng(), Reach::kWild);
      host::RenderFrame(*effect, other);
    }
    const host::World again = RenderChecked(run, *effect, settings).output;
    ComparePictures(run, "the same frame after others is another", again, first);
  }
}

void TestSmartClassic(TestRun& run) {
  const auto effect = LoadEffect(run);
  if (!effect->SupportsSmartRender()) {
    run.Skip("the effect does not render smartly");
  }
  if (!RendersClassic(*effect)) {
    run.Skip("the effect does not answer the classic command");
  }
  const Scene scene = MakeScene(*effect, run.Rng(), {.depth = Depth::k8});
  for (int round = run.Rounds(12); round > 0 && !run.HadEnough(); --round) {
    RenderSettings settings = SettingsFor(scene, {RenderMode::kSmart, Depth::k8});
    SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
    run.Step(Describe(settings));
    const host::World expected = RenderChecked(run, *effect, settings).output;
    settings.mode = RenderMode::kClassic;
    const host::World actual = RenderChecked(run, *effect, settings).output;
    ComparePictures(run, "the classic picture is another", actual, expected, Compare::kVisible);
  }
}

void TestSoak(TestRun& run) {
  const auto effect = LoadEffect(run);
  const FrameSet set = MakeFrames(run, *effect);
  const int times = run.Rounds(8);
  run.Step("rendering many frames");
  // What the first frames leave for good is no leak.
  RenderFrames(*effect, set, 2);
  const ProcessState before = ProcessState::Now();
  RenderFrames(*effect, set, times);
  const ProcessState after = ProcessState::Now();
  const auto frames = static_cast<std::int64_t>(set.frames.size()) * times;
  const auto count = static_cast<std::size_t>(frames);
  if (after.openFiles > before.openFiles) {
    run.Fail(Text(Count(count, "frame"), " left ",
                  Count(static_cast<std::size_t>(after.openFiles - before.openFiles), "file"),
                  " open"));
  }
  if (after.threads > before.threads) {
    run.Fail(Text(Count(count, "frame"), " left ",
                  Count(static_cast<std::size_t>(after.threads - before.threads), "thread"),
                  " running"));
  }
  if (!before.heapBytes || !after.heapBytes) {
    run.Note("memory cannot be measured in this build");
    return;
  }
  const std::int64_t grown = *after.heapBytes - *before.heapBytes;
  // Smaller than the smallest block once in two frames.
  if (grown > frames * 8) {
    run.Fail(Text(Count(count, "frame"), " left ", grown, " bytes of memory behind"));
  }
}

}  // namespace veltra::check
