// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The effect's controls: their order, which fixes the indices, and their declaration.
#pragma once

#include "effect/context/render_context.h"

namespace veltra {

/// Indices and identifiers of the parameters; 0 is the host's own input layer.
enum ParamIndex : PF_ParamIndex {
  kParamInput = 0,
  kParamLayer = 1,
  kParamStartPoint = 2,
  kParamEndPoint = 3,
  kParamLayerPlacement = 4,
  kParamTravel = 5,
  kParamSizeDegrees = 6,
  kParamSphericalFiltering = 7,
  kParamOpacity = 8,
  kParamComposite = 9,
  kParamCount = 10,
};

/// Choices of "Layer Placement". Any other value is laid out like Solo, without Solo's limit.
enum PlacementMode : std::int32_t { kStretch = 1, kTile = 2, kSolo = 3 };

/// Adds the nine controls in index order and sets num_params. The first error of the host ends
/// the set-up and is returned.
PF_Err ParamsSetup(RenderContext* context);

}  // namespace veltra
