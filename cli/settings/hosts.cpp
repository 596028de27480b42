// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Names of hosts on the command line.
#include "cli/settings/hosts.h"

#include <algorithm>

#include "base/error.h"
#include "base/text.h"

namespace veltra::cli {

const host::HostProfile& ParseHost(std::string_view name) {
  const host::HostProfile* host = host::FindHostProfile(name);
  if (host == nullptr) {
    throw UsageError(Text("there is no host '", name, "' (expected ", HostNames(", "), ")"));
  }
  return *host;
}

std::string HostNames(std::string_view separator) {
  std::string names;
  for (const host::HostProfile& host : host::HostProfiles()) {
    names += Text(names.empty() ? "" : separator, host.name);
  }
  return names;
}

std::string HostOptionHelp() {
  return Text("what the host claims to be: ", HostNames(", "), "; ", kListHosts, " describes them");
}

std::string HostsText() {
  constexpr std::size_t kNameWidth = 18;
  std::string text;
  for (const host::HostProfile& host : host::HostProfiles()) {
    std::string name(host.name);
    name.resize(std::max(name.size() + 1, kNameWidth), ' ');
    text += Text(name, host.summary, "\n");
  }
  return text;
}

}  // namespace veltra::cli
