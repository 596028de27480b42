// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Set-up commands.

#include "check/setup_session.h"

#include "base/text.h"

namespace veltra::check {
namespace {

using host::ControlDeclaration;

const std::vector<ControlDeclaration> kNoControls;

bool SameControl(const ControlDeclaration& a, const ControlDeclaration& b) {
  return a.id == b.id && a.type == b.type && a.name == b.name && a.label == b.label &&
         a.choices == b.choices && a.defaultValue == b.defaultValue && a.defaultX == b.defaultX &&
         a.defaultY == b.defaultY && a.restrictBounds == b.restrictBounds &&
         a.validMin == b.validMin && a.validMax == b.validMax && a.sliderMin == b.sliderMin &&
         a.sliderMax == b.sliderMax && a.precision == b.precision &&
         a.displayFlags == b.displayFlags && a.flags == b.flags && a.uiFlags == b.uiFlags;
}

}  // namespace

host::SessionContext SetupContext(const host::EffectLibrary& library, PF_Handle globalData) {
  host::SessionContext context{host::Tables(), kNoControls, globalData};
  context.host = &library.Host();
  context.libraryPath = library.Path();
  context.libraryModule = library.Module();
  return context;
}

GlobalAnswer SendGlobalSetup(const host::EffectLibrary& library, const Preparation& prepare) {
  host::Session session(SetupContext(library), nullptr);
  if (prepare) {
    prepare(session.InData());
  }
  GlobalAnswer answer;
  answer.error = session.Send(library.MainEntry(), PF_Cmd_GLOBAL_SETUP);
  answer.version = session.OutData().my_version;
  answer.outFlags = session.OutData().out_flags;
  answer.outFlags2 = session.OutData().out_flags2;
  answer.globalData = session.OutData().global_data;
  answer.message = session.Message();
  answer.missing = session.accounts.MissingSoFar();
  return answer;
}

ParamsAnswer SendParamsSetup(const host::EffectLibrary& library, PF_Handle globalData,
                             const Preparation& prepare) {
  ParamsAnswer answer;
  host::Session session(SetupContext(library, globalData), nullptr);
  session.addedControls = &answer.controls;
  if (prepare) {
    prepare(session.InData());
  }
  answer.error = session.Send(library.MainEntry(), PF_Cmd_PARAMS_SETUP);
  answer.paramCount = session.OutData().num_params;
  answer.missing = session.accounts.MissingSoFar();
  return answer;
}

PF_Err SendGlobalSetdown(const host::EffectLibrary& library, PF_Handle globalData) {
  host::Session session(SetupContext(library, globalData), nullptr);
  return session.Send(library.MainEntry(), PF_Cmd_GLOBAL_SETDOWN);
}

std::string ControlsDifference(const std::vector<ControlDeclaration>& a,
                               const std::vector<ControlDeclaration>& b) {
  if (a.size() != b.size()) {
    return Text(Count(a.size(), "control"), " against ", b.size());
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!SameControl(a[i], b[i])) {
      return Text("control ", i + 1, " (", a[i].name.empty() ? a[i].label : a[i].name,
                  ") is declared differently");
    }
  }
  return {};
}

}  // namespace veltra::check
