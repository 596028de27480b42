// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What an installer left behind about where it put things.
#pragma once

#include <filesystem>

namespace veltra {

/// The folder that the installer put the effect into; empty where nothing tells.
std::filesystem::path InstalledEffectFolder();

}  // namespace veltra
