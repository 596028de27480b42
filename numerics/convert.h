// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Float to integer conversions that are defined for every value, and wrapping products.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <limits>
#include <type_traits>

#include "numerics/compiler.h"

namespace veltra::numerics {

/// What the x86 conversion gives for NaN and for everything that does not fit.
inline constexpr std::int32_t kIntegerIndefinite = std::numeric_limits<std::int32_t>::min();

/// Truncates toward zero; kIntegerIndefinite for NaN and values outside the 32-bit range. The
/// instruction is named because a cast of such a value is undefined, and compilers fold it
/// differently.
constexpr std::int32_t TruncateToInt32(double value) {
  if (kTruncatesInOne && !std::is_constant_evaluated()) {
    return _mm_cvttsd_si32(_mm_set_sd(value));
  }
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                       : kIntegerIndefinite;
}

/// As above; the largest floats inside the range are -2147483648 and 2147483520.
constexpr std::int32_t TruncateToInt32(float value) {
  if (kTruncatesInOne && !std::is_constant_evaluated()) {
    return _mm_cvttss_si32(_mm_set_ss(value));
  }
  return value >= -2147483648.0F && value < 2147483648.0F ? static_cast<std::int32_t>(value)
                                                          : kIntegerIndefinite;
}

/// The low 32 bits of the product as a signed number.
constexpr std::int32_t WrappingMultiply(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// The low 32 bits of the sum as a signed number.
constexpr std::int32_t WrappingAdd(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

/// The low 32 bits of the difference as a signed number.
constexpr std::int32_t WrappingSubtract(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

}  // namespace veltra::numerics
