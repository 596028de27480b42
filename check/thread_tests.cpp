// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests with several threads: within a frame, and several frames at once.

#include <mutex>
#include <thread>

#include "base/text.h"
#include "check/test_scene.h"
#include "host/base/thread_pool.h"

namespace veltra::check {
namespace {

using host::Effect;
using host::RenderSettings;

constexpr int kThreads = 4;

/// A frame with the picture that it gives when it is rendered alone.
struct FrameAlone {
  RenderSettings settings;
  host::World picture;
};

/// Renders all frames again and again on several threads at once, each thread in another order.
/// Returns what differed, in the order in which it was noticed.
std::vector<std::string> RenderAtOnce(const Effect& effect, const std::vector<FrameAlone>& frames,
                                      int rounds, bool comparePictures) {
  std::mutex mutex;
  std::vector<std::string> troubles;
  const auto work = [&](std::size_t thread) {
    for (std::size_t i = 0; i < frames.size() * static_cast<std::size_t>(rounds); ++i) {
      const FrameAlone& frame = frames[(i + thread) % frames.size()];
      const host::RenderResult result = host::RenderFrame(effect, frame.settings);
      const std::string trouble = !result.Ok()      ? result.errorText
                                  : comparePictures ? Difference(result.output, frame.picture)
                                                    : "";
      if (!trouble.empty()) {
        const std::lock_guard lock(mutex);
        troubles.push_back(trouble);
      }
    }
  };
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back(work, thread);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return troubles;
}

void CheckAtOnce(TestRun& run, const Effect& effect, const std::vector<FrameAlone>& frames) {
  for (const std::string& trouble :
       RenderAtOnce(effect, frames, run.Rounds(2), !run.PicturesVary())) {
    run.FailStep(trouble);
  }
}

}  // namespace

void TestOneThreadMany(TestRun& run) {
  const auto effect = LoadEffect(run);
  host::ThreadPool pool(kThreads);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene =
        MakeScene(*effect, run.Rng(), {.width = 120, .height = 90, .depth = variant.depth});
    for (int round = run.Rounds(3); round > 0 && !run.HadEnough(); --round) {
      RenderSettings settings = SettingsFor(scene, variant);
      if (round > 1) {
        SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      }
      run.Step(Describe(settings));
      const host::World one = RenderChecked(run, *effect, settings).output;
      settings.pool = &pool;
      const host::World many = RenderChecked(run, *effect, settings).output;
      ComparePictures(run, Text("rendered on ", kThreads, " threads it is another"), many, one);
    }
  }
}

void TestConcurrentRenders(TestRun& run) {
  constexpr int kFrames = 6;
  const auto effect = LoadEffect(run);
  if (!effect->SupportsThreadedRendering()) {
    run.Skip("the effect does not declare threaded rendering");
  }
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    std::vector<FrameAlone> frames;
    for (int i = 0; i < kFrames; ++i) {
      RenderSettings settings = SettingsFor(scene, variant);
      SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      run.Step(Describe(settings));
      host::World picture = RenderChecked(run, *effect, settings).output;
      frames.push_back({std::move(settings), std::move(picture)});
    }
    run.Step(Text(VariantName(variant), ", ", kThreads, " frames at once"));
    CheckAtOnce(run, *effect, frames);
    if (effect->CopiesSequences()) {
      host::HeldSequence sequence(*effect);
      for (FrameAlone& frame : frames) {
        frame.settings.sequence = &sequence;
      }
      run.Step(Text(VariantName(variant), ", ", kThreads, " frames of one sequence at once"));
      CheckAtOnce(run, *effect, frames);
    }
  }
}

}  // namespace veltra::check
