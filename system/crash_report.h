// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A last word when code of somebody else's brings the program down.
#pragma once

#include <string>

namespace veltra {

/// From here on a crash ends the program with one line on standard error, "veltra: NAME: crashed:
/// segmentation fault (SIGSEGV)", without the temporary files, and with exit code 1. Who handles
/// crashes already, as sanitizers do, goes on doing so.
void ReportCrashes(const std::string& name);

}  // namespace veltra
