// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Large pages as Linux gives them.
#include <sys/mman.h>

#include <cstdint>

#include "system/large_pages.h"

namespace veltra {

void PreferLargePages(void* block, std::size_t bytes) {
  constexpr std::size_t kLargePage = std::size_t{2} << 20;
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::size_t toAligned = (kLargePage - address % kLargePage) % kLargePage;
  if (bytes >= toAligned + kLargePage) {
    // Whole large pages only: what lies around the block is not ours.
    madvise(static_cast<std::byte*>(block) + toAligned,
            (bytes - toAligned) / kLargePage * kLargePage, MADV_HUGEPAGE);
  }
}

}  // namespace veltra
