// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Comparing what an effect says about itself in three places.
#pragma once

#include <string>
#include <vector>

#include "check/setup_session.h"
#include "check/test_run.h"
#include "host/effect_library.h"
#include "host/effect_resource.h"

namespace veltra::check {

/// One line for each item in which resource, registration and GLOBAL_SETUP disagree.
std::vector<std::string> IdentityDifferences(const host::EffectResource& resource,
                                             const host::Registration& registration,
                                             const GlobalAnswer& answer);

/// Registers with a host that refuses, and fails the test if the library does not pass that on.
void RefuseToRegister(TestRun& run);

}  // namespace veltra::check
