// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Telling the host's notes about broken rules apart.
#pragma once

#include <string>
#include <vector>

#include "host/renderer.h"

namespace veltra::check {

/// What was taken and not given back, or given back without being taken. Layer pixels that are
/// left to the host do not count: the host cleans them up after the command.
std::vector<std::string> Imbalances(const host::RenderResult& result);

/// As Imbalances, for a render in which calls were refused: giving back what was refused is only
/// tidy, keeping what was granted is not.
std::vector<std::string> Kept(const host::RenderResult& result);

/// Broken rules that are not about accounts.
std::vector<host::Violation> BrokenRules(const host::RenderResult& result);

}  // namespace veltra::check
