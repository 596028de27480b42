// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The environment as POSIX has it.
#include "system/environment.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv is POSIX's

namespace veltra {

std::string EnvironmentValue(const std::string& name) {
  const char* value = getenv(name.c_str());
  return value != nullptr ? value : "";
}

void SetEnvironmentValue(const std::string& name, const std::string& value) {
  setenv(name.c_str(), value.c_str(), 1);
}

}  // namespace veltra
