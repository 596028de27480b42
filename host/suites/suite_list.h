// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The suites that this host offers, each a room's part of one list.
#pragma once

#include <span>
#include <string>

#include "host_api/types.h"

namespace veltra::host {

struct OfferedSuite {
  const char* name;
  A_long version;
  const void* (*table)();
};

// By file: what draws, what tells about parameters, what a host without a screen can say about its
// application, and what a host without a project can say about one.
std::span<const OfferedSuite> PixelSuites();
std::span<const OfferedSuite> ParameterSuites();
std::span<const OfferedSuite> ApplicationSuites();
std::span<const OfferedSuite> ProjectSuites();

/// The table of that name and version; null for what this host does not offer.
const void* FindSuite(const char* name, A_long version);

}  // namespace veltra::host
