// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests of the set-up commands: once, again, in other orders, and refused.

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <set>

#include "base/text.h"
#include "check/identity.h"
#include "check/setup_session.h"
#include "check/test_scene.h"
#include "system/process_state.h"

namespace veltra::check {
namespace {

using host::ControlDeclaration;

void CheckSucceeded(TestRun& run, PF_Err error) {
  if (error != PF_Err_NONE) {
    run.FailStep(host::ErrorName(error), Shown::kDialog);
  }
}

// ---- Declarations ----

/// "control 3 (Gain)".
std::string NameOf(const ControlDeclaration& control) {
  const std::string& name = control.name.empty() ? control.label : control.name;
  return Text("control ", control.index, name.empty() ? "" : " (", name, name.empty() ? "" : ")");
}

/// What a slider of any kind declares.
template <class Number>
struct SliderRange {
  Number validMin;
  Number validMax;
  Number sliderMin;
  Number sliderMax;
  Number fallback;
  Number value;
};

template <class Number>
void CheckRange(TestRun& run, const ControlDeclaration& c, const SliderRange<Number>& range) {
  if (range.validMin > range.validMax) {
    run.Fail(Text(NameOf(c), ": the valid range is empty"));
  }
  if (range.sliderMin >= range.sliderMax) {
    run.Fail(Text(NameOf(c), ": the slider's range is empty"));
  }
  if (range.sliderMin < range.validMin || range.sliderMax > range.validMax) {
    run.Fail(Text(NameOf(c), ": the slider reaches beyond the valid range"));
  }
  if (range.fallback < range.validMin || range.fallback > range.validMax) {
    run.Fail(Text(NameOf(c), ": the default lies outside of the valid range"));
  }
  if (range.value != range.fallback) {
    run.Note(Text(NameOf(c), ": value and default differ, hosts start with the default"));
  }
}

void CheckSlider(TestRun& run, const ControlDeclaration& c) {
  const auto& u = c.raw.u;
  CheckRange<A_long>(run, c,
                     {c.validMin, c.validMax, c.sliderMin, c.sliderMax, c.defaultValue,
                      c.type == PF_Param_SLIDER ? u.sd.value : u.fd.value});
}

void CheckFloatSlider(TestRun& run, const ControlDeclaration& c) {
  // A default is declared in single precision, a value in double.
  CheckRange<double>(
      run, c,
      {c.validMinNumber, c.validMaxNumber, c.sliderMinNumber, c.sliderMaxNumber, c.defaultNumber,
       static_cast<double>(static_cast<float>(c.raw.u.fs_d.value))});
}

void CheckPrecision(TestRun& run, const ControlDeclaration& c) {
  if (c.precision < 0 || c.precision > 9) {
    run.Fail(Text(NameOf(c), ": ", c.precision, " decimals"));
  }
}

void CheckPopup(TestRun& run, const ControlDeclaration& c) {
  const auto declared = static_cast<std::size_t>(std::max<A_short>(0, c.raw.u.pd.num_choices));
  if (c.choices.empty() || declared != c.choices.size()) {
    run.Fail(
        Text(NameOf(c), ": declares ", Count(declared, "choice"), " and names ", c.choices.size()));
  }
  if (c.defaultValue < 1 || static_cast<std::size_t>(c.defaultValue) > c.choices.size()) {
    run.Fail(Text(NameOf(c), ": the default is none of the choices"));
  }
}

void CheckLayerDefault(TestRun& run, const ControlDeclaration& c) {
  if (c.defaultValue != PF_LayerDefault_NONE && c.defaultValue != PF_LayerDefault_MYSELF) {
    run.Fail(Text(NameOf(c), ": the default layer is ", c.defaultValue,
                  " (expected none, 0, or the effect's own, -1)"));
  }
}

void CheckControl(TestRun& run, const ControlDeclaration& c) {
  if (std::find(std::begin(c.raw.name), std::end(c.raw.name), '\0') == std::end(c.raw.name)) {
    run.Fail(Text(NameOf(c), ": the name does not end within its field"));
  }
  if (c.type < PF_Param_LAYER || c.type > PF_Param_POINT_3D) {
    run.Fail(Text(NameOf(c), ": there is no parameter type ", c.type));
  }
  switch (c.type) {
    case PF_Param_SLIDER:
      CheckSlider(run, c);
      break;
    case PF_Param_FIX_SLIDER:
      CheckSlider(run, c);
      CheckPrecision(run, c);
      break;
    case PF_Param_FLOAT_SLIDER:
      CheckFloatSlider(run, c);
      CheckPrecision(run, c);
      break;
    case PF_Param_POPUP:
      CheckPopup(run, c);
      break;
    case PF_Param_CHECKBOX:
      if (c.defaultValue > 1) {
        run.Fail(Text(NameOf(c), ": the default of a checkbox is ", c.defaultValue));
      }
      break;
    case PF_Param_LAYER:
      CheckLayerDefault(run, c);
      break;
    default:
      break;
  }
}

/// Ids are what a project remembers controls by: each once, or none at all.
void CheckIds(TestRun& run, const std::vector<ControlDeclaration>& controls) {
  std::set<A_long> ids;
  for (const ControlDeclaration& control : controls) {
    if (control.id != 0 && !ids.insert(control.id).second) {
      run.Fail(Text(NameOf(control), ": the id ", control.id, " is taken"));
    }
  }
  if (!ids.empty() && ids.size() != controls.size() &&
      std::any_of(controls.begin(), controls.end(),
                  [](const ControlDeclaration& c) { return c.id == 0; })) {
    run.Note("some controls have an id and some have none");
  }
}

void CheckGroups(TestRun& run, const std::vector<ControlDeclaration>& controls) {
  int depth = 0;
  for (const ControlDeclaration& control : controls) {
    depth += control.type == PF_Param_GROUP_START ? 1 : 0;
    depth -= control.type == PF_Param_GROUP_END ? 1 : 0;
    if (depth < 0) {
      break;
    }
  }
  if (depth != 0) {
    run.Fail("groups of controls do not open and close in pairs");
  }
}

// ---- Repetition ----

/// Sets up one instance and compares with the first answers.
void SetUpAgain(TestRun& run, const host::EffectLibrary& library, const GlobalAnswer& first,
                const ParamsAnswer& firstParams) {
  const GlobalAnswer again = SendGlobalSetup(library);
  CheckSucceeded(run, again.error);
  if (again.outFlags != first.outFlags || again.outFlags2 != first.outFlags2 ||
      again.version != first.version) {
    run.FailStep("version or flags have changed");
  }
  const ParamsAnswer params = SendParamsSetup(library, again.globalData);
  CheckSucceeded(run, params.error);
  if (std::string difference = ControlsDifference(params.controls, firstParams.controls);
      !difference.empty()) {
    run.FailStep(difference);
  }
  CheckSucceeded(run, SendGlobalSetdown(library, again.globalData));
}

void TwoAtOnce(TestRun& run, const std::shared_ptr<const host::EffectLibrary>& library) {
  run.Step("two set up at once, the first one set down");
  auto one = host::Effect::Load(library);
  auto other = host::Effect::Load(library);
  if (!one || !other) {
    run.FailAndEnd((!one ? one : other).ErrorText());
  }
  one->reset();
  const Scene scene = MakeScene(**other, run.Rng(), {});
  const auto variants = VariantsOf(**other);
  if (!variants.empty()) {
    RenderChecked(run, **other, SettingsFor(scene, {variants[0].mode, host::Depth::k8}));
  }
}

// ---- Refusals ----

// How many of the controls the host takes before it refuses, for the callback below. A test
// process sends one command at a time.
int controlsLeft = 0;
bool hasRefused = false;
PF_Err (*realAddParam)(PF_ProgPtr, PF_ParamIndex, PF_ParamDef*) = nullptr;

PF_Err AddSome(PF_ProgPtr ref, PF_ParamIndex index, PF_ParamDef* param) {
  if (controlsLeft == 0) {
    hasRefused = true;
    return PF_Err_OUT_OF_MEMORY;
  }
  --controlsLeft;
  return realAddParam(ref, index, param);
}

SPErr RefuseSuite(const char*, A_long, const void** suite) {
  if (suite != nullptr) {
    *suite = nullptr;
  }
  return PF_Err_BAD_CALLBACK_PARAM;
}

void RefuseControls(TestRun& run, const host::EffectLibrary& library, PF_Handle globalData,
                    std::size_t count) {
  for (std::size_t taken = 0; taken < count; ++taken) {
    run.Step(Text("refusing control ", taken + 1));
    const ParamsAnswer answer = SendParamsSetup(library, globalData, [&](PF_InData& in) {
      controlsLeft = static_cast<int>(taken);
      hasRefused = false;
      realAddParam = in.inter.add_param;
      in.inter.add_param = &AddSome;
    });
    if (hasRefused && answer.error == PF_Err_NONE) {
      run.FailStep("PARAMS_SETUP answers success");
    }
  }
}

/// Success or a refusal are both fine answers to an odd host; a crash is not.
void OddHosts(TestRun& run, const host::EffectLibrary& library) {
  for (const PF_SpecVersion version :
       {PF_SpecVersion{0, 0}, PF_SpecVersion{1, 0}, PF_SpecVersion{12, 0}, PF_SpecVersion{99, 9}}) {
    run.Step(Text("a host of version ", version.major, ".", version.minor));
    const GlobalAnswer answer =
        SendGlobalSetup(library, [&](PF_InData& in) { in.version = version; });
    SendGlobalSetdown(library, answer.globalData);
  }
  run.Step("a host that has no suites");
  SPBasicSuite refusing = host::BasicSuite();
  refusing.AcquireSuite = &RefuseSuite;
  const auto withoutSuites = [&](PF_InData& in) { in.pica_basicP = &refusing; };
  const GlobalAnswer answer = SendGlobalSetup(library, withoutSuites);
  SendParamsSetup(library, answer.globalData, withoutSuites);
  SendGlobalSetdown(library, answer.globalData);
}

}  // namespace

void TestSetup(TestRun& run) {
  const auto library = OpenLibrary(run);
  run.Step("GLOBAL_SETUP");
  const GlobalAnswer global = SendGlobalSetup(*library);
  if (global.error != PF_Err_NONE) {
    run.SkipIfNeeded(global.missing);
    SkipIfDeclined(run, *library);
  }
  CheckSucceeded(run, global.error);
  if (!global.message.empty()) {
    run.FailStep(Text("it shows a message: ", global.message), Shown::kDialog);
  }
  run.Step("PARAMS_SETUP");
  const ParamsAnswer params = SendParamsSetup(*library, global.globalData);
  if (params.error != PF_Err_NONE) {
    run.SkipIfNeeded(params.missing);
  }
  CheckSucceeded(run, params.error);
  const auto expected = static_cast<A_long>(params.controls.size()) + 1;
  if (params.error == PF_Err_NONE && params.paramCount != expected) {
    run.FailStep(Text("it counts ", params.paramCount, " parameters and has added ",
                      params.controls.size(), " to its input"));
  }
  run.Step("GLOBAL_SETDOWN");
  CheckSucceeded(run, SendGlobalSetdown(*library, global.globalData));
  if (!run.Failed()) {
    run.Note(Count(params.controls.size(), "control"));
  }
}

void TestControls(TestRun& run) {
  const auto effect = LoadEffect(run);
  for (const ControlDeclaration& control : effect->Controls()) {
    CheckControl(run, control);
  }
  CheckIds(run, effect->Controls());
  CheckGroups(run, effect->Controls());
}

void TestUnknownCommands(TestRun& run) {
  const auto effect = LoadEffect(run);
  constexpr A_long kLeast = std::numeric_limits<A_long>::min();
  constexpr A_long kMost = std::numeric_limits<A_long>::max();
  std::vector<PF_Cmd> commands{2, 25, 26, 27, 30, 34, 35, 100, 1000, 65536, -1, -2, kLeast, kMost};
  for (int i = run.Rounds(10); i > 0; --i) {
    commands.push_back(run.Rng().Int(PF_Cmd_GPU_DEVICE_SETDOWN + 1, kMost));
  }
  for (const PF_Cmd command : commands) {
    run.Step(Text("command ", command));
    std::string message;
    CheckSucceeded(run, effect->Send(command, &message));
    if (!message.empty()) {
      run.FailStep(Text("it shows a message: ", message), Shown::kDialog);
    }
  }
}

void TestReload(TestRun& run) {
  const int rounds = run.Rounds(20);
  ProcessState before;
  for (int round = 0; round <= rounds; ++round) {
    run.Step(Text("loading it for the ", round + 1, round == 0 ? "st" : "th", " time"));
    {
      const auto effect = LoadEffect(run);
      const Scene scene = MakeScene(*effect, run.Rng(), {});
      const RenderVariant variant{
          effect->SupportsSmartRender() ? host::RenderMode::kSmart : host::RenderMode::kClassic,
          host::Depth::k8};
      host::RenderFrame(*effect, SettingsFor(scene, variant));
    }
    if (round == 0) {
      // What the first load leaves for good, the loader's own books for instance, is no leak.
      before = ProcessState::Now();
    }
  }
  const ProcessState after = ProcessState::Now();
  if (after.openFiles > before.openFiles) {
    run.Fail(Text(Count(static_cast<std::size_t>(rounds), "load"), " left ",
                  Count(static_cast<std::size_t>(after.openFiles - before.openFiles), "file"),
                  " open"));
  }
  if (after.threads > before.threads) {
    run.Fail(Text(Count(static_cast<std::size_t>(after.threads - before.threads), "thread"),
                  " still running after the library was unloaded"));
  }
}

void TestSetupRepeated(TestRun& run) {
  const auto library = OpenLibrary(run);
  run.Step("ABOUT before GLOBAL_SETUP");
  {
    host::Session session(SetupContext(*library), nullptr);
    session.Send(library->MainEntry(), PF_Cmd_ABOUT);
  }
  run.Step("the first set-up");
  const GlobalAnswer first = SendGlobalSetup(*library);
  const ParamsAnswer firstParams = SendParamsSetup(*library, first.globalData);
  CheckSucceeded(run, first.error);
  CheckSucceeded(run, firstParams.error);
  run.Step("a second PARAMS_SETUP");
  const ParamsAnswer second = SendParamsSetup(*library, first.globalData);
  CheckSucceeded(run, second.error);
  if (std::string difference = ControlsDifference(second.controls, firstParams.controls);
      !difference.empty()) {
    run.FailStep(difference);
  }
  run.Step("a second GLOBAL_SETUP while the first one holds");
  SetUpAgain(run, *library, first, firstParams);
  SendGlobalSetdown(*library, first.globalData);
  for (int round = run.Rounds(5); round > 0 && !run.HadEnough(); --round) {
    run.Step("set up again after GLOBAL_SETDOWN");
    SetUpAgain(run, *library, first, firstParams);
  }
  TwoAtOnce(run, library);
}

void TestSetupRefused(TestRun& run) {
  RefuseToRegister(run);
  const auto library = OpenLibrary(run);
  run.Step("the plain set-up");
  const GlobalAnswer global = SendGlobalSetup(*library);
  const ParamsAnswer plain = SendParamsSetup(*library, global.globalData);
  RefuseControls(run, *library, global.globalData, plain.controls.size());
  run.Step("set up after refusals");
  const ParamsAnswer after = SendParamsSetup(*library, global.globalData);
  if (std::string difference = ControlsDifference(after.controls, plain.controls);
      !difference.empty()) {
    run.FailStep(difference);
  }
  SendGlobalSetdown(*library, global.globalData);
  OddHosts(run, *library);
}

}  // namespace veltra::check
