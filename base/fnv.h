// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// FNV-1a with 64 bits (Fowler, Noll and Vo): a name for bytes that nobody forges.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace veltra {

class Fnv1a {
 public:
  void Add(std::string_view bytes) {
    for (const char c : bytes) {
      hash_ = (hash_ ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    }
  }
  /// Sixteen hexadecimal digits, with leading zeros.
  std::string Digits() const {
    constexpr std::size_t kDigits = 16;
    std::array<char, kDigits> digits{};
    auto* const end = std::to_chars(digits.data(), digits.data() + kDigits, hash_, 16).ptr;
    const std::string text(digits.data(), end);
    return std::string(kDigits - text.size(), '0') + text;
  }

 private:
  std::uint64_t hash_ = 0xcbf29ce484222325U;
};

}  // namespace veltra
