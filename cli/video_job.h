// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Jobs whose frame or output is a video.
#pragma once

#include "cli/job.h"

namespace veltra::cli {

/// Runs a job with a video through the ffmpeg program. Throws Error.
void RunVideoJob(const RenderJob& job);

}  // namespace veltra::cli
