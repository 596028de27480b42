// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The hash that tests keep pictures and tables of numbers by.
#pragma once

#include <cstdint>
#include <span>

namespace veltra::stand_in {

/// 64-bit FNV-1a, bytes in order; `hash` goes on from an earlier part.
inline std::uint64_t HashOf(std::span<const unsigned char> bytes,
                            std::uint64_t hash = 0xCBF29CE484222325U) {
  for (const unsigned char byte : bytes) {
    hash = (hash ^ byte) * 0x100000001B3U;
  }
  return hash;
}

}  // namespace veltra::stand_in
