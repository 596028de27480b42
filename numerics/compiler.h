// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The one header that speaks a compiler's dialect: exports, inlining, and what a library lacks.
#pragma once

#include <bit>

#if defined(_MSC_VER)
#define VELTRA_EXPORT __declspec(dllexport)
#define VELTRA_LOCAL
#define VELTRA_NOINLINE __declspec(noinline)
#define VELTRA_FORCE_INLINE __forceinline
#define VELTRA_PRINTF_LIKE(text, first)
#elif defined(_WIN32)
#define VELTRA_EXPORT __attribute__((dllexport))
#define VELTRA_LOCAL
#define VELTRA_NOINLINE __attribute__((noinline))
#define VELTRA_FORCE_INLINE inline __attribute__((always_inline))
#define VELTRA_PRINTF_LIKE(text, first) __attribute__((format(gnu_printf, text, first)))
#else
#define VELTRA_EXPORT __attribute__((visibility("default")))
#define VELTRA_LOCAL __attribute__((visibility("hidden")))
#define VELTRA_NOINLINE __attribute__((noinline))
#define VELTRA_FORCE_INLINE inline __attribute__((always_inline))
#define VELTRA_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#endif

namespace veltra::numerics {

/// Whether the x86 conversion of a float to an integer is one instruction. WebAssembly has another
/// one, and its compiler plays this one by rounding and comparing as well.
#ifdef __wasm__
inline constexpr bool kTruncatesInOne = false;
#else
inline constexpr bool kTruncatesInOne = true;
#endif

/// The value of another type with the same bits. Not every C++20 library has std::bit_cast yet
/// (that of the WebAssembly compiler has not), while every compiler has what stands behind it.
template <class To, class From>
constexpr To BitCast(const From& from) noexcept {
#ifdef __cpp_lib_bit_cast
  return std::bit_cast<To>(from);
#else
  static_assert(sizeof(To) == sizeof(From));
  return __builtin_bit_cast(To, from);
#endif
}

}  // namespace veltra::numerics
