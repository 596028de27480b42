// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Elsewhere the system decides alone; on Windows large pages take a privilege that users lack.
#include "system/large_pages.h"

namespace veltra {

void PreferLargePages(void* /*block*/, std::size_t /*bytes*/) {}

}  // namespace veltra
