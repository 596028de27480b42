// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// How much memory there is to be had.
#pragma once

#include <cstdint>

namespace veltra {

/// Bytes that the machine can hand out without writing others' memory to disk; a modest number
/// where that cannot be known.
std::uint64_t AvailableMemory();

/// What a machine of this time has left at the least.
inline constexpr std::uint64_t kModestMemory = std::uint64_t{2} << 30;

}  // namespace veltra
