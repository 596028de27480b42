// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests with a user who sets controls, presses buttons and looks at the controls.

#include <algorithm>
#include <string>

#include "base/text.h"
#include "check/test_scene.h"

namespace veltra::check {
namespace {

using host::ControlDeclaration;
using host::Effect;
using host::RenderSettings;
using host::World;

bool WantsToHearOf(const ControlDeclaration& control) {
  return (control.flags & PF_ParamFlag_SUPERVISE) != 0 &&
         (control.HasValue() || control.type == PF_Param_BUTTON);
}

/// A host shows an error of UPDATE_PARAMS_UI and renders.
void CheckUpdated(TestRun& run, const host::RenderResult& result) {
  for (const host::Violation& broken : result.diagnostics.violations) {
    if (broken.rule == host::Rule::kUpdateFailed) {
      run.SkipIfNeeded(result.diagnostics.missing);
      run.FailStep(broken.text, Shown::kDialog);
    }
  }
}

/// The same change, twice: no error, the same picture, and nothing left behind.
void CheckChange(TestRun& run, const Effect& effect, const RenderSettings& settings,
                 std::string_view what) {
  run.Step(Text(Describe(settings), ", ", what));
  const int handles = effect.Holdings()->handles;
  const int worlds = effect.Holdings()->worlds;
  const host::RenderResult result = RenderChecked(run, effect, settings);
  CheckUpdated(run, result);
  const World& first = result.output;
  ComparePictures(run, "the same change makes another picture",
                  RenderChecked(run, effect, settings).output, first);
  if (effect.Holdings()->handles > handles || effect.Holdings()->worlds > worlds) {
    run.FailStep("it leaves handles or worlds behind");
  }
}

void CheckEachChange(TestRun& run, const Effect& effect, const RenderSettings& plain) {
  for (const ControlDeclaration& control : effect.Controls()) {
    if (!WantsToHearOf(control) || run.HadEnough()) {
      continue;
    }
    const std::string& name = control.name.empty() ? control.label : control.name;
    RenderSettings settings = plain;
    settings.controlsShown = true;
    if (control.type == PF_Param_BUTTON) {
      settings.pressed = {control.index};
      CheckChange(run, effect, settings, Text("'", name, "' pressed"));
      settings.pressed = {control.index, control.index};
      CheckChange(run, effect, settings, Text("'", name, "' pressed twice"));
    } else {
      settings.changedByUser = {control.index};
      CheckChange(run, effect, settings, Text("'", name, "' set by the user"));
    }
  }
}

/// Showing the controls changes no value, and so no picture.
void CheckControlsShown(TestRun& run, const Effect& effect, RenderSettings settings) {
  const World plain = RenderChecked(run, effect, settings).output;
  settings.controlsShown = true;
  CheckChange(run, effect, settings, "its controls shown");
  ComparePictures(run, "the picture is another after the controls were shown",
                  RenderChecked(run, effect, settings).output, plain);
}

}  // namespace

void TestUserChanges(TestRun& run) {
  const auto effect = LoadEffect(run);
  const bool updates = (effect->OutFlags() & PF_OutFlag_SEND_UPDATE_PARAMS_UI) != 0;
  const auto& controls = effect->Controls();
  if (!updates && std::none_of(controls.begin(), controls.end(), WantsToHearOf)) {
    run.Skip("the effect does not want to hear of its user");
  }
  for (const RenderVariant& variant : VariantsOf(*effect)) {
    const Scene scene = MakeScene(*effect, run.Rng(), {.depth = variant.depth});
    for (int round = run.Rounds(2); round > 0 && !run.HadEnough(); --round) {
      RenderSettings settings = SettingsFor(scene, variant);
      SetRandomControls(settings, *effect, run.Rng(), Reach::kTame);
      run.Step(Describe(settings));
      if (updates) {
        CheckControlsShown(run, *effect, settings);
      }
      CheckEachChange(run, *effect, settings);
    }
  }
}

}  // namespace veltra::check
