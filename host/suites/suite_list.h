// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The suites that this host offers, each a room's part of one list.
#pragma once

#include <span>
#include <vector>

#include "host/session/host_profile.h"
#include "host_api/types.h"

namespace veltra::host {

/// A colour as the suites of a project have it, each part 0 to 1.
struct ProjectColor {
  A_FpLong alpha;
  A_FpLong red;
  A_FpLong green;
  A_FpLong blue;
};

/// Whether an older host has a suite.
enum class Age { kOld, kNewer };

struct OfferedSuite {
  const char* name;
  A_long version;
  const void* (*table)();
  Age age = Age::kOld;
};

// By file: what draws, what tells about parameters, what a host without a screen can say about its
// application, and what a host without a project can say about one.
std::span<const OfferedSuite> PixelSuites();
std::span<const OfferedSuite> ParameterSuites();
std::span<const OfferedSuite> ApplicationSuites();
std::span<const OfferedSuite> ProjectSuites();

/// All that a host offers.
std::vector<OfferedSuite> SuitesOf(const HostProfile& host);
/// The table of that name and version; null for what the host does not offer.
const void* FindSuite(const char* name, A_long version, const HostProfile& host);

}  // namespace veltra::host
