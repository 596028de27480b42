// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Worlds for effects and access to their pixels, for suites and the utility table.
#pragma once

#include "host_api/suites.h"

namespace veltra::host {

const PF_WorldSuite1& WorldFunctions();
const PF_WorldSuite2& FormatWorldFunctions();
/// Version 1 of the suite is this table without its last slot.
const PF_PixelDataSuite2& PixelDataFunctions();

}  // namespace veltra::host
