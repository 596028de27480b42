// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whether a frame has any alpha to lose.
#pragma once

#include "host/pixels/world.h"

namespace veltra::cli {

/// Whether any pixel is not opaque.
bool HasTransparency(const host::World& picture);

}  // namespace veltra::cli
