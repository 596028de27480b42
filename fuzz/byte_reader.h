// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Turns a fuzzer's bytes into numbers that reach the interesting places, and stops on a finding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <span>

namespace veltra::fuzz {

/// Ends the run with a message; the fuzzer keeps the input.
[[noreturn]] inline void Finding(const char* what) {
  std::fprintf(stderr, "finding: %s\n", what);
  std::abort();
}

inline void Expect(bool holds, const char* what) {
  if (!holds) {
    Finding(what);
  }
}

/// Reads from the front; past the end everything is zero, so that every input is a whole scenario.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  bool AtEnd() const { return next_ >= bytes_.size(); }

  /// The next sizeof(T) bytes as they are.
  template <class T>
  T Raw() {
    std::uint8_t raw[sizeof(T)] = {};
    for (std::uint8_t& byte : raw) {
      byte = Byte();
    }
    T value;
    std::memcpy(&value, raw, sizeof(value));
    return value;
  }

  std::uint8_t Byte() { return AtEnd() ? std::uint8_t{0} : bytes_[next_++]; }

  /// 0 to count - 1, from one byte.
  int Below(int count) { return Byte() % count; }

  /// Rarely true, and false once the bytes have run out.
  bool Rarely() { return Byte() > 240; }

  /// Mostly small, sometimes at a limit, sometimes anything.
  std::int32_t Int() {
    static constexpr std::int32_t kLimits[] = {0,
                                               1,
                                               -1,
                                               2,
                                               255,
                                               16384,
                                               30000,
                                               65536,
                                               std::numeric_limits<std::int32_t>::max(),
                                               std::numeric_limits<std::int32_t>::min(),
                                               std::numeric_limits<std::int32_t>::min() + 1};
    switch (Below(4)) {
      case 0:
        return Raw<std::int32_t>();
      case 1:
        return kLimits[Below(std::size(kLimits))];
      default:
        return Raw<std::int8_t>();
    }
  }

  /// Mostly near one, sometimes a value that is hard to calculate with, sometimes any bits.
  double Double() {
    static constexpr double kHard[] = {0.0,
                                       -0.0,
                                       1.0,
                                       -1.0,
                                       1e-6,
                                       1e-300,
                                       5e-324,
                                       1e9,
                                       -1e9,
                                       3e38,
                                       1e300,
                                       0.5,
                                       3.141592653589793,
                                       1.5707963267948966,
                                       std::numeric_limits<double>::infinity(),
                                       -std::numeric_limits<double>::infinity(),
                                       std::numeric_limits<double>::quiet_NaN()};
    switch (Below(4)) {
      case 0:
        return Raw<double>();
      case 1:
        return kHard[Below(std::size(kHard))];
      case 2:
        return Raw<std::int16_t>() / 4096.0;
      default:
        return Raw<std::int32_t>() / 65536.0;
    }
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t next_ = 0;
};

}  // namespace veltra::fuzz
