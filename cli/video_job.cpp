// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Videos through the ffmpeg program.
#include "cli/video_job.h"

#include "cli/error.h"

namespace veltra::cli {

void RunVideoJob(const RenderJob&) {
  throw UsageError("videos are not supported yet");
}

}  // namespace veltra::cli
