// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Installations here are whole folders; nothing outside of them tells where they are.
#include "system/installation.h"

namespace veltra {

std::filesystem::path InstalledEffectFolder() {
  return {};
}

}  // namespace veltra
