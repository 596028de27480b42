// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// What stands in the tables where this host has nothing to offer.
#pragma once

#include "host_api/types.h"

namespace veltra::host {

/// Answers PF_Err_INVALID_CALLBACK whatever it is called with: an effect that needs more than
/// this host offers gets an error where a null would end the program.
PF_UnusedFn NotOffered();

}  // namespace veltra::host
