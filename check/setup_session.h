// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Set-up commands sent one by one, with the answers as the effect gave them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/effect_library.h"
#include "host/suites/tables.h"

namespace veltra::check {

/// What an effect answered to GLOBAL_SETUP.
struct GlobalAnswer {
  PF_Err error = PF_Err_NONE;
  A_u_long version = 0;
  A_long outFlags = 0;
  A_long outFlags2 = 0;
  PF_Handle globalData = nullptr;
  std::string message;
  std::vector<std::string> missing;  ///< what it asked for and this host does not offer
};

/// What it answered to PARAMS_SETUP.
struct ParamsAnswer {
  PF_Err error = PF_Err_NONE;
  A_long paramCount = 0;
  std::vector<std::string> missing;  ///< as in GlobalAnswer
  std::vector<host::ControlDeclaration> controls;
};

/// Changes the in-data before a command is sent.
using Preparation = std::function<void(PF_InData& inData)>;

/// A session before there are controls, with the host that opened the library.
host::SessionContext SetupContext(const host::EffectLibrary& library,
                                  PF_Handle globalData = nullptr);

GlobalAnswer SendGlobalSetup(const host::EffectLibrary& library, const Preparation& prepare = {});
ParamsAnswer SendParamsSetup(const host::EffectLibrary& library, PF_Handle globalData,
                             const Preparation& prepare = {});
PF_Err SendGlobalSetdown(const host::EffectLibrary& library, PF_Handle globalData);

/// Where two declarations differ: the number of controls, or the first difference of the first
/// control that differs; empty when they are the same.
std::string ControlsDifference(const std::vector<host::ControlDeclaration>& a,
                               const std::vector<host::ControlDeclaration>& b);

}  // namespace veltra::check
