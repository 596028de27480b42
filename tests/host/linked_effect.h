// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Small effects that a test writes beside itself.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "host/renderer.h"

namespace veltra::host {

inline const A_u_char* RegistrationText(const char* text) {
  return reinterpret_cast<const A_u_char*>(text);
}

inline PF_Err RegisterLinked(void* hostPointer, PF_PluginDataCB callback, SPBasicSuite*,
                             const char*, const char*) {
  return callback(hostPointer, RegistrationText("Linked"), RegistrationText("LinkedEffect"),
                  RegistrationText("Tests"), RegistrationText("Main"), kEffectPluginKind, 13, 28, 8,
                  RegistrationText(""));
}

/// Sets the effect up; null, with a failed test, when it cannot be.
inline std::unique_ptr<const Effect> LoadLinked(PF_MainEntryFn mainEntry,
                                                const HostProfile& host = DefaultHost()) {
  auto library = EffectLibrary::FromEntryPoints("linked", &RegisterLinked, mainEntry, host);
  if (!library) {
    ADD_FAILURE() << library.ErrorText();
    return nullptr;
  }
  auto effect = Effect::Load(*library);
  if (!effect) {
    ADD_FAILURE() << effect.ErrorText();
    return nullptr;
  }
  return std::move(*effect);
}

/// What the scripted effect does with each command; success where nothing is set.
using Script = std::function<PF_Err(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamDef**, PF_LayerDef*,
                                    void* extra)>;
inline Script script;

inline PF_Err ScriptedEntry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                            PF_LayerDef* output, void* extra) {
  if (cmd == PF_Cmd_PARAMS_SETUP) {
    out->num_params = 1;
  }
  return script ? script(cmd, in, out, params, output, extra) : PF_Err_NONE;
}

/// An effect that does what a test says, command by command.
inline std::unique_ptr<const Effect> LoadScripted(Script what,
                                                  const HostProfile& host = DefaultHost()) {
  script = std::move(what);
  return LoadLinked(&ScriptedEntry, host);
}

inline RenderSettings FrameOf(A_long width, A_long height, RenderMode mode = RenderMode::kSmart) {
  RenderSettings settings;
  settings.width = width;
  settings.height = height;
  settings.mode = mode;
  return settings;
}

}  // namespace veltra::host
