// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Setting an effect up and down.

#include "host/effect.h"

#include <new>
#include <utility>

#include "host/session/arbitrary_values.h"
#include "host/session/control_declaration.h"
#include "host/suites/tables.h"

namespace veltra::host {
namespace {

/// What a set-up command answered, in words.
std::string Refusal(const EffectLibrary& library, const char* command, PF_Err error,
                    const Session& session) {
  std::string text = session.FailureText(command, error);
  const Registration& built = library.Identity();
  if (library.IsNewerThanHost()) {
    const PF_SpecVersion& has = library.Host().version;
    text += "; it is built for interface " + std::to_string(built.apiMajor) + "." +
            std::to_string(built.apiMinor) + ", and this host has " + std::to_string(has.major) +
            "." + std::to_string(has.minor);
  }
  return text;
}

}  // namespace

Effect::Effect(std::shared_ptr<const EffectLibrary> library) : library_(std::move(library)) {}

Expected<std::unique_ptr<const Effect>> Effect::Load(std::shared_ptr<const EffectLibrary> library) {
  std::unique_ptr<Effect> effect(new Effect(std::move(library)));
  if (auto done = effect->SetUp(); !done) {
    return Failure{effect->library_->Path().string() + ": " + done.ErrorText()};
  }
  return std::unique_ptr<const Effect>(std::move(effect));
}

Expected<std::unique_ptr<const Effect>> Effect::Open(const std::filesystem::path& path,
                                                     const HostProfile& host) {
  auto library = EffectLibrary::Open(path, host);
  if (!library) {
    return Failure{library.ErrorText()};
  }
  return Load(std::move(*library));
}

Expected<bool> Effect::SetUp() {
  const PF_MainEntryFn entry = library_->MainEntry();
  std::vector<ControlDeclaration> added;
  SessionContext context{Tables(), added, nullptr, holdings_};
  context.libraryPath = library_->Path();
  context.libraryModule = library_->Module();
  context.host = &library_->Host();
  Session session(context, nullptr);
  if (const PF_Err error = session.Send(entry, PF_Cmd_GLOBAL_SETUP)) {
    return Failure{Refusal(*library_, "GLOBAL_SETUP", error, session)};
  }
  isSetUp_ = true;
  version_ = session.OutData().my_version;
  outFlags_ = library_->FlagsOfResource().value_or(session.OutData().out_flags);
  outFlags2_ = session.OutData().out_flags2;
  session.addedControls = &added;
  const PF_Err error = session.Send(entry, PF_Cmd_PARAMS_SETUP);
  globalData_ = session.InData().global_data;
  setupMessage_ = session.Message();
  if (error != PF_Err_NONE) {
    return Failure{Refusal(*library_, "PARAMS_SETUP", error, session)};
  }
  const A_long declared = session.OutData().num_params;
  controls_ = std::move(added);
  NumberControls(controls_);
  if (declared != ParamCount()) {
    return Failure{"the effect declares " + std::to_string(declared) + " parameters but adds " +
                   std::to_string(controls_.size()) + " to its input"};
  }
  return true;
}

Effect::~Effect() {
  if (!isSetUp_) {
    return;
  }
  try {
    DisposeDefaults();
    Send(PF_Cmd_GLOBAL_SETDOWN);
  } catch (const std::bad_alloc&) {
    // Without memory for the commands the effect goes without them.
  }
}

SessionContext Effect::Context() const {
  SessionContext context{Tables(), controls_, globalData_, holdings_};
  context.entry = library_->MainEntry();
  context.outFlags = outFlags_;
  context.outFlags2 = outFlags2_;
  context.libraryPath = library_->Path();
  context.libraryModule = library_->Module();
  context.host = &library_->Host();
  context.hidesSequenceData = HidesSequenceData();
  return context;
}

/// From 13.25 on, effects that render on several threads see their sequence data as a constant.
bool Effect::HidesSequenceData() const {
  constexpr std::pair<A_long, A_long> kFirstInterface{13, 25};
  const Registration& built = library_->Identity();
  return library_->Host().hidesSequenceData && SupportsThreadedRendering() &&
         (outFlags2_ & PF_OutFlag2_MUTABLE_RENDER_SEQUENCE_DATA_SLOWER) == 0 &&
         std::pair{built.apiMajor, built.apiMinor} >= kFirstInterface;
}

// ---- Arbitrary data ----

/// Defaults are the host's from the moment they are added.
void Effect::DisposeDefaults() {
  Session session(Context(), nullptr);
  const SessionScope scope(&session);
  for (const ControlDeclaration& control : controls_) {
    if (control.type == PF_Param_ARBITRARY_DATA) {
      ArbitraryCalls(library_->MainEntry(), session.InData(), control)
          .Dispose(control.raw.u.arb_d.dephault);
    }
  }
}

/// Runs body(calls, default value) within a session of its own.
template <class Result, class Body>
Expected<Result> Effect::AboutData(PF_ParamIndex index, Body body) const {
  if (index < 1 || index >= ParamCount() ||
      controls_[static_cast<std::size_t>(index - 1)].type != PF_Param_ARBITRARY_DATA ||
      !controls_[static_cast<std::size_t>(index - 1)].HasValue()) {
    return Failure{"control " + std::to_string(index) + " has no arbitrary data"};
  }
  const ControlDeclaration& control = controls_[static_cast<std::size_t>(index - 1)];
  const std::lock_guard lock(commandMutex_);
  Session session(Context(), nullptr);
  const SessionScope scope(&session);
  return body(ArbitraryCalls(library_->MainEntry(), session.InData(), control),
              control.raw.u.arb_d.dephault);
}

namespace {

/// The flat form of a value, which is then given back.
Expected<FlatValue> FlattenAndDispose(const ArbitraryCalls& calls,
                                      const Expected<PF_Handle>& value) {
  if (!value) {
    return Failure{value.ErrorText()};
  }
  auto flat = calls.Flatten(*value);
  calls.Dispose(*value);
  return flat;
}

/// Runs body(left, right) with two values that are given back afterwards.
template <class Result, class Body>
Expected<Result> WithBoth(const ArbitraryCalls& calls, const FlatValue& left,
                          const FlatValue& right, Body body) {
  const auto first = calls.Unflatten(left);
  if (!first) {
    return Failure{first.ErrorText()};
  }
  const auto second = calls.Unflatten(right);
  if (!second) {
    calls.Dispose(*first);
    return Failure{second.ErrorText()};
  }
  Expected<Result> result = body(*first, *second);
  calls.Dispose(*first);
  calls.Dispose(*second);
  return result;
}

}  // namespace

Expected<FlatValue> Effect::DefaultData(PF_ParamIndex index) const {
  return AboutData<FlatValue>(index, [](const ArbitraryCalls& calls, PF_Handle fallback) {
    return calls.Flatten(fallback);
  });
}

Expected<std::string> Effect::DataText(PF_ParamIndex index, const FlatValue& value) const {
  return AboutData<std::string>(
      index, [&](const ArbitraryCalls& calls, PF_Handle) -> Expected<std::string> {
        const auto made = calls.Unflatten(value);
        if (!made) {
          return Failure{made.ErrorText()};
        }
        auto text = calls.Print(*made);
        calls.Dispose(*made);
        return text;
      });
}

Expected<FlatValue> Effect::DataFromText(PF_ParamIndex index, const std::string& text) const {
  return AboutData<FlatValue>(index, [&](const ArbitraryCalls& calls, PF_Handle) {
    return FlattenAndDispose(calls, calls.Scan(text));
  });
}

Expected<FlatValue> Effect::DataBetween(PF_ParamIndex index, const FlatValue& left,
                                        const FlatValue& right, double t) const {
  return AboutData<FlatValue>(index, [&](const ArbitraryCalls& calls, PF_Handle) {
    return WithBoth<FlatValue>(calls, left, right, [&](PF_Handle a, PF_Handle b) {
      return FlattenAndDispose(calls, calls.Interpolate(a, b, t));
    });
  });
}

Expected<FlatValue> Effect::DataCopied(PF_ParamIndex index, const FlatValue& value) const {
  return AboutData<FlatValue>(
      index, [&](const ArbitraryCalls& calls, PF_Handle) -> Expected<FlatValue> {
        const auto made = calls.Unflatten(value);
        if (!made) {
          return Failure{made.ErrorText()};
        }
        const auto copy = calls.Copy(*made);
        calls.Dispose(*made);  // first, so that a copy which leans on it does not survive
        return FlattenAndDispose(calls, copy);
      });
}

Expected<bool> Effect::SameData(PF_ParamIndex index, const FlatValue& a, const FlatValue& b) const {
  return AboutData<bool>(index, [&](const ArbitraryCalls& calls, PF_Handle) {
    return WithBoth<bool>(calls, a, b, [&](PF_Handle x, PF_Handle y) -> Expected<bool> {
      const auto order = calls.Compare(x, y);
      if (!order) {
        return Failure{order.ErrorText()};
      }
      return *order == PF_ArbCompare_EQUAL;
    });
  });
}

bool Effect::SupportsDepth(Depth depth) const {
  switch (depth) {
    case Depth::k8:
      return true;
    case Depth::k16:
      return (outFlags_ & PF_OutFlag_DEEP_COLOR_AWARE) != 0;
    case Depth::kFloat:
      break;
  }
  return SupportsSmartRender() && (outFlags2_ & PF_OutFlag2_FLOAT_COLOR_AWARE) != 0;
}

Expected<std::string> Effect::About() const {
  const std::lock_guard lock(commandMutex_);
  Session session(Context(), nullptr);
  if (const PF_Err error = session.Send(library_->MainEntry(), PF_Cmd_ABOUT)) {
    return Failure{session.FailureText("ABOUT", error)};
  }
  return session.Message();
}

PF_Err Effect::Send(PF_Cmd command, std::string* message) const {
  const std::lock_guard lock(commandMutex_);
  Session session(Context(), nullptr);
  const PF_Err error = session.Send(library_->MainEntry(), command);
  if (message != nullptr) {
    *message = session.Message();
  }
  return error;
}

}  // namespace veltra::host
