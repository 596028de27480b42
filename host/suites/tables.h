// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The function tables that this host hands to effects.
#pragma once

#include "host/session/session.h"
#include "host_api/smart_render.h"

namespace veltra::host {

const PF_InteractCallbacks& InteractCallbacks();
PF_UtilCallbacks& UtilityCallbacks();
SPBasicSuite& BasicSuite();
PF_PreRenderCallbacks& PreRenderCallbacks();
PF_SmartRenderCallbacks& SmartRenderCallbacks();

/// What every session's in-data points at.
HostTables Tables();

}  // namespace veltra::host
