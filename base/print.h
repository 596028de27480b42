// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Text for people and programs, on standard output and standard error.
#pragma once

#include <cstdio>
#include <string_view>

#include "base/text.h"

namespace veltra {

/// Puts the parts one after the other. What cannot be written is noticed at the end, when the
/// program flushes its output.
template <class... Parts>
void Print(std::FILE* file, const Parts&... parts) {
  const std::string text = Text(parts...);
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), file));
}

/// So that it is seen now.
inline void Flush(std::FILE* file) {
  static_cast<void>(std::fflush(file));
}

}  // namespace veltra
