// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// How a view of pixels remembers its depth.

#include "host/pixels/world_view.h"

namespace veltra::host {
namespace {

// The record has no field for the depth. Its platform reference points at one of these; only the
// address is ever looked at, so that whatever another maker left there does no harm.
char depthMarks[3];

}  // namespace

void MarkDepth(PF_EffectWorld& view, Depth depth) {
  view.platform_ref = &depthMarks[static_cast<int>(depth)];
  view.world_flags = depth == Depth::k16 ? PF_WorldFlag_DEEP : 0;
}

Depth DepthOf(const PF_EffectWorld& view) {
  for (const Depth depth : kAllDepths) {
    if (view.platform_ref == &depthMarks[static_cast<int>(depth)]) {
      return depth;
    }
  }
  return (view.world_flags & PF_WorldFlag_DEEP) != 0 ? Depth::k16 : Depth::k8;
}

}  // namespace veltra::host
