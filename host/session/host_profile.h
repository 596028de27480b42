// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What the host claims to be towards an effect.
#pragma once

#include <span>
#include <string_view>

#include "host_api/in_data.h"

namespace veltra::host {

/// What a host tells effects about itself, and what it does not offer. Every one calls itself After
/// Effects: effects that read another application there expect its pixel formats too.
struct HostProfile {
  std::string_view name;     ///< for command lines
  std::string_view summary;  ///< for a list of profiles
  PF_SpecVersion version{13, 28};
  A_long applicationId = kHostApplicationId;
  /// Suites that came late, and later versions of suites that came early.
  bool hasNewerSuites = true;
  /// Suites about the application and its project.
  bool hasProjectSuites = true;
  /// Commands that may come on several threads have no sequence data in the in-data; "PF Effect
  /// Sequence Data Suite" gives it, to be read only.
  bool hidesSequenceData = false;
};

/// All of them; the first is the one that a host is unless it is told otherwise.
std::span<const HostProfile> HostProfiles();
inline const HostProfile& DefaultHost() {
  return HostProfiles().front();
}
/// Null when there is none of that name.
const HostProfile* FindHostProfile(std::string_view name);

}  // namespace veltra::host
