// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Where the program looks for the effect when nobody names one.
#pragma once

#include <filesystem>
#include <vector>

namespace veltra::cli {

/// The files that may be the effect, the first choice first: beside the program, then where the
/// installation put it, seen from the program, so that a whole installation may be moved.
std::vector<std::filesystem::path> EffectPlaces();

/// The first of EffectPlaces that is there. Throws RenderError that names them all.
std::filesystem::path DefaultEffectPath();

}  // namespace veltra::cli
