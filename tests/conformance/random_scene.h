// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Scenes thrown with dice that fall the same everywhere.
#pragma once

#include "tests/conformance/stage.h"
#include "tests/stand_in/random.h"

namespace veltra::conformance {

/// A scene of random size, controls, resolution and output part.
struct RandomScene {
  RandomScene(Depth depth, bool smartRender, Dice* dice);

  bool smart;
  Stage stage;
};

}  // namespace veltra::conformance
