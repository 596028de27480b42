// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Points of a whole-sphere frame on their way along a great circle.
#pragma once

#include "host/effect.h"

namespace veltra::cli {

/// The point at a share of the way, 0 to 1, from one point to another on the shorter arc of their
/// great circle, all in 16.16 pixels of an equirectangular frame of this size that shows the whole
/// sphere. Columns go on past the frame's edges rather than jump to the other one. Throws
/// UsageError for opposite points, which many great circles join.
host::ControlValue OnGreatCircle(const host::ControlValue& from, const host::ControlValue& to,
                                 double share, int width, int height);

}  // namespace veltra::cli
