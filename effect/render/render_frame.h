// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The render driver: picks the kernel of the output's colour depth.
#pragma once

#include "effect/context/render_context.h"

namespace veltra {

/// Renders one frame, classic or smart. PF_Err_BAD_CALLBACK_PARAM, and an untouched output, when
/// the output's pixel format is none of the three.
PF_Err RenderFrame(RenderContext* context);

}  // namespace veltra
