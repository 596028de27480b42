// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What an effect says about itself, as JSON for the page.
#pragma once

#include <string>

#include "host/effect.h"

namespace veltra::web {

/// {"name", "matchName", "category", "about", "controls": [...]}. Numbers of a control are in its
/// own units, as ControlDeclaration has them: 16.16 for sliders, 16.16 percent for points.
std::string Describe(const host::Effect& effect);

}  // namespace veltra::web
