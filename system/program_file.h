// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The file of the program that is running.
#pragma once

#include <filesystem>

namespace veltra {

/// The absolute path of the running program's file, links resolved where the system can tell. Empty
/// where it cannot be known.
std::filesystem::path ProgramFile();

}  // namespace veltra
