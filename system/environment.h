// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Variables of the environment, which programs that we start have too.
#pragma once

#include <string>

namespace veltra {

/// A variable's value in UTF-8; empty where it is not set.
std::string EnvironmentValue(const std::string& name);

/// Sets it for this process and those that it starts. To be called before there are other threads.
void SetEnvironmentValue(const std::string& name, const std::string& value);

}  // namespace veltra
