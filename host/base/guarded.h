// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The border where exceptions become error numbers.
#pragma once

#include <new>

#include "host_api/types.h"

namespace veltra::host {

/// Runs the body of a callback: no exception crosses into the effect.
template <class Body>
PF_Err Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
  } catch (...) {
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
}

}  // namespace veltra::host
