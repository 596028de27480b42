// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The wish for large memory pages behind large blocks.
#pragma once

#include <cstddef>

namespace veltra {

/// Asks the system for large pages, where it has them: the first touch of a large image is
/// otherwise slower than any pass over it. Only a wish, to be made before the block is used.
void PreferLargePages(void* block, std::size_t bytes);

}  // namespace veltra
