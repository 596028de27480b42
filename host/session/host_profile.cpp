// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The hosts that this one can be.

#include "host/session/host_profile.h"

#include <algorithm>
#include <array>

namespace veltra::host {
namespace {

constexpr std::array kProfiles{
    HostProfile{.name = "after-effects",
                .summary = "After Effects with interface 13.28 and every suite (the default)"},
    HostProfile{.name = "const-sequence",
                .summary = "as after-effects, but sequence data of effects with threaded rendering "
                           "comes through its suite only",
                .hidesSequenceData = true},
    HostProfile{.name = "older-suites",
                .summary = "as after-effects, without the suites and versions that came late",
                .hasNewerSuites = false},
    HostProfile{.name = "older-interface",
                .summary = "as older-suites, with interface 13.0",
                .version = {13, 0},
                .hasNewerSuites = false},
    HostProfile{.name = "oldest-interface",
                .summary = "as older-suites, with interface 12.0, the first of 64-bit effects",
                .version = {12, 0},
                .hasNewerSuites = false},
    HostProfile{.name = "no-project",
                .summary = "as after-effects, without suites about application and project",
                .hasProjectSuites = false},
};

}  // namespace

std::span<const HostProfile> HostProfiles() {
  return kProfiles;
}

const HostProfile* FindHostProfile(std::string_view name) {
  const auto* const found =
      std::find_if(kProfiles.begin(), kProfiles.end(),
                   [name](const HostProfile& profile) { return profile.name == name; });
  return found != kProfiles.end() ? found : nullptr;
}

}  // namespace veltra::host
