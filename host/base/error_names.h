// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Names of the host's error codes.
#pragma once

#include <string>

#include "host_api/types.h"

namespace veltra::host {

/// "PF_Err_BAD_CALLBACK_PARAM" for 516 and so on; "unknown error 42" for a code without a name.
std::string ErrorName(PF_Err error);

}  // namespace veltra::host
