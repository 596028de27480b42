// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A host record that should be there but is not ends the command instead of the host.
#pragma once

#include "host_api/types.h"

namespace veltra {

/// The pointed-to record; a null pointer is thrown as PF_Err_BAD_CALLBACK_PARAM.
template <class T>
T& Require(T* pointer) {
  if (pointer == nullptr) {
    throw PF_Err{PF_Err_BAD_CALLBACK_PARAM};
  }
  return *pointer;
}

}  // namespace veltra
