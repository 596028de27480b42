// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Sample pictures, drawn by code: a 360-degree landscape and a layer to place on it.
#pragma once

#include "host/base/thread_pool.h"
#include "host/pixels/world.h"

namespace veltra::cli {

/// A landscape at dusk over a tiled floor, equirectangular and opaque, with the lines of latitude
/// and longitude every 15 degrees. Floating point; any size of two to one looks right.
host::World DrawSampleFrame(int width, int height, host::ThreadPool& pool);

/// A title with text on a panel whose edges fade out softly. Floating point, straight alpha.
host::World DrawSampleLayer(int width, int height, host::ThreadPool& pool);

}  // namespace veltra::cli
