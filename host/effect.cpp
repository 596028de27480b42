// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Setting an effect up and down.

#include "host/effect.h"

#include "host/base/error_names.h"
#include "host/session/control_declaration.h"
#include "host/suites/tables.h"

namespace veltra::host {
namespace {

/// What a set-up command answered, in words.
std::string Refusal(const char* command, PF_Err error, const Session& session) {
  std::string text = std::string("the effect failed in ") + command + ": ";
  text += session.ThrewException() ? "an exception escaped from it" : ErrorName(error);
  if (!session.Message().empty()) {
    text += " (" + session.Message() + ")";
  }
  if (const std::string missing = MissingText(session.accounts.MissingSoFar()); !missing.empty()) {
    text += "; " + missing;
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

Expected<bool> Effect::SetUp() {
  const PF_MainEntryFn entry = library_->MainEntry();
  std::vector<ControlDeclaration> added;
  Session session({Tables(), added, nullptr, holdings_}, nullptr);
  if (const PF_Err error = session.Send(entry, PF_Cmd_GLOBAL_SETUP)) {
    return Failure{Refusal("GLOBAL_SETUP", error, session)};
  }
  isSetUp_ = true;
  version_ = session.OutData().my_version;
  outFlags_ = session.OutData().out_flags;
  outFlags2_ = session.OutData().out_flags2;
  session.addedControls = &added;
  const PF_Err error = session.Send(entry, PF_Cmd_PARAMS_SETUP);
  globalData_ = session.InData().global_data;
  setupMessage_ = session.Message();
  if (error != PF_Err_NONE) {
    return Failure{Refusal("PARAMS_SETUP", error, session)};
  }
  const A_long declared = session.OutData().num_params;
  controls_ = std::move(added);
  SettleControls(controls_);
  if (declared != ParamCount()) {
    return Failure{"the effect declares " + std::to_string(declared) + " parameters but adds " +
                   std::to_string(controls_.size()) + " to its input"};
  }
  return true;
}

Effect::~Effect() {
  if (isSetUp_) {
    Send(PF_Cmd_GLOBAL_SETDOWN);
  }
}

bool Effect::SupportsDepth(Depth depth) const {
  switch (depth) {
    case Depth::k8:
      return true;
    case Depth::k16:
      return (outFlags_ & PF_OutFlag_DEEP_COLOR_AWARE) != 0;
    default:
      return (outFlags2_ & PF_OutFlag2_FLOAT_COLOR_AWARE) != 0;
  }
}

Expected<std::string> Effect::About() const {
  std::string message;
  if (const PF_Err error = Send(PF_Cmd_ABOUT, &message)) {
    return Failure{"the effect failed in ABOUT: " + ErrorName(error)};
  }
  return message;
}

PF_Err Effect::Send(PF_Cmd command, std::string* message) const {
  const std::lock_guard lock(commandMutex_);
  Session session({Tables(), controls_, globalData_, holdings_}, nullptr);
  const PF_Err error = session.Send(library_->MainEntry(), command);
  if (message != nullptr) {
    *message = session.Message();
  }
  return error;
}

}  // namespace veltra::host
