// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Copies, blends, convolutions, transfers and transformations, for the suite and the utility table.
#pragma once

#include "host_api/suites.h"

namespace veltra::host {

const PF_WorldTransformSuite1& TransformFunctions();
/// Copies in the quality of the frame, as the utility table does.
PF_CopyFn CopyInFrameQuality();

}  // namespace veltra::host
