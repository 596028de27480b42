// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Whole pictures between files and worlds.
#pragma once

#include <string>

#include "host/base/thread_pool.h"
#include "host/pixels/world.h"
#include "pictures/picture.h"

namespace veltra::pictures {

/// The depth a file asks for: 8 and 16 bit as they are, half and float as float.
host::Depth DepthOf(const PictureInfo& info);

/// Reads what is left of a picture straight into a new world of the given depth, a few rows at a
/// time. Throws RenderError with the reason, without the file's name.
host::World ReadWorld(PictureReader& reader, host::Depth depth, host::ThreadPool* pool);

/// Whether a world read from a file has light where it has no coverage (alpha 0), as OpenEXR may.
bool HasLightWithoutCoverage(const host::World& world);

/// Writes a world a few rows at a time; options.stored says how. Throws RenderError.
void WriteWorld(const host::World& world, ByteSink& sink, const PictureOptions& options,
                host::ThreadPool* pool);

}  // namespace veltra::pictures
