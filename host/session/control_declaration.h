// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// From the definition an effect adds to the declaration this host keeps.
#pragma once

#include <vector>

#include "host/session/controls.h"

namespace veltra::host {

/// Copies everything, also the texts that the definition only points at, since the effect may
/// keep them no longer than the call. The index is not known yet.
ControlDeclaration DescribeControl(const PF_ParamDef& param);

/// Numbers the controls from 1 and points their raw definitions at the kept texts; for a list
/// that will not move any more.
void NumberControls(std::vector<ControlDeclaration>& controls);

}  // namespace veltra::host
