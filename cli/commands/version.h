// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The program's own version; the effect has its own.
#pragma once

namespace veltra::cli {

inline constexpr const char* kProgramVersion = VELTRA_PROGRAM_VERSION;

}  // namespace veltra::cli
