// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests of what outlasts a frame: sequences, values of arbitrary data, and other times.

#include <array>
#include <utility>

#include "base/text.h"
#include "check/test_scene.h"

namespace veltra::check {
namespace {

using host::ControlDeclaration;
using host::ControlValue;
using host::Effect;
using host::FlatValue;
using host::RenderSettings;
using host::World;

// ---- Sequences ----

/// A host frees what it was given as a copy.
void ReportLiveSequence(TestRun& run, const host::RenderResult& result) {
  for (const host::Violation& violation : result.diagnostics.violations) {
    if (violation.rule == host::Rule::kLiveSequenceAnswered) {
      run.FailStep(violation.text);
    }
  }
}

void CheckSequence(TestRun& run, const Effect& effect, RenderSettings settings) {
  run.Step(Describe(settings));
  const World expected = RenderChecked(run, effect, settings).output;
  for (const auto& [reopening, does] :
       {std::pair{host::Reopening::kByFlattening, "saved and opened again"},
        {host::Reopening::kAsDeclared, "saved as a flat copy and opened again"},
        {host::Reopening::kCopiedOnly, "copied flat"}}) {
    if (reopening != host::Reopening::kByFlattening && !effect.AnswersFlatCopies()) {
      continue;
    }
    settings.reopening = reopening;
    run.Step(Text(Describe(settings), ", its sequence ", does));
    const host::RenderResult result = RenderChecked(run, effect, settings);
    ComparePictures(run, Text("the picture is another after its sequence was ", does),
                    result.output, expected);
    ReportLiveSequence(run, result);
  }
  settings.reopening = host::Reopening::kNever;
  host::HeldSequence sequence(effect);
  settings.sequence = &sequence;
  constexpr int kFrames = 3;
  for (int i = 0; i < kFrames; ++i) {
    run.Step(Text(Describe(settings), ", frame ", i + 1, " of one sequence"));
    ComparePictures(run, "the picture is another with a sequence that goes on",
                    RenderChecked(run, effect, settings).output, expected);
  }
}

// ---- Arbitrary data ----

void CheckText(TestRun& run, const Effect& effect, PF_ParamIndex index, const FlatValue& value) {
  const auto text = effect.DataText(index, value);
  if (!text || text->empty()) {
    run.Note(Text("control ", index, " has no text"));
    return;
  }
  const auto again = effect.DataFromText(index, *text);
  if (!again) {
    run.Note(Text("control ", index, " does not read its own text: ", again.ErrorText()));
  } else if (*again != value) {
    const auto now = effect.DataText(index, *again);
    run.FailStep(Text("its text '", *text, "' comes back as another value",
                      now ? Text(", '", *now, "'") : std::string()));
  }
  // What it cannot read it must refuse or read somehow, and survive.
  for (const char* odd : {"", "\x01\x02", "-1e999", "no such value at all, whatever it may be"}) {
    static_cast<void>(effect.DataFromText(index, odd));
  }
}

void CheckComparison(TestRun& run, const Effect& effect, PF_ParamIndex index,
                     const FlatValue& value) {
  const auto same = effect.SameData(index, value, value);
  if (same && !*same) {
    run.FailStep("it finds a value different from itself");
  }
  for (const double t : {0.0, 0.5, 1.0}) {
    const auto between = effect.DataBetween(index, value, value, t);
    const auto stays =
        between ? effect.SameData(index, *between, value) : Expected<bool>(Failure{""});
    if (same && stays && !*stays) {
      run.FailStep("between a value and itself it finds another");
    }
  }
}

/// A copy is the same value, and its own.
void CheckCopy(TestRun& run, const Effect& effect, PF_ParamIndex index, const FlatValue& value) {
  const auto copy = effect.DataCopied(index, value);
  if (!copy) {
    run.Note(Text("control ", index, " is not copied: ", copy.ErrorText()));
    return;
  }
  const auto same = effect.SameData(index, *copy, value);
  if (same ? !*same : *copy != value) {
    run.FailStep("its copy is another value");
  }
}

/// What the host was given it gives back for disposal; what then is left over is the effect's leak.
void CheckHoldings(TestRun& run, const Effect& effect, int handles, std::string_view what) {
  const int left = effect.Holdings()->handles - handles;
  if (left > 0) {
    run.FailStep(Text(what, " left ", Count(static_cast<std::size_t>(left), "handle"), " behind"));
  }
}

/// The default, stored and given back, is the default.
void CheckPicture(TestRun& run, const Effect& effect, PF_ParamIndex index, const FlatValue& value) {
  for (const RenderVariant& variant : VariantsOf(effect)) {
    const Scene scene = MakeScene(effect, run.Rng(), {.depth = variant.depth});
    RenderSettings settings = SettingsFor(scene, variant);
    const World expected = RenderChecked(run, effect, settings).output;
    ControlValue set;
    set.flat = std::make_shared<const FlatValue>(value);
    settings.controls[index] = set;
    run.Step(Text(Describe(settings), ", control ", index, " stored and given back"));
    ComparePictures(run, "the picture is another", RenderChecked(run, effect, settings).output,
                    expected);
  }
}

// ---- Other times ----

/// Images and values of two kinds that take turns, and no image before time 0.
struct Moving {
  std::array<std::map<PF_ParamIndex, std::shared_ptr<const World>>, 2> images;
  std::array<std::map<PF_ParamIndex, ControlValue>, 2> values;
};

Moving MakeMoving(TestRun& run, const Effect& effect, const RenderVariant& variant) {
  Moving moving;
  for (std::size_t i = 0; i < moving.images.size(); ++i) {
    Scene scene = MakeScene(effect, run.Rng(), {.depth = variant.depth});
    RenderSettings settings = SettingsFor(scene, variant);
    SetRandomControls(settings, effect, run.Rng(), Reach::kTame);
    moving.values[i] = settings.controls;
    moving.images[i][0] = std::make_shared<const World>(std::move(scene.input));
    for (auto& [index, layer] : scene.layers) {
      moving.images[i][index] = std::make_shared<const World>(std::move(layer));
    }
  }
  return moving;
}

void CheckTimes(TestRun& run, const Effect& effect, const RenderVariant& variant) {
  const Moving moving = MakeMoving(run, effect, variant);
  const Scene scene = MakeScene(effect, run.Rng(), {.depth = variant.depth});
  RenderSettings settings = SettingsFor(scene, variant);
  settings.totalTime = 100;
  settings.layerAt = [&](PF_ParamIndex index, A_long time,
                         A_u_long) -> Expected<std::shared_ptr<const World>> {
    return time < 0 ? nullptr : moving.images[static_cast<std::size_t>(time % 2)].at(index);
  };
  settings.controlAt = [&](PF_ParamIndex index, A_long time, A_u_long) {
    const auto& values = moving.values[static_cast<std::size_t>(time & 1)];
    const auto found = values.find(index);
    const ControlDeclaration& control = effect.Controls()[static_cast<std::size_t>(index - 1)];
    return found != values.end() ? found->second
                                 : effect.DefaultValue(control, scene.width, scene.height);
  };
  for (const A_long time : {-7, 0, 1, 50, 99, 100, 1000}) {
    settings.currentTime = time;
    run.Step(Text(Describe(settings), ", time ", time, " of 0 to 100"));
    const World first = RenderChecked(run, effect, settings).output;
    ComparePictures(run, "the same time is another picture",
                    RenderChecked(run, effect, settings).output, first);
  }
  settings.layerAt = [](PF_ParamIndex, A_long, A_u_long) -> Expected<std::shared_ptr<const World>> {
    return Failure{"the picture cannot be read"};
  };
  run.Step(Text(Describe(settings), ", other times cannot be read"));
  host::RenderFrame(effect, settings);  // an error or not: it must come back
}

}  // namespace

void TestSequences(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    for (int round = run.Rounds(2); round > 0 && !run.HadEnough(); --round) {
      const int handles = effect->Holdings()->handles;
      const int worlds = effect->Holdings()->worlds;
      RenderSettings settings = SettingsFor(scene, variant);
      SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      CheckSequence(run, *effect, settings);
      if (round == 1) {
        CheckHoldings(run, *effect, handles, "its sequences");
      }
      if (round == 1 && effect->Holdings()->worlds > worlds) {
        run.FailStep(
            Text("its sequences left ",
                 Count(static_cast<std::size_t>(effect->Holdings()->worlds - worlds), "world"),
                 " behind"));
      }
    }
  }
}

void TestArbitraryData(TestRun& run) {
  const auto effect = LoadEffect(run);
  bool any = false;
  for (const ControlDeclaration& control : effect->Controls()) {
    if (control.type != PF_Param_ARBITRARY_DATA || !control.HasValue()) {
      continue;
    }
    any = true;
    run.Step(Text("control ", control.index));
    const int handles = effect->Holdings()->handles;
    const auto value = effect->DefaultData(control.index);
    if (!value) {
      run.Note(Text("control ", control.index, " cannot be stored: ", value.ErrorText()));
      continue;
    }
    CheckText(run, *effect, control.index, *value);
    CheckHoldings(run, *effect, handles, "writing and reading its text");
    CheckComparison(run, *effect, control.index, *value);
    CheckHoldings(run, *effect, handles, "comparing its values and finding one between");
    CheckCopy(run, *effect, control.index, *value);
    CheckHoldings(run, *effect, handles, "copying its values");
    CheckPicture(run, *effect, control.index, *value);
    CheckHoldings(run, *effect, handles, "rendering with its values");
  }
  if (!any) {
    run.Skip("the effect has no arbitrary data");
  }
}

void TestOtherTimes(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    CheckTimes(run, *effect, variant);
  }
}

}  // namespace veltra::check
