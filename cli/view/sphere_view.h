// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pictures of a 360-degree frame as a camera or a globe shows it.
#pragma once

#include "host/base/thread_pool.h"
#include "host/pixels/world.h"

namespace veltra::cli {

struct ViewSettings {
  int width = 1280;
  int height = 720;
  double yaw = 0;      ///< degrees to the right of the frame's centre
  double pitch = 0;    ///< degrees above the horizon, -90..90
  double fov = 90;     ///< degrees from the left edge to the right one, above 0 and below 180
  bool globe = false;  ///< the frame printed on a ball, seen from far outside; fov does not count
};

/// Draws a view of an equirectangular frame, in its depth. Interpolates bicubically, takes as many
/// samples for a pixel as it covers pixels of the frame, up to 16 x 16, and weighs colour by
/// alpha. Around a globe it is transparent. Throws RenderError for a size that no world can have.
host::World DrawView(const host::World& frame, const ViewSettings& settings,
                     host::ThreadPool& pool);

}  // namespace veltra::cli
