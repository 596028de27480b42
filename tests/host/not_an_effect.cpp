// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// A library that can be loaded and exports something, but nothing of an effect.

#include "numerics/compiler.h"

extern "C" VELTRA_EXPORT int AnswerToEverything() {
  return 42;
}
