// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Frames that hold two whole spheres, one for each eye.
#pragma once

#include "cli/job/frame_source.h"
#include "cli/settings/options.h"
#include "host/pixels/world.h"
#include "host/renderer.h"

namespace veltra::cli {

enum class Eye { kLeft, kRight };

/// The size of each eye's picture in a frame of this full-resolution size. Throws UsageError where
/// the two do not meet at a pixel of the (reduced) frame.
PictureSize EyeSize(StereoLayout layout, int width, int height, int downsample);

/// A copy of one eye's picture. Throws RenderError where there is no memory for it.
SharedWorld EyeOf(const host::World& frame, StereoLayout layout, Eye eye);

/// The frame of both eyes' pictures, which are of one size and depth. Throws RenderError where
/// there is no memory for it.
host::World JoinEyes(const host::World& left, const host::World& right, StereoLayout layout);

/// A point's value turned around the vertical by `degrees` to the right, in a frame of this width.
/// Every great circle stays one. As far as the host's fixed point reaches.
host::ControlValue Turned(host::ControlValue point, double degrees, int frameWidth);

}  // namespace veltra::cli
