// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Fills and matte colours, for the suite and the utility table.
#pragma once

#include "host_api/suites.h"

namespace veltra::host {

const PF_FillMatteSuite2& MatteFunctions();

}  // namespace veltra::host
