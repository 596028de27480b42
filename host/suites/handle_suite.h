// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The handle callbacks, for the suite and for the utility table.
#pragma once

#include "host_api/suites.h"

namespace veltra::host {

/// The table of the handle suite. Handles never move but when they are resized, so locking does
/// nothing. Null and foreign handles are ignored, null, or 0.
const PF_HandleSuite1& HandleFunctions();

}  // namespace veltra::host
