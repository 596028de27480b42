// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Names of files.
#pragma once

#include <cctype>
#include <filesystem>
#include <string>
#include <string_view>

namespace veltra {

/// The path that a text in UTF-8 names, on systems with other ideas of narrow text too. The way
/// back is path::string().
inline std::filesystem::path PathOf(std::string_view text) {
  return std::u8string(text.begin(), text.end());
}

/// Plain letters in lower case; others stay.
inline std::string LowerCase(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return text;
}

/// What a file's name ends in, from the last point on, in lower case: ".png". Empty without one.
inline std::string LowerExtension(const std::string& path) {
  return LowerCase(PathOf(path).extension().string());
}

}  // namespace veltra
