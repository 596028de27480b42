// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The hosts that effects may be shown, for the option --host of every command that loads one.
#pragma once

#include <string>
#include <string_view>

#include "host/effect_library.h"

namespace veltra::cli {

/// What --host is given to have the hosts listed.
inline constexpr std::string_view kListHosts = "help";

/// The host of this name. Throws UsageError that lists them, without the option's name.
const host::HostProfile& ParseHost(std::string_view name);

/// All names, the default first, with `separator` between.
std::string HostNames(std::string_view separator);

/// What --help says of the option.
std::string HostOptionHelp();

/// One line for each, with what it is.
std::string HostsText();

}  // namespace veltra::cli
