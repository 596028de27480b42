// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Loads an effect library and finds its two exports.
#pragma once

#include <string>

#include "host_api/entry_points.h"

namespace veltra::conformance {

struct Library {
  PF_MainEntryFn mainEntry = nullptr;
  PF_PluginDataEntryFn registration = nullptr;
};

/// Loads the library; ends the process with a message when it cannot or an export is missing.
/// It stays loaded.
Library LoadLibraryAt(const std::string& path);

}  // namespace veltra::conformance
