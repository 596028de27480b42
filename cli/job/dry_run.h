// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Tells what a run would do.
#pragma once

#include "cli/job/frame_render.h"
#include "cli/job/job.h"
#include "cli/job/schedule.h"

namespace veltra::cli {

/// Prints on standard output what all frames have in common, and for each frame what is read, what
/// is written and the value of every control: lines for people, or with --progress json an object
/// per line. `first` is what the first frame is like, whose size points are told for.
void PrintDryRun(const RenderJob& job, const JobFiles& files, const Schedule& schedule,
                 const FrameSettings& frames, const pictures::PictureInfo& first);

}  // namespace veltra::cli
