// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tests with a host that refuses one thing after the other, and with a user who gives up.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "base/text.h"
#include "check/accounts.h"
#include "check/guarded_hooks.h"
#include "check/test_scene.h"

namespace veltra::check {
namespace {

using host::Effect;
using host::HostCall;
using host::HostCallDetails;
using host::RenderSettings;

// ---- Calls ----

/// One kind of call: the function, and what it was asked for.
struct CallKey {
  HostCall call = HostCall::kAbort;
  A_long number = 0;
  std::string suite;

  auto operator<=>(const CallKey&) const = default;
};

CallKey KeyOf(const HostCallDetails& details) {
  return {details.call, details.number, details.suite != nullptr ? details.suite : ""};
}

std::string CallText(const CallKey& key) {
  if (!key.suite.empty()) {
    return Text(host::HostCallName(key.call), " \"", key.suite, "\" version ", key.number);
  }
  const bool numbered =
      key.call == HostCall::kCheckoutParam || key.call == HostCall::kCheckoutLayer ||
      key.call == HostCall::kCheckoutLayerPixels || key.call == HostCall::kCheckinLayerPixels;
  return numbered ? Text(host::HostCallName(key.call), " ", key.number)
                  : host::HostCallName(key.call);
}

/// Counts the calls of each kind in the order in which the kinds first came up. Renders here are
/// on one thread.
class CountingHooks : public GuardedHooks {
 public:
  CountingHooks() : GuardedHooks({.guarded = true}) {}

  PF_Err BeforeCall(const HostCallDetails& details) override {
    const CallKey key = KeyOf(details);
    const auto known = std::find_if(calls.begin(), calls.end(),
                                    [&](const auto& call) { return call.first == key; });
    if (known == calls.end()) {
      calls.emplace_back(key, 1);
    } else {
      ++known->second;
    }
    ++total;
    return PF_Err_NONE;
  }

  std::vector<std::pair<CallKey, int>> calls;
  int total = 0;
};

/// Refuses one call of a kind: the nth, counted from 1.
class RefusingHooks : public GuardedHooks {
 public:
  RefusingHooks(CallKey key, int nth, PF_Err answer)
      : GuardedHooks({.guarded = true}), key_(std::move(key)), nth_(nth), answer_(answer) {}

  PF_Err BeforeCall(const HostCallDetails& details) override {
    return KeyOf(details) == key_ && ++seen_ == nth_ ? answer_ : PF_Err_NONE;
  }

 private:
  CallKey key_;
  int nth_;
  PF_Err answer_;
  int seen_ = 0;
};

/// Gives a suite as a success without a table.
class NullSuiteHooks : public GuardedHooks {
 public:
  explicit NullSuiteHooks(CallKey key) : GuardedHooks({.guarded = true}), key_(std::move(key)) {}

  bool GiveNullSuite(const char* name, A_long version) override {
    return key_.number == version && key_.suite == name;
  }

 private:
  CallKey key_;
};

// ---- Frames ----

/// A frame with its undisturbed picture and the calls that it takes.
struct Subject {
  Scene scene;
  RenderSettings settings;
  host::World picture;
  std::vector<std::pair<CallKey, int>> calls;
  int totalCalls = 0;
  bool keepsAnyway = false;  ///< does not give everything back even when nothing is refused
};

/// Frames in every variant, each with defaults and with random values: the paths differ.
void ForEachSubject(TestRun& run, const Effect& effect,
                    const std::function<void(const Subject&)>& visit) {
  constexpr SceneShape kSmall{.width = 14, .height = 9, .layout = {.guarded = true}};
  for (const RenderVariant& variant : VariantsOf(effect)) {
    for (int round = 0; round < run.Rounds(3) && !run.HadEnough(); ++round) {
      Subject subject;
      SceneShape shape = kSmall;
      shape.depth = variant.depth;
      subject.scene = MakeScene(effect, run.Rng(), shape);
      subject.settings = SettingsFor(subject.scene, variant);
      if (round > 0) {
        SetRandomControls(subject.settings, effect, run.Rng(), Reach::kTame);
      }
      CountingHooks counting;
      subject.settings.hooks = &counting;
      run.Step(Describe(subject.settings));
      host::RenderResult result = RenderChecked(run, effect, subject.settings);
      subject.keepsAnyway = !Imbalances(result).empty();
      subject.picture = std::move(result.output);
      subject.settings.hooks = nullptr;
      subject.calls = counting.calls;
      subject.totalCalls = counting.total;
      visit(subject);
    }
  }
}

/// The first, the second, the middle and the last of `count`.
std::set<int> Occurrences(int count) {
  return {1, std::min(2, count), (count + 1) / 2, count};
}

/// An undisturbed render must still give the same picture.
void CheckUnharmed(TestRun& run, const Effect& effect, const Subject& subject) {
  const host::World picture = RenderChecked(run, effect, subject.settings).output;
  ComparePictures(run, "the next frame is another", picture, subject.picture);
}

void CheckTidy(TestRun& run, const Subject& subject, const host::RenderResult& result) {
  if (!subject.keepsAnyway) {
    for (const std::string& kept : Kept(result)) {
      run.FailStep(kept);
    }
  }
  for (const host::Violation& broken : BrokenRules(result)) {
    if (broken.rule == host::Rule::kExceptionEscaped ||
        broken.rule == host::Rule::kExceptionInDelete) {
      run.FailStep(broken.text);
    }
  }
  CheckGuards(run, subject.scene, result);
}

/// A refusal may end the frame with an error. It may also be got around, but then the picture
/// must be the one that was asked for.
void CheckAnswer(TestRun& run, const Subject& subject, const host::RenderResult& result) {
  if (!result.Ok()) {
    return;
  }
  ComparePictures(run, "it answers success with another picture", result.output, subject.picture,
                  Compare::kVisible);
}

bool IsUserCall(HostCall call) {
  return call == HostCall::kAbort || call == HostCall::kProgress;
}

/// Whether there is no right picture without this call, so that one picture is as good an answer
/// as an error. A parameter, a colour or a sound that cannot be read has no right value, and a
/// sample that failed may count as transparent. A host without the world suite is one from before
/// float: in a float frame nothing is left to tell the depth by.
bool LeavesNoRightPicture(const CallKey& key, host::Depth depth) {
  return key.call == HostCall::kCheckoutParam || key.call == HostCall::kSubpixelSample ||
         key.call == HostCall::kAreaSample || key.call == HostCall::kNearestSample ||
         key.call == HostCall::kQueryParameters || key.call == HostCall::kConvertColor ||
         key.call == HostCall::kCheckoutLayerAudio ||
         (key.call == HostCall::kAcquireSuite && key.suite == "PF World Suite" &&
          depth == host::Depth::kFloat);
}

void RefuseCalls(TestRun& run, const Effect& effect, const Subject& subject,
                 const std::function<bool(const CallKey&)>& wanted) {
  constexpr std::array<PF_Err, 3> kAnswers{PF_Err_OUT_OF_MEMORY, PF_Err_INTERNAL_STRUCT_DAMAGED,
                                           PF_Err_BAD_CALLBACK_PARAM};
  for (const auto& [key, count] : subject.calls) {
    if (!wanted(key)) {
      continue;
    }
    for (const int nth : Occurrences(count)) {
      RefusingHooks hooks(key, nth, run.Rng().Pick(kAnswers));
      RenderSettings settings = subject.settings;
      settings.hooks = &hooks;
      run.Step(
          Text(Describe(settings), ", refusing ", CallText(key), ", call ", nth, " of ", count));
      const host::RenderResult result = host::RenderFrame(effect, settings);
      CheckTidy(run, subject, result);
      if (!LeavesNoRightPicture(key, settings.depth)) {
        CheckAnswer(run, subject, result);
      }
    }
    CheckUnharmed(run, effect, subject);
  }
}

// ---- The user ----

/// The user gives up at a row of the iteration, or just before some call of the effect's.
class GivingUpHooks : public GuardedHooks {
 public:
  GivingUpHooks(int row, int call) : GuardedHooks({.guarded = true}), row_(row), call_(call) {}

  bool AbortAtRow(A_long row) override { return row == row_; }
  PF_Err BeforeCall(const HostCallDetails&) override {
    if (++calls_ == call_) {
      flag.store(true);
    }
    return PF_Err_NONE;
  }

  std::atomic<bool> flag{false};

 private:
  int row_;
  int call_;
  int calls_ = 0;
};

void GiveUp(TestRun& run, const Effect& effect, const Subject& subject, int row, int call) {
  GivingUpHooks hooks(row, call);
  RenderSettings settings = subject.settings;
  settings.hooks = &hooks;
  settings.abort = &hooks.flag;
  run.Step(row >= 0 ? Text(Describe(settings), ", abort at row ", row)
                    : Text(Describe(settings), ", abort before call ", call));
  const host::RenderResult result = host::RenderFrame(effect, settings);
  CheckTidy(run, subject, result);
  for (const host::Violation& broken : BrokenRules(result)) {
    if (broken.rule == host::Rule::kAbortIgnored) {
      run.FailStep(broken.text);
    }
  }
  if (!result.Ok() && result.error != PF_Interrupt_CANCEL) {
    run.FailStep(Text("it answers ", host::ErrorName(result.error), " instead of the abort"),
                 Shown::kDialog);
  }
}

}  // namespace

void TestAbort(TestRun& run) {
  const auto effect = LoadEffect(run);
  ForEachSubject(run, *effect, [&](const Subject& subject) {
    for (int row = 0; row < subject.settings.height; ++row) {
      GiveUp(run, *effect, subject, row, 0);
    }
    // Every early call, then ever fewer: the later ones are samples of much the same kind.
    for (int call = 1; call <= subject.totalCalls; call += 1 + call / 16) {
      GiveUp(run, *effect, subject, -1, call);
    }
    run.Step(Text(Describe(subject.settings), ", after aborts"));
    CheckUnharmed(run, *effect, subject);
  });
}

void TestRefusedCallbacks(TestRun& run) {
  const auto effect = LoadEffect(run);
  ForEachSubject(run, *effect, [&](const Subject& subject) {
    RefuseCalls(run, *effect, subject, [](const CallKey& key) {
      return key.call != HostCall::kAcquireSuite && !IsUserCall(key.call);
    });
  });
}

void TestRefusedSuites(TestRun& run) {
  const auto effect = LoadEffect(run);
  ForEachSubject(run, *effect, [&](const Subject& subject) {
    RefuseCalls(run, *effect, subject,
                [](const CallKey& key) { return key.call == HostCall::kAcquireSuite; });
  });
}

void TestNullSuites(TestRun& run) {
  const auto effect = LoadEffect(run);
  ForEachSubject(run, *effect, [&](const Subject& subject) {
    for (const auto& [key, count] : subject.calls) {
      if (key.call != HostCall::kAcquireSuite) {
        continue;
      }
      NullSuiteHooks hooks(key);
      RenderSettings settings = subject.settings;
      settings.hooks = &hooks;
      run.Step(Text(Describe(settings), ", \"", key.suite, "\" without a table"));
      const host::RenderResult result = host::RenderFrame(*effect, settings);
      CheckTidy(run, subject, result);
      if (!LeavesNoRightPicture(key, settings.depth)) {
        CheckAnswer(run, subject, result);
      }
      CheckUnharmed(run, *effect, subject);
    }
  });
}

}  // namespace veltra::check
